// The frame: pull functions, the reading rule, binding checks, allocator
// hooks, the aggregate resets and the host operations.
#include <gtest/gtest.h>

#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

using V4 = std::vector<int32_t>;

TEST(PullFunctions, NextAndGetExpandRunsAcrossChunks) {
    auto src = Script::of<Int4>({{{7, 3}, {8, 1}}, {{9, 2}}});
    int32_t v = 0;
    V4 got;
    zvq_seq_status s;
    while ((s = zvq_seq_next_int4(src.rec(), &v)) == SEQ_OK) got.push_back(v);
    EXPECT_EQ(s, SEQ_END);
    EXPECT_EQ(got, (V4{7, 7, 7, 8, 9, 9}));
    EXPECT_EQ(zvq_seq_next_int4(src.rec(), &v), SEQ_END) << "an ended source is pulled again";
    EXPECT_EQ(src.pulls(), 4u);

    auto big = Script::of<Int4>({{{1, 255}, {2, 3}}, {{3, 2}}});
    V4 out(200);
    uint64_t n = 200;
    ASSERT_EQ(zvq_seq_get_int4(big.rec(), out.data(), &n), SEQ_OK);
    EXPECT_EQ(big.rec()->run_pos, 200) << "a run may be taken in part";
    n = 200;
    ASSERT_EQ(zvq_seq_get_int4(big.rec(), out.data(), &n), SEQ_OK);
    ASSERT_EQ(n, 60u) << "what is left, with SEQ_OK";
    EXPECT_EQ(V4(out.begin() + 53, out.begin() + 60), (V4{1, 1, 2, 2, 2, 3, 3}));
    n = 200;
    EXPECT_EQ(zvq_seq_get_int4(big.rec(), out.data(), &n), SEQ_END);
    EXPECT_EQ(n, 200u) << "the count stays what the caller put there";
    n = 0;
    EXPECT_EQ(zvq_seq_get_int4(big.rec(), out.data(), &n), SEQ_OK);
}

TEST(PullFunctions, GetPassesAFailureWithTheCountUnchanged) {
    auto src = Script::of<Int4>({{{1, 4}}, {{2, 4}}}).fail_at(1, SEQ_NOMEM);
    V4 out(10, 0);
    uint64_t n = 10;
    EXPECT_EQ(zvq_seq_get_int4(src.rec(), out.data(), &n), SEQ_NOMEM);
    EXPECT_EQ(n, 10u);
    EXPECT_EQ(out[3], 1) << "delivered elements stay written and consumed";
}

TEST(PullFunctions, GetNullableTakesSlotsNotElements) {
    auto src = Script::of<Int4>({{{5, 5}, {6, 1}, {7, 2}}});
    src.rec()->null_bitmap[0] = 0b010;
    V4 out(100);
    std::vector<uint64_t> nulls(2, ~uint64_t{0});
    uint64_t n = 100;
    ASSERT_EQ(zvq_seq_get_nullable_int4(src.rec(), out.data(), &n, nulls.data()), SEQ_OK);
    EXPECT_EQ(V4(out.begin(), out.begin() + n), (V4{5, 6, 7}));
    EXPECT_EQ(nulls, (std::vector<uint64_t>{0b010u, 0u})) << "the whole words for 100 slots are cleared";
    n = 100;
    EXPECT_EQ(zvq_seq_get_nullable_int4(src.rec(), out.data(), &n, nulls.data()), SEQ_END);
    EXPECT_EQ(n, 0u);
}

TEST(PullFunctions, TypeIsTestedByCodeAndBoundRecordsOnlyWithChecksOn) {
    uint64_t items[1] = {1}, u = 0;
    int64_t i = 0;
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_unget_uint8(&r, items, 1), SEQ_OK);
    EXPECT_EQ(zvq_seq_next_int8(&r, &i), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_next_datetime(&r, &u), SEQ_TYPE_MISMATCH);

    V4 data = {1, 2, 3, 4};
    zvq_seq_iterator src{}, lim{};
    ASSERT_EQ(zvq_seq_unget_int4(&src, data.data(), data.size()), SEQ_OK);
    int32_t v = 0;
    {
        BindingChecks on(1);
        ASSERT_EQ(zvq_seq_limit(&lim, &src, 0, 3), SEQ_OK);
        EXPECT_EQ(zvq_seq_next_int4(&src, &v), SEQ_ALREADY_BOUND);
        EXPECT_EQ(src.chunk_count, 0) << "nothing moves";
    }
    BindingChecks off(0);
    ASSERT_EQ(zvq_seq_next_int4(&src, &v), SEQ_OK);
    ASSERT_EQ(zvq_seq_next_int4(&lim, &v), SEQ_OK);
    EXPECT_EQ(v, 2) << "the direct read stole an element from the operator";
}

