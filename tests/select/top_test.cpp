// top_max, top_min and their merges; top_pos_max, top_pos_min with lists
// longer than a chunk.
#include <limits>
#include <numeric>
#include <random>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class TopN : public ::testing::Test {};
TYPED_TEST_SUITE(TopN, NumericTags);

using P = std::vector<uint64_t>;

template <class Tag, class V = value_t<Tag>>
std::vector<V> top_of(Top ctor, const std::vector<Chunk<value_t<Tag>>>& chunks, uint64_t n,
                      zvq_seq_status* last = nullptr) {
    auto in = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, in.rec(), n), SEQ_OK);
    return singles_of<V>(r, last);
}

// Positions are run ordinals: a run counts as one value whatever its repeat
// byte. Among equal values the earlier comes first, and all are kept.
TYPED_TEST(TopN, LongInputAgainstAStableSort) {
    using V = value_t<TypeParam>;
    using S = Api<TypeParam>;
    std::mt19937 rng(17);
    std::vector<V> values(6000);
    for (V& v : values) v = static_cast<V>(rng() % 120);
    const auto chunks = chunks_of(values, 300, 200);
    for (bool max : {true, false}) {
        P order(values.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [&](uint64_t a, uint64_t b) { return max ? values[a] > values[b] : values[a] < values[b]; });
        for (uint64_t n : {1, 37, 200}) {
            const P want(order.begin(), order.begin() + n);
            std::vector<V> want_values;
            for (uint64_t p : want) want_values.push_back(values[p]);
            EXPECT_EQ((top_of<TypeParam, uint64_t>(max ? S::top_pos_max : S::top_pos_min, chunks, n)), want);
            EXPECT_EQ(top_of<TypeParam>(max ? S::top_max : S::top_min, chunks, n), want_values);
        }
    }
}

TYPED_TEST(TopN, ShortInputsAndTheLimits) {
    using V = value_t<TypeParam>;
    using S = Api<TypeParam>;
    const std::vector<Chunk<V>> data = {{{V(5), 1}, {V(5), 1}}, {{V(3), 1}}, {{V(7), 200}, {V(1), 2}}};
    EXPECT_EQ(top_of<TypeParam>(S::top_max, data, 3), (std::vector<V>{V(7), V(5), V(5)}));
    // Fewer values than N: all of them, sorted.
    EXPECT_EQ(top_of<TypeParam>(S::top_min, data, 10), (std::vector<V>{V(1), V(3), V(5), V(5), V(7)}));
    for (Top ctor : {S::top_max, S::top_min, S::top_pos_max, S::top_pos_min}) {
        // N of 0 reads everything and ends; so does an empty input.
        auto in = Script::of<TypeParam>(data);
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, in.rec(), 0), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(in.pulls(), 4u);
        zvq_seq_status last;
        EXPECT_TRUE(top_of<TypeParam>(ctor, {}, 5, &last).empty() && last == SEQ_END);
        // N up to the capacity of T.
        auto above = Script::of<TypeParam>({}), at = Script::of<TypeParam>({});
        EXPECT_EQ(ctor(&r, above.rec(), capacity<TypeParam> + 1), SEQ_BAD_ARGUMENT);
        EXPECT_EQ(ctor(&r, at.rec(), capacity<TypeParam>), SEQ_OK);
    }
}

// The host's protocol: prepare each part, merge into one, read it once.
// Of two equal values the merge keeps one, while next keeps both.
TYPED_TEST(TopN, MergeDropsOneOfTwoEqualValues) {
    using V = value_t<TypeParam>;
    using S = Api<TypeParam>;
    using L = std::vector<V>;
    auto merged = [](Top ctor, const L& a, const L& b, uint64_t n) {
        auto sa = Script::of<TypeParam>(chunks_of(a, 455)), sb = Script::of<TypeParam>(chunks_of(b, 455));
        zvq_seq_iterator ra{}, rb{};
        EXPECT_TRUE(ctor(&ra, sa.rec(), n) == SEQ_OK && ctor(&rb, sb.rec(), n) == SEQ_OK);
        EXPECT_TRUE(ra.prepare(&ra) == SEQ_OK && rb.prepare(&rb) == SEQ_OK);
        EXPECT_EQ(ra.merge(&ra, &rb), SEQ_OK);
        return singles_of<V>(ra);
    };
    EXPECT_EQ(merged(S::top_max, {V(9), V(7)}, {V(9), V(8)}, 3), (L{V(9), V(8), V(7)}));
    EXPECT_EQ(merged(S::top_min, {V(1), V(3)}, {V(1), V(2)}, 3), (L{V(1), V(2), V(3)}));
    // self used up: other's rest fills the room; a full list cuts the tail.
    EXPECT_EQ(merged(S::top_max, {V(9)}, {V(8), V(4), V(2)}, 3), (L{V(9), V(8), V(4)}));
    EXPECT_EQ(merged(S::top_max, {V(5), V(3), V(1)}, {V(6), V(4), V(2)}, 3), (L{V(6), V(5), V(4)}));
    EXPECT_EQ(merged(S::top_min, {V(5), V(6)}, {V(1), V(2), V(3)}, 4), (L{V(1), V(2), V(3), V(5)}));
}

