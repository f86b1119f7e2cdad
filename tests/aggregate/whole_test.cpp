// The nine folding families over every numeric type: fold rules, result
// types, run products, NaN, failure and the constructor's record.
#include <cmath>
#include <limits>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class WholeFold : public ::testing::Test {};
TYPED_TEST_SUITE(WholeFold, NumericTags);

// Runs (3 x2, 1) | (5 x3): two chunks, repeats folded by multiplication.
template <class Tag>
Script sample() {
    using V = value_t<Tag>;
    return Script::of<Tag>({{{V(3), 2}, {V(1), 1}}, {{V(5), 3}}});
}

TYPED_TEST(WholeFold, EachRuleOverRunsAcrossChunks) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using A = Agg<Tag>;
    constexpr bool dt = Tag::kind == Kind::Datetime;
    // Sums and products are 64-bit of the operand's signedness, doubles for floats.
    using Wide = std::conditional_t<is_floating<Tag>, double, std::conditional_t<is_signed_int<Tag>, int64_t, uint64_t>>;

    { auto s = sample<Tag>(); EXPECT_EQ(aggregate<V>(A::max, s.rec()), V(5)); }
    { auto s = sample<Tag>(); EXPECT_EQ(aggregate<V>(A::min, s.rec()), V(1)); }
    { auto s = sample<Tag>(); EXPECT_EQ(aggregate<Wide>(A::sum, s.rec()), Wide(22)); }
    { auto s = sample<Tag>(); EXPECT_EQ(aggregate<Wide>(A::prd, s.rec()), Wide(1125)); }
    {
        auto s = sample<Tag>();
        if constexpr (dt)
            EXPECT_EQ(aggregate<uint64_t>(A::avg, s.rec()), 3u);  // 22 / 6, truncated
        else
            EXPECT_DOUBLE_EQ(aggregate<double>(A::avg, s.rec()), 22.0 / 6.0);
    }
    // a = 22, q = 94, n = 6.
    { auto s = sample<Tag>(); EXPECT_DOUBLE_EQ(aggregate<double>(A::var, s.rec()), 20.0 / 9.0); }
    { auto s = sample<Tag>(); EXPECT_DOUBLE_EQ(aggregate<double>(A::dev, s.rec()), std::sqrt(20.0 / 9.0)); }
    // n - 1 in both divisors makes it negative, and nothing clamps it.
    { auto s = sample<Tag>(); EXPECT_EQ(aggregate<double>(A::var_samp, s.rec()), (94.0 - 484.0 / 5.0) / 5.0); }
    { auto s = sample<Tag>(); EXPECT_TRUE(std::isnan(aggregate<double>(A::dev_samp, s.rec()))); }
}

TYPED_TEST(WholeFold, ResultTypesAndWidths) {
    using Tag = TypeParam;
    using A = Agg<Tag>;
    auto s = sample<Tag>();
    const uint8_t wide = is_floating<Tag> ? ZVQ_SEQ_TYPE_DOUBLE
                         : Tag::kind == Kind::Datetime ? ZVQ_SEQ_TYPE_DATETIME
                         : is_signed_int<Tag>          ? ZVQ_SEQ_TYPE_INT8
                                                       : ZVQ_SEQ_TYPE_UINT8;
    const uint8_t avg = Tag::kind == Kind::Datetime ? ZVQ_SEQ_TYPE_DATETIME : ZVQ_SEQ_TYPE_DOUBLE;
    const uint8_t min_max = Tag::kind == Kind::Datetime ? ZVQ_SEQ_TYPE_DOUBLE : Tag::code;
    const struct {
        Ctor ctor;
        uint8_t type;
        uint16_t size;
    } table[] = {{A::max, Tag::code, Tag::size},    {A::min, Tag::code, Tag::size},
                 {A::sum, wide, 8},                 {A::prd, wide, 8},
                 {A::avg, avg, 8},                  {A::var, ZVQ_SEQ_TYPE_DOUBLE, 8},
                 {A::var_samp, ZVQ_SEQ_TYPE_DOUBLE, 8}, {A::dev, ZVQ_SEQ_TYPE_DOUBLE, 8},
                 {A::dev_samp, ZVQ_SEQ_TYPE_DOUBLE, 8}, {A::min_max, min_max, Tag::size}};
    BindingChecks off(0);
    for (const auto& row : table) {
        zvq_seq_iterator r{};
        ASSERT_EQ(row.ctor(&r, s.rec()), SEQ_OK);
        EXPECT_EQ(r.elem_type, row.type);
        EXPECT_EQ(r.elem_size, row.size);
    }
}

