// argsort against std::stable_sort of an index array (random double and
// int4), and like '%abc%' over char(16) texts against a hand loop with
// memmem, on distinct texts and on runs of 255.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr int64_t kTenMillion = 10'000'000;

void ten_million(benchmark::internal::Benchmark* b) {
    const char* cap = std::getenv("ZVQ_BENCH_MAX_ELEMENTS");
    b->Arg(cap ? std::min(kTenMillion, static_cast<int64_t>(std::atoll(cap))) : kTenMillion);
    b->ArgName("n")->Unit(benchmark::kMillisecond);
}

// ---- argsort -----------------------------------------------------------------

template <class V>
std::vector<V> random_values(size_t n) {
    std::mt19937_64 rng(17);
    std::vector<V> out(n);
    if constexpr (std::is_floating_point_v<V>) {
        std::uniform_real_distribution<V> dist(-1e6, 1e6);
        for (V& v : out) v = dist(rng);
    } else {
        for (V& v : out) v = static_cast<V>(rng());
    }
    return out;
}

template <class V>
void argsort(benchmark::State& state, zvq_seq_status (*lib_sort)(const V*, uint64_t*, uint64_t, uint32_t)) {
    const auto n = static_cast<size_t>(state.range(0));
    const std::vector<V> values = random_values<V>(n);
    std::vector<uint64_t> perm(n), index(n);
    auto lib = [&] { lib_sort(values.data(), perm.data(), n, SEQ_ORDER_ASC); };
    auto loop = [&] {
        std::iota(index.begin(), index.end(), 0);
        std::stable_sort(index.begin(), index.end(), [&](uint64_t a, uint64_t b) { return values[a] < values[b]; });
    };
    lib();
    loop();
    if (perm != index) state.SkipWithError("the library and std::stable_sort disagree");
    zvq::bench::measure(state, n, lib, loop);
}

// ---- like --------------------------------------------------------------------

struct Text16 {
    char bytes[16];
};

// Texts of 6 to 16 letters of "abcd": about one in eight holds "abc".
std::vector<Text16> texts(size_t n) {
    std::mt19937 rng(23);
    std::vector<Text16> out(n);
    for (Text16& t : out) {
        std::memset(t.bytes, 0, sizeof t.bytes);
        const size_t len = 6 + rng() % 11;
        for (size_t i = 0; i < len; ++i) t.bytes[i] = "abcd"[rng() % 4];
    }
    return out;
}

uint64_t hand_like(const std::vector<Text16>& data) {
    uint64_t hits = 0;
    for (const Text16& t : data) hits += ::memmem(t.bytes, strnlen(t.bytes, 16), "abc", 3) != nullptr;
    return hits;
}

// Elements flagged true by a like over `source`, which is reset first.
uint64_t count_like(zvq_seq_iterator& flags) {
    flags.reset(&flags);
    uint64_t hits = 0;
    while (flags.next(&flags) == SEQ_OK)
        for (uint32_t i = 0; i < flags.chunk_count; ++i) hits += flags.chunk[i] ? flags.chunk[4095 - i] : 0;
    return hits;
}

void like(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0)) / zvq::bench::kStretch * zvq::bench::kStretch;
    static zvq_seq_iterator source, flags;
    std::vector<Text16> runs, expanded;
    source = zvq_seq_iterator{};
    if (stretches) {
        runs = texts(n / zvq::bench::kStretch);
        expanded = zvq::bench::expand_stretches(runs);
        zvq::bench::StretchSource<Text16>::make(&source, ZVQ_SEQ_TYPE_CHAR, runs);
    } else {
        expanded = texts(n);
        zvq_seq_unget_char(&source, expanded[0].bytes, n, 16);
    }
    zvq_seq_like(&flags, &source, "%abc%");
    if (count_like(flags) != hand_like(expanded)) state.SkipWithError("the library and the loop disagree");
    zvq::bench::measure(
        state, n, [&] { benchmark::DoNotOptimize(count_like(flags)); },
        [&] { benchmark::DoNotOptimize(hand_like(expanded)); });
}

const bool registered = [] {
    benchmark::RegisterBenchmark("argsort_double/random",
                                 [](benchmark::State& st) { argsort<double>(st, zvq_seq_argsort_double); })
        ->Apply(ten_million);
    benchmark::RegisterBenchmark("argsort_int4/random",
                                 [](benchmark::State& st) { argsort<int32_t>(st, zvq_seq_argsort_int4); })
        ->Apply(ten_million);
    benchmark::RegisterBenchmark("like_char16/contains_abc/distinct", [](benchmark::State& st) { like(st, false); })
        ->Apply(ten_million);
    benchmark::RegisterBenchmark("like_char16/contains_abc/stretches", [](benchmark::State& st) { like(st, true); })
        ->Apply(ten_million);
    return true;
}();

}  // namespace
