// Value rules of the binary operators by kind of member: arithmetic, the
// faults of integer division, comparisons, logic and the char joins.
#include <cmath>
#include <csignal>
#include <cstdint>
#include <limits>
#include <string>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;
using Flags = std::vector<uint8_t>;
using Strings = std::vector<std::string>;

// The flags of eq, ne, ge, le, gt and lt over the pairs, a string of digits each.
template <class Tag>
Strings six_ways(const std::vector<value_t<Tag>>& l, const std::vector<value_t<Tag>>& r) {
    Strings out;
    for (Binary op : {Api<Tag>::eq, Api<Tag>::ne, Api<Tag>::ge, Api<Tag>::le, Api<Tag>::gt, Api<Tag>::lt})
        for (std::string& digits = out.emplace_back(); uint8_t f : pairwise<Tag, uint8_t>(op, l, r))
            digits += char('0' + f);
    return out;
}

template <class Tag>
class IntegerArith : public ::testing::Test {};
TYPED_TEST_SUITE(IntegerArith, IntegerTags);

// lowest and hi are the type's extremes, so one table serves both signednesses.
TYPED_TEST(IntegerArith, WrapInTheWidthAndOrderByTheTypesSignedness) {
    using V = value_t<TypeParam>;
    using O = Api<TypeParam>;
    using Vs = std::vector<V>;
    constexpr V hi = std::numeric_limits<V>::max(), lowest = std::numeric_limits<V>::lowest();
    EXPECT_EQ(pairwise<TypeParam>(O::add, {hi, 5}, {1, 3}), (Vs{lowest, 8}));
    EXPECT_EQ(pairwise<TypeParam>(O::sub, {lowest, 7}, {1, 2}), (Vs{hi, 5}));
    EXPECT_EQ(pairwise<TypeParam>(O::mul, {hi, 3}, {hi, 4}), (Vs{1, 12}));
    EXPECT_EQ(pairwise<TypeParam>(O::div, {hi, 7}, {2, 2}), (Vs{static_cast<V>(hi / 2), 3}));
    EXPECT_EQ(pairwise<TypeParam>(O::mod, {7, 100}, {3, 7}), (Vs{1, 2}));
    EXPECT_EQ(pairwise<TypeParam>(O::max, {hi, 4, lowest}, {1, 9, 1}), (Vs{hi, 9, 1}));
    EXPECT_EQ(pairwise<TypeParam>(O::min, {hi, 4, lowest}, {1, 9, 1}), (Vs{1, 4, lowest}));
    if constexpr (std::is_signed_v<V>) {  // truncation toward zero, the remainder with the left sign
        EXPECT_EQ(pairwise<TypeParam>(O::div, {-7, 7, -8}, {2, -2, -3}), (Vs{-3, -3, 2}));
        EXPECT_EQ(pairwise<TypeParam>(O::mod, {-7, 7, lowest}, {2, -2, hi}), (Vs{-1, 1, -1}));
    }
}

