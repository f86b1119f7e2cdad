// Comparisons (numeric and char) and the bitwise logic of boolean sequences.
#include <gtest/gtest.h>

#include <limits>

#include "support/scripted_source.hpp"

namespace {

using zvq::test::Chunk;
using zvq::test::Script;
using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);

struct Comparisons {
    Ctor eq, ne, ge, le, gt, lt;
};

template <class Tag>
struct Members;
#define ZVQ_TEST_MEMBERS(name, Tag, ctype)                                                       \
    template <>                                                                                  \
    struct Members<zvq::Tag> {                                                                   \
        static constexpr Comparisons of = {zvq_seq_eq_##name, zvq_seq_ne_##name, zvq_seq_ge_##name, \
                                           zvq_seq_le_##name, zvq_seq_gt_##name, zvq_seq_lt_##name}; \
    };
ZVQ_ALL_TYPES(ZVQ_TEST_MEMBERS)
#undef ZVQ_TEST_MEMBERS

// The flags of ctor over left[i], right[i], one run of 1 each.
uint64_t flags_of(Ctor ctor, Script&& left, Script&& right) {
    zvq_seq_iterator out{};
    EXPECT_EQ(ctor(&out, left.rec(), right.rec()), SEQ_OK);
    uint64_t bits = 0, n = 0;
    for (const auto& run : zvq::test::drain_runs<uint8_t>(out)) {
        EXPECT_EQ(run.repeat, 1);
        EXPECT_LE(run.value, 1);
        bits |= uint64_t{run.value} << n++;
    }
    return bits;
}

template <class Tag>
Script column(const std::vector<zvq::value_t<Tag>>& values) {
    Chunk<zvq::value_t<Tag>> c;
    for (auto v : values) c.push_back({v, 1});
    return Script::of<Tag>({c});
}

template <class Tag>
class NumericCompare : public ::testing::Test {};
using NumericTags = ::testing::Types<zvq::Uint1, zvq::Uint2, zvq::Uint4, zvq::Uint8, zvq::Int1, zvq::Int2,
                                     zvq::Int4, zvq::Int8, zvq::Float, zvq::Double, zvq::Datetime>;
TYPED_TEST_SUITE(NumericCompare, NumericTags);

// Pairs below, equal, above: each operator's flags as bits 0, 1, 2.
TYPED_TEST(NumericCompare, EachOperatorAgainstBelowEqualAbove) {
    using V = zvq::value_t<TypeParam>;
    const Comparisons& c = Members<TypeParam>::of;
    auto run = [](Ctor ctor) { return flags_of(ctor, column<TypeParam>({1, 5, 9}), column<TypeParam>({2, 5, 8})); };
    EXPECT_EQ(run(c.eq), 0b010u);
    EXPECT_EQ(run(c.ne), 0b101u);
    EXPECT_EQ(run(c.ge), 0b110u);
    EXPECT_EQ(run(c.le), 0b011u);
    EXPECT_EQ(run(c.gt), 0b100u);
    EXPECT_EQ(run(c.lt), 0b001u);

    // The extremes of the type order as they should.
    constexpr V hi = std::numeric_limits<V>::max();
    constexpr V lowest = std::numeric_limits<V>::lowest();
    EXPECT_EQ(flags_of(c.lt, column<TypeParam>({lowest, 0, hi}), column<TypeParam>({hi, hi, lowest})), 0b011u);
}

TEST(NumericCompare, SignedAndUnsignedOrderOfTheTopBit) {
    EXPECT_EQ(flags_of(zvq_seq_lt_int4, column<zvq::Int4>({-1}), column<zvq::Int4>({0})), 1u);
    EXPECT_EQ(flags_of(zvq_seq_lt_uint4, column<zvq::Uint4>({0xFFFFFFFFu}), column<zvq::Uint4>({0})), 0u);
    EXPECT_EQ(flags_of(zvq_seq_gt_datetime, column<zvq::Datetime>({uint64_t{1} << 63}), column<zvq::Datetime>({1})),
              1u);
}

template <class Tag>
class FloatCompare : public ::testing::Test {};
using FloatTags = ::testing::Types<zvq::Float, zvq::Double>;
TYPED_TEST_SUITE(FloatCompare, FloatTags);

TYPED_TEST(FloatCompare, NanMakesAllButNeFalseAndZerosAreEqual) {
    using V = zvq::value_t<TypeParam>;
    const Comparisons& c = Members<TypeParam>::of;
    constexpr V nan = std::numeric_limits<V>::quiet_NaN();
    // (NaN, 1), (1, NaN), (NaN, NaN), (-0, +0)
    auto run = [&](Ctor ctor) {
        return flags_of(ctor, column<TypeParam>({nan, 1, nan, -0.0}), column<TypeParam>({1, nan, nan, 0.0}));
    };
    EXPECT_EQ(run(c.eq), 0b1000u);
    EXPECT_EQ(run(c.ne), 0b0111u);
    EXPECT_EQ(run(c.ge), 0b1000u);
    EXPECT_EQ(run(c.le), 0b1000u);
    EXPECT_EQ(run(c.gt), 0b0000u);
    EXPECT_EQ(run(c.lt), 0b0000u);
}

// ---- char --------------------------------------------------------------

Script texts(uint16_t width, const std::vector<std::string>& values) {
    std::vector<std::pair<std::string, uint8_t>> runs;
    for (const auto& v : values) runs.push_back({v, 1});
    return Script::of_char(width, {runs});
}

TEST(CharCompare, WidthOneComparesTheBytesUnsigned) {
    const Comparisons& c = Members<zvq::Char>::of;
    auto run = [](Ctor ctor) {
        return flags_of(ctor, texts(1, {"a", "m", "\xff"}), texts(1, {"b", "m", "\x01"}));
    };
    EXPECT_EQ(run(c.eq), 0b010u);
    EXPECT_EQ(run(c.ne), 0b101u);
    EXPECT_EQ(run(c.ge), 0b110u);
    EXPECT_EQ(run(c.le), 0b011u);
    EXPECT_EQ(run(c.gt), 0b100u);
    EXPECT_EQ(run(c.lt), 0b001u);
}

// The stride and the length are the result's elem_size (1): run i compares
// byte i of the left chunk with byte i of the right chunk, not values i.
TEST(CharCompare, WiderValuesAreComparedOneChunkByteAtARunIndex) {
    const Comparisons& c = Members<zvq::Char>::of;
    // Chunk bytes: left "abcd" "efgh" "ijkl", right "abcz" "xfgh" "Ajkl".
    auto run = [](Ctor ctor) {
        return flags_of(ctor, texts(4, {"abcd", "efgh", "ijkl"}), texts(4, {"abcz", "xfgh", "Ajkl"}));
    };
    // Bytes 0..2 are 'a','b','c' on both sides: all equal, though every pair
    // of values differs.
    EXPECT_EQ(run(c.eq), 0b111u);
    EXPECT_EQ(run(c.ne), 0b000u);
    EXPECT_EQ(run(c.lt), 0b000u);
    EXPECT_EQ(flags_of(c.gt, texts(4, {"abcd", "zzzz"}), texts(4, {"abcd", "zzzz"})), 0u);
    EXPECT_EQ(flags_of(c.gt, texts(2, {"ab", "cd"}), texts(2, {"aa", "cc"})), 0b10u);
}

TEST(CharCompare, WidthsMustBeEqual) {
    Script a = texts(3, {"abc"});
    Script b = texts(4, {"abc"});
    Script n = column<zvq::Uint1>({1});
    zvq_seq_iterator out{};
    EXPECT_EQ(zvq_seq_eq_char(&out, a.rec(), b.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_lt_char(&out, n.rec(), a.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(a.rec()->bound, 0);
    Script a2 = texts(3, {"abd"});
    ASSERT_EQ(zvq_seq_lt_char(&out, a.rec(), a2.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_type, ZVQ_SEQ_TYPE_UINT1);
    EXPECT_EQ(out.elem_size, 1);
}

// ---- logic -------------------------------------------------------------

TEST(Logic, WorksBitwiseOnTheWholeByte) {
    auto run = [](Ctor ctor) {
        Script l = column<zvq::Uint1>({0, 1, 0, 1, 2, 3, 0xF0});
        Script r = column<zvq::Uint1>({0, 0, 1, 1, 1, 6, 0x3C});
        zvq_seq_iterator out{};
        EXPECT_EQ(ctor(&out, l.rec(), r.rec()), SEQ_OK);
        std::vector<uint8_t> got;
        for (const auto& run : zvq::test::drain_runs<uint8_t>(out)) got.push_back(run.value);
        return got;
    };
    EXPECT_EQ(run(zvq_seq_and), (std::vector<uint8_t>{0, 0, 0, 1, 0, 2, 0x30}));
    EXPECT_EQ(run(zvq_seq_or), (std::vector<uint8_t>{0, 1, 1, 1, 3, 7, 0xFC}));
    EXPECT_EQ(run(zvq_seq_xor), (std::vector<uint8_t>{0, 1, 1, 0, 3, 5, 0xCC}));
}

TEST(Logic, LongRunsStayRuns) {
    Script l = Script::of<zvq::Uint1>({{{1, 255}, {0, 45}}});
    Script r = Script::of<zvq::Uint1>({{{1, 100}, {1, 200}}});
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_and(&out, l.rec(), r.rec()), SEQ_OK);
    EXPECT_EQ(zvq::test::drain_runs<uint8_t>(out), (std::vector<zvq::test::Run<uint8_t>>{{1, 100}, {1, 155}, {0, 45}}));
    EXPECT_EQ(out.next_pos, 300u);
}

}  // namespace
