// The conversion matrix: integer sources against exact arithmetic, floating
// sources against a literal table of the processor's truncation.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <tuple>

#include "core/types.hpp"
#include "support/scripted_source.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

template <class From, class To>
struct Pair;
#define ZVQ_TEST_PAIR(from, From, from_c, to, To, to_c)                     \
    template <>                                                             \
    struct Pair<zvq::From, zvq::To> {                                       \
        static constexpr Ctor to_ctor = zvq_seq_##from##_to_##to;           \
        static constexpr Ctor from_ctor = zvq_seq_##to##_from_##from;       \
        static constexpr zvq_seq_next_fn next = zvq_seq_##from##_to_##to##_next; \
    };
#define ZVQ_TEST_PAIR_ROW(from, From, from_c) ZVQ_NUMERIC_TYPES_WITH(ZVQ_TEST_PAIR, from, From, from_c)
ZVQ_NUMERIC_TYPES(ZVQ_TEST_PAIR_ROW)
#undef ZVQ_TEST_PAIR_ROW
#undef ZVQ_TEST_PAIR

// Every numeric tag, for loops over the targets of one source. The leading
// void only absorbs the first comma of the stamped list.
template <class Skip, class... Tags>
struct Targets {
    template <class F>
    static void each(F&& f) {
        (f.template operator()<Tags>(), ...);
    }
};
#define ZVQ_TEST_TAG(name, Tag, ctype) , zvq::Tag
using AllTargets = Targets<void ZVQ_NUMERIC_TYPES(ZVQ_TEST_TAG)>;
#undef ZVQ_TEST_TAG

// Bits of a value, zero-extended to 64.
template <class V>
uint64_t bits_of(V v) {
    uint64_t b = 0;
    std::memcpy(&b, &v, sizeof v);
    return b;
}

// One chunk of runs through a conversion constructor; every repeat byte must
// come out as it went in.
template <class From, class To>
std::vector<value_t<To>> convert(Ctor ctor, const std::vector<value_t<From>>& in) {
    Chunk<value_t<From>> chunk;
    for (size_t i = 0; i < in.size(); ++i) chunk.push_back({in[i], static_cast<uint8_t>(i % 2 ? 255 : i + 1)});
    auto src = Script::of<From>({chunk});
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, src.rec()), SEQ_OK);
    zvq_seq_status last;
    const auto runs = drain_runs<value_t<To>>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    std::vector<value_t<To>> out;
    for (size_t i = 0; i < runs.size(); ++i) {
        EXPECT_EQ(runs[i].repeat, chunk[i].repeat);
        out.push_back(runs[i].value);
    }
    EXPECT_EQ(out.size(), in.size());
    return out;
}

// The mathematical value of an integer bit pattern of the source type.
template <class Tag>
__int128 exact_value(uint64_t pattern) {
    constexpr int w = sizeof(value_t<Tag>) * 8;
    const uint64_t u = w == 64 ? pattern : pattern & ((uint64_t{1} << w) - 1);
    if (is_signed_int<Tag> && (u >> (w - 1)) & 1) return static_cast<__int128>(u) - (static_cast<__int128>(1) << w);
    return static_cast<__int128>(u);
}

// What the target holds for an exact value: the low bits for an integer,
// the nearest value for a floating type (long double holds every 64-bit
// integer, so one rounding remains).
template <class To>
uint64_t expected_bits(__int128 exact) {
    if constexpr (is_floating<To>) {
        return bits_of(static_cast<value_t<To>>(static_cast<long double>(exact)));
    } else {
        constexpr int w = sizeof(value_t<To>) * 8;
        const auto u = static_cast<unsigned __int128>(exact);
        return static_cast<uint64_t>(w == 64 ? u : u & ((static_cast<unsigned __int128>(1) << w) - 1));
    }
}

template <class Tag>
class IntegerSource : public ::testing::Test {};
using IntegerTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Datetime>;
TYPED_TEST_SUITE(IntegerSource, IntegerTags);

