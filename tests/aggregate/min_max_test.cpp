// agg_min_max: both extremes as two runs, by runs, outside the merge protocol.
#include <cmath>
#include <limits>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class MinMax : public ::testing::Test {};
TYPED_TEST_SUITE(MinMax, NumericTags);

TYPED_TEST(MinMax, PublishesMinimumThenMaximum) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    // Datetimes come out as doubles.
    using Out = std::conditional_t<Tag::kind == Kind::Datetime, double, V>;
    auto s = Script::of<Tag>({{{V(5), 3}, {V(2), 1}}, {{V(9), 2}, {V(2), 255}, {V(7), 1}}});
    zvq_seq_iterator r{};
    r.prepared = 1;
    ASSERT_EQ(Agg<Tag>::min_max(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.prepared, 1);  // left as found, and never tested
    EXPECT_EQ(r.prepare, nullptr);
    EXPECT_EQ(r.merge, nullptr);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 2);
    EXPECT_EQ(r.next_pos, 2u);
    EXPECT_EQ((Run<Out>{value_at<Out>(r, 0), repeat_at(r, 0)}), (Run<Out>{Out(2), 1}));
    EXPECT_EQ((Run<Out>{value_at<Out>(r, 1), repeat_at(r, 1)}), (Run<Out>{Out(9), 1}));
    EXPECT_EQ(r.next(&r), SEQ_END);
}

TYPED_TEST(MinMax, EmptyOrFailingOperandPublishesNothing) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    auto empty = Script::of<Tag>({});
    zvq_seq_iterator r{};
    ASSERT_EQ(Agg<Tag>::min_max(&r, empty.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.next_pos, 0u);

    auto failing = Script::of<Tag>({{{V(1), 1}}, {{V(2), 1}}});
    failing.fail_at(1, SEQ_BAD_ARGUMENT);
    ASSERT_EQ(Agg<Tag>::min_max(&r, failing.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(r.chunk_count, 0);
}

TEST(MinMaxNaN, ANaNSeedMakesBothResultsNaN) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    auto s = Script::of<Float>({{{nan, 1}, {1.0f, 1}, {-1.0f, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_min_max_float(&r, s.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_TRUE(std::isnan(value_at<float>(r, 0)));
    EXPECT_TRUE(std::isnan(value_at<float>(r, 1)));

    auto later = Script::of<Double>({{{3.0, 1}, {std::nan(""), 1}, {-1.0, 1}, {8.0, 1}}});
    ASSERT_EQ(zvq_seq_agg_min_max_double(&r, later.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<double>(r, 0), -1.0);
    EXPECT_EQ(value_at<double>(r, 1), 8.0);
}

}  // namespace
}  // namespace zvq::test