TYPED_TEST(WholeFold, EmptyOperandPublishesNothing) {
    using Tag = TypeParam;
    for (Ctor ctor : folding_families<Tag>()) {
        auto s = Script::of<Tag>({});
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, s.rec()), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(r.next_pos, 0u);
        EXPECT_EQ(r.chunk_count, 0);
        EXPECT_EQ(r.next(&r), SEQ_END);  // pulls again, finds the end again
        EXPECT_EQ(s.pulls(), 2u);
    }
}

TYPED_TEST(WholeFold, FailureDropsTheFoldAndLeavesTheRecordFresh) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using Wide = std::conditional_t<is_floating<Tag>, double, std::conditional_t<is_signed_int<Tag>, int64_t, uint64_t>>;
    auto s = Script::of<Tag>({{{V(7), 4}}, {{V(2), 1}}, {{V(3), 2}}});
    s.fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(Agg<Tag>::sum(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);
    // The next read starts over from where the operand stands: 2 + 3 * 2.
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(published<Wide>(r), Wide(8));
    EXPECT_EQ(partial<Wide>(r).partial_count, 3u);
}

TYPED_TEST(WholeFold, ConstructorRecordAndBindings) {
    using Tag = TypeParam;
    using A = Agg<Tag>;
    {
        // datetime and uint8 share a C type but not a code.
        Script wrong = std::is_same_v<Tag, Datetime> ? Script::of<Uint8>({}) : Script::of<Datetime>({});
        zvq_seq_iterator r{};
        EXPECT_EQ(A::sum(&r, wrong.rec()), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(wrong.rec()->bound, 0);
    }
    auto s = sample<Tag>();
    zvq_seq_iterator r;
    std::memset(&r, 0xA5, sizeof r);  // constructors take records in any state
    ASSERT_EQ(A::var(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(s.rec()->bound, 1);
    EXPECT_EQ(r.prepared, 0);
    EXPECT_EQ(r.bound, 0);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(r.last_pos, kAllOnes);
    EXPECT_EQ(r.operand[0], s.rec());
    EXPECT_EQ(r.reset, zvq_seq_reset_unary_iterator);
    EXPECT_EQ(r.prepare, zvq_seq_prepare_aggregate);
    EXPECT_NE(r.merge, nullptr);
    EXPECT_EQ(partial<double>(r).partial_count, 0u);

    BindingChecks on(1);
    zvq_seq_iterator again{};
    EXPECT_EQ(A::max(&again, s.rec()), SEQ_ALREADY_BOUND);
    BindingChecks off(0);
    EXPECT_EQ(A::max(&again, s.rec()), SEQ_OK);
}

TYPED_TEST(WholeFold, SingleElementSpreadIsZero) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using A = Agg<Tag>;
    for (Ctor ctor : {A::var, A::var_samp, A::dev, A::dev_samp}) {
        auto one = Script::of<Tag>({{{V(7), 1}}});
        EXPECT_EQ(aggregate<double>(ctor, one.rec()), 0.0);
    }
    // One run of two is two elements: n is 2, so the sample form divides by
    // 1 twice, (18 - 36) / 1, while the population form gives 0.
    auto pair = Script::of<Tag>({{{V(3), 2}}});
    EXPECT_EQ(aggregate<double>(A::var_samp, pair.rec()), -18.0);
    auto pop = Script::of<Tag>({{{V(3), 2}}});
    EXPECT_EQ(aggregate<double>(A::var, pop.rec()), 0.0);
}

// ---- per-type exceptions --------------------------------------------------

TEST(WholeRunProduct, Int4WrapsIn32BitsBeforeWidening) {
    // 10^7 x 255 wraps to -1744967296 in 32 bits; the 64-bit sum keeps the wrap.
    auto s = Script::of<Int4>({{{10'000'000, 255}, {1, 1}}});
    EXPECT_EQ(aggregate<int64_t>(zvq_seq_agg_sum_int4, s.rec()), -1744967296 + 1);
    auto a = Script::of<Int4>({{{10'000'000, 255}, {1, 1}}});
    EXPECT_DOUBLE_EQ(aggregate<double>(zvq_seq_agg_avg_int4, a.rec()), (-1744967296.0 + 1.0) / 256.0);
}

TEST(WholeRunProduct, Uint4ZeroExtendsAndWideTypesWrap) {
    auto u4 = Script::of<Uint4>({{{0x80000000u, 2}, {7u, 1}}});
    EXPECT_EQ(aggregate<uint64_t>(zvq_seq_agg_sum_uint4, u4.rec()), 7u);
    auto u4b = Script::of<Uint4>({{{0x80000001u, 3}}});  // 3 x (2^31 + 1) mod 2^32
    EXPECT_EQ(aggregate<uint64_t>(zvq_seq_agg_sum_uint4, u4b.rec()), 0x80000003u);
    auto i8 = Script::of<Int8>({{{int64_t{1} << 62, 4}, {-5, 1}}});
    EXPECT_EQ(aggregate<int64_t>(zvq_seq_agg_sum_int8, i8.rec()), -5);
    // Small types multiply in 32 bits and cannot wrap.
    auto i1 = Script::of<Int1>({{{-128, 255}}});
    EXPECT_EQ(aggregate<int64_t>(zvq_seq_agg_sum_int1, i1.rec()), -128 * 255);
}

TEST(WholeRunProduct, FloatRunMultipliesInSinglePrecision) {
    auto s = Script::of<Float>({{{0.1f, 3}}});
    const double sum = aggregate<double>(zvq_seq_agg_sum_float, s.rec());
    EXPECT_EQ(sum, static_cast<double>(0.1f * 3.0f));
    EXPECT_NE(sum, static_cast<double>(0.1f) * 3.0);
    // Squares are taken in double: widened value squared, then times r.
    auto v = Script::of<Float>({{{0.1f, 3}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_var_float(&r, v.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    const double d = static_cast<double>(0.1f);
    EXPECT_EQ(partial<double>(r).partial_squares, d * d * 3.0);
}

TEST(WholeNaN, ExtremesKeepANaNSeedAndIgnoreLaterNaN) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto first = Script::of<Double>({{{nan, 1}, {5.0, 1}, {-5.0, 1}}});
    EXPECT_TRUE(std::isnan(aggregate<double>(zvq_seq_agg_max_double, first.rec())));
    auto later = Script::of<Double>({{{1.0, 1}, {nan, 2}}, {{0.5, 1}, {2.0, 1}}});
    EXPECT_EQ(aggregate<double>(zvq_seq_agg_max_double, later.rec()), 2.0);
    auto later_min = Script::of<Float>({{{1.0f, 1}, {std::nanf(""), 2}, {0.5f, 1}}});
    EXPECT_EQ(aggregate<float>(zvq_seq_agg_min_float, later_min.rec()), 0.5f);
}

TEST(WholeNaN, SumsSpreadIt) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (Ctor ctor : folding_families<Double>()) {
        if (ctor == zvq_seq_agg_max_double || ctor == zvq_seq_agg_min_double) continue;
        auto s = Script::of<Double>({{{1.0, 1}, {nan, 1}, {2.0, 3}}});
        EXPECT_TRUE(std::isnan(aggregate<double>(ctor, s.rec())));
    }
}

TEST(WholeDatetime, AverageIsATruncatedIntegerQuotient) {
    auto s = Script::of<Datetime>({{{1, 1}, {2, 1}}});
    EXPECT_EQ(aggregate<uint64_t>(zvq_seq_agg_avg_datetime, s.rec()), 1u);
    // Values beyond 2^53 stay exact: the sum is integer, not double.
    const uint64_t big = (uint64_t{1} << 60) + 1;
    auto b = Script::of<Datetime>({{{big, 2}}});
    EXPECT_EQ(aggregate<uint64_t>(zvq_seq_agg_avg_datetime, b.rec()), big);
}

TEST(WholeVarSamp, DividesByNMinusOneTwice) {
    // a = 7, q = 21, n = 3: (21 - 49 / 2) / 2, where the textbook gives 7/3.
    auto s = Script::of<Int4>({{{1, 1}, {2, 1}, {4, 1}}});
    EXPECT_EQ(aggregate<double>(zvq_seq_agg_var_samp_int4, s.rec()), -1.75);
    auto d = Script::of<Int4>({{{1, 1}, {2, 1}, {4, 1}}});
    EXPECT_TRUE(std::isnan(aggregate<double>(zvq_seq_agg_dev_samp_int4, d.rec())));
}

TEST(WholeProduct, TruncatesThroughDoubleAtEveryStep) {
    // 3^39 = 4052555153018976267 needs 62 bits; pow rounds it to a double.
    auto s = Script::of<Int8>({{{3, 39}}});
    EXPECT_EQ(aggregate<int64_t>(zvq_seq_agg_prd_int8, s.rec()), 4052555153018976256);
    // 10^19 is out of the signed range: the indefinite value, which stays.
    auto o = Script::of<Int8>({{{10, 19}, {1, 1}}});
    EXPECT_EQ(aggregate<int64_t>(zvq_seq_agg_prd_int8, o.rec()), std::numeric_limits<int64_t>::min());
    auto u = Script::of<Uint8>({{{10, 19}}});
    EXPECT_EQ(aggregate<uint64_t>(zvq_seq_agg_prd_uint8, u.rec()), 10000000000000000000u);
    auto neg = Script::of<Int2>({{{-2, 3}, {5, 1}}});
    EXPECT_EQ(aggregate<int64_t>(zvq_seq_agg_prd_int2, neg.rec()), -40);
    auto f = Script::of<Float>({{{0.5f, 2}, {3.0f, 1}}});
    EXPECT_EQ(aggregate<double>(zvq_seq_agg_prd_float, f.rec()), 0.75);
}

}  // namespace
}  // namespace zvq::test
