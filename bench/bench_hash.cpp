// Hash grouping against hand loops over the same data: hash_agg_sum_double
// over unsorted int4 keys against std::unordered_map, and agg_approxdc_int8
// against a loop that hashes each run into the same 128 registers.
#include <bit>
#include <cmath>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr int64_t kRows = 10'000'000;

// Keys spread over [0, groups) in no order, values with a fraction.
void table(size_t rows, uint32_t groups, std::vector<int32_t>& keys, std::vector<double>& values) {
    keys.resize(rows);
    values.resize(rows);
    uint64_t x = 0x9E3779B97F4A7C15ull;
    for (size_t i = 0; i < rows; ++i) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        keys[i] = static_cast<int32_t>(x % groups);
        values[i] = static_cast<double>(x >> 40) * 0.25;
    }
}

// Builds the pair, reads every group and sums the sums, releases the pair.
double library_group_by(const std::vector<int32_t>& keys, const std::vector<double>& values) {
    static zvq_seq_iterator key_src, value_src, agg, grp;
    zvq_seq_unget_int4(&key_src, keys.data(), keys.size());
    zvq_seq_unget_double(&value_src, values.data(), values.size());
    zvq_seq_hash_agg_sum_double(&agg, &grp, &value_src, &key_src, 0);
    double total = 0;
    while (agg.next(&agg) == SEQ_OK)
        for (uint32_t i = 0; i < agg.chunk_count; ++i) {
            double v;
            std::memcpy(&v, agg.chunk + 8 * i, 8);
            total += v;
        }
    zvq_seq_free_hash(&agg);
    return total;
}

double hand_group_by(const std::vector<int32_t>& keys, const std::vector<double>& values) {
    std::unordered_map<int32_t, double> sums;
    for (size_t i = 0; i < keys.size(); ++i) sums[keys[i]] += values[i];
    double total = 0;
    for (const auto& [key, sum] : sums) total += sum;
    return total;
}

void hash_agg_sum(benchmark::State& state) {
    std::vector<int32_t> keys;
    std::vector<double> values;
    table(static_cast<size_t>(state.range(0)), static_cast<uint32_t>(state.range(1)), keys, values);
    zvq::bench::measure(
        state, keys.size(), [&] { benchmark::DoNotOptimize(library_group_by(keys, values)); },
        [&] { benchmark::DoNotOptimize(hand_group_by(keys, values)); });
}

// The hand loop's hash: the 32-bit MurmurHash3 of one 8-byte value, seeded
// as the library seeds it.
uint32_t murmur8(int64_t value) {
    uint32_t h = 377307;
    for (int half = 0; half < 2; ++half) {
        uint32_t k = static_cast<uint32_t>(static_cast<uint64_t>(value) >> (32 * half));
        k = std::rotl(k * 0xcc9e2d51u, 15) * 0x1b873593u;
        h = std::rotl(h ^ k, 13) * 5u + 0xe6546b64u;
    }
    h ^= 8u;
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    return h ^ (h >> 16);
}

// 128 registers, one update per run, and the plain estimate.
double hand_approxdc(const std::vector<int64_t>& runs) {
    uint8_t registers[128] = {};
    for (int64_t v : runs) {
        const uint32_t h = murmur8(v);
        const uint32_t low = h & 0x1FFFFFFu;
        const uint8_t rank = low == 0 ? 26 : static_cast<uint8_t>(std::countr_zero(low) + 1);
        if (rank > registers[h >> 25]) registers[h >> 25] = rank;
    }
    double s = 0;
    for (uint8_t r : registers) s += std::ldexp(1.0, -r);
    return 11718.991761634348 / s;
}

void agg_approxdc(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0));
    const size_t run = stretches ? zvq::bench::kStretch : 1;
    std::vector<int64_t> runs(n / run);
    for (size_t i = 0; i < runs.size(); ++i) runs[i] = static_cast<int64_t>(i * 0x9E3779B97F4A7C15ull);
    static zvq_seq_iterator source, agg;
    std::vector<int64_t> column;
    if (stretches) {
        zvq::bench::StretchSource<int64_t>::make(&source, ZVQ_SEQ_TYPE_INT8, runs);
    } else {
        source = zvq_seq_iterator{};
        zvq_seq_unget_int8(&source, runs.data(), runs.size());
    }
    agg = zvq_seq_iterator{};
    zvq_seq_agg_approxdc(&agg, &source);
    zvq::bench::measure(
        state, runs.size() * run,
        [&] {
            agg.reset(&agg);
            agg.next(&agg);
            benchmark::DoNotOptimize(agg.chunk[0]);
        },
        [&] { benchmark::DoNotOptimize(hand_approxdc(runs)); });
    state.counters["ns_per_run"] = state.counters["ns_per_elem"].value * static_cast<double>(run);
}

const bool registered = [] {
    for (int64_t groups : {100, 10'000, 1'000'000})
        benchmark::RegisterBenchmark("hash_agg_sum_double", hash_agg_sum)
            ->Args({kRows, groups})
            ->ArgNames({"n", "keys"})
            ->Unit(benchmark::kMillisecond);
    for (bool stretches : {false, true}) {
        const std::string name = std::string("agg_approxdc_int8") + (stretches ? "/stretches" : "/distinct");
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) { agg_approxdc(st, stretches); })
            ->Arg(kRows)
            ->ArgName("n")
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
