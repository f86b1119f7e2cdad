// Helpers of the selection tests: each member's constructors by type tag,
// chunks from lists of values, chunks of flags, and a drain of results made
// of runs of 1.
#pragma once

#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {

template <class V>
using Runs = std::vector<Run<V>>;  // Run alone is hidden by testing::Test::Run inside a test

using PosCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, int32_t);
using Top = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, uint64_t);

// The values of every chunk up to the first status other than SEQ_OK, which
// goes to *last, and the number in each chunk. Every run must have repeat 1
// and next_pos must count them.
template <class V>
std::vector<V> singles_of(zvq_seq_iterator& r, zvq_seq_status* last = nullptr, std::vector<size_t>* sizes = nullptr) {
    std::vector<V> out;
    for (const auto& chunk : drain_chunks<V>(r, last)) {
        if (sizes) sizes->push_back(chunk.size());
        for (const auto& run : chunk) {
            EXPECT_EQ(run.repeat, 1);
            out.push_back(run.value);
        }
    }
    EXPECT_EQ(r.next_pos, out.size());
    return out;
}

// One chunk of runs of 1 with the given values.
template <class V, class T>
Chunk<V> ones(std::initializer_list<T> values) {
    Chunk<V> c;
    for (T v : values) c.push_back({static_cast<V>(v), 1});
    return c;
}

template <class V, class T>
std::vector<V> vals(std::initializer_list<T> values) {
    std::vector<V> out;
    for (T v : values) out.push_back(static_cast<V>(v));
    return out;
}

// The values as runs of `repeat`, n runs to a chunk; no chunk for none.
template <class V>
std::vector<Chunk<V>> chunks_of(const std::vector<V>& values, size_t n, uint8_t repeat = 1) {
    std::vector<Chunk<V>> out;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i % n == 0) out.emplace_back();
        out.back().push_back({values[i], repeat});
    }
    return out;
}

// A chunk of flags, 0 or 1, each with its repeat byte.
inline Chunk<uint8_t> flags(std::initializer_list<std::pair<int, uint8_t>> runs) {
    Chunk<uint8_t> c;
    for (auto [f, r] : runs) c.push_back({static_cast<uint8_t>(f), r});
    return c;
}

}  // namespace zvq::test
