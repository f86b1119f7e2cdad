// union and unique over every member, then their NaN, char and failure cases.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class Merge : public ::testing::Test {};
TYPED_TEST_SUITE(Merge, NumericTags);

TYPED_TEST(Merge, UnionCollapsesOnePairAndPassesTheRestThrough) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    struct Case {
        std::vector<Chunk<V>> left, right;
        uint32_t order;
        std::vector<V> want;
    };
    const Case cases[] = {
        // Repeats count for nothing; runs straddle chunks.
        {{ones<V>({1, 3}), {{V(5), 4}}}, {{{V(2), 9}}, ones<V>({3, 6})}, SEQ_ORDER_ASC, vals<V>({1, 2, 3, 5, 6})},
        // Only a pair collapses: equal values inside one side stay.
        {{ones<V>({1, 1})}, {ones<V>({1})}, SEQ_ORDER_ASC, vals<V>({1, 1})},
        {{ones<V>({9, 5})}, {ones<V>({7, 5})}, SEQ_ORDER_DESC, vals<V>({9, 7, 5})},
        // Any order but 2 is ascending.
        {{ones<V>({4})}, {ones<V>({2, 7})}, 0, vals<V>({2, 4, 7})},
        {{}, {ones<V>({2, 2}), ones<V>({1})}, SEQ_ORDER_ASC, vals<V>({2, 2, 1})},
        {{ones<V>({8, 3})}, {}, SEQ_ORDER_DESC, vals<V>({8, 3})},
        {{}, {}, SEQ_ORDER_ASC, {}},
    };
    for (const Case& c : cases) {
        Script l = Script::of<Tag>(c.left), r = Script::of<Tag>(c.right);
        zvq_seq_iterator u{};
        ASSERT_EQ(Api<Tag>::union_(&u, l.rec(), r.rec(), c.order), SEQ_OK);
        EXPECT_EQ(u.elem_type, Tag::code);
        zvq_seq_status last;
        EXPECT_EQ(singles_of<V>(u, &last), c.want);
        EXPECT_EQ(last, SEQ_END);
        // Both ends are kept: no further pull.
        const size_t pulls = l.pulls() + r.pulls();
        EXPECT_EQ(u.next(&u), SEQ_END);
        EXPECT_EQ(l.pulls() + r.pulls(), pulls);
        // Reset clears them and the merge runs again.
        ASSERT_EQ(u.reset(&u), SEQ_OK);
        EXPECT_EQ(singles_of<V>(u), c.want);
    }
}

TYPED_TEST(Merge, UniqueFiltersFromTheSecondChunkOnAndAfterReset) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    constexpr uint32_t cap = capacity<Tag>;
    // The first chunk goes out whole, duplicates included, and ends on a 2.
    Chunk<V> first = ones<V>({1, 1});
    while (first.size() < cap) first.push_back({V(first.size() % 2 + 1), 1});
    first.back().value = V(2);
    Script in = Script::of<Tag>({first, {{V(2), 3}, {V(2), 1}, {V(3), 5}, {V(3), 1}, {V(2), 1}}});
    zvq_seq_iterator u{};
    ASSERT_EQ(Api<Tag>::unique(&u, in.rec()), SEQ_OK);
    ASSERT_EQ(u.next(&u), SEQ_OK);
    EXPECT_EQ(u.chunk_count, cap);
    EXPECT_EQ(value_at<V>(u, 1), V(1));
    ASSERT_EQ(u.next(&u), SEQ_OK);
    EXPECT_EQ(u.chunk_count, 2);
    EXPECT_EQ(value_at<V>(u, 0), V(3));
    EXPECT_EQ(value_at<V>(u, 1), V(2));
    EXPECT_EQ(u.next(&u), SEQ_END);
    EXPECT_EQ(u.next_pos, cap + 2);
    // Reset clears pending_count, keeps last_value and unfilters the first chunk.
    store<uint64_t>(u.state.bytes + 8, 77);
    ASSERT_EQ(u.reset(&u), SEQ_OK);
    EXPECT_EQ(load<uint64_t>(u.state.bytes + 8), 0u);
    EXPECT_EQ(load<V>(u.state.bytes + 16), V(2));
    ASSERT_EQ(u.next(&u), SEQ_OK);
    EXPECT_EQ(value_at<V>(u, 1), V(1));
}

