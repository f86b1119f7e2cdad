// order_by: with and without a caller's buffer, the reset swap, the
// allocator and read failures, and the bounds it keeps.
#include <numeric>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class OrderBy : public ::testing::Test {};
TYPED_TEST_SUITE(OrderBy, NumericTags);

// A column of n elements in runs of 3, and a permutation that reverses it.
template <class V>
std::vector<Chunk<V>> column_in_runs(size_t n) {
    std::vector<Chunk<V>> out(1);
    for (size_t i = 0; i < n; i += 3) {
        if (out.back().size() == 100) out.emplace_back();
        out.back().push_back({static_cast<V>(i % 120), static_cast<uint8_t>(std::min<size_t>(3, n - i))});
    }
    return out;
}

TYPED_TEST(OrderBy, ReadsTheInputOnceAndDeliversChunksInPermutationOrder) {
    using V = value_t<TypeParam>;
    constexpr uint32_t cap = capacity<TypeParam>;
    const size_t n = cap + 10;
    auto input = Script::of<TypeParam>(column_in_runs<V>(n));
    std::vector<uint64_t> perm(n);
    for (uint64_t i = 0; i < n; ++i) perm[i] = n - 1 - i;
    CountingAllocator alloc;
    zvq_seq_iterator r{};
    ASSERT_EQ(Fns<TypeParam>::order_by(&r, input.rec(), perm.data(), n, nullptr), SEQ_OK);
    EXPECT_EQ(r.last_pos, n - 1);
    EXPECT_EQ(input.rec()->bound, 0);
    EXPECT_EQ(r.reset, zvq_seq_reset_unary_iterator);
    for (int pass = 0; pass < 2; ++pass) {
        std::vector<uint32_t> sizes;
        const auto runs = drain_runs<V>(r);
        ASSERT_EQ(runs.size(), n);
        for (size_t k = 0; k < n; ++k) {
            const size_t i = n - 1 - k;
            ASSERT_EQ(runs[k], (Run<V>{static_cast<V>((i / 3 * 3) % 120), 1})) << k;
        }
        EXPECT_EQ(r.reset, zvq_seq_order_by_reset);
        EXPECT_EQ(alloc.live_bytes(), static_cast<int64_t>(n * sizeof(V)));
        // A reset frees the buffer; the next read allocates and reads afresh.
        ASSERT_EQ(r.reset(&r), SEQ_OK);
        EXPECT_EQ(alloc.live_blocks(), 0);
        EXPECT_EQ(input.resets(), pass + 1u);
    }
    EXPECT_FALSE(alloc.size_mismatch());
}

TEST(OrderByBuffer, ACallersBufferIsNeitherReadIntoNorFreed) {
    auto input = Script::of<Int4>({{{1, 1}}});
    const int32_t buffer[4] = {40, 10, 30, 20};
    const uint64_t perm[4] = {1, 3, 2, 0};
    CountingAllocator alloc;
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_order_by_int4(&r, input.rec(), perm, 4, buffer), SEQ_OK);
    EXPECT_EQ(r.buffer_size, 16u);
    EXPECT_EQ(expand(drain_runs<int32_t>(r)), (std::vector<int32_t>{10, 20, 30, 40}));
    EXPECT_EQ(r.reset, zvq_seq_reset_unary_iterator);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(r.buffer, buffer);
    EXPECT_EQ(expand(drain_runs<int32_t>(r)), (std::vector<int32_t>{10, 20, 30, 40}));
    EXPECT_EQ(input.pulls(), 0u);
    EXPECT_EQ(alloc.allocations(), 0u);
}

TEST(OrderByFailures, AllocatorReadAndBounds) {
    const uint64_t perm[3] = {2, 0, 1};
    {
        // n of 0: nothing to deliver, nothing allocated.
        auto input = Script::of<Double>({});
        CountingAllocator alloc;
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_order_by_double(&r, input.rec(), perm, 0, nullptr), SEQ_OK);
        EXPECT_EQ(r.last_pos, kAllOnes);
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(alloc.allocations(), 0u);
    }
    {
        // A failed allocation leaves buffer and reset; the next call tries again.
        auto input = Script::of<Double>({{{1.0, 1}, {2.0, 1}, {3.0, 1}}});
        CountingAllocator alloc;
        alloc.fail_on(1);
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_order_by_double(&r, input.rec(), perm, 3, nullptr), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_NOMEM);
        EXPECT_EQ(r.buffer, nullptr);
        EXPECT_EQ(r.reset, zvq_seq_reset_unary_iterator);
        EXPECT_EQ(expand(drain_runs<double>(r)), (std::vector<double>{3.0, 1.0, 2.0}));
        zvq_seq_free_buffer(&r);
        EXPECT_EQ(alloc.live_blocks(), 0);
    }
    {
        // A failed read keeps the buffer; the next call serves it without
        // reading again, zeros where nothing was read.
        auto input = Script::of<Double>({{{1.0, 1}}, {{2.0, 1}}}).fail_at(1, SEQ_BAD_ARGUMENT);
        CountingAllocator alloc;
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_order_by_double(&r, input.rec(), perm, 3, nullptr), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
        EXPECT_NE(r.buffer, nullptr);
        EXPECT_EQ(r.reset, zvq_seq_order_by_reset);
        EXPECT_EQ(expand(drain_runs<double>(r)), (std::vector<double>{0.0, 1.0, 0.0}));
        EXPECT_EQ(input.pulls(), 2u);
        ASSERT_EQ(r.reset(&r), SEQ_OK);
        EXPECT_EQ(alloc.live_blocks(), 0);
    }
    {
        // The input's type and binding are checked where it is read.
        BindingChecks on(1);
        auto input = Script::of<Double>({{{1.0, 3}}});
        input.rec()->bound = 1;
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_order_by_double(&r, input.rec(), perm, 3, nullptr), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_ALREADY_BOUND);
        zvq_seq_free_buffer(&r);
        EXPECT_EQ(zvq_seq_order_by_float(&r, input.rec(), perm, 3, nullptr), SEQ_TYPE_MISMATCH);
    }
    {
        // An entry at or past n is refused before anything is written.
        const uint64_t wild[3] = {0, 3, 1};
        const double buffer[3] = {1.0, 2.0, 3.0};
        auto input = Script::of<Double>({});
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_order_by_double(&r, input.rec(), wild, 3, buffer), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
        EXPECT_EQ(r.chunk_count, 0u);
        EXPECT_EQ(r.next_pos, 0u);
    }
}

TEST(OrderByChar, BlockCopiesTheInputsWidth) {
    auto input = Script::of_char(5, {{{"kiwi", 1}, {"fig", 2}, {"lime", 1}}});
    const uint64_t perm[4] = {3, 1, 0, 2};
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_order_by_char(&r, input.rec(), perm, 4, nullptr), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 4u);
    std::vector<std::string> got;
    for (uint32_t i = 0; i < 4; ++i) got.emplace_back(reinterpret_cast<const char*>(slot_ptr(r, i)));
    EXPECT_EQ(got, (std::vector<std::string>{"lime", "fig", "kiwi", "fig"}));
    zvq_seq_free_buffer(&r);
}

}  // namespace
}  // namespace zvq::test
