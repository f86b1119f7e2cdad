// histogram: interval counts with repeats, the bounds, the arguments tested
// before binding, and the interval arithmetic of each width.
#include <limits>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class Histogram : public ::testing::Test {};
TYPED_TEST_SUITE(Histogram, NumericTags);

using C = std::vector<uint64_t>;

template <class Tag>
C counts(const std::vector<Chunk<value_t<Tag>>>& chunks, value_t<Tag> lo, value_t<Tag> hi, int64_t n) {
    auto in = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(Api<Tag>::histogram(&r, in.rec(), lo, hi, n), SEQ_OK);
    return singles_of<uint64_t>(r);
}

TYPED_TEST(Histogram, EqualHalfOpenIntervalsCountRepeats) {
    using V = value_t<TypeParam>;
    // [0, 10) in 5 intervals of 2; a run of 200 counts 200.
    const std::vector<Chunk<V>> data = {{{V(0), 3}, {V(1), 1}, {V(2), 1}}, {{V(9), 200}, {V(5), 2}}};
    EXPECT_EQ(counts<TypeParam>(data, V(0), V(10), 5), (C{4, 1, 2, 0, 200}));
    // [20, 120) in 3: 33.3 apiece, truncated; 53 and 54 straddle a border.
    EXPECT_EQ(counts<TypeParam>({{{V(20), 1}, {V(53), 1}, {V(54), 1}, {V(119), 4}}}, V(20), V(120), 3), (C{2, 1, 4}));
    // An empty input still delivers n zero counts.
    EXPECT_EQ(counts<TypeParam>({}, V(0), V(10), 3), (C{0, 0, 0}));

    // The operand failing: the counts so far are published with its status.
    auto failing = Script::of<TypeParam>({{{V(1), 2}}}).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::histogram(&r, failing.rec(), V(0), V(10), 2), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ((C{r.chunk_count, value_at<uint64_t>(r, 0), value_at<uint64_t>(r, 1)}), (C{2, 2, 0}));

    // hist_max itself is out of range, hist_min in interval 0: the partial
    // count stays in the chunk, and a further read starts over with the rest.
    auto in = Script::of<TypeParam>({{{V(3), 1}, {V(10), 1}}, {{V(4), 5}}});
    ASSERT_EQ(Api<TypeParam>::histogram(&r, in.rec(), V(3), V(10), 2), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_EQ((C{r.next_pos, r.chunk_count, value_at<uint64_t>(r, 0)}), (C{0, 0, 1}));
    EXPECT_EQ(singles_of<uint64_t>(r), (C{5, 0}));
}

TYPED_TEST(Histogram, ArgumentsAreTestedBeforeTheBinding) {
    using V = value_t<TypeParam>;
    BindingChecks on(1);
    auto in = Script::of<TypeParam>({});
    zvq_seq_iterator r{};
    for (auto [lo, hi, n] : {std::tuple{V(0), V(5), int64_t{0}}, {V(0), V(5), int64_t{456}},
                             {V(5), V(5), int64_t{1}}, {V(6), V(5), int64_t{1}}}) {
        EXPECT_EQ(Api<TypeParam>::histogram(&r, in.rec(), lo, hi, n), SEQ_BAD_ARGUMENT);
        EXPECT_EQ(in.rec()->bound, 0);
    }
    auto wrong = Script::of<Uint8>({});
    if constexpr (TypeParam::code != ZVQ_SEQ_TYPE_UINT8) {
        EXPECT_EQ(Api<TypeParam>::histogram(&r, wrong.rec(), V(0), V(5), 1), SEQ_TYPE_MISMATCH);
    }
    ASSERT_EQ(Api<TypeParam>::histogram(&r, in.rec(), V(0), V(5), 455), SEQ_OK);
    EXPECT_EQ(Api<TypeParam>::histogram(&r, in.rec(), V(0), V(5), 1), SEQ_ALREADY_BOUND);
}

TEST(HistogramArithmetic, WideSpansFloatRoundingAndNaN) {
    using I4 = std::numeric_limits<int32_t>;
    using I8 = std::numeric_limits<int64_t>;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // int4: a span of 2^31 or more wraps; 0 belongs in interval 2 of 4 but
    // lands in 0.
    EXPECT_EQ(counts<Int4>({{{0, 1}}}, I4::min(), I4::max(), 4), (C{1, 0, 0, 0}));
    // uint8: the 64-bit product overflows (2^62 x 4) and wraps to interval 0.
    EXPECT_EQ(counts<Uint8>({{{uint64_t{1} << 62, 1}}}, 0, uint64_t{1} << 63, 4), (C{1, 0, 0, 0}));
    // int8 spans near the full range stay in bounds.
    EXPECT_EQ(counts<Int8>({{{I8::max() - 1, 1}}}, I8::min(), I8::max(), 1), (C{1}));
    // A float just below hist_max rounds up to index n: the count falls
    // outside the delivered slots. The same in double precision stays inside.
    EXPECT_EQ(counts<Float>({{{0x1.fffffep-1f, 1}, {-1.0f, 1}}}, -1.0f, 1.0f, 2), (C{1, 0}));
    EXPECT_EQ(counts<Double>({{{0x1.fffffep-1, 1}}}, -1.0, 1.0, 2), (C{0, 1}));
    // A NaN passes the range test and counts in interval 0; with a NaN bound
    // every value that passes does.
    EXPECT_EQ(counts<Double>({{{nan, 3}, {7.5, 1}}}, 0.0, 10.0, 4), (C{3, 0, 0, 1}));
    EXPECT_EQ(counts<Double>({{{7.5, 2}, {1.0, 1}}}, 0.0, nan, 3), (C{3, 0, 0}));
    EXPECT_EQ(counts<Float>({{{std::numeric_limits<float>::quiet_NaN(), 2}}}, -1.0f, 1.0f, 2), (C{2, 0}));
}

}  // namespace
}  // namespace zvq::test
