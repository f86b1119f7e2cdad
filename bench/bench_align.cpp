// Merges of two sorted key streams against hand-written merges over the same
// keys: union_uint8, and stretch0_uint8_double, whose second stream carries
// values. Distinct keys come from unget sources (runs of 1); on runs of 255
// every key is a run, which both operators count as one key, and the hand
// loop merges the arrays of run keys. Both sides add up the bits of what
// they deliver, so each does the same work per output element. n counts the
// elements of the two key streams together, repeats included.
#include <algorithm>
#include <bit>
#include <string>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

using zvq::bench::kStretch;
using zvq::bench::StretchSource;

// Ascending keys with gaps of 1 to 3, so that about a third of the keys of
// one stream meet an equal key in the other.
std::vector<uint64_t> sorted_keys(size_t n, uint64_t seed) {
    std::vector<uint64_t> out(n);
    uint64_t x = seed, k = 0;
    for (auto& v : out) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        v = k += 1 + x % 3;
    }
    return out;
}

// The two key streams; the first ends on the highest key, so that stretch0
// runs out of its second stream first and ends by itself.
struct Keys {
    std::vector<uint64_t> a, b;
    explicit Keys(size_t n) : a(sorted_keys(n, 0x9E3779B97F4A7C15ull)), b(sorted_keys(n, 0xD1B54A32D192ED03ull)) {
        a.back() = std::max(a.back(), b.back() + 1);
    }
};

// What both sides do with each element they deliver: add its bits, an
// integer add whose latency stays off the critical path, as a consumer's
// would.
inline uint64_t bits(uint64_t v) { return v; }
inline uint64_t bits(double v) { return std::bit_cast<uint64_t>(v); }

// The sum of the bits of every element of a record's chunks, to the end.
uint64_t drain_sum(zvq_seq_iterator& r) {
    uint64_t sum = 0;
    while (r.next(&r) == SEQ_OK)
        for (uint32_t i = 0; i < r.chunk_count; ++i) {
            uint64_t v;
            std::memcpy(&v, r.chunk + i * sizeof v, sizeof v);
            sum += v;
        }
    return sum;
}

// A key stream: the keys one by one, or each as a run of 255.
void key_source(zvq_seq_iterator* it, const std::vector<uint64_t>& keys, bool stretches) {
    if (stretches) {
        StretchSource<uint64_t>::make(it, ZVQ_SEQ_TYPE_UINT8, keys);
    } else {
        *it = zvq_seq_iterator{};
        zvq_seq_unget_uint8(it, keys.data(), keys.size());
    }
}

uint64_t union_by_hand(const std::vector<uint64_t>& a, const std::vector<uint64_t>& b) {
    uint64_t sum = 0;
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i] < b[j]) {
            sum += a[i++];
            continue;
        }
        i += a[i] == b[j];
        sum += b[j++];
    }
    for (; i < a.size(); ++i) sum += a[i];
    for (; j < b.size(); ++j) sum += b[j];
    return sum;
}

uint64_t stretch0_by_hand(const std::vector<uint64_t>& a, const std::vector<uint64_t>& b, const std::vector<double>& v,
                          double filler) {
    uint64_t sum = 0;
    size_t i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a[i] < b[j]) {
            sum += bits(filler);
            ++i;
            continue;
        }
        i += a[i] == b[j];
        sum += bits(v[j++]);
    }
    for (; i < a.size(); ++i) sum += bits(filler);
    for (; j < b.size(); ++j) sum += bits(v[j]);
    return sum;
}

void union_uint8(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0));
    const Keys k((stretches ? n / kStretch : n) / 2);
    const auto& a = k.a;
    const auto& b = k.b;
    static zvq_seq_iterator left, right, merged;
    key_source(&left, a, stretches);
    key_source(&right, b, stretches);
    merged = zvq_seq_iterator{};
    zvq_seq_union_uint8(&merged, &left, &right, SEQ_ORDER_ASC);
    if (drain_sum(merged) != union_by_hand(a, b)) state.SkipWithError("union differs from the hand merge");
    zvq::bench::measure(
        state, n,
        [&] {
            merged.reset(&merged);
            benchmark::DoNotOptimize(drain_sum(merged));
        },
        [&] { benchmark::DoNotOptimize(union_by_hand(a, b)); });
}

void stretch0_uint8_double(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0));
    const Keys k((stretches ? n / kStretch : n) / 2);
    const auto& a = k.a;
    const auto& b = k.b;
    const auto v = zvq::bench::make_column<double>(b.size(), 1, 0.5);
    static zvq_seq_iterator ts1, ts2, values, merged;
    key_source(&ts1, a, stretches);
    key_source(&ts2, b, stretches);
    values = zvq_seq_iterator{};
    zvq_seq_unget_double(&values, v.data(), v.size());
    merged = zvq_seq_iterator{};
    zvq_seq_stretch0_uint8_double(&merged, &ts1, &ts2, &values, -1.0);
    if (drain_sum(merged) != stretch0_by_hand(a, b, v, -1.0))
        state.SkipWithError("stretch0 differs from the hand merge");
    zvq::bench::measure(
        state, n,
        [&] {
            merged.reset(&merged);
            benchmark::DoNotOptimize(drain_sum(merged));
        },
        [&] { benchmark::DoNotOptimize(stretch0_by_hand(a, b, v, -1.0)); });
}

const bool registered = [] {
    for (bool stretches : {false, true}) {
        const std::string suffix = stretches ? "/stretches" : "/distinct";
        benchmark::RegisterBenchmark(("union_uint8" + suffix).c_str(), [=](benchmark::State& st) {
            union_uint8(st, stretches);
        })->Apply(zvq::bench::sizes);
        benchmark::RegisterBenchmark(("stretch0_uint8_double" + suffix).c_str(), [=](benchmark::State& st) {
            stretch0_uint8_double(st, stretches);
        })->Apply(zvq::bench::sizes);
    }
    return true;
}();

}  // namespace
