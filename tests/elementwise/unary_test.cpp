// The unary kernel, abs/neg/not and the conversion matrix.
#include <cmath>
#include <cstdint>
#include <limits>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;
constexpr uint64_t kTop = 1ull << 63;

TEST(UnaryKernel, NarrowingFillsTheResultCapacityAcrossOperandChunks) {
    std::vector<Chunk<int64_t>> in;
    for (uint32_t c = 0; c < 6; ++c) in.push_back(singles<int64_t>(455, c * 455));
    Script src = Script::of<Int8>(in);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_int8_to_uint1(&r, src.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 2048);
    EXPECT_EQ(r.next_pos, 2048u);
    EXPECT_EQ(src.pulls(), 5u);
    EXPECT_EQ(src.rec()->chunk_pos, 2048 - 4 * 455);
    EXPECT_EQ(value_at<uint8_t>(r, 2047), 2047 % 256);
}

// uint1 to int8 fills 455 of the operand's runs a call; the rest waits there.
TEST(UnaryKernel, WideningLeavesRunsInTheOperandAndAFailureComesUpUnchanged) {
    Script src = Script::of<Uint1>({singles<uint8_t>(2048, 0), singles<uint8_t>(3, 0)});
    src.fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_uint1_to_int8(&r, src.rec()), SEQ_OK);
    for (int call = 0; call < 4; ++call) {
        ASSERT_EQ(r.next(&r), SEQ_OK);
        EXPECT_EQ(r.chunk_count, 455);
        EXPECT_EQ(src.rec()->chunk_pos, 455 * (call + 1));
        EXPECT_EQ(value_at<int64_t>(r, 0), 455 * call % 256);
    }
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);  // after the last 228 runs
    EXPECT_EQ(r.chunk_count, 455);
    EXPECT_EQ(src.rec()->chunk_pos, 2048);
}

TEST(UnaryConstructor, TypeTestComesBeforeTheBindingTest) {
    zvq_seq_iterator op{}, r{};
    op.elem_type = ZVQ_SEQ_TYPE_UINT8;
    op.bound = 1;
    EXPECT_EQ(zvq_seq_neg_datetime(&r, &op), SEQ_TYPE_MISMATCH);  // same C type, other code
    EXPECT_EQ(zvq_seq_not(&r, &op), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_neg_uint8(&r, &op), SEQ_ALREADY_BOUND);
    BindingChecks off(0);
    EXPECT_EQ(zvq_seq_neg_uint8(&r, &op), SEQ_OK);
}

template <class Tag>
class SignedSign : public ::testing::Test {};
TYPED_TEST_SUITE(SignedSign, SignedTags);

TYPED_TEST(SignedSign, WrapAtTheSmallestValue) {
    using V = value_t<TypeParam>;
    constexpr V lo = std::numeric_limits<V>::min(), hi = std::numeric_limits<V>::max();
    EXPECT_EQ(through<TypeParam>(Api<TypeParam>::abs, {-5, 5, lo, hi}), (std::vector<V>{5, 5, lo, hi}));
    EXPECT_EQ(through<TypeParam>(Api<TypeParam>::neg, {-5, 5, lo, 0}), (std::vector<V>{5, -5, lo, 0}));
}

TEST(Sign, UnsignedStaysDatetimeNegatesNotIsLogical) {
    EXPECT_EQ(through<Uint4>(zvq_seq_neg_uint4, {5, 0xFFFFFFFF}), (std::vector<uint32_t>{5, 0xFFFFFFFF}));
    EXPECT_EQ(through<Uint8>(zvq_seq_neg_uint8, {5}), std::vector<uint64_t>{5});
    EXPECT_EQ(through<Datetime>(zvq_seq_neg_datetime, {5, 0}), (std::vector<uint64_t>{18446744073709551611ull, 0}));
    EXPECT_EQ(through<Datetime>(zvq_seq_abs_datetime, {~0ull}), std::vector<uint64_t>{~0ull});
    EXPECT_EQ(through<Uint1>(zvq_seq_not, {0, 1, 2, 255}), (std::vector<uint8_t>{1, 0, 0, 0}));  // logical
}

template <class Tag>
class FloatSign : public ::testing::Test {};
TYPED_TEST_SUITE(FloatSign, FloatTags);

// abs flips only values below 0, so -0 and a negative NaN keep their sign;
// neg flips the sign bit of everything.
TYPED_TEST(FloatSign, AbsFlipsBelowZeroOnlyNegFlipsTheSignBit) {
    using F = value_t<TypeParam>;
    const F nan = std::numeric_limits<F>::quiet_NaN();
    const std::vector<F> in{-2.5, 2.5, -0.0, 0.0, nan, -nan};
    EXPECT_EQ(bits_of(through<TypeParam>(Api<TypeParam>::abs, in)), bits_of<F>({2.5, 2.5, -0.0, 0.0, nan, -nan}));
    EXPECT_EQ(bits_of(through<TypeParam>(Api<TypeParam>::neg, in)), bits_of<F>({2.5, -2.5, 0.0, -0.0, -nan, nan}));
}

