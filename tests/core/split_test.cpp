// split: gt and filter over one operand give the right average, readers at
// any rates see every chunk, the queue's memory (one block per reader,
// released by reset and zvq_seq_free_buffer, SEQ_NOMEM with nothing moved),
// resets and failures.
#include <gtest/gtest.h>

#include <cstring>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

using Chunks = std::vector<Chunk<int32_t>>;

// 12 chunks of int4 runs: runs of 255, of 1, and a chunk of one run.
Chunks twelve_chunks() {
    Chunks out;
    for (int c = 0; c < 12; ++c) {
        out.emplace_back();
        for (int k = 0; k <= c % 4 * 3; ++k)
            out.back().push_back({c * 100 + k, static_cast<uint8_t>(k % 2 ? 255 : 1 + c)});
    }
    return out;
}

// One chunk of a reader as runs, with the next_pos it reports.
struct Got {
    Chunk<int32_t> runs;
    uint64_t next_pos;
    bool operator==(const Got&) const = default;
};

zvq_seq_status read_one(zvq_seq_iterator& r, std::vector<Got>& into) {
    const zvq_seq_status s = r.next(&r);
    if (s != SEQ_OK) return s;
    Got g{{}, r.next_pos};
    for (uint32_t i = 0; i < r.chunk_count; ++i) g.runs.push_back({value_at<int32_t>(r, i), repeat_at(r, i)});
    into.push_back(g);
    return s;
}

std::vector<Got> expected(const Chunks& chunks) {
    std::vector<Got> out;
    uint64_t pos = 0;
    for (const auto& c : chunks) {
        for (const auto& run : c) pos += run.repeat;
        out.push_back({c, pos});
    }
    return out;
}

TEST(Split, GtAndFilterOverOneSplitGiveTheAverage) {
    // gt fills 2048 flags from 455-value chunks, pulling its branch three
    // chunks ahead of filter's: the tee's 499.8 becomes the right answer.
    std::vector<double> values(1000);
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i);
    const double want = (500.0 + 999.0) / 2.0;  // the mean of 500..999
    zvq_seq_iterator column{}, a{}, b{}, limit{}, flags{}, picked{}, avg{};
    ASSERT_EQ(zvq_seq_unget_double(&column, values.data(), values.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_split(&a, &b, &column), SEQ_OK);
    ASSERT_EQ(zvq_seq_const_double(&limit, 499.0), SEQ_OK);
    ASSERT_EQ(zvq_seq_gt_double(&flags, &a, &limit), SEQ_OK);
    ASSERT_EQ(zvq_seq_filter_double(&picked, &flags, &b), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_avg_double(&avg, &picked), SEQ_OK);
    for (int pass = 0; pass < 2; ++pass) {
        double got = 0;
        ASSERT_EQ(zvq_seq_next_double(&avg, &got), SEQ_OK);
        EXPECT_EQ(got, want);
        ASSERT_EQ(avg.reset(&avg), SEQ_OK);
    }
    EXPECT_EQ(a.buffer, nullptr);
    EXPECT_EQ(b.buffer, nullptr);
}

TEST(Split, ReadersAtAnyRatesSeeEveryChunk) {
    const Chunks chunks = twelve_chunks();
    const auto want = expected(chunks);
    // Steps: how many chunks A, then B, read in turn; -1 reads to the end.
    const std::vector<std::vector<int>> schedules = {{-1, -1}, {1, 1, 1, 1, -1, -1}, {0, 5, 3, 0, 2, 9, -1, -1},
                                                     {12, 0, 0, 12, -1, -1}};
    for (const auto& steps : schedules) {
        auto src = Script::of<Int4>(chunks);
        zvq_seq_iterator a{}, b{};
        ASSERT_EQ(zvq_seq_split(&a, &b, src.rec()), SEQ_OK);
        std::vector<Got> got_a, got_b;
        zvq_seq_status end_a = SEQ_OK, end_b = SEQ_OK;
        for (size_t k = 0; k < steps.size(); ++k) {
            zvq_seq_iterator& r = k % 2 ? b : a;
            auto& into = k % 2 ? got_b : got_a;
            zvq_seq_status& end = k % 2 ? end_b : end_a;
            for (int n = 0; (steps[k] < 0 || n < steps[k]) && end == SEQ_OK; ++n) end = read_one(r, into);
        }
        EXPECT_EQ(got_a, want);
        EXPECT_EQ(got_b, want);
        EXPECT_EQ(end_a, SEQ_END);
        EXPECT_EQ(end_b, SEQ_END);
        EXPECT_EQ(src.pulls(), chunks.size() + 2);  // each chunk once, SEQ_END once per reader
        zvq_seq_free_buffer(&a);
        zvq_seq_free_buffer(&b);
    }
}

