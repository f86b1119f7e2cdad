// Whole-sequence aggregates against hand loops over the same logical data:
// distinct values (an unget source, runs of 1) and long constant stretches
// (runs of 255 served by a small run-array source).
#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr size_t kElements = 10'000'000;
constexpr uint8_t kRun = zvq::bench::kStretch;

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

enum class Op { Sum, Avg, Var };

template <class V>
double hand_loop(const std::vector<V>& data, Op op) {
    if (op == Op::Sum) {
        std::conditional_t<std::is_integral_v<V>, int64_t, double> s = 0;
        for (V v : data) s += v;
        return static_cast<double>(s);
    }
    double s = 0, q = 0;
    const double n = static_cast<double>(data.size());
    if (op == Op::Avg) {
        for (V v : data) s += v;
        return s / n;
    }
    for (V v : data) {
        const double d = v;
        s += d;
        q += d * d;
    }
    return (q - s * s / n) / n;
}

// Reads the aggregate once: reset (which rewinds the source) and pull.
double read_once(zvq_seq_iterator& agg) {
    agg.reset(&agg);
    agg.next(&agg);
    double out;
    if (agg.elem_type == ZVQ_SEQ_TYPE_DOUBLE)
        std::memcpy(&out, agg.chunk, 8);
    else {
        int64_t i;
        std::memcpy(&i, agg.chunk, 8);
        out = static_cast<double>(i);
    }
    return out;
}

template <class V>
void run(benchmark::State& state, Ctor ctor, Op op, uint8_t type, bool stretches) {
    static std::vector<V> expanded;
    static std::vector<V> runs;
    expanded = zvq::bench::make_column<V>(kElements / kRun * kRun, stretches ? kRun : 1);
    zvq_seq_iterator source, agg;
    if (stretches) {
        runs.clear();
        for (size_t i = 0; i < expanded.size(); i += kRun) runs.push_back(expanded[i]);
        zvq::bench::StretchSource<V>::make(&source, type, runs);
    } else {
        source = zvq_seq_iterator{};
        // The unget member of this type, through the type code.
        if constexpr (std::is_same_v<V, int32_t>)
            zvq_seq_unget_int4(&source, expanded.data(), expanded.size());
        else
            zvq_seq_unget_double(&source, expanded.data(), expanded.size());
    }
    agg = zvq_seq_iterator{};
    ctor(&agg, &source);
    zvq::bench::measure(
        state, expanded.size(), [&] { benchmark::DoNotOptimize(read_once(agg)); },
        [&] { benchmark::DoNotOptimize(hand_loop(expanded, op)); });
}

template <class V>
void add(const char* label, Ctor ctor, Op op, uint8_t type) {
    for (bool stretches : {false, true}) {
        const std::string name = std::string(label) + (stretches ? "/stretches" : "/distinct");
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) { run<V>(st, ctor, op, type, stretches); })
            ->Unit(benchmark::kMillisecond);
    }
}

const bool registered = [] {
    add<int32_t>("agg_sum_int4", zvq_seq_agg_sum_int4, Op::Sum, ZVQ_SEQ_TYPE_INT4);
    add<int32_t>("agg_avg_int4", zvq_seq_agg_avg_int4, Op::Avg, ZVQ_SEQ_TYPE_INT4);
    add<int32_t>("agg_var_int4", zvq_seq_agg_var_int4, Op::Var, ZVQ_SEQ_TYPE_INT4);
    add<double>("agg_sum_double", zvq_seq_agg_sum_double, Op::Sum, ZVQ_SEQ_TYPE_DOUBLE);
    add<double>("agg_avg_double", zvq_seq_agg_avg_double, Op::Avg, ZVQ_SEQ_TYPE_DOUBLE);
    add<double>("agg_var_double", zvq_seq_agg_var_double, Op::Var, ZVQ_SEQ_TYPE_DOUBLE);
    return true;
}();

}  // namespace
