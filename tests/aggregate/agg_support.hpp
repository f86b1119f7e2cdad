// Shared by the aggregate tests: the constructors of each member by type tag,
// and a one-call "construct and read the published run".
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "aggregate/whole.hpp"
#include "support/scripted_source.hpp"

namespace zvq::test {

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);
using MergeFn = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

template <class Tag>
struct Agg;

#define ZVQ_TEST_AGG(name, Tag, ctype)                                                                    \
    template <>                                                                                           \
    struct Agg<zvq::Tag> {                                                                                \
        static constexpr Ctor max = zvq_seq_agg_max_##name, min = zvq_seq_agg_min_##name,                 \
                              sum = zvq_seq_agg_sum_##name, prd = zvq_seq_agg_prd_##name,                 \
                              avg = zvq_seq_agg_avg_##name, var = zvq_seq_agg_var_##name,                 \
                              var_samp = zvq_seq_agg_var_samp_##name, dev = zvq_seq_agg_dev_##name,       \
                              dev_samp = zvq_seq_agg_dev_samp_##name, min_max = zvq_seq_agg_min_max_##name; \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_AGG)
#undef ZVQ_TEST_AGG

using NumericTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Float, Double, Datetime>;

// The nine families that fold and merge, in a fixed order.
template <class Tag>
inline std::vector<Ctor> folding_families() {
    using A = Agg<Tag>;
    return {A::max, A::min, A::sum, A::prd, A::avg, A::var, A::var_samp, A::dev, A::dev_samp};
}

// A value read from run 0 of a published record, whatever its width.
template <class V>
V published(const zvq_seq_iterator& r) {
    EXPECT_EQ(r.chunk_count, 1);
    EXPECT_EQ(repeat_at(r, 0), 1);
    return value_at<V>(r, 0);
}

// Constructs `ctor` over the source, reads it once, expects SEQ_OK then
// SEQ_END, and returns the published value.
template <class V>
V aggregate(Ctor ctor, zvq_seq_iterator* source) {
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, source), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    const V v = published<V>(r);
    EXPECT_EQ(r.next(&r), SEQ_END);
    return v;
}

// The partial state of a published or prepared record.
template <class Acc>
const WholeState<Acc>& partial(const zvq_seq_iterator& r) {
    return state_of<WholeState<Acc>>(r);
}

// Bitwise equality, so that NaN results compare too.
template <class V>
bool same_bits(V a, V b) {
    return std::memcmp(&a, &b, sizeof(V)) == 0;
}

}  // namespace zvq::test
