// top_n_max_double with n = 10 against a hand heap loop over the same
// column: 10^7 values in no order, and long constant stretches.
#include <algorithm>
#include <functional>
#include <queue>
#include <string>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr int64_t kRows = 10'000'000;
constexpr uint64_t kTop = 10;

// A min-heap of the best kTop elements, each element of a stretch offered.
double hand_top(const std::vector<double>& column) {
    std::priority_queue<double, std::vector<double>, std::greater<double>> heap;
    for (double v : column) {
        if (heap.size() < kTop) {
            heap.push(v);
        } else if (v > heap.top()) {
            heap.pop();
            heap.push(v);
        }
    }
    return heap.top();
}

void top_n_max(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0));
    const size_t run = stretches ? zvq::bench::kStretch : 1;
    std::vector<double> runs(n / run);
    uint64_t x = 0x9E3779B97F4A7C15ull;
    for (auto& v : runs) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        v = static_cast<double>(x >> 11) * 0x1p-53;
    }
    static zvq_seq_iterator source, top;
    std::vector<double> column;
    if (stretches) {
        zvq::bench::StretchSource<double>::make(&source, ZVQ_SEQ_TYPE_DOUBLE, runs);
        column = zvq::bench::expand_stretches(runs);
    } else {
        source = zvq_seq_iterator{};
        zvq_seq_unget_double(&source, runs.data(), runs.size());
        column = runs;
    }
    top = zvq_seq_iterator{};
    zvq_seq_top_n_max_double(&top, &source, kTop);
    double lib = 0, hand = 0;
    zvq_seq_status st = 0;
    zvq::bench::measure(
        state, column.size(),
        [&] {
            top.reset(&top);
            st = top.next(&top);
            benchmark::DoNotOptimize(st);
        },
        [&] { benchmark::DoNotOptimize(hand = hand_top(column)); });
    // The worst of the best: the value of the last run.
    if (st == SEQ_OK) std::memcpy(&lib, top.chunk + 8 * (top.chunk_count - 1), 8);
    if (st != SEQ_OK || lib != hand) state.SkipWithError("answers differ");
}

const bool registered = [] {
    for (bool stretches : {false, true}) {
        const std::string name = std::string("top_n_max_double") + (stretches ? "/stretches" : "/distinct");
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) { top_n_max(st, stretches); })
            ->Arg(kRows)
            ->ArgName("n")
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