TEST(TopFailure, ValueListsAreLostPositionListsPublished) {
    const std::vector<Chunk<int32_t>> data = {{{4, 1}, {9, 1}}, {{2, 1}}};
    auto a = Script::of<Int4>(data).fail_at(1, SEQ_NOMEM), b = Script::of<Int4>(data).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{}, p{};
    ASSERT_EQ(zvq_seq_top_max_int4(&r, a.rec(), 2), SEQ_OK);
    ASSERT_EQ(zvq_seq_top_pos_max_int4(&p, b.rec(), 2), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.chunk_count + r.next_pos, 0u);
    EXPECT_EQ(singles_of<int32_t>(r), (std::vector<int32_t>{2}));  // starting over where the operand stands
    EXPECT_EQ(p.next(&p), SEQ_NOMEM);
    EXPECT_EQ((P{p.chunk_count, value_at<uint64_t>(p, 0), value_at<uint64_t>(p, 1)}), (P{2, 1, 0}));
    EXPECT_EQ(p.next(&p), SEQ_END);
}

// A NaN enters even a full list and goes to slot 0, ahead of earlier NaNs;
// a NaN in a slot is beaten by any value compared with it.
TEST(TopNaN, ANaNBeatsOnEitherSide) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Chunk<double>> full = {{{5.0, 1}, {3.0, 1}, {nan, 1}, {1.0, 1}}};
    EXPECT_EQ((top_of<Double, uint64_t>(zvq_seq_top_pos_max_double, full, 2)), (P{2, 0}));
    EXPECT_EQ((top_of<Double, uint64_t>(zvq_seq_top_pos_min_double, {{{nan, 1}, {nan, 1}}}, 2)), (P{1, 0}));
    EXPECT_EQ((top_of<Double, uint64_t>(zvq_seq_top_pos_min_double, {{{nan, 1}, {4.0, 1}}}, 2)), (P{1, 0}));
}

TEST(TopPosLong, NAboveAChunkIsDeliveredOverSeveralChunks) {
    // 1000 distinct uint2 values, all kept: 455, 455 and 90 positions.
    std::vector<uint16_t> col;
    for (uint16_t i = 0; i < 1000; ++i) col.push_back(static_cast<uint16_t>(i * 7 % 1000));
    CountingAllocator alloc;
    auto in = Script::of<Uint2>(chunks_of(col, 1000));
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_top_pos_min_uint2(&r, in.rec(), 1365), SEQ_OK);
    std::vector<size_t> sizes;
    const auto got = singles_of<uint64_t>(r, nullptr, &sizes);
    EXPECT_EQ(sizes, (std::vector<size_t>{455, 455, 90}));
    ASSERT_EQ(got.size(), 1000u);
    for (uint64_t k = 0; k < 1000; ++k) ASSERT_EQ(col[got[k]], k) << k;
    EXPECT_EQ(alloc.live_blocks(), 0);  // the buffer went back with the last chunk

    // A reset in the middle gives it back too, and computes afresh.
    auto again = Script::of<Uint2>(chunks_of(col, 1000));
    ASSERT_EQ(zvq_seq_top_pos_max_uint2(&r, again.rec(), 600), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 1);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);
    sizes.clear();
    singles_of<uint64_t>(r, nullptr, &sizes);
    EXPECT_EQ(sizes, (std::vector<size_t>{455, 145}));

    // No memory for the long list: SEQ_NOMEM, nothing published or leaked.
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    alloc.fail_on(alloc.allocations() + 1);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

}  // namespace
}  // namespace zvq::test
