// The merge protocol: a column computed in parts and folded together equals
// the column computed whole, for every folding family and type.
#include <cmath>
#include <limits>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class WholeMerge : public ::testing::Test {};
TYPED_TEST_SUITE(WholeMerge, NumericTags);

// The column (4 x2, 1 | 6 | 2 x3 | 7, 3 x2), whole and in three parts, the
// middle one empty. Integer data keep every partial sum exact.
template <class Tag>
struct Column {
    using V = value_t<Tag>;
    static Script whole() { return Script::of<Tag>({{{V(4), 2}, {V(1), 1}}, {{V(6), 1}}, {{V(2), 3}}, {{V(7), 1}, {V(3), 2}}}); }
    static Script first() { return Script::of<Tag>({{{V(4), 2}, {V(1), 1}}, {{V(6), 1}}}); }
    static Script empty() { return Script::of<Tag>({}); }
    static Script last() { return Script::of<Tag>({{{V(2), 3}}, {{V(7), 1}, {V(3), 2}}}); }
};

std::vector<uint8_t> run0(const zvq_seq_iterator& r) { return {r.chunk, r.chunk + r.elem_size}; }

TYPED_TEST(WholeMerge, PartsFoldIntoTheWhole) {
    using Tag = TypeParam;
    using C = Column<Tag>;
    for (Ctor ctor : folding_families<Tag>()) {
        Script whole = C::whole(), a = C::first(), b = C::empty(), c = C::last();
        zvq_seq_iterator w{}, pa{}, pb{}, pc{};
        ASSERT_EQ(ctor(&w, whole.rec()), SEQ_OK);
        ASSERT_EQ(w.next(&w), SEQ_OK);
        ASSERT_EQ(ctor(&pa, a.rec()), SEQ_OK);
        ASSERT_EQ(ctor(&pb, b.rec()), SEQ_OK);
        ASSERT_EQ(ctor(&pc, c.rec()), SEQ_OK);

        EXPECT_EQ(pa.prepare(&pa), SEQ_OK);
        EXPECT_EQ(pb.prepare(&pb), SEQ_END);
        EXPECT_EQ(pc.prepare(&pc), SEQ_OK);
        EXPECT_EQ(pa.prepared, 1);
        EXPECT_EQ(pb.prepared, 1);

        // Prepared empty: no pull, stays so.
        const size_t b_pulls = b.pulls();
        EXPECT_EQ(pb.next(&pb), SEQ_END);
        EXPECT_EQ(pb.next(&pb), SEQ_END);
        EXPECT_EQ(b.pulls(), b_pulls);
        EXPECT_EQ(pb.prepared, 1);

        EXPECT_EQ(pa.merge(&pa, &pc), SEQ_OK);
        EXPECT_EQ(pa.prepared, 1);  // merge leaves the flags alone
        EXPECT_EQ(pa.next_pos, 1u);

        // Prepared with a result: handed out once without pulling.
        const size_t a_pulls = a.pulls();
        EXPECT_EQ(pa.next(&pa), SEQ_OK);
        EXPECT_EQ(a.pulls(), a_pulls);
        EXPECT_EQ(pa.prepared, 0);
        EXPECT_EQ(pa.chunk_count, 1);
        EXPECT_EQ(repeat_at(pa, 0), 1);
        EXPECT_EQ(run0(pa), run0(w));
        // The partial state too: partial_value is as wide as the result.
        EXPECT_EQ(std::memcmp(pa.state.bytes, w.state.bytes, w.elem_size), 0);
        EXPECT_EQ(std::memcmp(pa.state.bytes + 8, w.state.bytes + 8, 16), 0);
        EXPECT_EQ(pa.next(&pa), SEQ_END);
        EXPECT_EQ(a.pulls(), a_pulls);
    }
}

TYPED_TEST(WholeMerge, ResetOfAPreparedRecordReadsAgain) {
    using Tag = TypeParam;
    using C = Column<Tag>;
    Script a = C::first();
    zvq_seq_iterator r{};
    ASSERT_EQ(Agg<Tag>::sum(&r, a.rec()), SEQ_OK);
    ASSERT_EQ(r.prepare(&r), SEQ_OK);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(a.resets(), 1u);
    EXPECT_EQ(r.prepared, 0);
    const size_t pulls = a.pulls();
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_GT(a.pulls(), pulls);
    EXPECT_EQ(partial<uint64_t>(r).partial_count, 4u);
}

