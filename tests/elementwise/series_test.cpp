// diff, trend and norm, each with its own way with runs.
#include <cmath>
#include <limits>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

template <class Tag>
class SeriesOf : public ::testing::Test {};
TYPED_TEST_SUITE(SeriesOf, NumericTags);

// diff: a run of r gives its difference once, then r - 1 zeros; the first
// difference is 0. trend: per run, 1 up, -1 down, equal keeps the last.
TYPED_TEST(SeriesOf, DiffSplitsRunsTrendFollowsDirection) {
    using V = value_t<TypeParam>;
    Script src = Script::of<TypeParam>({{{V(3), 3}, {V(5), 1}}, {{V(9), 255}, {V(9), 2}, {V(4), 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::diff(&r, src.rec()), SEQ_OK);
    const V down = static_cast<V>(V(4) - V(9));  // wraps for the unsigned members
    EXPECT_EQ(drain_runs<V>(r), (Runs<V>{{V(0), 1}, {V(0), 2}, {V(2), 1}, {V(4), 1}, {V(0), 254}, {V(0), 1},
                                         {V(0), 1}, {down, 1}}));
    EXPECT_EQ(r.next_pos, 262u);

    ASSERT_EQ(r.reset(&r), SEQ_OK);  // diff starts over at 0
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<V>(r, 0), V(0));

    Script src2 = Script::of<TypeParam>({{{V(1), 2}, {V(2), 2}, {V(2), 1}}, {{V(1), 7}}});
    ASSERT_EQ(Api<TypeParam>::trend(&r, src2.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_INT1);
    EXPECT_EQ(drain_chunks<int8_t>(r), (std::vector<Chunk<int8_t>>{{{0, 2}, {1, 2}, {1, 1}}, {{-1, 7}}}));
    EXPECT_EQ(r.next_pos, 12u);
}

TEST(Series, DiffWrapsUnsignedAndIsIeeeForFloats) {
    Script u = Script::of<Uint4>({{{5, 1}, {2, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_diff_uint4(&r, u.rec()), SEQ_OK);
    EXPECT_EQ(expand(drain_runs<uint32_t>(r)), (std::vector<uint32_t>{0, 4294967293u}));
    const double inf = std::numeric_limits<double>::infinity();
    Script d = Script::of<Double>({{{1.5, 1}, {inf, 1}, {inf, 1}}});
    ASSERT_EQ(zvq_seq_diff_double(&r, d.rec()), SEQ_OK);
    const auto out = expand(drain_runs<double>(r));
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[1], inf);
    EXPECT_TRUE(std::isnan(out[2]));
}

// Two output runs per input run: the bound can cut a run between its
// difference and its zeros, and the next refill finishes it.
TEST(Series, DiffCutsARunAtTheBoundAndFinishesItNextTime) {
    Chunk<int64_t> c;
    for (int j = 0; j < 300; ++j) c.push_back({j, 2});
    Script src = Script::of<Int8>({c});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_diff_int8(&r, src.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 455);
    EXPECT_EQ(src.rec()->chunk_pos, 227);
    EXPECT_EQ(src.rec()->run_pos, 1);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<int64_t>(r, 0), 0);
    EXPECT_EQ(repeat_at(r, 0), 1);
    EXPECT_EQ(r.next_pos, 600u);
}

TEST(Series, TrendKeepsTheLastDirectionThroughNan) {
    const double nan = std::nan("");
    Script src = Script::of<Double>({{{1, 1}, {2, 1}, {nan, 1}, {3, 1}, {1, 1}, {1, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_trend_double(&r, src.rec()), SEQ_OK);
    EXPECT_EQ(expand(drain_runs<int8_t>(r)), (std::vector<int8_t>{0, 1, 1, 1, -1, -1}));
}

// The root is taken after every chunk, and the next chunk adds to it.
TEST(Series, NormTakesTheRootPerChunkAndRecomputesAfterReset) {
    Script one = Script::of<Double>({{{3, 1}, {4, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_norm_double(&r, one.rec()), SEQ_OK);
    EXPECT_EQ(drain_runs<double>(r), (Runs<double>{{0.6, 1}, {0.8, 1}}));

    Script two = Script::of<Int4>({{{3, 2}, {4, 1}}, {{12, 1}}});
    ASSERT_EQ(zvq_seq_norm_int4(&r, two.rec()), SEQ_OK);
    const double d = std::sqrt(std::sqrt(34.0) + 144.0);
    EXPECT_EQ(drain_runs<double>(r), (Runs<double>{{3 / d, 2}, {4 / d, 1}, {12 / d, 1}}));
    EXPECT_EQ(two.pulls(), 7u);  // three for the norm, three to divide, the end
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(drain_runs<double>(r).size(), 3u);
    EXPECT_EQ(two.pulls(), 14u);

    Script empty = Script::of<Int4>({}), zeros = Script::of<Int4>({{{0, 3}}});
    ASSERT_EQ(zvq_seq_norm_int4(&r, empty.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
    ASSERT_EQ(zvq_seq_norm_int4(&r, zeros.rec()), SEQ_OK);  // a norm of 0 gives NaN
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_TRUE(std::isnan(value_at<double>(r, 0)));
}

// A refill stops at the 455 doubles a chunk holds, whatever the operand's
// capacity; the operand's runs wait for the next call.
TEST(Series, NormStopsAtTheCapacityOfDouble) {
    Script src = Script::of<Uint1>({singles<uint8_t>(2048, 0)});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_norm_uint1(&r, src.rec()), SEQ_OK);
    const auto chunks = drain_chunks<double>(r);
    ASSERT_EQ(chunks.size(), 5u);
    EXPECT_EQ(chunks[0].size(), 455u);
    EXPECT_EQ(chunks[4].size(), 2048u - 4 * 455);
    EXPECT_EQ(r.next_pos, 2048u);
}

}  // namespace
