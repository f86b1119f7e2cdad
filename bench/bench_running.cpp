// Running aggregates against hand loops that compute the same rule over the
// same logical data: distinct values (an unget source, runs of 1) and long
// constant stretches (runs of 255). Both sides consume every output through a
// checksum, the library's straight from its chunks.
//
//   cum_agg_sum_int8         the running sum, one output per element
//   grid_agg_avg_double      the mean of each cell of 1,000 elements
//   window_agg_avg_double    size 26, with its one ring slot per output chunk
#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr uint8_t kRun = zvq::bench::kStretch;
constexpr uint64_t kCell = 1000;
constexpr uint64_t kWindow = 26;
constexpr uint32_t kChunk = 455;  // outputs per chunk of 8-byte results

using Sized = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, uint64_t);

// Reads the whole sequence once, from a reset, summing every output
// (integers with wrap-around).
template <class Out>
auto drain(zvq_seq_iterator& agg) {
    agg.reset(&agg);
    std::conditional_t<std::is_integral_v<Out>, uint64_t, double> sum = 0;
    while (agg.next(&agg) == SEQ_OK)
        for (uint32_t i = 0; i < agg.chunk_count; ++i) {
            Out v;
            std::memcpy(&v, agg.chunk + i * sizeof(Out), sizeof(Out));
            sum += static_cast<decltype(sum)>(v);
        }
    return sum;
}

uint64_t cum_sum_loop(const std::vector<int64_t>& data) {
    uint64_t acc = 0, sum = 0;
    for (int64_t v : data) {
        acc += static_cast<uint64_t>(v);
        sum += acc;
    }
    return sum;
}

double grid_avg_loop(const std::vector<double>& data) {
    double sum = 0;
    for (size_t i = 0; i < data.size(); i += kCell) {
        const size_t end = std::min(data.size(), i + kCell);
        double acc = data[i];
        for (size_t j = i + 1; j < end; ++j) acc += data[j];
        sum += acc / static_cast<double>(end - i);
    }
    return sum;
}

// The window's rule: every element of an output chunk replaces its
// predecessor in the slot p mod 26, p the position at the chunk's start.
double window_avg_loop(const std::vector<double>& data) {
    double ring[kWindow] = {};
    double acc = 0, sum = 0;
    for (size_t p = 0; p < data.size(); p += kChunk) {
        double& slot = ring[p % kWindow];
        const size_t end = std::min(data.size(), p + kChunk);
        for (size_t i = p; i < end; ++i) {
            acc = (acc - slot) + data[i];
            slot = data[i];
            sum += acc / static_cast<double>(kWindow);
        }
    }
    return sum;
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
        state, expanded.size(), [&] { benchmark::DoNotOptimize(drain<V>(agg)); },
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
