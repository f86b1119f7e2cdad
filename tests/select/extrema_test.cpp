// cross and extrema: the worked examples over every member, the first-chunk
// rule of cross, NaN, signedness, reset and a failing operand.
#include <limits>

#include "select_support.hpp"

namespace zvq::test {
namespace {

struct PosCase {
    std::vector<std::pair<double, uint8_t>> runs;  // split into chunks of two runs
    int32_t arg;
    std::vector<uint64_t> want;
};

// Each case's runs through ctor: the positions reported, to the end.
template <class Tag>
void check_cases(PosCtor ctor, std::initializer_list<PosCase> cases) {
    using V = value_t<Tag>;
    for (const PosCase& c : cases) {
        std::vector<Chunk<V>> in;
        for (size_t i = 0; i < c.runs.size(); ++i) {
            if (i % 2 == 0) in.emplace_back();
            in.back().push_back({static_cast<V>(c.runs[i].first), c.runs[i].second});
        }
        Script s = Script::of<Tag>(in);
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, s.rec(), c.arg), SEQ_OK);
        EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_UINT8);
        zvq_seq_status last;
        EXPECT_EQ(singles_of<uint64_t>(r, &last), c.want) << c.runs.size() << " runs, arg " << c.arg;
        EXPECT_EQ(last, SEQ_END);
    }
}

template <class Tag>
class Positions : public ::testing::Test {};
TYPED_TEST_SUITE(Positions, NumericTags);

TYPED_TEST(Positions, ExtremaReportTheLastElementBeforeATurn) {
    check_cases<TypeParam>(Api<TypeParam>::extrema,
                           {{{{1, 1}, {3, 1}, {2, 1}, {4, 1}}, 0, {1, 2}},
                            {{{1, 1}, {3, 1}, {2, 1}, {4, 1}}, 1, {1}},
                            {{{1, 1}, {3, 1}, {2, 1}, {4, 1}}, -1, {2}},
                            // A run of 3 x 2 is the plateau 3, 3: its last element.
                            {{{1, 1}, {3, 2}, {2, 1}}, 0, {2}},
                            {{{1, 1}, {3, 1}, {3, 1}, {2, 1}}, 0, {2}},
                            {{{1, 4}, {2, 1}, {2, 1}, {9, 200}, {5, 1}, {5, 1}, {6, 1}}, 0, {205, 207}},
                            // A plateau on a slope, rising, falling, level: nothing.
                            {{{1, 1}, {2, 2}, {3, 1}}, 0, {}},
                            {{{5, 1}, {4, 1}, {1, 9}}, 0, {}},
                            {{{7, 255}, {7, 255}}, 0, {}},
                            {{}, 0, {}}});
}

TEST(CrossAndExtrema, RefusalsTouchNothing) {
    BindingChecks on(1);
    Script in = Script::of<Uint1>({});
    for (PosCtor ctor : {zvq_seq_cross_uint1, zvq_seq_cross_uint2, zvq_seq_cross_uint4, zvq_seq_cross_uint8,
                         zvq_seq_cross_int1, zvq_seq_extrema_int1}) {
        zvq_seq_iterator r;
        std::memset(&r, 0xa5, sizeof r);
        const zvq_seq_iterator before = r;
        EXPECT_EQ(ctor(&r, in.rec(), 0),
                  ctor == zvq_seq_cross_int1 || ctor == zvq_seq_extrema_int1 ? SEQ_TYPE_MISMATCH : SEQ_NOT_SUPPORTED);
        EXPECT_EQ(std::memcmp(&r, &before, sizeof r), 0);
        EXPECT_EQ(in.rec()->bound, 0);
    }
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_extrema_uint1(&r, in.rec(), 0), SEQ_OK);
    EXPECT_EQ(zvq_seq_extrema_uint1(&r, in.rec(), 0), SEQ_ALREADY_BOUND);
}

template <class Tag>
class Cross : public ::testing::Test {};
using SignTags = ::testing::Types<Int1, Int2, Int4, Int8, Float, Double>;
TYPED_TEST_SUITE(Cross, SignTags);

