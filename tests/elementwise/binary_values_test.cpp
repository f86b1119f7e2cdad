// Value rules of the binary operators by kind of member: arithmetic, the
// faults of integer division, comparisons, logic and the char joins.
#include <cmath>
#include <csignal>
#include <limits>
#include <string>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;
using Flags = std::vector<uint8_t>;

template <class Tag>
class SignedArith : public ::testing::Test {};
TYPED_TEST_SUITE(SignedArith, SignedTags);

TYPED_TEST(SignedArith, WrapTruncateTowardZeroAndKeepTheLeftSign) {
    using V = value_t<TypeParam>;
    using O = Ops<TypeParam>;
    using Vs = std::vector<V>;
    auto f = [](Binary op, const Vs& a, const Vs& b) { return pairwise<TypeParam>(op, a, b); };
    constexpr V hi = std::numeric_limits<V>::max(), lo = std::numeric_limits<V>::min();
    EXPECT_EQ(f(O::add, {hi, -5}, {1, 3}), (Vs{lo, -2}));
    EXPECT_EQ(f(O::sub, {lo, 2}, {1, 7}), (Vs{hi, -5}));
    EXPECT_EQ(f(O::mul, {hi, -3}, {2, 4}), (Vs{-2, -12}));
    EXPECT_EQ(f(O::div, {-7, 7, -8}, {2, -2, -3}), (Vs{-3, -3, 2}));
    EXPECT_EQ(f(O::mod, {-7, 7, lo}, {2, -2, hi}), (Vs{-1, 1, -1}));
    EXPECT_EQ(f(O::max, {-1, -3}, {0, -4}), (Vs{0, -3}));
    EXPECT_EQ(f(O::min, {-1, -3}, {0, -4}), (Vs{-1, -4}));
}

template <class Tag>
class UnsignedArith : public ::testing::Test {};
TYPED_TEST_SUITE(UnsignedArith, UnsignedTags);

TYPED_TEST(UnsignedArith, WrapDivideAndCompareUnsigned) {
    using V = value_t<TypeParam>;
    using O = Ops<TypeParam>;
    using Vs = std::vector<V>;
    auto f = [](Binary op, const Vs& a, const Vs& b) { return pairwise<TypeParam>(op, a, b); };
    constexpr V hi = std::numeric_limits<V>::max();
    EXPECT_EQ(f(O::add, {hi, 5}, {1, 3}), (Vs{0, 8}));
    EXPECT_EQ(f(O::sub, {0}, {1}), (Vs{hi}));
    EXPECT_EQ(f(O::mul, {hi}, {hi}), (Vs{1}));
    EXPECT_EQ(f(O::div, {hi, 7}, {2, 2}), (Vs{static_cast<V>(hi / 2), 3}));
    EXPECT_EQ(f(O::mod, {7, 200}, {3, 7}), (Vs{1, 4}));
    EXPECT_EQ(f(O::max, {hi, 4}, {1, 9}), (Vs{hi, 9}));
    EXPECT_EQ(f(O::min, {hi, 4}, {1, 9}), (Vs{1, 4}));
}

TEST(NarrowDivision, Int1AndInt2DivideIn32Bits) {
    EXPECT_EQ(pairwise<Int1>(zvq_seq_div_int1, {-128}, {-1}), std::vector<int8_t>{-128});
    EXPECT_EQ(pairwise<Int1>(zvq_seq_mod_int1, {-128}, {-1}), std::vector<int8_t>{0});
    EXPECT_EQ(pairwise<Int2>(zvq_seq_div_int2, {-32768}, {-1}), std::vector<int16_t>{-32768});
    EXPECT_EQ(pairwise<Uint1>(zvq_seq_div_uint1, {255}, {2}), std::vector<uint8_t>{127});
}

// uint8 modulo is exact; datetime modulo goes through double.
TEST(DatetimeModulo, ComputesInDoubleAndTurnsAZeroDivisorInto2To63) {
    constexpr uint64_t p53 = uint64_t{1} << 53, hi = ~uint64_t{0};
    EXPECT_EQ(pairwise<Uint8>(zvq_seq_mod_uint8, {p53 + 1, hi}, {p53, 10}), (std::vector<uint64_t>{1, 5}));
    // 2^53 + 1 rounds to 2^53; 2^64 - 1 rounds to 2^64, which leaves 6.
    EXPECT_EQ(pairwise<Datetime>(zvq_seq_mod_datetime, {p53 + 1, hi, 17, 12345}, {p53, 10, 5, 0}),
              (std::vector<uint64_t>{0, 6, 2, 9223372036854775808ull}));
}

template <class Tag>
class FloatArith : public ::testing::Test {};
TYPED_TEST_SUITE(FloatArith, FloatTags);

