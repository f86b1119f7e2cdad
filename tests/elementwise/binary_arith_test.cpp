// Value rules of add, sub, mul, div, mod, max and min, by kind of member:
// signed integers wrap in their width, unsigned and datetime compare and
// divide unsigned, floating members follow IEEE 754 with their own max/min
// and NaN rules. Integer division faults like the processor's.
#include <gtest/gtest.h>

#include <csignal>
#include <cmath>
#include <cstring>
#include <limits>

#include "support/scripted_source.hpp"

namespace {

using zvq::test::Chunk;
using zvq::test::Script;
using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);

template <class Tag>
struct Members;
#define ZVQ_TEST_MEMBERS(name, Tag, ctype)              \
    template <>                                         \
    struct Members<zvq::Tag> {                          \
        static constexpr Ctor add = zvq_seq_add_##name; \
        static constexpr Ctor sub = zvq_seq_sub_##name; \
        static constexpr Ctor mul = zvq_seq_mul_##name; \
        static constexpr Ctor div = zvq_seq_div_##name; \
        static constexpr Ctor mod = zvq_seq_mod_##name; \
        static constexpr Ctor max = zvq_seq_max_##name; \
        static constexpr Ctor min = zvq_seq_min_##name; \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_MEMBERS)
#undef ZVQ_TEST_MEMBERS

// Element i of the result of ctor over left[i], right[i] (runs of 1, with a
// run of 3 at the end so that a repeat passes through too).
template <class Tag>
std::vector<zvq::value_t<Tag>> combine(Ctor ctor, const std::vector<zvq::value_t<Tag>>& left,
                                       const std::vector<zvq::value_t<Tag>>& right) {
    using V = zvq::value_t<Tag>;
    Chunk<V> lc, rc;
    for (size_t i = 0; i < left.size(); ++i) {
        const uint8_t rep = i + 1 == left.size() ? 3 : 1;
        lc.push_back({left[i], rep});
        rc.push_back({right[i], rep});
    }
    Script l = Script::of<Tag>({lc});
    Script r = Script::of<Tag>({rc});
    zvq_seq_iterator out{};
    EXPECT_EQ(ctor(&out, l.rec(), r.rec()), SEQ_OK);
    const auto runs = zvq::test::drain_runs<V>(out);
    std::vector<V> values;
    for (const auto& run : runs) values.push_back(run.value);
    EXPECT_EQ(runs.size(), left.size());
    if (!runs.empty()) {
        EXPECT_EQ(runs.back().repeat, 3);
    }
    return values;
}

template <class Tag>
class SignedArith : public ::testing::Test {};
using SignedTags = ::testing::Types<zvq::Int1, zvq::Int2, zvq::Int4, zvq::Int8>;
TYPED_TEST_SUITE(SignedArith, SignedTags);

TYPED_TEST(SignedArith, WrapTruncateAndKeepTheSign) {
    using V = zvq::value_t<TypeParam>;
    using M = Members<TypeParam>;
    constexpr V hi = std::numeric_limits<V>::max(), lo = std::numeric_limits<V>::min();
    EXPECT_EQ(combine<TypeParam>(M::add, {hi, -5}, {1, 3}), (std::vector<V>{lo, -2}));
    EXPECT_EQ(combine<TypeParam>(M::sub, {lo, 2}, {1, 7}), (std::vector<V>{hi, -5}));
    EXPECT_EQ(combine<TypeParam>(M::mul, {hi, -3}, {2, 4}), (std::vector<V>{-2, -12}));
    EXPECT_EQ(combine<TypeParam>(M::div, {-7, 7, -8, 0}, {2, -2, -3, -9}), (std::vector<V>{-3, -3, 2, 0}));
    EXPECT_EQ(combine<TypeParam>(M::mod, {-7, 7, -8, lo}, {2, -2, 3, hi}), (std::vector<V>{-1, 1, -2, -1}));
    EXPECT_EQ(combine<TypeParam>(M::max, {-1, 5, -3}, {0, 5, -4}), (std::vector<V>{0, 5, -3}));
    EXPECT_EQ(combine<TypeParam>(M::min, {-1, 5, -3}, {0, 5, -4}), (std::vector<V>{-1, 5, -4}));
}

template <class Tag>
class UnsignedArith : public ::testing::Test {};
using UnsignedTags = ::testing::Types<zvq::Uint1, zvq::Uint2, zvq::Uint4, zvq::Uint8, zvq::Datetime>;
TYPED_TEST_SUITE(UnsignedArith, UnsignedTags);

TYPED_TEST(UnsignedArith, WrapAndCompareUnsigned) {
    using V = zvq::value_t<TypeParam>;
    using M = Members<TypeParam>;
    constexpr V hi = std::numeric_limits<V>::max();
    EXPECT_EQ(combine<TypeParam>(M::add, {hi, 5}, {1, 3}), (std::vector<V>{0, 8}));
    EXPECT_EQ(combine<TypeParam>(M::sub, {0, 7}, {1, 2}), (std::vector<V>{hi, 5}));
    EXPECT_EQ(combine<TypeParam>(M::mul, {hi, 3}, {hi, 4}), (std::vector<V>{1, 12}));
    EXPECT_EQ(combine<TypeParam>(M::div, {hi, 7}, {2, 2}), (std::vector<V>{static_cast<V>(hi / 2), 3}));
    EXPECT_EQ(combine<TypeParam>(M::mod, {7, 200}, {3, 7}), (std::vector<V>{1, 4}));
    EXPECT_EQ(combine<TypeParam>(M::max, {hi, 0, 4}, {1, 0, 9}), (std::vector<V>{hi, 0, 9}));
    EXPECT_EQ(combine<TypeParam>(M::min, {hi, 0, 4}, {1, 0, 9}), (std::vector<V>{1, 0, 4}));
}

// The narrow signed members divide in 32 bits: the smallest value over -1
// wraps to itself instead of faulting.
TEST(NarrowDivision, SmallestOverMinusOneKeepsTheLowBits) {
    EXPECT_EQ(combine<zvq::Int1>(zvq_seq_div_int1, {-128, -128}, {-1, 1}), (std::vector<int8_t>{-128, -128}));
    EXPECT_EQ(combine<zvq::Int1>(zvq_seq_mod_int1, {-128}, {-1}), (std::vector<int8_t>{0}));
    EXPECT_EQ(combine<zvq::Int2>(zvq_seq_div_int2, {-32768}, {-1}), (std::vector<int16_t>{-32768}));
    EXPECT_EQ(combine<zvq::Int2>(zvq_seq_mod_int2, {-32768}, {-1}), (std::vector<int16_t>{0}));
    EXPECT_EQ(combine<zvq::Uint1>(zvq_seq_div_uint1, {255}, {2}), (std::vector<uint8_t>{127}));
}

// uint8 modulo is exact; datetime modulo goes through double.
TEST(DatetimeModulo, ComputesInDoubleAndTurnsAZeroDivisorInto2To63) {
    constexpr uint64_t p53 = uint64_t{1} << 53;
    constexpr uint64_t hi = std::numeric_limits<uint64_t>::max();
    EXPECT_EQ(combine<zvq::Uint8>(zvq_seq_mod_uint8, {p53 + 1, hi}, {p53, 10}), (std::vector<uint64_t>{1, 5}));
    // 2^53 + 1 rounds to 2^53; 2^64 - 1 rounds to 2^64, which leaves 6.
    EXPECT_EQ(combine<zvq::Datetime>(zvq_seq_mod_datetime, {p53 + 1, hi, 17}, {p53, 10, 5}),
              (std::vector<uint64_t>{0, 6, 2}));
    EXPECT_EQ(combine<zvq::Datetime>(zvq_seq_mod_datetime, {12345, 0}, {0, 0}),
              (std::vector<uint64_t>{9223372036854775808ull, 9223372036854775808ull}));
}

template <class Tag>
class FloatArith : public ::testing::Test {
   protected:
    using V = zvq::value_t<Tag>;
    // Bit-exact, so that -0 and +0 differ; any NaN matches any NaN.
    static void expect_same(const std::vector<V>& got, const std::vector<V>& want) {
        ASSERT_EQ(got.size(), want.size());
        for (size_t i = 0; i < got.size(); ++i) {
            if (std::isnan(want[i]))
                EXPECT_TRUE(std::isnan(got[i])) << i << ": " << got[i];
            else
                EXPECT_EQ(std::memcmp(&got[i], &want[i], sizeof(V)), 0) << i << ": " << got[i] << " vs " << want[i];
        }
    }
};
using FloatTags = ::testing::Types<zvq::Float, zvq::Double>;
TYPED_TEST_SUITE(FloatArith, FloatTags);

TYPED_TEST(FloatArith, Ieee754InTheTypesWidth) {
    using V = zvq::value_t<TypeParam>;
    using M = Members<TypeParam>;
    constexpr V inf = std::numeric_limits<V>::infinity();
    constexpr V nan = std::numeric_limits<V>::quiet_NaN();
    this->expect_same(combine<TypeParam>(M::add, {1.5, inf}, {2.25, -inf}), {3.75, nan});
    this->expect_same(combine<TypeParam>(M::sub, {1.5, 0.0}, {2.25, 0.0}), {-0.75, 0.0});
    this->expect_same(combine<TypeParam>(M::mul, {1.5, -0.0}, {-4, 3}), {-6, -0.0});
    this->expect_same(combine<TypeParam>(M::div, {1, -1, 0, 1}, {0, 0, 0, 3}), {inf, -inf, nan, V(1) / V(3)});
    this->expect_same(combine<TypeParam>(M::mod, {5.5, -7.5, 1, inf}, {2, 2, 0, 1}), {1.5, -1.5, nan, nan});
}

TYPED_TEST(FloatArith, MaxAndMinKeepLeftOnlyWhenStrictlyBeyondRight) {
    using V = zvq::value_t<TypeParam>;
    using M = Members<TypeParam>;
    constexpr V nan = std::numeric_limits<V>::quiet_NaN();
    this->expect_same(combine<TypeParam>(M::max, {nan, 1, 0.0, -0.0, 3}, {1, nan, -0.0, 0.0, 2}),
                      {1, nan, -0.0, 0.0, 3});
    this->expect_same(combine<TypeParam>(M::min, {nan, 1, 0.0, -0.0, 2}, {1, nan, -0.0, 0.0, 3}),
                      {1, nan, -0.0, 0.0, 2});
}

// ---- the faults of integer division ------------------------------------

template <class Tag>
void divide_once(Ctor ctor, zvq::value_t<Tag> a, zvq::value_t<Tag> b) {
    // The sanitizers catch SIGFPE by default; the default action is what a
    // caller of the library gets.
    std::signal(SIGFPE, SIG_DFL);
    Script l = Script::of<Tag>({{{a, 1}}});
    Script r = Script::of<Tag>({{{b, 1}}});
    zvq_seq_iterator out{};
    if (ctor(&out, l.rec(), r.rec()) != SEQ_OK) return;
    out.next(&out);
}

TEST(DivisionFaultDeathTest, ZeroDivisorFaultsForEveryIntegerKind) {
    const auto fpe = ::testing::KilledBySignal(SIGFPE);
    EXPECT_EXIT(divide_once<zvq::Int4>(zvq_seq_div_int4, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Int1>(zvq_seq_div_int1, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Uint1>(zvq_seq_div_uint1, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Int2>(zvq_seq_mod_int2, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Uint8>(zvq_seq_mod_uint8, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Int8>(zvq_seq_div_int8, 0, 0), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Datetime>(zvq_seq_div_datetime, 7, 0), fpe, "");
}

TEST(DivisionFaultDeathTest, SmallestWideValueOverMinusOneFaults) {
    const auto fpe = ::testing::KilledBySignal(SIGFPE);
    constexpr int32_t min4 = std::numeric_limits<int32_t>::min();
    constexpr int64_t min8 = std::numeric_limits<int64_t>::min();
    EXPECT_EXIT(divide_once<zvq::Int4>(zvq_seq_div_int4, min4, -1), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Int4>(zvq_seq_mod_int4, min4, -1), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Int8>(zvq_seq_div_int8, min8, -1), fpe, "");
    EXPECT_EXIT(divide_once<zvq::Int8>(zvq_seq_mod_int8, min8, -1), fpe, "");
    // One below the smallest is an ordinary division.
    EXPECT_EQ(combine<zvq::Int4>(zvq_seq_div_int4, {min4 + 1}, {-1}), (std::vector<int32_t>{2147483647}));
    EXPECT_EQ(combine<zvq::Int8>(zvq_seq_mod_int8, {min8 + 1}, {-1}), (std::vector<int64_t>{0}));
}

}  // namespace
