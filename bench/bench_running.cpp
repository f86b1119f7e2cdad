// Running aggregates against hand loops that compute the same rule over the
// same logical data: distinct values (an unget source, runs of 1) and long
// constant stretches (runs of 255). Both sides produce every output into a
// chunk of 455 values and take the last value of each chunk into a checksum;
// neither reads the outputs further, which is the consumer's cost.
//
//   cum_agg_sum_int8         the running sum, one output per element
//   grid_agg_avg_double      the mean of each cell of 1,000 elements
//   window_agg_avg_double    size 26, with its one ring slot per output chunk
#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr uint8_t kRun = zvq::bench::kStretch;
constexpr uint64_t kCell = 1000;
constexpr uint64_t kWindow = 26;
constexpr uint32_t kChunk = 455;  // outputs per chunk of 8-byte results

template <class Out>
using check_t = std::conditional_t<std::is_integral_v<Out>, uint64_t, double>;

// Pulls the whole sequence once, from a reset.
template <class Out>
check_t<Out> produce(zvq_seq_iterator& agg) {
    agg.reset(&agg);
    check_t<Out> check = 0;
    while (agg.next(&agg) == SEQ_OK) {
        Out last;
        std::memcpy(&last, agg.chunk + (agg.chunk_count - 1u) * sizeof(Out), sizeof(Out));
        check += static_cast<check_t<Out>>(last);
    }
    return check;
}

// The hand loops' chunk: handed to the optimiser as escaping, so that every
// output is stored.
template <class Out>
check_t<Out> deliver(Out (&out)[kChunk], size_t count) {
    benchmark::DoNotOptimize(out);
    return static_cast<check_t<Out>>(out[count - 1]);
}

uint64_t cum_sum_loop(const std::vector<int64_t>& data) {
    int64_t out[kChunk];
    uint64_t acc = 0, check = 0;
    for (size_t p = 0; p < data.size(); p += kChunk) {
        const size_t n = std::min<size_t>(data.size() - p, kChunk);
        for (size_t i = 0; i < n; ++i) out[i] = static_cast<int64_t>(acc += static_cast<uint64_t>(data[p + i]));
        check += deliver(out, n);
    }
    return check;
}

double grid_avg_loop(const std::vector<double>& data) {
    double out[kChunk], check = 0;
    size_t cells = 0;
    for (size_t i = 0; i < data.size(); i += kCell) {
        const size_t end = std::min(data.size(), i + kCell);
        double acc = data[i];
        for (size_t j = i + 1; j < end; ++j) acc += data[j];
        out[cells++] = acc / static_cast<double>(end - i);
        if (cells == kChunk || end == data.size()) check += deliver(out, std::exchange(cells, 0));
    }
    return check;
}

// The window's rule: every element of an output chunk replaces its
// predecessor in the slot p mod 26, p the position at the chunk's start.
double window_avg_loop(const std::vector<double>& data) {
    double ring[kWindow] = {}, out[kChunk];
    double acc = 0, check = 0;
    for (size_t p = 0; p < data.size(); p += kChunk) {
        double& slot = ring[p % kWindow];
        const size_t n = std::min<size_t>(data.size() - p, kChunk);
        for (size_t i = 0; i < n; ++i) {
            acc = (acc - slot) + data[p + i];
            slot = data[p + i];
            out[i] = acc / static_cast<double>(kWindow);
        }
        check += deliver(out, n);
    }
    return check;
}

template <class V>
void source_of(zvq_seq_iterator& source, const std::vector<V>& expanded, bool stretches) {
    constexpr uint8_t type = std::is_same_v<V, double> ? ZVQ_SEQ_TYPE_DOUBLE : ZVQ_SEQ_TYPE_INT8;
    static std::vector<V> runs;
    if (stretches) {
        runs.clear();
        for (size_t i = 0; i < expanded.size(); i += kRun) runs.push_back(expanded[i]);
        zvq::bench::StretchSource<V>::make(&source, type, runs);
    } else {
        source = zvq_seq_iterator{};
        if constexpr (std::is_same_v<V, double>)
            zvq_seq_unget_double(&source, expanded.data(), expanded.size());
        else
            zvq_seq_unget_int8(&source, expanded.data(), expanded.size());
    }
}

template <class V, class Make, class Loop>
void run(benchmark::State& state, bool stretches, Make make, Loop loop) {
    const auto n = static_cast<size_t>(state.range(0));
    const std::vector<V> expanded = zvq::bench::make_column<V>(n / kRun * kRun, stretches ? kRun : 1);
    static zvq_seq_iterator source, agg;
    source_of(source, expanded, stretches);
    agg = zvq_seq_iterator{};
    make(&agg, &source);
    zvq::bench::measure(
        state, expanded.size(), [&] { benchmark::DoNotOptimize(produce<V>(agg)); },
        [&] { benchmark::DoNotOptimize(loop(expanded)); });
}

template <class V, class Make, class Loop>
void add(const char* label, Make make, Loop loop) {
    for (bool stretches : {false, true}) {
        const std::string name = std::string(label) + (stretches ? "/stretches" : "/distinct");
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) {
            run<V>(st, stretches, make, loop);
        })->Apply(zvq::bench::sizes);
    }
}

const bool registered = [] {
    add<int64_t>(
        "cum_agg_sum_int8", [](zvq_seq_iterator* r, zvq_seq_iterator* op) { zvq_seq_cum_agg_sum_int8(r, op); },
        cum_sum_loop);
    add<double>(
        "grid_agg_avg_double",
        [](zvq_seq_iterator* r, zvq_seq_iterator* op) { zvq_seq_grid_agg_avg_double(r, op, kCell); }, grid_avg_loop);
    add<double>(
        "window_agg_avg_double",
        [](zvq_seq_iterator* r, zvq_seq_iterator* op) { zvq_seq_window_agg_avg_double(r, op, kWindow); },
        window_avg_loop);
    return true;
}();

}  // namespace