TEST(ReadingRule, RepeatByteZeroWrapsOneByOneAndIsSkippedByRemainder) {
    auto src = Script::of<Int4>({{{4, 128}, {5, 1}}});
    zvq_seq_iterator rep{};
    ASSERT_EQ(zvq_seq_repeat_int4(&rep, src.rec(), 2), SEQ_OK);  // 128 x 2 = 0 in 8 bits
    V4 out(300);
    uint64_t n = 300;
    ASSERT_EQ(zvq_seq_get_int4(&rep, out.data(), &n), SEQ_OK);
    EXPECT_EQ(n, 258u) << "a zero repeat byte is taken 256 times one by one";
    EXPECT_EQ(out[255], 4);
    EXPECT_EQ(out[256], 5);
    ASSERT_EQ(rep.reset(&rep), SEQ_OK);
    ASSERT_EQ(pull(rep), SEQ_OK);
    take(rep, remainder(rep));
    EXPECT_EQ(rep.chunk_pos, 1) << "a reader taking the remainder moves on at once";
}

TEST(BindingControl, EnableReturnsFormerAndOneRecordMayBeBothOperands) {
    const uint32_t before = zvq_seq_enable_check_bindings(7);
    EXPECT_EQ(zvq_seq_enable_check_bindings(1), 7u);
    V4 data = {1, 2};
    zvq_seq_iterator src{}, cat{}, again{};
    ASSERT_EQ(zvq_seq_unget_int4(&src, data.data(), data.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_concat(&cat, &src, &src), SEQ_OK);
    EXPECT_EQ(src.bound, 1);
    EXPECT_EQ(zvq_seq_concat(&again, &src, &src), SEQ_ALREADY_BOUND);
    zvq_seq_enable_check_bindings(before);
}

TEST(Allocator, BufferHooksSeeTheSizeAndFailureLeavesNull) {
    CountingAllocator alloc;
    zvq_seq_iterator r{};
    void* p = zvq_seq_alloc_buffer(&r, 100);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ((std::pair{r.buffer, alloc.live_bytes()}), (std::pair<void*, int64_t>{p, 100}));
    zvq_seq_free_buffer(&r);
    zvq_seq_free_buffer(&r);  // a second call does nothing
    EXPECT_EQ((std::pair{r.buffer, r.buffer_size}), (std::pair<void*, uint64_t>{nullptr, 100}));
    EXPECT_TRUE(alloc.live_blocks() == 0 && !alloc.size_mismatch());

    alloc.fail_all();
    r.buffer = &r;
    EXPECT_EQ(zvq_seq_alloc_buffer(&r, 64), nullptr);
    EXPECT_EQ((std::pair{r.buffer, r.buffer_size}), (std::pair<void*, uint64_t>{nullptr, 64}));
}

TEST(FrameResets, AggResetsClearPendingCountAndRewindOperandsOnly) {
    auto a = Script::of<Int4>({});
    auto b = Script::of<Int4>({});
    zvq_seq_iterator r{};
    r.operand[0] = a.rec();
    r.operand[1] = b.rec();
    r.chunk_count = 3;
    r.next_pos = 9;
    r.first_pos = 4;
    set_pending_count(r, 42);
    EXPECT_EQ(zvq_seq_reset_ternary_agg_iterator(&r), SEQ_OK);  // a null third slot is skipped
    EXPECT_EQ((std::tuple{pending_count(r), a.resets() + b.resets(), r.chunk_count, r.next_pos}),
              (std::tuple<uint64_t, size_t, uint16_t, uint64_t>{0, 2, 0, 0}));
    EXPECT_EQ(r.first_pos, 4u) << "first_pos is not a reset's to touch";
}

TEST(FrameResets, PrepareSetsPreparedWhateverNextSaidAndResetForgetsIt) {
    auto src = Script::of<Int4>({}).fail_at(0, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator lim{};
    ASSERT_EQ(zvq_seq_limit(&lim, src.rec(), 0, 10), SEQ_OK);
    EXPECT_EQ(zvq_seq_prepare_aggregate(&lim), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(lim.prepared, 1);
    EXPECT_TRUE(lim.reset(&lim) == SEQ_OK && lim.prepared == 0);
}

TEST(HostOperations, BitmapMemcmpAndStrchr) {
    uint64_t src[2] = {0x8000000000000001ull, 0x3ull};
    uint64_t dst[2] = {~uint64_t{0}, 0};
    zvq_seq_copy_bitmap(dst, 62, src, 1, 4);  // four clear bits across a word boundary
    zvq_seq_copy_bitmap(dst, 64, src, 63, 3);
    EXPECT_EQ((std::pair{dst[0], dst[1]}), (std::pair<uint64_t, uint64_t>{~uint64_t{0} >> 2, 0x7u}));
    const unsigned char a[] = {0x01, 0xF0}, b[] = {0x01, 0x10};
    EXPECT_GT(zvq_memcmp(a, b, 2), 0) << "bytes compare as unsigned";
    EXPECT_EQ(zvq_memcmp(a, b, 1), 0);
    const char text[] = "a,b";
    EXPECT_TRUE(zvq_strchr(text, ',') == text + 1 && zvq_strchr(text, ';') == nullptr);
}

}  // namespace
}  // namespace zvq::test
