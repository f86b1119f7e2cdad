// Run sources over arrays: encode (equal neighbours folded) and unget_runs
// (run-end encoded runs, cut at 255).
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

using R4 = Run<int32_t>;
using R8 = Run<double>;

template <class Tag>
class EncodeOf : public ::testing::Test {};
TYPED_TEST_SUITE(EncodeOf, NumericTags);


// Stretches of every length that matters (1, 254, 255, 256, 600) across a
// chunk boundary read back element for element, as runs of at most 255 with
// no two neighbouring runs of one value unless the first is full.
TYPED_TEST(EncodeOf, ReadsBackWithStretchesFoldedAcrossChunks) {
    using V = value_t<TypeParam>;
    std::vector<V> data;
    for (int k = 0; k < 1500; ++k) data.push_back(static_cast<V>(k % 100));  // distinct neighbours
    for (int len : {1, 254, 255, 256, 600})
        for (int k = 0; k < len; ++k) data.push_back(static_cast<V>(len % 7 + 1));
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::encode(&r, data.data(), data.size()), SEQ_OK);
    zvq_seq_status last;
    const auto runs = drain_runs<V>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(expand(runs), data);
    EXPECT_EQ(r.next_pos, data.size());
    for (size_t k = 1; k < runs.size(); ++k)
        if (runs[k].value == runs[k - 1].value) {
            EXPECT_EQ(runs[k - 1].repeat, 255) << k;
        }
    ASSERT_EQ(r.reset(&r), SEQ_OK);  // rewinds
    EXPECT_EQ(expand(drain_runs<V>(r)), data);
}

TYPED_TEST(EncodeOf, UngetRunsReadsBackCuttingLongRuns) {
    using V = value_t<TypeParam>;
    const std::vector<V> values = {V(3), V(5), V(3)};
    const std::vector<uint64_t> ends = {1, 601, 602};
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::unget_runs(&r, values.data(), ends.data(), 3), SEQ_OK);
    EXPECT_EQ(r.last_pos, 601u);
    const auto runs = drain_runs<V>(r);
    EXPECT_EQ(runs, (std::vector<Run<V>>{{V(3), 1}, {V(5), 255}, {V(5), 255}, {V(5), 90}, {V(3), 1}}));
    EXPECT_EQ(r.next_pos, 602u);
}

TEST(Encode, ExactRunsAndChunkEdges) {
    const std::vector<int32_t> data = {1, 1, 2, 2, 2, 3};
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_encode_int4(&r, data.data(), data.size()), SEQ_OK);
    EXPECT_EQ(drain_chunks<int32_t>(r), (std::vector<Chunk<int32_t>>{{{1, 2}, {2, 3}, {3, 1}}}));
    EXPECT_EQ(r.next(&r), SEQ_END);

    // 818 distinct values then 600 equal: the chunk closes at 819 runs with
    // the stretch's first 255, the rest follows in the next chunk.
    std::vector<int32_t> edge;
    for (int k = 0; k < 818; ++k) edge.push_back(k);
    edge.insert(edge.end(), 600, -1);
    ASSERT_EQ(zvq_seq_encode_int4(&r, edge.data(), edge.size()), SEQ_OK);
    const auto chunks = drain_chunks<int32_t>(r);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size(), 819u);
    EXPECT_EQ(chunks[0].back(), (R4{-1, 255}));
    EXPECT_EQ(chunks[1], (Chunk<int32_t>{{-1, 255}, {-1, 90}}));
}

// Long distinct stretches go a block at a time, short runs one by one; a
// mix of both (runs of 1 to 4, now and then 300) must fold exactly.
TEST(Encode, MixedStretchesFoldExactly) {
    std::vector<int64_t> data;
    uint64_t x = 88172645463325252ull;
    int64_t v = 0;
    while (data.size() < 50000) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        const size_t len = x % 97 == 0 ? 300 : x % 5 < 3 ? 1 : 1 + x % 4;
        v += 1 + static_cast<int64_t>(x % 3);
        data.insert(data.end(), len, v);
    }
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_encode_int8(&r, data.data(), data.size()), SEQ_OK);
    const auto runs = drain_runs<int64_t>(r);
    EXPECT_EQ(expand(runs), data);
    size_t folded = 0;
    for (size_t k = 1; k < runs.size(); ++k) {
        if (runs[k].value == runs[k - 1].value) {
            EXPECT_EQ(runs[k - 1].repeat, 255) << k;
            ++folded;
        }
    }
    EXPECT_GT(folded, 0u);  // some 300s were met
}

TEST(Encode, FoldsByBitsNotByValue) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<double> data = {0.0, -0.0, -0.0, nan, nan, 1.0};
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_encode_double(&r, data.data(), data.size()), SEQ_OK);
    const auto runs = drain_runs<double>(r);
    ASSERT_EQ(runs.size(), 4u);
    EXPECT_FALSE(std::signbit(runs[0].value));
    EXPECT_EQ(runs[0].repeat, 1);
    EXPECT_TRUE(std::signbit(runs[1].value));
    EXPECT_EQ(runs[1].repeat, 2);
    EXPECT_TRUE(std::isnan(runs[2].value));
    EXPECT_EQ(runs[2].repeat, 2);
    EXPECT_EQ(runs[3], (R8{1.0, 1}));
}