TYPED_TEST(IntegerSource, EveryTargetGetsLowBitsOrNearestValue) {
    using From = TypeParam;
    constexpr uint64_t kPatterns[] = {0,          1,          0x7F,       0x80,      0xFF,
                                      0x7FFF,     0x8000,     0xFFFF,     0x1234567, 0x7FFFFFFF,
                                      0x80000000, 0xFFFFFFFF, (1ull << 53) + 1, 0x8000000000000401, ~0ull};
    std::vector<value_t<From>> in;
    for (uint64_t p : kPatterns) in.push_back(static_cast<value_t<From>>(p));
    AllTargets::each([&]<class To>() {
        const auto out = convert<From, To>(Pair<From, To>::to_ctor, in);
        for (size_t i = 0; i < out.size(); ++i)
            EXPECT_EQ(bits_of(out[i]), expected_bits<To>(exact_value<From>(kPatterns[i])))
                << "pattern " << std::hex << kPatterns[i] << " to code " << int(To::code);
    });
}

// Floating source probes exact in float too, so one table serves both.
struct Probe {
    double value;
    uint8_t u1;
    uint16_t u2;
    uint32_t u4;
    uint64_t u8;
    int8_t i1;
    int16_t i2;
    int32_t i4;
    int64_t i8;
};
constexpr int32_t kMin32 = std::numeric_limits<int32_t>::min();
constexpr int64_t kMin64 = std::numeric_limits<int64_t>::min();
constexpr uint64_t kTop = 1ull << 63;
const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();
const Probe kProbes[] = {
    {300.75, 44, 300, 300, 300, 44, 300, 300, 300},
    {-1.5, 255, 65535, 4294967295u, 18446744073709551615ull, -1, -1, -1, -1},
    {70000.5, 112, 4464, 70000, 70000, 112, 4464, 70000, 70000},
    {-70000.5, 144, 61072, 4294897296u, 18446744073709481616ull, -112, -4464, -70000, -70000},
    {3e9, 0, 0, 3000000000u, 3000000000, 0, 0, kMin32, 3000000000},
    {-3e9, 0, 0, 1294967296, 18446744070709551616ull, 0, 0, kMin32, -3000000000},
    {5e9, 0, 0, 705032704, 5000000000, 0, 0, kMin32, 5000000000},
    {0x1p62, 0, 0, 0, 1ull << 62, 0, 0, kMin32, 1ll << 62},
    {0x1p63 + 0x1p62, 0, 0, 0, kTop | (1ull << 62), 0, 0, kMin32, kMin64},
    {0x1p65, 0, 0, 0, kTop, 0, 0, kMin32, kMin64},
    {-0x1p64, 0, 0, 0, kTop, 0, 0, kMin32, kMin64},
    {kNan, 0, 0, 0, kTop, 0, 0, kMin32, kMin64},
    {kInf, 0, 0, 0, kTop, 0, 0, kMin32, kMin64},
    {-kInf, 0, 0, 0, kTop, 0, 0, kMin32, kMin64},
};

template <class Tag>
class FloatingSource : public ::testing::Test {};
using FloatingTags = ::testing::Types<Float, Double>;
TYPED_TEST_SUITE(FloatingSource, FloatingTags);

template <class From, class To, class V>
void expect_column(const std::vector<value_t<From>>& in, V Probe::*column) {
    const auto out = convert<From, To>(Pair<From, To>::to_ctor, in);
    for (size_t i = 0; i < out.size(); ++i)
        EXPECT_EQ(bits_of(out[i]), bits_of(kProbes[i].*column)) << kProbes[i].value << " to code " << int(To::code);
}

TYPED_TEST(FloatingSource, IntegerTargetsTruncateLikeTheProcessor) {
    using From = TypeParam;
    std::vector<value_t<From>> in;
    for (const Probe& p : kProbes) in.push_back(static_cast<value_t<From>>(p.value));
    expect_column<From, Uint1>(in, &Probe::u1);
    expect_column<From, Uint2>(in, &Probe::u2);
    expect_column<From, Uint4>(in, &Probe::u4);
    expect_column<From, Uint8>(in, &Probe::u8);
    expect_column<From, Datetime>(in, &Probe::u8);
    expect_column<From, Int1>(in, &Probe::i1);
    expect_column<From, Int2>(in, &Probe::i2);
    expect_column<From, Int4>(in, &Probe::i4);
    expect_column<From, Int8>(in, &Probe::i8);
}

