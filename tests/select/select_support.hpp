// Helpers of the selection tests: each member's constructors by type tag, and
// a drain that gives the values of a result whose repeat bytes must all be 1.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {

using NumericTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Float, Double, Datetime>;

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

}  // namespace zvq::test
