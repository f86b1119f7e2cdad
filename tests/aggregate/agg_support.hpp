// Shared by the aggregate tests: each member's constructors by type tag, and
// a one-call "construct, read the published run, see the end".
#pragma once

#include <gtest/gtest.h>

#include "aggregate/whole.hpp"
#include "support/scripted_source.hpp"

namespace zvq::test {

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

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

// The nine families that fold and merge.
template <class Tag>
std::vector<Ctor> folding_families() {
    using A = Agg<Tag>;
    return {A::max, A::min, A::sum, A::prd, A::avg, A::var, A::var_samp, A::dev, A::dev_samp};
}

// The value `ctor` publishes over the chunks, as one run followed by SEQ_END.
template <class V, class Tag>
V aggregate(Ctor ctor, const std::vector<Chunk<value_t<Tag>>>& chunks) {
    auto s = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1);
    EXPECT_EQ(repeat_at(r, 0), 1);
    const V v = value_at<V>(r, 0);
    EXPECT_EQ(r.next(&r), SEQ_END);
    return v;
}

// The two runs that a min-max publishes; Run compares bitwise, NaN too.
template <class M, class Tag>
std::vector<Run<M>> min_max_runs(const std::vector<Chunk<value_t<Tag>>>& chunks) {
    auto s = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(Agg<Tag>::min_max(&r, s.rec()), SEQ_OK);
    return drain_runs<M>(r);
}

}  // namespace zvq::test
