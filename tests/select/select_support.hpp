// Helpers of the selection tests: each member's constructors by type tag,
// chunks from lists of values, flag and position scripts, and drains of
// results made of runs of 1.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {

template <class V>
using Runs = std::vector<Run<V>>;  // Run alone is hidden by testing::Test::Run inside a test

using NumericTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Float, Double, Datetime>;

using UnionCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*, uint32_t);
using UniqueCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);
using PosCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, int32_t);
using Pair = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);
using Top = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, uint64_t);

// The constructors of a numeric member by type tag.
template <class Tag>
struct Fns;
#define ZVQ_TEST_FNS(name, Tag, ctype)                                                                         \
    template <>                                                                                                \
    struct Fns<Tag> {                                                                                          \
        static constexpr UnionCtor union_ = zvq_seq_union_##name;                                              \
        static constexpr UniqueCtor unique = zvq_seq_unique_##name;                                            \
        static constexpr PosCtor cross = zvq_seq_cross_##name;                                                 \
        static constexpr PosCtor extrema = zvq_seq_extrema_##name;                                             \
        static constexpr Pair filter = zvq_seq_filter_##name, map = zvq_seq_map_##name;                        \
        static constexpr Top top_max = zvq_seq_top_max_##name, top_min = zvq_seq_top_min_##name,               \
                             top_pos_max = zvq_seq_top_pos_max_##name, top_pos_min = zvq_seq_top_pos_min_##name; \
        static constexpr auto sort = zvq_seq_sort_##name;                                                      \
        static constexpr auto order_by = zvq_seq_order_by_##name;                                              \
        static constexpr auto histogram = zvq_seq_histogram_##name;                                            \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_FNS)
#undef ZVQ_TEST_FNS

// The values of every chunk up to the first status other than SEQ_OK, which
// goes to *last. Every run must have repeat 1 and next_pos must count them.
template <class V>
std::vector<V> singles_of(zvq_seq_iterator& r, zvq_seq_status* last = nullptr) {
    std::vector<V> out;
    for (const auto& run : drain_runs<V>(r, last)) {
        EXPECT_EQ(run.repeat, 1);
        out.push_back(run.value);
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

// A position sequence: runs of 1.
inline Script positions(const std::vector<std::vector<uint64_t>>& chunks) {
    std::vector<Chunk<uint64_t>> cs;
    for (const auto& c : chunks) {
        cs.emplace_back();
        for (uint64_t p : c) cs.back().push_back({p, 1});
    }
    return Script::of<Uint8>(cs);
}

// Every value of every chunk a record serves, with the sizes of its chunks.
template <class V>
std::vector<V> drain_slots(zvq_seq_iterator& r, std::vector<uint32_t>* sizes = nullptr,
                           zvq_seq_status* last = nullptr) {
    std::vector<V> out;
    zvq_seq_status s;
    while ((s = r.next(&r)) == SEQ_OK) {
        if (sizes) sizes->push_back(r.chunk_count);
        for (uint32_t i = 0; i < r.chunk_count; ++i) out.push_back(value_at<V>(r, i));
    }
    if (last) *last = s;
    return out;
}

}  // namespace zvq::test