TYPED_TEST(FloatArith, ModIsFmodAndMaxMinKeepLeftOnlyWhenStrictlyBeyond) {
    using V = value_t<TypeParam>;
    using O = Ops<TypeParam>;
    constexpr V nan = std::numeric_limits<V>::quiet_NaN(), inf = std::numeric_limits<V>::infinity();
    const auto mod = pairwise<TypeParam>(O::mod, {5.5, -7.5, 1}, {2, 2, 0});
    EXPECT_EQ(mod[0], V(1.5));
    EXPECT_EQ(mod[1], V(-1.5));
    EXPECT_TRUE(std::isnan(mod[2]));
    EXPECT_EQ(pairwise<TypeParam>(O::div, {1, -1}, {0, 0}), (std::vector<V>{inf, -inf}));
    EXPECT_EQ(bits_of(pairwise<TypeParam>(O::max, {nan, 1, 0.0, -0.0, 3}, {1, nan, -0.0, 0.0, 2})),
              bits_of(std::vector<V>{1, nan, -0.0, 0.0, 3}));
    EXPECT_EQ(bits_of(pairwise<TypeParam>(O::min, {nan, 1, 0.0, -0.0, 2}, {1, nan, -0.0, 0.0, 3})),
              bits_of(std::vector<V>{1, nan, -0.0, 0.0, 2}));
}

template <class Tag>
void divide_once(Binary op, value_t<Tag> a, value_t<Tag> b) {
    std::signal(SIGFPE, SIG_DFL);  // the sanitizers catch it otherwise; callers get the default
    pairwise<Tag>(op, {a}, {b});
}