TEST(Convert, IntegerSourcesKeepLowBitsExtendByTheirSignAndRoundToNearest) {
    EXPECT_EQ((through<Int4, Int1>(zvq_seq_int4_to_int1, {300, -129, 127})), (std::vector<int8_t>{44, 127, 127}));
    EXPECT_EQ((through<Uint8, Uint2>(zvq_seq_uint8_to_uint2, {0x123456789ABCDEF0})), std::vector<uint16_t>{0xDEF0});
    EXPECT_EQ((through<Datetime, Int4>(zvq_seq_datetime_to_int4, {~0ull << 31})), std::vector<int32_t>{INT32_MIN});
    EXPECT_EQ((through<Int4, Uint8>(zvq_seq_int4_to_uint8, {-1})), std::vector<uint64_t>{~0ull});
    EXPECT_EQ((through<Int1, Datetime>(zvq_seq_int1_to_datetime, {-2})), std::vector<uint64_t>{~1ull});
    EXPECT_EQ((through<Uint4, Int8>(zvq_seq_uint4_to_int8, {0xFFFFFFFF})), std::vector<int64_t>{4294967295});
    // Into floating types to nearest, uint8 and datetime as unsigned.
    const std::vector<uint64_t> wide{~0ull, (1ull << 53) + 1};
    EXPECT_EQ((through<Uint8, Double>(zvq_seq_uint8_to_double, wide)), (std::vector<double>{0x1p64, 0x1p53}));
    EXPECT_EQ((through<Datetime, Double>(zvq_seq_datetime_to_double, wide)), (std::vector<double>{0x1p64, 0x1p53}));
    EXPECT_EQ((through<Int8, Double>(zvq_seq_int8_to_double, {-1})), std::vector<double>{-1.0});
    EXPECT_EQ((through<Uint4, Float>(zvq_seq_uint4_to_float, {0xFFFFFFFF})), std::vector<float>{0x1p32f});
}

// The processor's truncation, then the low bits of the target.
TEST(Convert, IntegerTargetsTruncateLikeTheProcessor) {
    const std::vector<double> in{300.7, -70000.5, 3e9, 5e9, 1e19, -0x1p64, std::nan("")};
    const std::vector<uint64_t> u8{300, 18446744073709481616ull, 3000000000, 5000000000, 10000000000000000000ull,
                                   kTop, kTop};
    EXPECT_EQ((through<Double, Uint8>(zvq_seq_double_to_uint8, in)), u8);
    EXPECT_EQ((through<Double, Datetime>(zvq_seq_double_to_datetime, in)), u8);
    EXPECT_EQ((through<Double, Int8>(zvq_seq_double_to_int8, in)),
              (std::vector<int64_t>{300, -70000, 3000000000, 5000000000, INT64_MIN, INT64_MIN, INT64_MIN}));
    EXPECT_EQ((through<Double, Uint4>(zvq_seq_double_to_uint4, in)),
              (std::vector<uint32_t>{300, 4294897296u, 3000000000u, 705032704, 0, 0, 0}));
    EXPECT_EQ((through<Double, Int4>(zvq_seq_double_to_int4, in)),
              (std::vector<int32_t>{300, -70000, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN}));
    EXPECT_EQ((through<Double, Int1>(zvq_seq_double_to_int1, in)), (std::vector<int8_t>{44, -112, 0, 0, 0, 0, 0}));
    EXPECT_EQ((through<Double, Uint1>(zvq_seq_double_to_uint1, in)), (std::vector<uint8_t>{44, 144, 0, 0, 0, 0, 0}));
}

// T_from_U is U_to_T under its other name: one next, one reset, the operand
// of the source type.
template <class From, class To>
void expect_same_operation(Unary from, zvq_seq_next_fn next) {
    zvq_seq_iterator op{}, r{};
    op.elem_type = ZVQ_SEQ_TYPE_CHAR;
    EXPECT_EQ(from(&r, &op), SEQ_TYPE_MISMATCH);
    op.elem_type = From::code;
    ASSERT_EQ(from(&r, &op), SEQ_OK);
    EXPECT_EQ(r.next, next);
    EXPECT_EQ(r.reset, &zvq_seq_reset_unary_iterator);
    EXPECT_EQ(r.elem_type, To::code);
}

TEST(Convert, FromNamesTheSameOperationAsToForEveryPair) {
#define ZVQ_TEST_PAIR(from, From, from_c, to, To, to_c) \
    expect_same_operation<From, To>(zvq_seq_##to##_from_##from, zvq_seq_##from##_to_##to##_next);
#define ZVQ_TEST_PAIR_ROW(from, From, from_c) ZVQ_NUMERIC_TYPES_WITH(ZVQ_TEST_PAIR, from, From, from_c)
    ZVQ_NUMERIC_TYPES(ZVQ_TEST_PAIR_ROW)
#undef ZVQ_TEST_PAIR_ROW
#undef ZVQ_TEST_PAIR
}

}  // namespace
