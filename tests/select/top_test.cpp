// top_max, top_min and their merges; top_pos_max, top_pos_min with lists
// longer than a chunk.
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class TopN : public ::testing::Test {};
TYPED_TEST_SUITE(TopN, NumericTags);

template <class Tag, class V = value_t<Tag>>
std::vector<V> values_of(Top ctor, const std::vector<Chunk<value_t<Tag>>>& chunks, uint64_t n,
                         zvq_seq_status* first = nullptr) {
    auto in = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, in.rec(), n), SEQ_OK);
    zvq_seq_status s;
    const auto runs = drain_runs<V>(r, &s);
    if (first) *first = runs.empty() ? s : SEQ_OK;
    std::vector<V> out;
    for (const auto& run : runs) {
        EXPECT_EQ(run.repeat, 1);
        out.push_back(run.value);
    }
    return out;
}

TYPED_TEST(TopN, BestFirstEqualsKeptRunsCountOnce) {
    using V = value_t<TypeParam>;
    using S = Fns<TypeParam>;
    using P = std::vector<uint64_t>;
    const std::vector<Chunk<V>> data = {{{V(5), 1}, {V(5), 1}}, {{V(3), 1}}, {{V(7), 200}, {V(1), 2}, {V(6), 1}}};
    // Equal values are all kept; a run of 200 is one value.
    EXPECT_EQ(values_of<TypeParam>(S::top_max, {{{V(5), 1}, {V(5), 1}, {V(3), 1}}}, 2), (std::vector<V>{V(5), V(5)}));
    EXPECT_EQ(values_of<TypeParam>(S::top_max, data, 3), (std::vector<V>{V(7), V(6), V(5)}));
    EXPECT_EQ(values_of<TypeParam>(S::top_min, data, 4), (std::vector<V>{V(1), V(3), V(5), V(5)}));
    // Fewer values than N: all of them, sorted.
    EXPECT_EQ(values_of<TypeParam>(S::top_min, data, 10), (std::vector<V>{V(1), V(3), V(5), V(5), V(6), V(7)}));
    // Positions are run ordinals; among equal values the earlier first.
    EXPECT_EQ((values_of<TypeParam, uint64_t>(S::top_pos_max, data, 4)), (P{3, 5, 0, 1}));
    EXPECT_EQ((values_of<TypeParam, uint64_t>(S::top_pos_min, data, 2)), (P{4, 2}));
    // N of 0 reads everything and ends; so does an empty input.
    for (Top ctor : {S::top_max, S::top_min, S::top_pos_max, S::top_pos_min}) {
        zvq_seq_status first;
        auto in = Script::of<TypeParam>(data);
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, in.rec(), 0), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(in.pulls(), 4u);
        EXPECT_TRUE(values_of<TypeParam>(ctor, {}, 5, &first).empty());
        EXPECT_EQ(first, SEQ_END);
    }
}

TYPED_TEST(TopN, LongInputAgainstAStableSort) {
    using V = value_t<TypeParam>;
    using S = Fns<TypeParam>;
    std::mt19937 rng(17);
    std::vector<Chunk<V>> chunks(1);
    std::vector<V> values;
    for (int i = 0; i < 6000; ++i) {
        if (chunks.back().size() == 300) chunks.emplace_back();
        const V v = static_cast<V>(rng() % 120);
        chunks.back().push_back({v, static_cast<uint8_t>(1 + rng() % 3)});
        values.push_back(v);
    }
    std::vector<uint64_t> by_max(values.size());
    std::iota(by_max.begin(), by_max.end(), 0);
    std::vector<uint64_t> by_min = by_max;
    std::stable_sort(by_max.begin(), by_max.end(), [&](uint64_t a, uint64_t b) { return values[a] > values[b]; });
    std::stable_sort(by_min.begin(), by_min.end(), [&](uint64_t a, uint64_t b) { return values[a] < values[b]; });
    for (uint64_t n : {1, 37, 200}) {
        const std::vector<uint64_t> want_max(by_max.begin(), by_max.begin() + n), want_min(by_min.begin(), by_min.begin() + n);
        std::vector<V> max_values, min_values;
        for (uint64_t p : want_max) max_values.push_back(values[p]);
        for (uint64_t p : want_min) min_values.push_back(values[p]);
        EXPECT_EQ((values_of<TypeParam, uint64_t>(S::top_pos_max, chunks, n)), want_max);
        EXPECT_EQ((values_of<TypeParam, uint64_t>(S::top_pos_min, chunks, n)), want_min);
        EXPECT_EQ(values_of<TypeParam>(S::top_max, chunks, n), max_values);
        EXPECT_EQ(values_of<TypeParam>(S::top_min, chunks, n), min_values);
    }
}

