// abs, neg and not, value by value, with runs passing through untouched.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "support/scripted_source.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

template <class Tag>
struct SignFns;
#define ZVQ_TEST_SIGN_FNS(name, Tag, ctype)              \
    template <>                                          \
    struct SignFns<zvq::Tag> {                           \
        static constexpr Ctor abs = zvq_seq_abs_##name;  \
        static constexpr Ctor neg = zvq_seq_neg_##name;  \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_SIGN_FNS)
#undef ZVQ_TEST_SIGN_FNS

// The values of one chunk of single runs through ctor, with their repeats
// checked on the way: every output run must keep its input repeat byte.
template <class Tag>
std::vector<value_t<Tag>> apply(Ctor ctor, std::vector<value_t<Tag>> in) {
    static constexpr uint8_t kRepeats[] = {1, 255, 7, 2, 130};
    Chunk<value_t<Tag>> chunk;
    for (size_t i = 0; i < in.size(); ++i) chunk.push_back({in[i], kRepeats[i % 5]});
    auto src = Script::of<Tag>({chunk});
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, src.rec()), SEQ_OK);
    zvq_seq_status last;
    const auto runs = drain_runs<value_t<Tag>>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    std::vector<value_t<Tag>> out;
    for (size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i].repeat, kRepeats[i % 5]) << "run " << i;
        out.push_back(runs[i].value);
    }
    EXPECT_EQ(out.size(), in.size());
    return out;
}

template <class Tag>
class SignedSign : public ::testing::Test {};
using SignedTags = ::testing::Types<Int1, Int2, Int4, Int8>;
TYPED_TEST_SUITE(SignedSign, SignedTags);

TYPED_TEST(SignedSign, WrapsAtTheSmallestValue) {
    using V = value_t<TypeParam>;
    constexpr V lo = std::numeric_limits<V>::min(), hi = std::numeric_limits<V>::max();
    EXPECT_EQ(apply<TypeParam>(SignFns<TypeParam>::abs, {-5, 5, 0, lo, hi, -hi}),
              (std::vector<V>{5, 5, 0, lo, hi, hi}));
    EXPECT_EQ(apply<TypeParam>(SignFns<TypeParam>::neg, {-5, 5, 0, lo, hi, -1}),
              (std::vector<V>{5, -5, 0, lo, static_cast<V>(-hi), 1}));
}

template <class Tag>
class UnsignedSign : public ::testing::Test {};
using UnsignedTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8>;
TYPED_TEST_SUITE(UnsignedSign, UnsignedTags);

TYPED_TEST(UnsignedSign, AbsAndNegAreTheIdentity) {
    using V = value_t<TypeParam>;
    const std::vector<V> in{0, 5, std::numeric_limits<V>::max(), static_cast<V>(std::numeric_limits<V>::max() / 2 + 1)};
    EXPECT_EQ(apply<TypeParam>(SignFns<TypeParam>::abs, in), in);
    EXPECT_EQ(apply<TypeParam>(SignFns<TypeParam>::neg, in), in);
}

TEST(SignExceptions, LiteralCases) {
    EXPECT_EQ(apply<Int1>(zvq_seq_abs_int1, {-128}), std::vector<int8_t>{-128});
    EXPECT_EQ(apply<Uint4>(zvq_seq_neg_uint4, {5}), std::vector<uint32_t>{5});
    // datetime negates where uint8, the same 64 bits, does not.
    EXPECT_EQ(apply<Datetime>(zvq_seq_neg_datetime, {5, 0, 1ull << 63}),
              (std::vector<uint64_t>{18446744073709551611ull, 0, 1ull << 63}));
    EXPECT_EQ(apply<Uint8>(zvq_seq_neg_uint8, {5}), std::vector<uint64_t>{5});
    EXPECT_EQ(apply<Datetime>(zvq_seq_abs_datetime, {18446744073709551611ull}),
              std::vector<uint64_t>{18446744073709551611ull});
}

template <class Tag>
class FloatSign : public ::testing::Test {};
using FloatTags = ::testing::Types<Float, Double>;
TYPED_TEST_SUITE(FloatSign, FloatTags);

template <class F>
auto bits(F v) {
    return std::bit_cast<std::conditional_t<sizeof(F) == 4, uint32_t, uint64_t>>(v);
}

TYPED_TEST(FloatSign, AbsFlipsOnlyBelowZeroNegFlipsAlways) {
    using F = value_t<TypeParam>;
    const F nan = std::numeric_limits<F>::quiet_NaN(), inf = std::numeric_limits<F>::infinity();
    const std::vector<F> in{F(-2.5), F(2.5), F(-0.0), F(0.0), nan, -nan, -inf};
    const auto abs = apply<TypeParam>(SignFns<TypeParam>::abs, in);
    const auto neg = apply<TypeParam>(SignFns<TypeParam>::neg, in);
    const std::vector<F> abs_want{F(2.5), F(2.5), F(-0.0), F(0.0), nan, -nan, inf};
    const std::vector<F> neg_want{F(2.5), F(-2.5), F(0.0), F(-0.0), -nan, nan, inf};
    for (size_t i = 0; i < in.size(); ++i) {
        EXPECT_EQ(bits(abs[i]), bits(abs_want[i])) << "abs of item " << i;
        EXPECT_EQ(bits(neg[i]), bits(neg_want[i])) << "neg of item " << i;
    }
    EXPECT_TRUE(std::signbit(abs[2]));
    EXPECT_TRUE(std::signbit(neg[4]) && std::isnan(neg[4]));
}

TEST(Not, IsLogicalOnEveryByte) {
    EXPECT_EQ(apply<Uint1>(zvq_seq_not, {0, 1, 2, 255, 0x10}), (std::vector<uint8_t>{1, 0, 0, 0, 0}));
}

}  // namespace