TEST(ConvertLiterals, NamedCases) {
    EXPECT_EQ((convert<Int4, Uint8>(zvq_seq_int4_to_uint8, {-1})), std::vector<uint64_t>{~0ull});
    EXPECT_EQ((convert<Uint4, Int8>(zvq_seq_uint4_to_int8, {0xFFFFFFFFu})), std::vector<int64_t>{4294967295});
    EXPECT_EQ((convert<Double, Int1>(zvq_seq_double_to_int1, {300.7})), std::vector<int8_t>{44});
    EXPECT_EQ((convert<Double, Uint8>(zvq_seq_double_to_uint8, {1e19})),
              std::vector<uint64_t>{10000000000000000000ull});
    // 1e19 is not a float: the nearest float is converted.
    EXPECT_EQ((convert<Float, Datetime>(zvq_seq_float_to_datetime, {1e19f})),
              std::vector<uint64_t>{9999999980506447872ull});
}

TEST(ConvertLiterals, WideUnsignedRoundToNearestEven) {
    const std::vector<uint64_t> in{(1ull << 53) + 1, kTop + 1024, kTop + 1025, ~0ull};
    const std::vector<double> want{0x1p53, 0x1p63, 0x1p63 + 2048, 0x1p64};
    EXPECT_EQ((convert<Uint8, Double>(zvq_seq_uint8_to_double, in)), want);
    EXPECT_EQ((convert<Datetime, Double>(zvq_seq_datetime_to_double, in)), want);
    EXPECT_EQ((convert<Int8, Double>(zvq_seq_int8_to_double, {-1, kMin64})), (std::vector<double>{-1.0, -0x1p63}));
    EXPECT_EQ((convert<Uint8, Float>(zvq_seq_uint8_to_float, {~0ull, (1ull << 24) + 1})),
              (std::vector<float>{0x1p64f, 0x1p24f}));
    EXPECT_EQ((convert<Double, Float>(zvq_seq_double_to_float, {0.1, 1e300})),
              (std::vector<float>{0.1f, std::numeric_limits<float>::infinity()}));
    EXPECT_EQ((convert<Float, Double>(zvq_seq_float_to_double, {0.1f})), std::vector<double>{0.100000001490116119384765625});
}

template <class Tag>
class AnySource : public ::testing::Test {};
using NumericTags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Float, Double, Datetime>;
TYPED_TEST_SUITE(AnySource, NumericTags);

// Every pair through both of its names: one next, one reset, the operand of
// the source type, the usual binding test.
TYPED_TEST(AnySource, FromNamesTheSameOperation) {
    AllTargets::each([]<class To>() {
        using P = Pair<TypeParam, To>;
        zvq_seq_iterator op{}, r{};
        op.elem_type = 10;  // an unassigned code
        EXPECT_EQ(P::from_ctor(&r, &op), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(op.bound, 0);
        op.elem_type = TypeParam::code;
        ASSERT_EQ(P::from_ctor(&r, &op), SEQ_OK);
        EXPECT_EQ(r.next, P::next);
        EXPECT_EQ(r.reset, &zvq_seq_reset_unary_iterator);
        EXPECT_EQ(r.prepare, nullptr);
        EXPECT_EQ(r.merge, nullptr);
        EXPECT_EQ(r.elem_type, To::code);
        EXPECT_EQ(r.elem_size, sizeof(value_t<To>));
        EXPECT_EQ(r.operand[0], &op);
        EXPECT_EQ(op.bound, 1);
        EXPECT_EQ(P::to_ctor(&r, &op), SEQ_ALREADY_BOUND);
    });
}

}  // namespace