TYPED_TEST(TopN, ConstructorLimitsFollowTheElementWidth) {
    using S = Fns<TypeParam>;
    constexpr uint64_t limit = capacity<TypeParam>;
    BindingChecks on(1);
    for (Top ctor : {S::top_max, S::top_min, S::top_pos_max, S::top_pos_min}) {
        auto in = Script::of<TypeParam>({});
        auto other = Script::of<TypeParam>({});
        zvq_seq_iterator r{};
        // Above the limit: refused, and the input stays bound.
        EXPECT_EQ(ctor(&r, in.rec(), limit + 1), SEQ_BAD_ARGUMENT);
        EXPECT_EQ(in.rec()->bound, 1);
        EXPECT_EQ(ctor(&r, in.rec(), limit), SEQ_ALREADY_BOUND);
        EXPECT_EQ(ctor(&r, other.rec(), limit), SEQ_OK);
        const bool values = ctor == S::top_max || ctor == S::top_min;
        EXPECT_EQ(r.elem_type, values ? TypeParam::code : ZVQ_SEQ_TYPE_UINT8);
        EXPECT_EQ(r.prepare, values ? zvq_seq_prepare_aggregate : nullptr);
    }
}

// The host's protocol: prepare each part, merge into one, read it once.
template <class Tag>
std::vector<value_t<Tag>> merged(Top ctor, std::vector<Chunk<value_t<Tag>>> a, std::vector<Chunk<value_t<Tag>>> b,
                                 uint64_t n) {
    auto sa = Script::of<Tag>(a), sb = Script::of<Tag>(b);
    zvq_seq_iterator ra{}, rb{};
    EXPECT_EQ(ctor(&ra, sa.rec(), n), SEQ_OK);
    EXPECT_EQ(ctor(&rb, sb.rec(), n), SEQ_OK);
    EXPECT_EQ(ra.prepare(&ra), SEQ_OK);
    EXPECT_EQ(rb.prepare(&rb), SEQ_OK);
    EXPECT_EQ(ra.merge(&ra, &rb), SEQ_OK);
    const size_t pulls = sa.pulls();
    std::vector<value_t<Tag>> out;
    for (const auto& run : drain_runs<value_t<Tag>>(ra)) out.push_back(run.value);
    EXPECT_EQ(sa.pulls(), pulls);
    EXPECT_EQ(ra.next_pos, out.size());
    return out;
}

TYPED_TEST(TopN, MergeDropsOneOfTwoEqualValues) {
    using V = value_t<TypeParam>;
    using S = Fns<TypeParam>;
    using L = std::vector<V>;
    auto list = [](L vs) {
        Chunk<V> c;
        for (V v : vs) c.push_back({v, 1});
        return std::vector<Chunk<V>>{c};
    };
    EXPECT_EQ(merged<TypeParam>(S::top_max, list({V(9), V(7)}), list({V(9), V(8)}), 3), (L{V(9), V(8), V(7)}));
    EXPECT_EQ(merged<TypeParam>(S::top_min, list({V(1), V(3)}), list({V(1), V(2)}), 3), (L{V(1), V(2), V(3)}));
    // self used up: other's rest fills the room; a full list cuts the tail.
    EXPECT_EQ(merged<TypeParam>(S::top_max, list({V(9)}), list({V(8), V(4), V(2)}), 3), (L{V(9), V(8), V(4)}));
    EXPECT_EQ(merged<TypeParam>(S::top_max, list({V(5), V(3), V(1)}), list({V(6), V(4), V(2)}), 3),
              (L{V(6), V(5), V(4)}));
    EXPECT_EQ(merged<TypeParam>(S::top_min, list({V(5), V(6)}), list({V(1), V(2), V(3)}), 4),
              (L{V(1), V(2), V(3), V(5)}));
}