TYPED_TEST(Cross, ReportsTheFirstElementOfTheNewSign) {
    check_cases<TypeParam>(Api<TypeParam>::cross, {{{{1, 1}, {2, 1}, {-1, 1}, {-2, 1}, {3, 1}}, 0, {2, 4}},
                                                   {{{1, 1}, {2, 1}, {-1, 1}, {-2, 1}, {3, 1}}, 1, {4}},
                                                   {{{1, 1}, {2, 1}, {-1, 1}, {-2, 1}, {3, 1}}, -1, {2}},
                                                   // Leading zeros count for nothing; a flat stretch reports its start.
                                                   {{{0, 1}, {0, 1}, {1, 1}, {-1, 1}}, 0, {3}},
                                                   {{{1, 1}, {0, 2}, {-1, 1}}, 0, {1}},
                                                   {{{1, 5}, {-1, 1}}, 0, {5}},
                                                   // The flat stretch back to the same sign stays counted: 2, not 3.
                                                   {{{1, 1}, {0, 1}, {1, 1}, {-1, 1}}, 0, {2}},
                                                   {{{-3, 255}, {0, 255}, {0, 10}, {2, 1}, {-1, 1}}, 0, {255, 521}}});
}

TYPED_TEST(Cross, OnlyTheFirstChunkKeepsToTheDirection) {
    using V = value_t<TypeParam>;
    // 1, -1, 1, -1, ...: upward crossings at 2, 4, 6, ...; the first chunk
    // holds 455 of them, then every crossing is reported.
    std::vector<V> in;
    for (int i = 0; i < 1000; ++i) in.push_back(V(i % 2 ? -1 : 1));
    Script s = Script::of<TypeParam>(chunks_of(in, 200));
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::cross(&r, s.rec(), 1), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 455);
    EXPECT_EQ(value_at<uint64_t>(r, 0), 2u);
    EXPECT_EQ(value_at<uint64_t>(r, 454), 910u);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(r, 0), 911u);
    EXPECT_EQ(value_at<uint64_t>(r, 1), 912u);
    // Reset: position, sign and the first-chunk rule start over.
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(r, 0), 2u);
}

TEST(CrossAndExtrema, ComparisonsFollowTheType) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // A NaN is flat: no sign, and it bridges a slope without turning it.
    check_cases<Double>(zvq_seq_cross_double, {{{{1, 1}, {nan, 1}, {-1, 1}}, 0, {1}}});
    check_cases<Double>(zvq_seq_extrema_double, {{{{1, 1}, {3, 1}, {nan, 1}, {2, 1}}, 0, {}},
                                                 {{{1, 1}, {2, 1}, {nan, 1}, {3, 1}, {1, 1}}, 0, {3}}});
    // The byte 200 is above 1 as uint1, below it as int1 (-56); 2^63 is no
    // negative datetime.
    check_cases<Uint1>(zvq_seq_extrema_uint1, {{{{1, 1}, {200, 1}, {5, 1}}, 1, {1}}});
    check_cases<Int1>(zvq_seq_extrema_int1, {{{{1, 1}, {-56, 1}, {5, 1}}, 1, {}}});
    check_cases<Int1>(zvq_seq_cross_int1, {{{{1, 1}, {-56, 1}, {5, 1}}, 0, {1, 2}}});
    check_cases<Datetime>(zvq_seq_extrema_datetime, {{{{1, 1}, {9223372036854775808.0, 1}, {5, 1}}, 1, {1}}});
    // A datetime never goes negative: all of it is read, nothing reported.
    Script s = Script::of<Datetime>({{{5, 1}, {0, 3}}, {{7, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_cross_datetime(&r, s.rec(), 0), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(s.pulls(), 3u);
}

TEST(CrossAndExtrema, AFailureLeavesTheStateOfTheLastReturn) {
    // The crossing at 1 is gathered, then the next pull fails: it is lost and
    // position and sign go back, so the later crossing counts from 0.
    Script s =
        Script::of<Int4>({ones<int32_t>({1, -1}), ones<int32_t>({1}), ones<int32_t>({-1})}).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_cross_int4(&r, s.rec(), 0), SEQ_OK);
    r.chunk_count = 7;
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.chunk_count, 7);
    EXPECT_EQ(singles_of<uint64_t>(r), std::vector<uint64_t>{1});

    // extrema keeps trend and prev_value as at the last return too.
    Script e = Script::of<Int4>({ones<int32_t>({1, 3}), ones<int32_t>({2})}).fail_at(1, SEQ_NOMEM);
    ASSERT_EQ(zvq_seq_extrema_int4(&r, e.rec(), 0), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next(&r), SEQ_END);  // 2 alone: no previous value, no turn
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(r), std::vector<uint64_t>{1});
}

}  // namespace
}  // namespace zvq::test
