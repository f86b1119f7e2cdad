// Helpers of the element-wise tests: the constructors of a type by tag, and
// drains that run one column of values through an operator.
#pragma once

#include <cstring>
#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {

using Binary = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);
using Unary = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);
template <class V>
using Runs = std::vector<Run<V>>;  // Run alone is hidden by testing::Test::Run inside a test

using SignedTags = ::testing::Types<Int1, Int2, Int4, Int8>;
using IntegerTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Datetime>;
using FloatTags = ::testing::Types<Float, Double>;

// Bit patterns, so that -0 differs from +0 and NaNs compare by their bits.
template <class V>
std::vector<uint64_t> bits_of(const std::vector<V>& vs) {
    std::vector<uint64_t> out;
    for (const V& v : vs) std::memcpy(&out.emplace_back(0), &v, sizeof v);
    return out;
}

// n runs of 1 with values first, first + 1, ...
template <class V>
Chunk<V> singles(uint32_t n, int64_t first) {
    Chunk<V> c;
    for (uint32_t j = 0; j < n; ++j) c.push_back({static_cast<V>(first + j), 1});
    return c;
}

// The result values of op over left[i], right[i]: runs of 1, but a last run
// of 3 that must come through whole.
template <class Tag, class Out = value_t<Tag>>
std::vector<Out> pairwise(Binary op, const std::vector<value_t<Tag>>& left, const std::vector<value_t<Tag>>& right) {
    Chunk<value_t<Tag>> lc, rc;
    for (size_t i = 0; i < left.size(); ++i) {
        const uint8_t rep = i + 1 == left.size() ? 3 : 1;
        lc.push_back({left[i], rep});
        rc.push_back({right[i], rep});
    }
    Script l = Script::of<Tag>({lc}), r = Script::of<Tag>({rc});
    zvq_seq_iterator out{};
    EXPECT_EQ(op(&out, l.rec(), r.rec()), SEQ_OK);
    std::vector<Out> values;
    for (const auto& run : drain_runs<Out>(out)) values.push_back(run.value);
    EXPECT_EQ(out.next_pos, left.size() + 2);
    return values;
}

// The result values of op over one chunk whose repeats cycle through 1, 255,
// 0 and 7; each repeat byte must come out as it went in.
template <class From, class To = From>
std::vector<value_t<To>> through(Unary op, const std::vector<value_t<From>>& in) {
    static constexpr uint8_t kRepeats[] = {1, 255, 0, 7};
    Chunk<value_t<From>> chunk;
    for (size_t i = 0; i < in.size(); ++i) chunk.push_back({in[i], kRepeats[i % 4]});
    Script src = Script::of<From>({chunk});
    zvq_seq_iterator r{};
    EXPECT_EQ(op(&r, src.rec()), SEQ_OK);
    std::vector<value_t<To>> out;
    for (const auto& run : drain_runs<value_t<To>>(r)) {
        EXPECT_EQ(run.repeat, kRepeats[out.size() % 4]) << "run " << out.size();
        out.push_back(run.value);
    }
    return out;
}

}  // namespace zvq::test
