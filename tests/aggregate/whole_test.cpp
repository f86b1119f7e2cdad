// The folding families, min-max and the merge protocol over every numeric
// type, then the per-type exceptions: run-product wraps, NaN, truncation.
#include <cmath>
#include <limits>
#include <tuple>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class WholeFold : public ::testing::Test {};
TYPED_TEST_SUITE(WholeFold, NumericTags);

TYPED_TEST(WholeFold, EachRuleOverRunsAcrossChunks) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using A = Api<Tag>;
    using W = wide_t<Tag>;
    // Two chunks, repeats folded by multiplication: a = 22, q = 94, n = 6.
    const std::vector<Chunk<V>> in = {{{V(3), 2}, {V(1), 1}}, {{V(5), 3}}};
    EXPECT_EQ((aggregate<V, Tag>(A::agg_max, in)), V(5));
    EXPECT_EQ((aggregate<V, Tag>(A::agg_min, in)), V(1));
    EXPECT_EQ((aggregate<W, Tag>(A::agg_sum, in)), W(22));
    EXPECT_EQ((aggregate<W, Tag>(A::agg_prd, in)), W(1125));
    if constexpr (Tag::kind == Kind::Datetime)
        EXPECT_EQ((aggregate<uint64_t, Tag>(A::agg_avg, in)), 3u);
    else
        EXPECT_DOUBLE_EQ((aggregate<double, Tag>(A::agg_avg, in)), 22.0 / 6.0);
    EXPECT_DOUBLE_EQ((aggregate<double, Tag>(A::agg_var, in)), 20.0 / 9.0);
    EXPECT_DOUBLE_EQ((aggregate<double, Tag>(A::agg_dev, in)), std::sqrt(20.0 / 9.0));
    // n - 1 in both divisors: (21 - 49 / 2) / 2, negative, and nothing clamps it.
    const std::vector<Chunk<V>> three = {{{V(1), 1}, {V(2), 1}, {V(4), 1}}};
    EXPECT_EQ((aggregate<double, Tag>(A::agg_var_samp, three)), -1.75);
    EXPECT_TRUE(std::isnan(aggregate<double, Tag>(A::agg_dev_samp, three)));
    for (Ctor ctor : {A::agg_var, A::agg_var_samp, A::agg_dev, A::agg_dev_samp})
        EXPECT_EQ((aggregate<double, Tag>(ctor, {{{V(7), 1}}})), 0.0);
    // Min-max ignores repeats; datetimes come out as doubles.
    using M = std::conditional_t<Tag::kind == Kind::Datetime, double, V>;
    EXPECT_EQ((min_max_runs<M, Tag>(in)), (std::vector<Run<M>>{{M(1), 1}, {M(5), 1}}));
}

TYPED_TEST(WholeFold, ResultShapeAndEmptyOperand) {
    using Tag = TypeParam;
    using A = Api<Tag>;
    constexpr bool dt = Tag::kind == Kind::Datetime;
    const uint8_t d = ZVQ_SEQ_TYPE_DOUBLE, i = ZVQ_SEQ_TYPE_INT8, u = ZVQ_SEQ_TYPE_UINT8;
    const uint8_t wide = is_floating<Tag> ? d : dt ? ZVQ_SEQ_TYPE_DATETIME : is_signed_int<Tag> ? i : u;
    const std::tuple<Ctor, uint8_t, uint16_t> table[] = {
        {A::agg_max, Tag::code, Tag::size}, {A::agg_min, Tag::code, Tag::size}, {A::agg_sum, wide, 8},
        {A::agg_prd, wide, 8},              {A::agg_avg, dt ? wide : d, 8},    {A::agg_var, d, 8},
        {A::agg_var_samp, d, 8},            {A::agg_dev, d, 8},                {A::agg_dev_samp, d, 8},
        {A::agg_min_max, dt ? d : Tag::code, Tag::size}, {zvq_seq_agg_count, u, 8}};
    BindingChecks off(0);
    auto s = Script::of<Tag>({});
    for (const auto& [ctor, type, size] : table) {
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, s.rec()), SEQ_OK);
        EXPECT_EQ(r.elem_type, type);
        EXPECT_EQ(r.elem_size, size);
        if (ctor == zvq_seq_agg_count) continue;
        // Nothing is published; the record stays fresh and pulls again.
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(r.next_pos, 0u);
    }
    EXPECT_EQ(s.pulls(), 20u);
}

TYPED_TEST(WholeFold, FailureDropsTheFoldAndLeavesTheRecordFresh) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    for (Ctor ctor : folding_families<Tag>()) {
        auto s = Script::of<Tag>({{{V(7), 4}}, {{V(2), 1}}, {{V(3), 2}}}).fail_at(1, SEQ_NOMEM);
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, s.rec()), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_NOMEM);
        EXPECT_EQ(r.next_pos, 0u);
        // The next read starts over from where the operand stands.
        EXPECT_EQ(r.next(&r), SEQ_OK);
        EXPECT_EQ(load<uint64_t>(r.state.bytes + 16), 3u);  // partial_count
    }
}

zvq_seq_status prepare(Ctor ctor, Script& s, zvq_seq_iterator& r) {
    EXPECT_EQ(ctor(&r, s.rec()), SEQ_OK);
    return r.prepare(&r);
}

