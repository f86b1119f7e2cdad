// Group aggregates and paired statistics against hand loops with the same
// rule over the same logical data: distinct values (in-memory sources, runs
// of 1) and long constant stretches (runs of 255 in every operand).
//
//   group_agg_sum_double  values by int4 keys, in 10^3 and in 10^6 groups
//   corr_double           two columns read in step
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

using zvq::bench::kStretch;
using zvq::bench::StretchSource;

// A key column of `groups` clusters of equal keys, each `run` elements apart
// at the least.
std::vector<int32_t> make_keys(size_t n, size_t groups, size_t run) {
    std::vector<int32_t> keys(n);
    const size_t per_group = (n / run + groups - 1) / groups * run;
    for (size_t i = 0; i < n; ++i) keys[i] = static_cast<int32_t>(i / per_group);
    return keys;
}

// Every run of a column whose runs are `kStretch` long.
template <class V>
std::vector<V> run_values(const std::vector<V>& expanded) {
    std::vector<V> runs;
    for (size_t i = 0; i < expanded.size(); i += kStretch) runs.push_back(expanded[i]);
    return runs;
}

// A source over a column: its runs of 255 served as runs, or the column
// itself from memory (runs of 1). `runs` keeps what a run source serves.
template <class V>
void serve(zvq_seq_iterator& it, const std::vector<V>& column, std::vector<V>& runs, bool stretches) {
    constexpr uint8_t type = std::is_same_v<V, double> ? ZVQ_SEQ_TYPE_DOUBLE : ZVQ_SEQ_TYPE_INT4;
    if (stretches) {
        runs = run_values(column);
        StretchSource<V>::make(&it, type, runs);
        return;
    }
    it = zvq_seq_iterator{};
    if constexpr (std::is_same_v<V, double>)
        zvq_seq_unget_double(&it, column.data(), column.size());
    else
        zvq_seq_unget_int4(&it, column.data(), column.size());
}

// Pulls every chunk of results and adds them up.
double drain(zvq_seq_iterator& agg) {
    agg.reset(&agg);
    double total = 0;
    while (agg.next(&agg) == SEQ_OK)
        for (uint32_t i = 0; i < agg.chunk_count; ++i) {
            double v;
            std::memcpy(&v, agg.chunk + i * 8, 8);
            total += v;
        }
    return total;
}

// The group rule by hand: a new group where the key changes, the sum of its
// values delivered (here: added up) when the next one starts.
double hand_group_sum(const std::vector<double>& values, const std::vector<int32_t>& keys) {
    double total = 0, acc = 0;
    uint64_t pending = 0;
    int32_t last = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (keys[i] != last && pending != 0) {
            total += acc;
            pending = 0;
        }
        last = keys[i];
        acc = pending == 0 ? values[i] : acc + values[i];
        ++pending;
    }
    return total + acc;
}

void group_sum(benchmark::State& state, size_t groups, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0)) / kStretch * kStretch;
    const size_t run = stretches ? kStretch : 1;
    const std::vector<double> values = zvq::bench::make_column<double>(n, run);
    const std::vector<int32_t> keys = make_keys(n, groups, run);
    static std::vector<double> value_runs;
    static std::vector<int32_t> key_runs;
    static zvq_seq_iterator v, k, agg;
    serve(v, values, value_runs, stretches);
    serve(k, keys, key_runs, stretches);
    agg = zvq_seq_iterator{};
    zvq_seq_group_agg_sum_double(&agg, &v, &k);
    zvq::bench::measure(
        state, n, [&] { benchmark::DoNotOptimize(drain(agg)); },
        [&] { benchmark::DoNotOptimize(hand_group_sum(values, keys)); });
}

// corr by hand, with the library's run terms for runs of 1.
double hand_corr(const std::vector<double>& xs, const std::vector<double>& ys) {
    double sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
    for (size_t i = 0; i < xs.size(); ++i) {
        const double x = xs[i], y = ys[i];
        sx += x;
        sy += y;
        sxy += y * x;
        sxx += x * x;
        syy += y * y;
    }
    const double n = static_cast<double>(xs.size());
    return (sxy - sy * sx / n) / std::sqrt((syy - sy * sy / n) * (sxx - sx * sx / n));
}

void corr(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0)) / kStretch * kStretch;
    const size_t run = stretches ? kStretch : 1;
    const std::vector<double> xs = zvq::bench::make_column<double>(n, run, 1.0);
    const std::vector<double> ys = zvq::bench::make_column<double>(n, run, 500.0);
    static std::vector<double> x_runs, y_runs;
    static zvq_seq_iterator x, y, agg;
    serve(x, xs, x_runs, stretches);
    serve(y, ys, y_runs, stretches);
    agg = zvq_seq_iterator{};
    zvq_seq_corr_double(&agg, &x, &y);
    zvq::bench::measure(
        state, n, [&] { benchmark::DoNotOptimize(drain(agg)); },
        [&] { benchmark::DoNotOptimize(hand_corr(xs, ys)); });
}

const bool registered = [] {
    for (bool stretches : {false, true}) {
        const std::string data = stretches ? "/stretches" : "/distinct";
        benchmark::RegisterBenchmark(("group_agg_sum_double/1e3_groups" + data).c_str(),
                                     [=](benchmark::State& st) { group_sum(st, 1000, stretches); })
            ->Apply(zvq::bench::sizes);
        benchmark::RegisterBenchmark(("corr_double" + data).c_str(),
                                     [=](benchmark::State& st) { corr(st, stretches); })
            ->Apply(zvq::bench::sizes);
    }
    // A group of 10 elements cannot hold a run of 255: distinct values only.
    benchmark::RegisterBenchmark("group_agg_sum_double/1e6_groups/distinct",
                                 [](benchmark::State& st) { group_sum(st, 1'000'000, false); })
        ->Apply(zvq::bench::sizes);
    return true;
}();

}  // namespace
