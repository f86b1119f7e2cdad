// agg_count_distinct_int8 against std::unordered_set over the same column:
// 10^7 values of 10^6 distinct in no order, and long constant stretches.
#include <string>
#include <unordered_set>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr int64_t kRows = 10'000'000;
constexpr uint64_t kDistinct = 1'000'000;

// A plain set as a user would write it, without a size hint.
uint64_t hand_count(const std::vector<int64_t>& runs) {
    std::unordered_set<int64_t> seen;
    for (int64_t v : runs) seen.insert(v);
    return seen.size();
}

void agg_count_distinct(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0));
    const size_t run = stretches ? zvq::bench::kStretch : 1;
    std::vector<int64_t> runs(n / run);
    uint64_t x = 0x9E3779B97F4A7C15ull;
    for (auto& v : runs) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        v = static_cast<int64_t>((x % kDistinct) * 0xD6E8FEB86659FD93ull);
    }
    static zvq_seq_iterator source, agg;
    if (stretches) {
        zvq::bench::StretchSource<int64_t>::make(&source, ZVQ_SEQ_TYPE_INT8, runs);
    } else {
        source = zvq_seq_iterator{};
        zvq_seq_unget_int8(&source, runs.data(), runs.size());
    }
    agg = zvq_seq_iterator{};
    zvq_seq_agg_count_distinct_int8(&agg, &source);
    uint64_t lib = 0, hand = 0;
    zvq::bench::measure(
        state, runs.size() * run,
        [&] {
            agg.reset(&agg);
            agg.next(&agg);
            std::memcpy(&lib, agg.chunk, 8);
            benchmark::DoNotOptimize(lib);
        },
        [&] { benchmark::DoNotOptimize(hand = hand_count(runs)); });
    agg.reset(&agg);
    if (lib != hand) state.SkipWithError("counts differ");
    state.counters["distinct"] = static_cast<double>(lib);
}

const bool registered = [] {
    for (bool stretches : {false, true}) {
        const std::string name = std::string("agg_count_distinct_int8") + (stretches ? "/stretches" : "/distinct");
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) { agg_count_distinct(st, stretches); })
            ->Arg(kRows)
            ->ArgName("n")
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