TYPED_TEST(WholeFold, PartsMergeIntoTheWhole) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    // Three parts, the middle one empty; integer data keep every partial exact.
    const std::vector<Chunk<V>> a = {{{V(4), 2}, {V(1), 1}}, {{V(6), 1}}}, c = {{{V(2), 3}}, {{V(7), 1}, {V(3), 2}}},
                                all = {a[0], a[1], c[0], c[1]};
    auto families = folding_families<Tag>();
    families.push_back(zvq_seq_agg_count);
    for (Ctor ctor : families) {
        const bool count = ctor == zvq_seq_agg_count;  // which has a result, 0, for the empty part
        Script whole = Script::of<Tag>(all), sa = Script::of<Tag>(a), sb = Script::of<Tag>({}), sc = Script::of<Tag>(c);
        zvq_seq_iterator w{}, pa{}, pb{}, pc{};
        ASSERT_EQ(ctor(&w, whole.rec()), SEQ_OK);
        ASSERT_EQ(w.next(&w), SEQ_OK);
        ASSERT_EQ(prepare(ctor, sa, pa), SEQ_OK);
        ASSERT_EQ(prepare(ctor, sb, pb), count ? SEQ_OK : SEQ_END);
        ASSERT_EQ(prepare(ctor, sc, pc), SEQ_OK);
        // Prepared empty: SEQ_END without a pull, and stays so.
        EXPECT_EQ(pb.next(&pb), count ? SEQ_OK : SEQ_END);
        EXPECT_EQ(pb.next(&pb), SEQ_END);
        EXPECT_EQ(sb.pulls(), 1u);

        EXPECT_EQ(pa.merge(&pa, &pc), SEQ_OK);
        // Prepared with a result: handed out once, without a pull.
        const size_t a_pulls = sa.pulls();
        EXPECT_EQ(pa.next(&pa), SEQ_OK);
        EXPECT_EQ(repeat_at(pa, 0), 1);
        EXPECT_EQ(std::memcmp(pa.chunk, w.chunk, w.elem_size), 0);
        // The state too: value (as wide as the result), squares, count.
        EXPECT_EQ(std::memcmp(pa.state.bytes, w.state.bytes, w.elem_size), 0);
        EXPECT_EQ(std::memcmp(pa.state.bytes + 8, w.state.bytes + 8, 16), 0);
        EXPECT_EQ(pa.next(&pa), SEQ_END);
        EXPECT_EQ(sa.pulls(), a_pulls);
    }
}

TEST(WholeRunProduct, WrapsInTheOperandsWidthAndFloatStaysSingle) {
    // 10^7 x 255 wraps to -1744967296 in 32 bits; the 64-bit sum keeps the wrap.
    EXPECT_EQ((aggregate<int64_t, Int4>(zvq_seq_agg_sum_int4, {{{10'000'000, 255}, {1, 1}}})), -1744967296 + 1);
    // Narrow types multiply in 32 bits and cannot wrap.
    EXPECT_EQ((aggregate<int64_t, Int1>(zvq_seq_agg_sum_int1, {{{-128, 255}}})), -128 * 255);
    EXPECT_EQ((aggregate<double, Float>(zvq_seq_agg_sum_float, {{{0.1f, 3}}})), static_cast<double>(0.1f * 3.0f));
    // Squares are taken in double: 10^10 does not fit 32 bits.
    EXPECT_EQ((aggregate<double, Int4>(zvq_seq_agg_var_int4, {{{100'000, 1}, {0, 1}}})), 2.5e9);
}

TEST(WholeNaN, ExtremesKeepASeedIgnoreLaterOnesSumsSpreadIt) {
    using A = Api<Double>;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Chunk<double>> seed = {{{nan, 1}, {5.0, 1}, {-5.0, 1}}};
    const std::vector<Chunk<double>> later = {{{1.0, 1}, {nan, 2}}, {{0.5, 1}, {2.0, 1}}};
    EXPECT_TRUE(std::isnan(aggregate<double, Double>(A::agg_max, seed)));
    EXPECT_TRUE(std::isnan(aggregate<double, Double>(A::agg_min, seed)));
    EXPECT_EQ((aggregate<double, Double>(A::agg_max, later)), 2.0);
    EXPECT_EQ((aggregate<double, Double>(A::agg_min, later)), 0.5);
    for (Ctor ctor : {A::agg_sum, A::agg_prd, A::agg_avg, A::agg_var, A::agg_var_samp, A::agg_dev, A::agg_dev_samp})
        EXPECT_TRUE(std::isnan(aggregate<double, Double>(ctor, later)));
    EXPECT_EQ((min_max_runs<double, Double>(seed)), (std::vector<test::Run<double>>{{nan, 1}, {nan, 1}}));
    EXPECT_EQ((min_max_runs<double, Double>(later)), (std::vector<test::Run<double>>{{0.5, 1}, {2.0, 1}}));
}

TEST(WholeIntegerResults, TruncateThroughIntegerOrDoubleArithmetic) {
    EXPECT_EQ((aggregate<uint64_t, Datetime>(zvq_seq_agg_avg_datetime, {{{1, 1}, {2, 1}}})), 1u);
    // Beyond 2^53 the datetime average stays exact: its sum is an integer.
    const uint64_t big = (uint64_t{1} << 60) + 1;
    EXPECT_EQ((aggregate<uint64_t, Datetime>(zvq_seq_agg_avg_datetime, {{{big, 2}}})), big);
    // 3^39 = 4052555153018976267 needs 62 bits; pow rounds it to a double.
    EXPECT_EQ((aggregate<int64_t, Int8>(zvq_seq_agg_prd_int8, {{{3, 39}}})), 4052555153018976256);
    // 10^19 is out of the signed range: the indefinite value, which stays.
    EXPECT_EQ((aggregate<int64_t, Int8>(zvq_seq_agg_prd_int8, {{{10, 19}, {1, 1}}})),
              std::numeric_limits<int64_t>::min());
}

}  // namespace
}  // namespace zvq::test
