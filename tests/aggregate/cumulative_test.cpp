// Cumulative aggregates: every family over runs across chunks for every
// numeric type, the integer variance and its wrapped squares, the count that
// next_pos keeps, NaN, failure and reset.
#include <cmath>
#include <limits>
#include <tuple>

#include "running_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class CumFamilies : public ::testing::Test {};
TYPED_TEST_SUITE(CumFamilies, NumericTags);

TYPED_TEST(CumFamilies, OneOutputPerElementOfRunsAcrossChunks) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using R = Running<Tag>;
    using W = wide_t<Tag>;
    constexpr bool dt = Tag::kind == Kind::Datetime;
    using S = std::conditional_t<dt, double, W>;  // a datetime sum is a double
    const std::vector<Chunk<V>> in = {{{V(2), 2}, {V(5), 1}}, {{V(7), 1}}};
    EXPECT_EQ((run_over<S, Tag>(R::cum_agg_sum, in)), seq<S>({2, 4, 9, 16}));
    EXPECT_EQ((run_over<W, Tag>(R::cum_agg_prd, in)), seq<W>({2, 4, 20, 140}));
    EXPECT_EQ((run_over<double, Tag>(R::cum_agg_avg, in)), seq<double>({2, 2, 3, 4}));
    EXPECT_EQ((run_over<V, Tag>(R::cum_agg_min, in)), (Stretches<V>{{V(2), 4}}));
    EXPECT_EQ((run_over<V, Tag>(R::cum_agg_max, in)), seq<V>({2, 2, 5, 7}));
    if constexpr (is_floating<Tag>) {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        EXPECT_EQ((run_over<double, Tag>(R::cum_agg_var, in)), seq<double>({0, 0, 2, 4.5}));
        EXPECT_EQ((run_over<double, Tag>(R::cum_agg_var_samp, in)), seq<double>({0, -8, -3.75, (82 - 256 / 3.) / 3}));
        EXPECT_EQ((run_over<double, Tag>(R::cum_agg_dev, in)), seq<double>({0, 0, std::sqrt(2.), std::sqrt(4.5)}));
        EXPECT_EQ((run_over<double, Tag>(R::cum_agg_dev_samp, in)), (Stretches<double>{{0, 1}, {nan, 3}}));
    } else {
        // Integer quotients: m = 81 / 2 = 40, 256 / 3 = 85; each output
        // truncated. A negative one keeps its bits in an unsigned result, and
        // the root of one (NaN) gives the indefinite value.
        EXPECT_EQ((run_over<W, Tag>(R::cum_agg_var, in)), (seq<W, int64_t>({0, 0, 2, 4})));
        EXPECT_EQ((run_over<W, Tag>(R::cum_agg_var_samp, in)), (seq<W, int64_t>({0, -8, -3, -1})));
        EXPECT_EQ((run_over<W, Tag>(R::cum_agg_dev, in)), (seq<W, int64_t>({0, 0, 1, 2})));
        const int64_t nan = std::numeric_limits<int64_t>::min();
        EXPECT_EQ((run_over<W, Tag>(R::cum_agg_dev_samp, in)), stretches(std::vector<W>{0, W(nan), W(nan), W(nan)}));
    }

    const uint8_t d = ZVQ_SEQ_TYPE_DOUBLE, wide = wide_tag_t<Tag>::code;
    const uint8_t types[] = {dt ? d : wide, wide, Tag::code, Tag::code, d, wide, wide, wide, wide};
    for (size_t i = 0; i < std::size(types); ++i)
        EXPECT_EQ(empty_shape<Tag>(R::cums[i], types[i], i == 2 || i == 3 ? Tag::size : 8),
                  zvq_seq_reset_unary_iterator);
}