TEST(NarrowDivision, Int1AndInt2DivideIn32Bits) {
    EXPECT_EQ(pairwise<Int1>(zvq_seq_div_int1, {-128}, {-1}), std::vector<int8_t>{-128});
    EXPECT_EQ(pairwise<Int1>(zvq_seq_mod_int1, {-128}, {-1}), std::vector<int8_t>{0});
    EXPECT_EQ(pairwise<Int2>(zvq_seq_div_int2, {-32768}, {-1}), std::vector<int16_t>{-32768});
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

TYPED_TEST(FloatArith, FmodNanAndSignedZeroRules) {
    using V = value_t<TypeParam>;
    using O = Api<TypeParam>;
    constexpr V nan = std::numeric_limits<V>::quiet_NaN();
    EXPECT_EQ(pairwise<TypeParam>(O::mod, {5.5, -7.5}, {2, 2}), (std::vector<V>{1.5, -1.5}));
    EXPECT_TRUE(std::isnan(pairwise<TypeParam>(O::mod, {1}, {0}).at(0)));
    EXPECT_EQ(bits_of(pairwise<TypeParam>(O::max, {nan, 1, 0.0, -0.0, 3}, {1, nan, -0.0, 0.0, 2})),
              bits_of(std::vector<V>{1, nan, -0.0, 0.0, 3}));
    EXPECT_EQ(bits_of(pairwise<TypeParam>(O::min, {nan, 1, 0.0, -0.0, 2}, {1, nan, -0.0, 0.0, 3})),
              bits_of(std::vector<V>{1, nan, -0.0, 0.0, 2}));
    // A NaN makes every comparison but ne false; the zeros are equal.
    EXPECT_EQ(six_ways<TypeParam>({nan, 1, nan, -0.0}, {1, nan, nan, 0.0}),
              (Strings{"0001", "1110", "0001", "0001", "0000", "0000"}));
}

template <class Tag>
void divide_once(Binary op, value_t<Tag> a, value_t<Tag> b) {
    std::signal(SIGFPE, SIG_DFL);  // the sanitizers catch it otherwise; callers get the default
    pairwise<Tag>(op, {a}, {b});
}

TEST(DivisionFaultDeathTest, ZeroDivisorAndSmallestWideValueOverMinusOneFault) {
    const auto fpe = ::testing::KilledBySignal(SIGFPE);
    EXPECT_EXIT(divide_once<Int1>(zvq_seq_div_int1, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Int4>(zvq_seq_div_int4, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Uint8>(zvq_seq_mod_uint8, 7, 0), fpe, "");
    EXPECT_EXIT(divide_once<Int4>(zvq_seq_div_int4, INT32_MIN, -1), fpe, "");
    EXPECT_EXIT(divide_once<Int4>(zvq_seq_mod_int4, INT32_MIN, -1), fpe, "");
    EXPECT_EXIT(divide_once<Int8>(zvq_seq_div_int8, INT64_MIN, -1), fpe, "");
    EXPECT_EXIT(divide_once<Int8>(zvq_seq_mod_int8, INT64_MIN, -1), fpe, "");
    EXPECT_EQ(pairwise<Int4>(zvq_seq_div_int4, {INT32_MIN + 1}, {-1}), std::vector<int32_t>{2147483647});
}

template <class Tag>
class Compare : public ::testing::Test {};
TYPED_TEST_SUITE(Compare, NumericTags);

TYPED_TEST(Compare, BelowEqualAboveAndTheExtremesOfTheType) {
    using V = value_t<TypeParam>;
    constexpr V hi = std::numeric_limits<V>::max(), lowest = std::numeric_limits<V>::lowest();
    EXPECT_EQ(six_ways<TypeParam>({1, 5, 9, lowest, hi}, {2, 5, 8, hi, lowest}),
              (Strings{"01000", "10111", "01101", "11010", "00101", "10010"}));
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

// The flags of a char comparison over values of the width, one run each.
std::string char_flags(Binary op, uint16_t width, const Strings& l, const Strings& r) {
    Texts lt, rt;
    for (size_t i = 0; i < l.size(); ++i) lt.push_back({l[i], 1}), rt.push_back({r[i], 1});
    std::string digits;
    for (const auto& run : joined(op, Script::of_char(width, {lt}), Script::of_char(width, {rt})))
        digits += char('0' + run.first[0]);
    return digits;
}

// Stride and length are the result's elem_size (1): run i compares byte i of
// the left chunk with byte i of the right chunk.
TEST(CharCompare, OneChunkByteAtTheRunIndexIsCompared) {
    EXPECT_EQ(char_flags(zvq_seq_eq_char, 4, {"abcd", "efgh", "ijkl"}, {"abcz", "xfgh", "Ajkl"}), "111");
    EXPECT_EQ(char_flags(zvq_seq_gt_char, 2, {"ab", "cd"}, {"aa", "cc"}), "01");
    EXPECT_EQ(char_flags(zvq_seq_lt_char, 1, {"\x01", "\xff"}, {"\xff", "\x01"}), "10");
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

TEST(CharWidths, JoinsAddUpToAtMost32ComparisonsMatchAndTheFillBoundFollows) {
    Script w16 = Script::of_char(16, {}), w17 = Script::of_char(17, {}), w16b = Script::of_char(16, {});
    Script num = Script::of<Uint4>({});
    zvq_seq_iterator out{};
    EXPECT_EQ(zvq_seq_add_char(&out, w16.rec(), w17.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_eq_char(&out, w16.rec(), w17.rec()), SEQ_TYPE_MISMATCH);  // comparisons want equal widths
    EXPECT_EQ(zvq_seq_cat(&out, w17.rec(), w16.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_add_char(&out, w16.rec(), num.rec()), SEQ_TYPE_MISMATCH);
    ASSERT_EQ(zvq_seq_add_char(&out, w16.rec(), w16b.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_size, 32);

    zvq_seq_iterator a{}, b{}, text{};  // 4096 / (6 + 1) = 585 runs
    ASSERT_EQ(zvq_seq_const_char(&a, "wxyz", 4), SEQ_OK);
    ASSERT_EQ(zvq_seq_const_char(&b, "v\0", 2), SEQ_OK);
    ASSERT_EQ(zvq_seq_add_char(&text, &a, &b), SEQ_OK);
    ASSERT_EQ(text.next(&text), SEQ_OK);
    EXPECT_EQ(text.chunk_count, 585);
}

}  // namespace