TEST(MergeFloat, NaNHoldsTheLeftBackAndMinusZeroEqualsZero) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        std::vector<double> left, right, want;
    };
    const Case cases[] = {
        {{nan, 1}, {2, 3}, {2, 3, nan, 1}},
        {{1, 2}, {nan, 3}, {nan, 1, 2, 3}},
        {{0.0, 1}, {-0.0}, {-0.0, 1}},  // the pair collapses to the right's value
    };
    for (const Case& c : cases) {
        Script l = Script::of<Double>(chunks_of(c.left, 9)), r = Script::of<Double>(chunks_of(c.right, 9));
        zvq_seq_iterator u{};
        ASSERT_EQ(zvq_seq_union_double(&u, l.rec(), r.rec(), SEQ_ORDER_ASC), SEQ_OK);
        EXPECT_EQ(drain_runs<double>(u), chunks_of(c.want, 9).at(0));  // bitwise
    }
    // unique: a NaN equals nothing, -0.0 equals 0.0 (one full chunk first).
    Script in =
        Script::of<Double>({Chunk<double>(capacity<Double>, {nan, 1}), {{nan, 1}, {0.0, 1}, {-0.0, 2}, {nan, 1}}});
    zvq_seq_iterator u{};
    ASSERT_EQ(zvq_seq_unique_double(&u, in.rec()), SEQ_OK);
    ASSERT_EQ(u.next(&u), SEQ_OK);
    ASSERT_EQ(u.next(&u), SEQ_OK);
    EXPECT_EQ(u.chunk_count, 3);
    EXPECT_FALSE(std::signbit(value_at<double>(u, 1)));
}

TEST(MergeLarge, UnionFillsWholeChunksLikeAPlainMerge) {
    // Evens against multiples of three (2100 distinct), chunks of 300 a side.
    std::vector<int32_t> a(1500), b(1100), want;
    for (size_t i = 0; i < a.size(); ++i) a[i] = static_cast<int32_t>(2 * i);
    for (size_t i = 0; i < b.size(); ++i) b[i] = static_cast<int32_t>(3 * i);
    std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(want));
    Script l = Script::of<Int4>(chunks_of(a, 300)), r = Script::of<Int4>(chunks_of(b, 300));
    zvq_seq_iterator u{};
    ASSERT_EQ(zvq_seq_union_int4(&u, l.rec(), r.rec(), SEQ_ORDER_ASC), SEQ_OK);
    std::vector<size_t> sizes;
    for (const auto& c : drain_chunks<int32_t>(u)) sizes.push_back(c.size());
    EXPECT_EQ(sizes, (std::vector<size_t>{819, 819, 462}));
    ASSERT_EQ(u.reset(&u), SEQ_OK);
    EXPECT_EQ(singles_of<int32_t>(u), want);
}

TEST(MergeChar, UniqueComparesBytesAndRefusesWidthsBeyondTheState) {
    Script wide = Script::of_char(273, {});
    zvq_seq_iterator u{};
    EXPECT_EQ(zvq_seq_unique_char(&u, wide.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(wide.rec()->bound, 0);
    Script widest = Script::of_char(272, {});
    EXPECT_EQ(zvq_seq_unique_char(&u, widest.rec()), SEQ_OK);
    EXPECT_EQ(u.elem_size, 272);

    // Width 200: a chunk holds 20 runs, all of the first refill goes out.
    const std::vector<std::pair<std::string, uint8_t>> first(20, {"ab", 1});
    Script in = Script::of_char(200, {first, {{"ab", 2}, {"ab\xff", 1}, {"ab\xff", 1}, {"ab", 1}}});
    ASSERT_EQ(zvq_seq_unique_char(&u, in.rec()), SEQ_OK);
    ASSERT_EQ(u.next(&u), SEQ_OK);
    EXPECT_EQ(u.chunk_count, 20);
    // The whole width is compared, unsigned: the third byte tells them apart.
    ASSERT_EQ(u.next(&u), SEQ_OK);
    ASSERT_EQ(u.chunk_count, 2);
    EXPECT_EQ(std::memcmp(slot_ptr(u, 0), "ab\xff", 4), 0);
    EXPECT_EQ(std::memcmp(slot_ptr(u, 1), "ab\0\0", 4), 0);
    EXPECT_EQ(u.next(&u), SEQ_END);
}

TEST(MergeFailures, StatusesPassUpAndNothingIsBoundOnARefusal) {
    BindingChecks on(1);
    Script a = Script::of<Int4>({ones<int32_t>({1})}), b = Script::of<Int4>({ones<int32_t>({2})}).fail_at(1, SEQ_NOMEM);
    Script d = Script::of<Double>({});
    zvq_seq_iterator u{};
    EXPECT_EQ(zvq_seq_union_int4(&u, a.rec(), d.rec(), 1), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_unique_int8(&u, a.rec()), SEQ_TYPE_MISMATCH);
    a.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_union_int4(&u, b.rec(), a.rec(), 1), SEQ_ALREADY_BOUND);
    EXPECT_EQ(b.rec()->bound, 0);
    a.rec()->bound = 0;
    ASSERT_EQ(zvq_seq_union_int4(&u, a.rec(), b.rec(), 1), SEQ_OK);
    // 1 is taken, then right's second pull fails: the refill is dropped.
    u.chunk_count = 9;
    EXPECT_EQ(u.next(&u), SEQ_NOMEM);
    EXPECT_EQ(u.chunk_count, 9);
    EXPECT_EQ(u.next_pos, 0u);
}

}  // namespace
}  // namespace zvq::test