TEST(CumVariance, WorkedExamplesAndSquaresInTheOperandsArithmetic) {
    using I = Running<Int4>;
    const int64_t indefinite = std::numeric_limits<int64_t>::min();
    const std::tuple<Plain, std::vector<int32_t>, int64_t> int4[] = {
        {I::cum_agg_var, {2, 4}, 1},         // m = 36 / 2 = 18, d = 1.0
        {I::cum_agg_var_samp, {2, 4}, -16},  // n = 1, m = 36, d = -16.0
        {I::cum_agg_dev, {1, 2}, 0},         // m = 9 / 2 = 4, d = 0.5, root 0.707
        {I::cum_agg_dev_samp, {2, 4}, indefinite},
        {I::cum_agg_var, {2, 2, 4}, 1},                 // m = 64 / 3 = 21, d = 1.0; a double quotient would give 0.89
        {I::cum_agg_var, {65536, 65536}, -4294967296},  // 2^32 wraps to 0 in 32 bits
    };
    for (const auto& [ctor, values, want] : int4) {
        Chunk<int32_t> in;
        for (int32_t v : values) in.push_back({v, 1});
        EXPECT_EQ((run_over<int64_t, Int4>(ctor, {in})).back().value, want);
    }
    // 65535^2 fits 32 bits unsigned, but uint2 reads it as signed.
    EXPECT_EQ((run_over<uint64_t, Uint4>(zvq_seq_cum_agg_var_uint4, {{{65535, 2}}})), (Stretches<uint64_t>{{0, 2}}));
    EXPECT_EQ((run_over<uint64_t, Uint2>(zvq_seq_cum_agg_var_uint2, {{{65535, 2}}})),
              (Stretches<uint64_t>{{0, 1}, {18446744069414584320u, 1}}));
}

TEST(CumCount, NextPosCountsEachElementAndTheChunkAgain) {
    auto s = Script::of<Double>({{{2, 255}, {2, 200}}, {{913, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_cum_agg_avg_double(&r, s.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.next_pos, 910u);
    // (910 x 2 + 913) / 911
    EXPECT_EQ(outputs<double>(r), (Stretches<double>{{3, 1}}));
    EXPECT_EQ(r.next_pos, 912u);
    // Reset starts over: the first element seeds again.
    EXPECT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(outputs<double>(r), (Stretches<double>{{2, 455}, {3, 1}}));
}

TEST(CumRuns, ARepeatByteOfZeroGives256Elements) {
    std::vector<int64_t> want;
    for (int64_t i = 1; i <= 256; ++i) want.push_back(2 * i);
    EXPECT_EQ((run_over<int64_t, Int1>(zvq_seq_cum_agg_sum_int1, {{{2, 0}}})), stretches(want));
}

TEST(CumNaN, ExtremesKeepAFirstNaNAndIgnoreLaterOnesSumsSpreadIt) {
    using R = Running<Double>;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ((run_over<double, Double>(R::cum_agg_min, {{{nan, 1}, {1, 1}, {0, 1}}})), (Stretches<double>{{nan, 3}}));
    const std::vector<Chunk<double>> later = {{{1, 1}, {nan, 1}, {0, 1}}};
    EXPECT_EQ((run_over<double, Double>(R::cum_agg_min, later)), (Stretches<double>{{1, 2}, {0, 1}}));
    EXPECT_EQ((run_over<double, Double>(R::cum_agg_max, later)), (Stretches<double>{{1, 3}}));
    for (Plain ctor : {R::cum_agg_sum, R::cum_agg_prd, R::cum_agg_avg, R::cum_agg_var, R::cum_agg_dev_samp})
        EXPECT_EQ((run_over<double, Double>(ctor, later)).back(), (Stretch<double>{nan, 2}));
}

TEST(CumFailure, CountAndAccumulatorsHaveMovedOutputsDropped) {
    auto s = Script::of<Double>({{{1, 1}, {2, 1}}, {{4, 1}}}).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_cum_agg_avg_double(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.chunk_count, 0);
    EXPECT_EQ(r.next_pos, 2u);
    // The mean 1.5 of two elements goes on: (2 x 1.5 + 4) / 3.
    EXPECT_EQ(outputs<double>(r), (Stretches<double>{{7 / 3., 1}}));
}

}  // namespace
}  // namespace zvq::test
