// Whole-sequence aggregates against hand loops over the same logical data:
// distinct values (an unget source, runs of 1) and long constant stretches
// (runs of 255 served by a small run-array source), plus the sum of a sum,
// add_int4 read by agg_sum_int4, over two stored columns.
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr uint8_t kRun = zvq::bench::kStretch;

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

enum class Op { Sum, Avg, Var, Max };

template <class V>
double hand_loop(const std::vector<V>& data, Op op) {
    if (op == Op::Sum) {
        std::conditional_t<std::is_integral_v<V>, int64_t, double> s = 0;
        for (V v : data) s += v;
        return static_cast<double>(s);
    }
    if (op == Op::Max) {
        V m = data[0];
        for (V v : data) m = v > m ? v : m;
        return static_cast<double>(m);
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
void unget(zvq_seq_iterator* it, const std::vector<V>& values) {
    *it = zvq_seq_iterator{};
    if constexpr (std::is_same_v<V, int32_t>)
        zvq_seq_unget_int4(it, values.data(), values.size());
    else
        zvq_seq_unget_double(it, values.data(), values.size());
}

template <class V>
void run(benchmark::State& state, Ctor ctor, Op op, uint8_t type, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0));
    const std::vector<V> expanded = zvq::bench::make_column<V>(n / kRun * kRun, stretches ? kRun : 1);
    std::vector<V> runs;
    static zvq_seq_iterator source, agg;
    if (stretches) {
        for (size_t i = 0; i < expanded.size(); i += kRun) runs.push_back(expanded[i]);
        zvq::bench::StretchSource<V>::make(&source, type, runs);
    } else {
        unget(&source, expanded);
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
            ->Apply(zvq::bench::sizes);
    }
}

// agg_sum_int4 over add_int4 of two distinct columns, against one loop that
// adds with the same wrap and sums in 64 bits.
void sum_of_add(benchmark::State& state) {
    const auto n = static_cast<size_t>(state.range(0));
    const auto a = zvq::bench::make_column<int32_t>(n, 1, 1);
    const auto b = zvq::bench::make_column<int32_t>(n, 1, 500);
    static zvq_seq_iterator left, right, added, agg;
    unget(&left, a);
    unget(&right, b);
    zvq_seq_add_int4(&added, &left, &right);
    zvq_seq_agg_sum_int4(&agg, &added);
    zvq::bench::measure(
        state, n, [&] { benchmark::DoNotOptimize(read_once(agg)); },
        [&] {
            int64_t s = 0;
            for (size_t i = 0; i < n; ++i)
                s += static_cast<int32_t>(static_cast<uint32_t>(a[i]) + static_cast<uint32_t>(b[i]));
            benchmark::DoNotOptimize(s);
        });
}

const bool registered = [] {
    add<int32_t>("agg_sum_int4", zvq_seq_agg_sum_int4, Op::Sum, ZVQ_SEQ_TYPE_INT4);
    add<int32_t>("agg_avg_int4", zvq_seq_agg_avg_int4, Op::Avg, ZVQ_SEQ_TYPE_INT4);
    add<int32_t>("agg_var_int4", zvq_seq_agg_var_int4, Op::Var, ZVQ_SEQ_TYPE_INT4);
    add<double>("agg_sum_double", zvq_seq_agg_sum_double, Op::Sum, ZVQ_SEQ_TYPE_DOUBLE);
    add<double>("agg_avg_double", zvq_seq_agg_avg_double, Op::Avg, ZVQ_SEQ_TYPE_DOUBLE);
    add<double>("agg_var_double", zvq_seq_agg_var_double, Op::Var, ZVQ_SEQ_TYPE_DOUBLE);
    add<double>("agg_max_double", zvq_seq_agg_max_double, Op::Max, ZVQ_SEQ_TYPE_DOUBLE);
    benchmark::RegisterBenchmark("add_int4+agg_sum_int4/distinct", sum_of_add)->Apply(zvq::bench::sizes);
    return true;
}();

}  // namespace
