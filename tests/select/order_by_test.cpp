// order_by: with and without a caller's buffer, the reset swap, the
// allocator and read failures, and the bounds it keeps.
#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class OrderBy : public ::testing::Test {};
TYPED_TEST_SUITE(OrderBy, NumericTags);

// A column read once into the buffer, runs expanded, delivered reversed in
// chunks of the capacity; a reset frees the buffer and the next read starts
// afresh.
TYPED_TEST(OrderBy, ReadsTheInputOnceAndDeliversChunksInPermutationOrder) {
    using V = value_t<TypeParam>;
    constexpr uint32_t cap = capacity<TypeParam>;
    const size_t n = cap + 12 - cap % 3;  // whole runs of 3
    std::vector<V> col, want;
    for (size_t i = 0; i < n; i += 3) col.push_back(static_cast<V>(i % 120));
    auto input = Script::of<TypeParam>(chunks_of(col, 100, 3));
    std::vector<uint64_t> perm;
    for (uint64_t i = n; i-- > 0;) {
        perm.push_back(i);
        want.push_back(col[i / 3]);
    }
    CountingAllocator alloc;
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::order_by(&r, input.rec(), perm.data(), n, nullptr), SEQ_OK);
    EXPECT_EQ(input.rec()->bound, 0);
    for (uint32_t pass = 1; pass <= 2; ++pass) {
        std::vector<size_t> sizes;
        EXPECT_EQ(singles_of<V>(r, nullptr, &sizes), want);
        EXPECT_EQ(sizes, (std::vector<size_t>{cap, n - cap}));
        EXPECT_EQ(alloc.live_bytes(), static_cast<int64_t>(n * sizeof(V)));
        ASSERT_EQ(r.reset(&r), SEQ_OK);
        EXPECT_EQ(alloc.live_blocks(), 0);
        EXPECT_EQ(input.resets(), pass);
    }
    EXPECT_FALSE(alloc.size_mismatch());
}

TEST(OrderByBuffer, ACallersBufferIsNeitherReadIntoNorFreedCharsAreBlockCopied) {
    auto input = Script::of<Int4>({{{1, 1}}});
    const int32_t buffer[4] = {40, 10, 30, 20};
    const uint64_t perm[4] = {1, 3, 2, 0};
    CountingAllocator alloc;
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_order_by_int4(&r, input.rec(), perm, 4, buffer), SEQ_OK);
    EXPECT_EQ(singles_of<int32_t>(r), (std::vector<int32_t>{10, 20, 30, 40}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(singles_of<int32_t>(r), (std::vector<int32_t>{10, 20, 30, 40}));
    EXPECT_EQ(input.pulls(), 0u);
    EXPECT_EQ(alloc.allocations(), 0u);

    auto words = Script::of_char(5, {{{"kiwi", 1}, {"fig", 2}, {"lime", 1}}});
    const uint64_t order[4] = {3, 1, 0, 2};
    ASSERT_EQ(zvq_seq_order_by_char(&r, words.rec(), order, 4, nullptr), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    std::vector<std::string> got;
    for (uint32_t i = 0; i < r.chunk_count; ++i) got.emplace_back(reinterpret_cast<const char*>(slot_ptr(r, i)));
    EXPECT_EQ(got, (std::vector<std::string>{"lime", "fig", "kiwi", "fig"}));
    zvq_seq_free_buffer(&r);
}

TEST(OrderByFailures, AllocatorReadAndBounds) {
    const uint64_t perm[3] = {2, 0, 1};
    CountingAllocator alloc;
    zvq_seq_iterator r{};
    // n of 0: nothing to deliver, nothing allocated.
    auto none = Script::of<Double>({});
    ASSERT_EQ(zvq_seq_order_by_double(&r, none.rec(), perm, 0, nullptr), SEQ_OK);
    EXPECT_EQ(r.last_pos, kAllOnes);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(alloc.allocations(), 0u);

    // A failed allocation leaves nothing behind; the next call tries again.
    auto input = Script::of<Double>({{{1.0, 1}, {2.0, 1}, {3.0, 1}}});
    ASSERT_EQ(zvq_seq_order_by_double(&r, input.rec(), perm, 3, nullptr), SEQ_OK);
    alloc.fail_on(1);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_EQ(singles_of<double>(r), (std::vector<double>{3.0, 1.0, 2.0}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);

    // A failed read keeps the buffer; the next call serves it without
    // reading again, zeros where nothing was read.
    auto failing = Script::of<Double>({{{1.0, 1}}, {{2.0, 1}}}).fail_at(1, SEQ_BAD_ARGUMENT);
    ASSERT_EQ(zvq_seq_order_by_double(&r, failing.rec(), perm, 3, nullptr), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(singles_of<double>(r), (std::vector<double>{0.0, 1.0, 0.0}));
    EXPECT_EQ(failing.pulls(), 2u);
    ASSERT_EQ(r.reset(&r), SEQ_OK);

    // An entry at or past n is refused before anything is written.
    const uint64_t wild[3] = {0, 3, 1};
    const double buffer[3] = {1.0, 2.0, 3.0};
    ASSERT_EQ(zvq_seq_order_by_double(&r, none.rec(), wild, 3, buffer), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(r.chunk_count, 0u);
    EXPECT_EQ(r.next_pos, 0u);

    EXPECT_EQ(zvq_seq_order_by_float(&r, input.rec(), perm, 3, nullptr), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

}  // namespace
}  // namespace zvq::test