TEST(TopFailure, ValueListsAreLostPositionListsPublished) {
    const std::vector<Chunk<int32_t>> data = {{{4, 1}, {9, 1}}, {{2, 1}}};
    auto a = Script::of<Int4>(data).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_top_max_int4(&r, a.rec(), 2), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(r.chunk_count, 0u);
    // The next read starts over from where the operand stands.
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1u);

    auto b = Script::of<Int4>(data).fail_at(1, SEQ_NOMEM);
    ASSERT_EQ(zvq_seq_top_pos_max_int4(&r, b.rec(), 2), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    ASSERT_EQ(r.chunk_count, 2u);
    EXPECT_EQ(value_at<uint64_t>(r, 0), 1u);
    EXPECT_EQ(value_at<uint64_t>(r, 1), 0u);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.chunk_count, 0u);
}

TEST(TopNaN, ANaNBeatsOnEitherSide) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // A NaN enters even a full list and goes to slot 0, ahead of earlier
    // NaNs; a NaN in a slot is beaten by any value compared with it.
    const auto got = values_of<Double>(zvq_seq_top_max_double, {{{5.0, 1}, {3.0, 1}, {nan, 1}, {1.0, 1}}}, 2);
    ASSERT_EQ(got.size(), 2u);
    EXPECT_TRUE(std::isnan(got[0]));
    EXPECT_EQ(got[1], 5.0);
    auto exact = [&](std::vector<Chunk<double>> in, uint64_t n) {
        std::vector<uint64_t> out;
        for (uint64_t p : values_of<Double, uint64_t>(zvq_seq_top_pos_min_double, in, n)) out.push_back(p);
        return out;
    };
    // A second NaN goes ahead of the first.
    EXPECT_EQ(exact({{{nan, 1}, {nan, 1}}}, 2), (std::vector<uint64_t>{1, 0}));
    // Then 4 beats the NaN it is compared with at slot 0.
    EXPECT_EQ(exact({{{nan, 1}, {4.0, 1}}}, 2), (std::vector<uint64_t>{1, 0}));
}

TEST(TopPosLong, NAboveAChunkIsDeliveredOverSeveralChunks) {
    // 1000 distinct uint2 values, all kept: 455, 455 and 90 positions.
    Chunk<uint16_t> col;
    for (uint16_t i = 0; i < 1000; ++i) col.push_back({static_cast<uint16_t>(i * 7 % 1000), 1});
    CountingAllocator alloc;
    auto in = Script::of<Uint2>({col});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_top_pos_min_uint2(&r, in.rec(), 1365), SEQ_OK);
    EXPECT_EQ(r.reset, zvq_seq_top_pos_reset);
    std::vector<uint32_t> sizes;
    const auto got = drain_slots<uint64_t>(r, &sizes);
    EXPECT_EQ(sizes, (std::vector<uint32_t>{455, 455, 90}));
    ASSERT_EQ(got.size(), 1000u);
    for (uint64_t k = 0; k < 1000; ++k) ASSERT_EQ(col[got[k]].value, k) << k;
    EXPECT_EQ(alloc.live_blocks(), 0);  // the buffer went back with the last chunk

    // A reset in the middle gives it back too, and computes afresh.
    auto again = Script::of<Uint2>({col});
    ASSERT_EQ(zvq_seq_top_pos_max_uint2(&r, again.rec(), 600), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 1);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);
    sizes.clear();
    drain_slots<uint64_t>(r, &sizes);
    EXPECT_EQ(sizes, (std::vector<uint32_t>{455, 145}));

    // No memory for the long list: SEQ_NOMEM, nothing published.
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    alloc.fail_on(alloc.allocations() + 1);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

}  // namespace
}  // namespace zvq::test