TEST(Encode, CharEmptyAndRefusals) {
    const char items[] = "abababcd";
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_encode_char(&r, items, 4, 2), SEQ_OK);
    EXPECT_EQ(r.elem_size, 2);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 2);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 0), "ab", 2), 0);
    EXPECT_EQ(repeat_at(r, 0), 3);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 1), "cd", 2), 0);
    EXPECT_EQ(repeat_at(r, 1), 1);

    ASSERT_EQ(zvq_seq_encode_double(&r, nullptr, 0), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(zvq_seq_encode_double(&r, nullptr, 3), SEQ_BAD_ARGUMENT);

    // A chunk has room for no run of 4096 bytes, and width 0 holds nothing.
    static const char wide[4096] = {};
    const uint64_t end = 1;
    EXPECT_EQ(zvq_seq_encode_char(&r, wide, 1, 4096), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_encode_char(&r, wide, 1, 0), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_unget_runs_char(&r, wide, 4096, &end, 1), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_unget_runs_char(&r, wide, 0, &end, 1), SEQ_BAD_ARGUMENT);
    ASSERT_EQ(zvq_seq_encode_char(&r, wide, 1, 4095), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1);
}

// The length is known without reading: agg_count asks, as it asks unget.
TEST(Encode, CountedWithoutReading) {
    const std::vector<double> data(1000, 2.5);
    const std::vector<uint64_t> ends = {70000};
    zvq_seq_iterator e{}, u{}, count{};
    ASSERT_EQ(zvq_seq_encode_double(&e, data.data(), data.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_count(&count, &e), SEQ_OK);
    ASSERT_EQ(count.next(&count), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(count, 0), 1000u);
    EXPECT_EQ(e.next_pos, 0u);  // not read
    ASSERT_EQ(zvq_seq_unget_runs_double(&u, data.data(), ends.data(), 1), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_count(&count, &u), SEQ_OK);
    ASSERT_EQ(count.next(&count), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(count, 0), 70000u);
}

TEST(UngetRuns, LongRunIsFortyPiecesAndSumCostsPerRun) {
    const double v = 0.5;
    const uint64_t end = 10000;
    zvq_seq_iterator r{}, sum{};
    ASSERT_EQ(zvq_seq_unget_runs_double(&r, &v, &end, 1), SEQ_OK);
    const auto runs = drain_runs<double>(r);
    ASSERT_EQ(runs.size(), 40u);
    EXPECT_EQ(runs.back(), (R8{0.5, 10000 - 39 * 255}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_sum_double(&sum, &r), SEQ_OK);
    ASSERT_EQ(sum.next(&sum), SEQ_OK);
    EXPECT_EQ(value_at<double>(sum, 0), 5000.0);
}

TEST(UngetRuns, ResetMidwayAndReadingByElements) {
    const int32_t values[] = {7, 8};
    const uint64_t ends[] = {2000, 2001};
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_unget_runs_int4(&r, values, ends, 2), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);  // all of it: 2000 in eight pieces, then one
    EXPECT_EQ(r.chunk_count, 9);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    const auto all = drain_values<int32_t>(r);
    ASSERT_EQ(all.size(), 2001u);
    EXPECT_EQ(all[1999], 7);
    EXPECT_EQ(all[2000], 8);
}

TEST(UngetRuns, RefusesEndsThatDoNotRiseAndBindsNothing) {
    const int32_t values[] = {1, 2, 3};
    const struct {
        std::vector<uint64_t> ends;
        zvq_seq_status want;
    } cases[] = {
        {{0}, SEQ_BAD_ARGUMENT},        {{5, 5}, SEQ_BAD_ARGUMENT}, {{5, 3}, SEQ_BAD_ARGUMENT},
        {{1, 2, 0}, SEQ_BAD_ARGUMENT},  {{1, 2, 3}, SEQ_OK},
    };
    for (const auto& c : cases) {
        zvq_seq_iterator r{};
        EXPECT_EQ(zvq_seq_unget_runs_int4(&r, values, c.ends.data(), c.ends.size()), c.want) << c.ends.back();
        if (c.want != SEQ_OK) {
            EXPECT_EQ(r.next, nullptr);  // the record was not touched
        }
    }
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_unget_runs_int4(&r, nullptr, nullptr, 1), SEQ_BAD_ARGUMENT);
    ASSERT_EQ(zvq_seq_unget_runs_int4(&r, nullptr, nullptr, 0), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
}

TEST(UngetRuns, CharWidthAfterValues) {
    const char values[] = "abcxyz";
    const uint64_t ends[] = {2, 300};
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_unget_runs_char(&r, values, 3, ends, 2), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 3);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 0), "abc", 3), 0);
    EXPECT_EQ(repeat_at(r, 0), 2);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 1), "xyz", 3), 0);
    EXPECT_EQ(repeat_at(r, 1), 255);
    EXPECT_EQ(repeat_at(r, 2), 43);
    EXPECT_EQ(r.next_pos, 300u);
}

}  // namespace
}  // namespace zvq::test
