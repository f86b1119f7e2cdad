// The unary kernel: how runs are gathered across operand chunks, and what it
// does when the operand ends or fails.
#include <gtest/gtest.h>

#include "support/scripted_source.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

// n runs with values first, first + 1, ... and repeats cycling 1..255.
template <class V>
Chunk<V> counting(uint32_t n, uint32_t first) {
    Chunk<V> c;
    for (uint32_t k = 0; k < n; ++k) c.push_back({static_cast<V>(first + k), static_cast<uint8_t>((first + k) % 255 + 1)});
    return c;
}

uint64_t elements(const Chunk<uint8_t>& runs) {
    uint64_t n = 0;
    for (const auto& r : runs) n += r.repeat;
    return n;
}

TEST(UnaryKernel, NarrowingFillsTheResultCapacityAcrossOperandChunks) {
    std::vector<Chunk<int64_t>> in;
    for (uint32_t c = 0; c < 6; ++c) in.push_back(counting<int64_t>(455, c * 455));
    auto src = Script::of<Int8>(in);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_int8_to_uint1(&r, src.rec()), SEQ_OK);

    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 2048);
    EXPECT_EQ(src.pulls(), 5u);
    EXPECT_EQ(src.rec()->chunk_pos, 2048 - 4 * 455);
    Chunk<uint8_t> first;
    for (uint32_t i = 0; i < 2048; ++i) first.push_back({value_at<uint8_t>(r, i), repeat_at(r, i)});
    const auto want = counting<uint8_t>(2048, 0);
    EXPECT_EQ(first, want);
    EXPECT_EQ(r.next_pos, elements(want));

    // The rest of chunk 5 and all of chunk 6, then the end: a partial chunk.
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 6 * 455 - 2048);
    EXPECT_EQ(value_at<uint8_t>(r, 0), 2048 % 256);
    EXPECT_EQ(r.next_pos, elements(counting<uint8_t>(6 * 455, 0)));
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.chunk_count, 6 * 455 - 2048);
    EXPECT_EQ(r.next(&r), SEQ_END);
}

TEST(UnaryKernel, WideningLeavesTheRestInTheOperand) {
    auto src = Script::of<Uint1>({counting<uint8_t>(2048, 0)});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_uint1_to_int8(&r, src.rec()), SEQ_OK);
    std::vector<uint32_t> counts;
    while (r.next(&r) == SEQ_OK) {
        counts.push_back(r.chunk_count);
        EXPECT_EQ(value_at<int64_t>(r, 0), static_cast<int64_t>((counts.size() - 1) * 455 % 256));
        if (counts.size() == 1) {
            EXPECT_EQ(src.rec()->chunk_pos, 455);
        }
    }
    EXPECT_EQ(counts, (std::vector<uint32_t>{455, 455, 455, 455, 228}));
    EXPECT_EQ(src.pulls(), 3u);  // one chunk, then SEQ_END twice
}

TEST(UnaryKernel, RepeatBytesPassThroughWhole) {
    // 255 stays one run; a repeat of 0 (from 8-bit repeat arithmetic) is
    // copied and skipped, not expanded.
    auto src = Script::of<Int2>({{{-7, 255}, {3, 0}, {-7, 255}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_abs_int2(&r, src.rec()), SEQ_OK);
    zvq_seq_status last;
    EXPECT_EQ(drain_runs<int16_t>(r, &last), (std::vector<test::Run<int16_t>>{{7, 255}, {3, 0}, {7, 255}}));
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(r.next_pos, 510u);
}

TEST(UnaryKernel, OperandFailureIsPassedUpAndTheGatheredRunsAbandoned) {
    auto src = Script::of<Uint1>({counting<uint8_t>(500, 0), counting<uint8_t>(3, 0)});
    src.fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_uint1_to_double(&r, src.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 455);
    // 45 runs are taken from the operand, then its pull fails.
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.chunk_count, 455);
    EXPECT_EQ(src.rec()->chunk_pos, 500);
}

TEST(UnaryKernel, FailureAtTheFirstPullLeavesTheRecordAsItWas) {
    auto src = Script::of<Float>({{{1.5f, 2}}});
    src.fail_at(0, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_neg_float(&r, src.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(r.chunk_count, 0);
    EXPECT_EQ(r.next_pos, 0u);
    // The source goes on after its failure, and so does the operator.
    zvq_seq_status last;
    EXPECT_EQ(drain_runs<float>(r, &last), (std::vector<test::Run<float>>{{-1.5f, 2}}));
    EXPECT_EQ(last, SEQ_END);
}

TEST(UnaryKernel, ResetRewindsTheOperandFirst) {
    auto src = Script::of<Int4>({{{-1, 3}, {7, 1}}, {{-2, 9}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_float_from_int4(&r, src.rec()), SEQ_OK);
    const std::vector<test::Run<float>> want{{-1.0f, 3}, {7.0f, 1}, {-2.0f, 9}};
    EXPECT_EQ(drain_runs<float>(r), want);
    EXPECT_EQ(r.next_pos, 13u);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(src.resets(), 1u);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(r.chunk_count, 0);
    EXPECT_EQ(drain_runs<float>(r), want);
}

TEST(UnaryConstructor, TypeTestComesBeforeTheBindingTest) {
    zvq_seq_iterator op{}, r{};
    op.elem_type = ZVQ_SEQ_TYPE_UINT8;
    op.bound = 1;
    // datetime and uint8 share their C type but not their code.
    EXPECT_EQ(zvq_seq_neg_datetime(&r, &op), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_datetime_to_double(&r, &op), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_not(&r, &op), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_neg_uint8(&r, &op), SEQ_ALREADY_BOUND);
    {
        BindingChecks off(0);
        EXPECT_EQ(zvq_seq_neg_uint8(&r, &op), SEQ_OK);
    }
    op.elem_type = ZVQ_SEQ_TYPE_UINT1;
    op.bound = 0;
    zvq_seq_iterator spare{};
    r.operand[1] = r.operand[2] = &spare;
    r.bound = 1;
    ASSERT_EQ(zvq_seq_not(&r, &op), SEQ_OK);
    EXPECT_EQ(op.bound, 1);
    EXPECT_EQ(r.bound, 0);
    EXPECT_EQ(r.operand[1], &spare);  // slots it does not use are left alone
    EXPECT_EQ(r.last_pos, kAllOnes);
    EXPECT_EQ(r.next, &zvq_seq_not_next);
}

}  // namespace
