// Rolling averages against a hand loop with a running sum over the same
// logical data: distinct values (an unget source, runs of 1) and long
// constant stretches (runs of 255), windows of 26 and 1,000. Both sides
// fill chunks of 455 outputs and take the last value of each chunk into a
// checksum; the library's chunk holds runs, the loop's one value per element.
//
//   rolling_avg_double/w26, /w1000
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr uint8_t kRun = zvq::bench::kStretch;
constexpr uint32_t kChunk = 455;

double produce(zvq_seq_iterator& agg) {
    agg.reset(&agg);
    double check = 0;
    while (agg.next(&agg) == SEQ_OK) {
        double last;
        std::memcpy(&last, agg.chunk + (agg.chunk_count - 1u) * sizeof(double), sizeof(double));
        check += last;
    }
    return check;
}

double rolling_avg_loop(const std::vector<double>& data, uint64_t window) {
    double out[kChunk], sum = 0, check = 0;
    for (size_t p = 0; p < data.size(); p += kChunk) {
        const size_t n = std::min<size_t>(data.size() - p, kChunk);
        for (size_t i = p; i < p + n; ++i) {
            sum += data[i];
            if (i >= window) sum -= data[i - window];
            out[i - p] = sum / static_cast<double>(std::min<uint64_t>(i + 1, window));
        }
        benchmark::DoNotOptimize(out);
        check += out[n - 1];
    }
    return check;
}

void run(benchmark::State& state, bool stretches, uint64_t window) {
    const auto n = static_cast<size_t>(state.range(0));
    const std::vector<double> expanded = zvq::bench::make_column<double>(n / kRun * kRun, stretches ? kRun : 1);
    static std::vector<double> runs;
    static zvq_seq_iterator source, agg;
    if (stretches) {
        runs.clear();
        for (size_t i = 0; i < expanded.size(); i += kRun) runs.push_back(expanded[i]);
        zvq::bench::StretchSource<double>::make(&source, ZVQ_SEQ_TYPE_DOUBLE, runs);
    } else {
        source = zvq_seq_iterator{};
        zvq_seq_unget_double(&source, expanded.data(), expanded.size());
    }
    agg = zvq_seq_iterator{};
    zvq_seq_rolling_avg_double(&agg, &source, window);
    zvq::bench::measure(
        state, expanded.size(), [&] { benchmark::DoNotOptimize(produce(agg)); },
        [&] { benchmark::DoNotOptimize(rolling_avg_loop(expanded, window)); });
    zvq_seq_free_buffer(&agg);
}

const bool registered = [] {
    for (uint64_t window : {uint64_t{26}, uint64_t{1000}})
        for (bool stretches : {false, true}) {
            const std::string name = "rolling_avg_double/w" + std::to_string(window) +
                                     (stretches ? "/stretches" : "/distinct");
            benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) {
                run(st, stretches, window);
            })->Apply(zvq::bench::sizes);
        }
    return true;
}();

}  // namespace