TEST(DivisionFaultDeathTest, ZeroDivisorAndSmallestWideValueOverMinusOneFault) {
    const auto fpe = ::testing::KilledBySignal(SIGFPE);
    constexpr int32_t min4 = std::numeric_limits<int32_t>::min();
    constexpr int64_t min8 = std::numeric_limits<int64_t>::min();
    EXPECT_EXIT(divide_once<Int1>(zvq_seq_div_int1, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Int2>(zvq_seq_mod_int2, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Int4>(zvq_seq_div_int4, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Uint8>(zvq_seq_mod_uint8, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Datetime>(zvq_seq_div_datetime, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Int4>(zvq_seq_div_int4, min4, -1), fpe, "");
    EXPECT_EXIT(divide_once<Int4>(zvq_seq_mod_int4, min4, -1), fpe, "");
    EXPECT_EXIT(divide_once<Int8>(zvq_seq_div_int8, min8, -1), fpe, "");
    EXPECT_EXIT(divide_once<Int8>(zvq_seq_mod_int8, min8, -1), fpe, "");
    EXPECT_EQ(pairwise<Int4>(zvq_seq_div_int4, {min4 + 1}, {-1}), std::vector<int32_t>{2147483647});
}

template <class Tag>
class Compare : public ::testing::Test {};
TYPED_TEST_SUITE(Compare, NumericTags);

TYPED_TEST(Compare, BelowEqualAboveAndTheExtremesOfTheType) {
    using V = value_t<TypeParam>;
    using O = Ops<TypeParam>;
    constexpr V hi = std::numeric_limits<V>::max(), lowest = std::numeric_limits<V>::lowest();
    auto f = [&](Binary op) { return pairwise<TypeParam, uint8_t>(op, {1, 5, 9, lowest, hi}, {2, 5, 8, hi, lowest}); };
    EXPECT_EQ(f(O::eq), (Flags{0, 1, 0, 0, 0}));
    EXPECT_EQ(f(O::ne), (Flags{1, 0, 1, 1, 1}));
    EXPECT_EQ(f(O::ge), (Flags{0, 1, 1, 0, 1}));
    EXPECT_EQ(f(O::le), (Flags{1, 1, 0, 1, 0}));
    EXPECT_EQ(f(O::gt), (Flags{0, 0, 1, 0, 1}));
    EXPECT_EQ(f(O::lt), (Flags{1, 0, 0, 1, 0}));
}

template <class Tag>
class FloatCompare : public ::testing::Test {};
TYPED_TEST_SUITE(FloatCompare, FloatTags);

TYPED_TEST(FloatCompare, NanMakesAllButNeFalseAndTheZerosAreEqual) {
    using V = value_t<TypeParam>;
    using O = Ops<TypeParam>;
    constexpr V nan = std::numeric_limits<V>::quiet_NaN();
    auto f = [&](Binary op) { return pairwise<TypeParam, uint8_t>(op, {nan, 1, nan, -0.0}, {1, nan, nan, 0.0}); };
    EXPECT_EQ(f(O::eq), (Flags{0, 0, 0, 1}));
    EXPECT_EQ(f(O::ne), (Flags{1, 1, 1, 0}));
    EXPECT_EQ(f(O::ge), (Flags{0, 0, 0, 1}));
    EXPECT_EQ(f(O::le), (Flags{0, 0, 0, 1}));
    EXPECT_EQ(f(O::gt), (Flags{0, 0, 0, 0}));
    EXPECT_EQ(f(O::lt), (Flags{0, 0, 0, 0}));
}

using Texts = std::vector<std::pair<std::string, uint8_t>>;

// Every run of the op's result as (bytes of the value, repeat).
Texts joined(Binary op, Script&& l, Script&& r) {
    zvq_seq_iterator out{};
    EXPECT_EQ(op(&out, l.rec(), r.rec()), SEQ_OK);
    Texts runs;
    while (out.next(&out) == SEQ_OK)
        for (uint32_t i = 0; i < out.chunk_count; ++i)
            runs.emplace_back(std::string(reinterpret_cast<const char*>(slot_ptr(out, i)), out.elem_size),
                              repeat_at(out, i));
    return runs;
}

Flags char_flags(Binary op, uint16_t width, const Texts& l, const Texts& r) {
    Flags out;
    for (const auto& [value, repeat] : joined(op, Script::of_char(width, {l}), Script::of_char(width, {r})))
        out.push_back(static_cast<uint8_t>(value[0]));
    return out;
}

// Stride and length are the result's elem_size (1): run i compares byte i of
// the left chunk with byte i of the right chunk.
TEST(CharCompare, OneChunkByteAtTheRunIndexIsCompared) {
    EXPECT_EQ(char_flags(zvq_seq_eq_char, 4, {{"abcd", 1}, {"efgh", 1}, {"ijkl", 1}},
                         {{"abcz", 1}, {"xfgh", 1}, {"Ajkl", 1}}),
              (Flags{1, 1, 1}));
    EXPECT_EQ(char_flags(zvq_seq_gt_char, 2, {{"ab", 1}, {"cd", 1}}, {{"aa", 1}, {"cc", 1}}), (Flags{0, 1}));
    EXPECT_EQ(char_flags(zvq_seq_lt_char, 1, {{"\x01", 1}, {"\xff", 1}}, {{"\xff", 1}, {"\x01", 1}}),
              (Flags{1, 0}));
    Script w3 = Script::of_char(3, {}), w4 = Script::of_char(4, {});
    zvq_seq_iterator out{};
    EXPECT_EQ(zvq_seq_eq_char(&out, w3.rec(), w4.rec()), SEQ_TYPE_MISMATCH);
}

TEST(Logic, AndOrXorWorkBitwiseOnTheWholeByte) {
    const Flags l{0, 1, 0, 1, 2, 0xF0}, r{0, 0, 1, 1, 1, 0x3C};
    EXPECT_EQ(pairwise<Uint1>(zvq_seq_and, l, r), (Flags{0, 0, 0, 1, 0, 0x30}));
    EXPECT_EQ(pairwise<Uint1>(zvq_seq_or, l, r), (Flags{0, 1, 1, 1, 3, 0xFC}));
    EXPECT_EQ(pairwise<Uint1>(zvq_seq_xor, l, r), (Flags{0, 1, 1, 0, 3, 0xCC}));
}

using std::string_literals::operator""s;

TEST(TextJoin, AddCharJoinsTextsWhereCatJoinsRawBytes) {
    const Texts l{{"ab", 3}, {"wxyz", 1}}, r{{"c", 2}, {"de", 2}};
    EXPECT_EQ(joined(zvq_seq_add_char, Script::of_char(4, {l}), Script::of_char(2, {r})),
              (Texts{{"abc\0\0\0"s, 2}, {"abde\0\0"s, 1}, {"wxyzde"s, 1}}));
    EXPECT_EQ(joined(zvq_seq_cat, Script::of_char(4, {l}), Script::of_char(2, {r})),
              (Texts{{"ab\0\0c\0"s, 2}, {"ab\0\0de"s, 1}, {"wxyzde"s, 1}}));
    EXPECT_EQ(joined(zvq_seq_cat, Script::of<Int4>({{{0x04030201, 1}}}), Script::of<Uint1>({{{0x7F, 1}}})),
              (Texts{{"\x01\x02\x03\x04\x7f"s, 1}}));
}

TEST(TextJoin, WidthsAddUpToAtMost32AndFixTheFillBound) {
    Script w16 = Script::of_char(16, {}), w17 = Script::of_char(17, {}), w16b = Script::of_char(16, {});
    Script num = Script::of<Uint4>({});
    zvq_seq_iterator out{};
    EXPECT_EQ(zvq_seq_add_char(&out, w16.rec(), w17.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_cat(&out, w17.rec(), w16.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_add_char(&out, w16.rec(), num.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(w16.rec()->bound, 0);
    ASSERT_EQ(zvq_seq_add_char(&out, w16.rec(), w16b.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_size, 32);

    zvq_seq_iterator a{}, b{}, text{};  // 4096 / (6 + 1) = 585 runs
    ASSERT_EQ(zvq_seq_const_char(&a, "wxyz", 4), SEQ_OK);
    ASSERT_EQ(zvq_seq_const_char(&b, "v\0", 2), SEQ_OK);
    ASSERT_EQ(zvq_seq_add_char(&text, &a, &b), SEQ_OK);
    ASSERT_EQ(text.next(&text), SEQ_OK);
    EXPECT_EQ(text.chunk_count, 585);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(text, 584)), 6), "wxyzv\0"s);
}

}  // namespace
