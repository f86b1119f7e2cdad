// Shared by the selection tests: each member's functions by type tag, flag
// and position scripts.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {

template <class V>
using Runs = std::vector<Run<V>>;  // Run alone is hidden by testing::Test::Run inside a test

using NumericTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Float, Double, Datetime>;

using Pair = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);
using Top = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, uint64_t);

template <class Tag>
struct Sel;
#define ZVQ_TEST_SEL(n, Tag, ctype)                                                                              \
    template <>                                                                                                  \
    struct Sel<Tag> {                                                                                            \
        static constexpr Pair filter = zvq_seq_filter_##n, map = zvq_seq_map_##n;                                \
        static constexpr Top top_max = zvq_seq_top_max_##n, top_min = zvq_seq_top_min_##n,                       \
                             top_pos_max = zvq_seq_top_pos_max_##n, top_pos_min = zvq_seq_top_pos_min_##n;       \
        static constexpr auto sort = zvq_seq_sort_##n;                                                           \
        static constexpr auto order_by = zvq_seq_order_by_##n;                                                   \
        static constexpr auto histogram = zvq_seq_histogram_##n;                                                 \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_SEL)
#undef ZVQ_TEST_SEL

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