// The host relies on the field places: value, squares, count.
TEST(WholeMergeState, FieldsStandInOrder) {
    auto s = Script::of<Int1>({{{-3, 2}, {5, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_max_int1(&r, s.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(static_cast<int8_t>(r.state.bytes[0]), 5);
    EXPECT_EQ(load<double>(r.state.bytes + 8), 0.0);
    EXPECT_EQ(load<uint64_t>(r.state.bytes + 16), 3u);

    auto v = Script::of<Int4>({{{-3, 2}, {5, 1}}});
    ASSERT_EQ(zvq_seq_agg_var_int4(&r, v.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(load<double>(r.state.bytes), -1.0);
    EXPECT_EQ(load<double>(r.state.bytes + 8), 43.0);
    EXPECT_EQ(load<uint64_t>(r.state.bytes + 16), 3u);
}

TEST(WholeMergeNaN, DestinationNaNStaysSourceNaNIsIgnored) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto prepared = [](Ctor ctor, Script& s, zvq_seq_iterator& r) {
        ASSERT_EQ(ctor(&r, s.rec()), SEQ_OK);
        ASSERT_EQ(r.prepare(&r), SEQ_OK);
    };
    for (Ctor ctor : {zvq_seq_agg_max_double, zvq_seq_agg_min_double}) {
        Script n1 = Script::of<Double>({{{nan, 1}}}), x1 = Script::of<Double>({{{1.0, 1}}});
        zvq_seq_iterator dst{}, src{};
        prepared(ctor, n1, dst);
        prepared(ctor, x1, src);
        dst.merge(&dst, &src);
        EXPECT_TRUE(std::isnan(value_at<double>(dst, 0)));

        Script x2 = Script::of<Double>({{{1.0, 1}}}), n2 = Script::of<Double>({{{nan, 1}}});
        prepared(ctor, x2, dst);
        prepared(ctor, n2, src);
        dst.merge(&dst, &src);
        EXPECT_EQ(value_at<double>(dst, 0), 1.0);
    }
}

TEST(WholeMergeDatetime, AverageMergesIntegerSums) {
    Script a = Script::of<Datetime>({{{1, 1}}}), b = Script::of<Datetime>({{{2, 1}, {2, 1}}});
    zvq_seq_iterator pa{}, pb{};
    ASSERT_EQ(zvq_seq_agg_avg_datetime(&pa, a.rec()), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_avg_datetime(&pb, b.rec()), SEQ_OK);
    ASSERT_EQ(pa.prepare(&pa), SEQ_OK);
    ASSERT_EQ(pb.prepare(&pb), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(pa, 0), 1u);
    pa.merge(&pa, &pb);
    EXPECT_EQ(value_at<uint64_t>(pa, 0), 1u);  // 5 / 3, truncated
    EXPECT_EQ(partial<uint64_t>(pa).partial_value, 5u);
    EXPECT_EQ(partial<uint64_t>(pa).partial_count, 3u);
}

TEST(WholeMergeVarSamp, AppliesTheSingleElementTest) {
    // Two parts of one element each: n is 2 after the merge, so the formula runs.
    Script a = Script::of<Double>({{{1.0, 1}}}), b = Script::of<Double>({{{3.0, 1}}});
    zvq_seq_iterator pa{}, pb{};
    ASSERT_EQ(zvq_seq_agg_var_samp_double(&pa, a.rec()), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_var_samp_double(&pb, b.rec()), SEQ_OK);
    ASSERT_EQ(pa.prepare(&pa), SEQ_OK);
    ASSERT_EQ(pb.prepare(&pb), SEQ_OK);
    EXPECT_EQ(value_at<double>(pa, 0), 0.0);
    pa.merge(&pa, &pb);
    EXPECT_EQ(value_at<double>(pa, 0), 10.0 - 16.0);  // (q - a^2 / 1) / 1
}

}  // namespace
}  // namespace zvq::test