TEST(Split, TheQueueIsOneBlockPerReaderReleasedByResetOrFreeBuffer) {
    const Chunks chunks = twelve_chunks();
    CountingAllocator alloc;
    auto src = Script::of<Int4>(chunks);
    zvq_seq_iterator a{}, b{};
    ASSERT_EQ(zvq_seq_split(&a, &b, src.rec()), SEQ_OK);
    std::vector<Got> got_a, got_b;
    // In step, A first: B's ring of 4 is allocated once and A needs none.
    for (int k = 0; k < 3; ++k) {
        ASSERT_EQ(read_one(a, got_a), SEQ_OK);
        ASSERT_EQ(read_one(b, got_b), SEQ_OK);
    }
    EXPECT_EQ(alloc.allocations(), 1u);
    EXPECT_EQ(a.buffer, nullptr);
    // A runs 9 ahead: B's ring grows 4 -> 8 -> 16, the old ones given back.
    for (int k = 0; k < 9; ++k) ASSERT_EQ(read_one(a, got_a), SEQ_OK);
    EXPECT_EQ(alloc.allocations(), 3u);
    EXPECT_EQ(alloc.live_blocks(), 1);
    EXPECT_GE(b.buffer_size, 9 * (4096 + 10));
    // A reset of B rewinds A and the source and gives both rings back.
    ASSERT_EQ(b.reset(&b), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_EQ(src.resets(), 1u);
    EXPECT_EQ(a.next_pos, 0u);
    got_a.clear();
    got_b.clear();
    while (read_one(a, got_a) == SEQ_OK) {
    }
    EXPECT_EQ(got_a, expected(chunks));
    EXPECT_EQ(alloc.live_blocks(), 1);  // B's queue: the whole operand
    zvq_seq_free_buffer(&b);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
    // The chunks dropped with the queue are gone: B goes on at the source.
    EXPECT_EQ(read_one(b, got_b), SEQ_END);
}

TEST(Split, EveryFailingAllocationIsNomemWithNothingMoved) {
    const Chunks chunks = twelve_chunks();
    // A reading 12 ahead makes three allocations (rings of 4, 8, 16); B's
    // first step after that one more, for A's ring.
    for (uint64_t k = 1; k <= 4; ++k) {
        CountingAllocator alloc;
        alloc.fail_on(k);
        auto src = Script::of<Int4>(chunks);
        zvq_seq_iterator a{}, b{};
        ASSERT_EQ(zvq_seq_split(&a, &b, src.rec()), SEQ_OK);
        std::vector<Got> got_a, got_b;
        int failures = 0;
        zvq_seq_status s;
        while ((s = read_one(a, got_a)) != SEQ_END) {
            if (s == SEQ_NOMEM) {
                ++failures;
                EXPECT_EQ(src.pulls(), got_a.size()) << k;  // the source was not pulled
            }
        }
        while ((s = read_one(b, got_b)) != SEQ_END) failures += s == SEQ_NOMEM;
        EXPECT_EQ(failures, 1) << k;
        EXPECT_EQ(got_a, expected(chunks)) << k;
        EXPECT_EQ(got_b, expected(chunks)) << k;
        ASSERT_EQ(a.reset(&a), SEQ_OK);
        EXPECT_EQ(alloc.live_blocks(), 0) << k;
    }
}

TEST(Split, FailuresPassUpAndTheConstructorTestsBindingThenArguments) {
    auto src = Script::of<Int4>(twelve_chunks()).fail_at(2, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator a{}, b{};
    ASSERT_EQ(zvq_seq_split(&a, &b, src.rec()), SEQ_OK);
    std::vector<Got> got;
    EXPECT_EQ(read_one(a, got), SEQ_OK);
    EXPECT_EQ(read_one(a, got), SEQ_OK);
    EXPECT_EQ(read_one(a, got), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(read_one(b, got), SEQ_OK);  // queued before the failure
    zvq_seq_free_buffer(&a);
    zvq_seq_free_buffer(&b);

    auto words = Script::of_char(7, {});
    BindingChecks on(1);
    zvq_seq_iterator c{}, d{};
    EXPECT_EQ(zvq_seq_split(&c, &c, words.rec()), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(words.rec()->bound, 1);
    EXPECT_EQ(zvq_seq_split(&c, &d, words.rec()), SEQ_ALREADY_BOUND);
    words.rec()->bound = 0;
    ASSERT_EQ(zvq_seq_split(&c, &d, words.rec()), SEQ_OK);
    EXPECT_EQ(c.elem_type, ZVQ_SEQ_TYPE_CHAR);
    EXPECT_EQ(d.elem_size, 7);
    EXPECT_EQ(zvq_seq_next_char(&c, nullptr), SEQ_END);
    zvq_seq_free_buffer(&d);
}

}  // namespace
}  // namespace zvq::test
