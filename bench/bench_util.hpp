// Shared by the benchmarks: data sets and the library-versus-loop measure.
//
// Every benchmark runs the library and a hand-written loop over the same
// logical data in the same process, and reports ns per element for both and
// their ratio (library / loop: below 1 means the library is faster).
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zvq/seq.h"

namespace zvq::bench {

inline constexpr uint8_t kStretch = 255;

// The element counts every benchmark runs at, 10^7 and 10^8 unless
// ZVQ_BENCH_MAX_ELEMENTS lowers the top (for a quick run).
inline void sizes(benchmark::internal::Benchmark* b) {
    const char* cap = std::getenv("ZVQ_BENCH_MAX_ELEMENTS");
    const int64_t max = cap ? std::atoll(cap) : INT64_MAX;
    for (int64_t n : {int64_t{10'000'000}, int64_t{100'000'000}})
        if (n <= max) b->Arg(n);
    b->ArgName("n")->Unit(benchmark::kMillisecond);
}

// A source serving (values[j], 255) runs from an array: a column of long
// constant stretches without expanding it.
template <class V>
struct StretchSource {
    const V* values;
    uint64_t runs;
    uint64_t served;

    static StretchSource& of(zvq_seq_iterator* it) { return *reinterpret_cast<StretchSource*>(it->state.bytes); }

    static zvq_seq_status next(zvq_seq_iterator* it) {
        StretchSource& s = of(it);
        if (s.served == s.runs) return SEQ_END;
        const uint64_t n = std::min<uint64_t>(s.runs - s.served, 4096 / (sizeof(V) + 1));
        std::memcpy(it->chunk, s.values + s.served, n * sizeof(V));
        std::memset(it->chunk + 4096 - n, kStretch, n);
        s.served += n;
        it->chunk_count = static_cast<uint16_t>(n);
        it->next_pos += n * kStretch;
        return SEQ_OK;
    }
    static zvq_seq_status reset(zvq_seq_iterator* it) {
        of(it).served = 0;
        return zvq_seq_reset_iterator(it);
    }
    static void make(zvq_seq_iterator* it, uint8_t type, const std::vector<V>& values) {
        std::memset(it, 0, sizeof *it);
        it->next = next;
        it->reset = reset;
        it->elem_size = sizeof(V);
        it->elem_type = type;
        it->last_pos = ~uint64_t{0};
        of(it) = {values.data(), values.size(), 0};
    }
};

// n values with runs of length `run` (1: all distinct neighbours).
template <class V>
std::vector<V> make_column(size_t n, size_t run, V base = V(1)) {
    std::vector<V> out(n);
    uint64_t x = 0x9E3779B97F4A7C15ull;
    V value = base;
    for (size_t i = 0; i < n; ++i) {
        if (i % run == 0) {
            x ^= x << 13, x ^= x >> 7, x ^= x << 17;
            value = static_cast<V>(base + static_cast<V>(x % 1000));
        }
        out[i] = value;
    }
    return out;
}

// The column a StretchSource serves, expanded: each value kStretch times.
template <class V>
std::vector<V> expand_stretches(const std::vector<V>& runs) {
    std::vector<V> out;
    out.reserve(runs.size() * kStretch);
    for (V v : runs) out.insert(out.end(), kStretch, v);
    return out;
}

// Runs lib() and loop() once per iteration, each timed on its own.
template <class Lib, class Loop>
void measure(benchmark::State& state, uint64_t elements, Lib&& lib, Loop&& loop) {
    using clock = std::chrono::steady_clock;
    double lib_ns = 0, loop_ns = 0;
    for (auto _ : state) {
        auto t0 = clock::now();
        lib();
        auto t1 = clock::now();
        loop();
        auto t2 = clock::now();
        lib_ns += std::chrono::duration<double, std::nano>(t1 - t0).count();
        loop_ns += std::chrono::duration<double, std::nano>(t2 - t1).count();
    }
    const double total = static_cast<double>(elements) * static_cast<double>(state.iterations());
    state.counters["ns_per_elem"] = lib_ns / total;
    state.counters["loop_ns_per_elem"] = loop_ns / total;
    state.counters["ratio_vs_loop"] = lib_ns / loop_ns;
    state.SetItemsProcessed(static_cast<int64_t>(total));
}

}  // namespace zvq::bench
