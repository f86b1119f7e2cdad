// Shared by the aggregate tests: each member's constructors by type tag, and
// a one-call "construct, read the published run, see the end".
#pragma once

#include "aggregate/whole.hpp"
#include "support/scripted_source.hpp"

namespace zvq::test {

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

// The nine families that fold and merge.
template <class Tag>
std::vector<Ctor> folding_families() {
    using A = Api<Tag>;
    return {A::agg_max, A::agg_min,      A::agg_sum, A::agg_prd,     A::agg_avg,
            A::agg_var, A::agg_var_samp, A::agg_dev, A::agg_dev_samp};
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
    EXPECT_EQ(Api<Tag>::agg_min_max(&r, s.rec()), SEQ_OK);
    return drain_runs<M>(r);
}

}  // namespace zvq::test
