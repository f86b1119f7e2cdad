// The run-overlap kernel every binary operator shares, driven through int4
// arithmetic and through eq, whose bound is that of its uint1 result.
#include <cstring>
#include <random>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

// Overlaps of unequal runs; the longer right operand is left mid-run when
// the left one ends, and the left end repeats.
TEST(BinaryKernel, RunsFragmentIntoOverlapsAndTheShorterOperandEndsTheOutput) {
    Script l = Script::of<Int4>({{{7, 5}, {3, 2}}}), r = Script::of<Int4>({{{2, 3}, {1, 6}}});
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_add_int4(&out, l.rec(), r.rec()), SEQ_OK);
    ASSERT_EQ(out.next(&out), SEQ_OK);
    EXPECT_EQ(r.rec()->run_pos, 4);
    EXPECT_EQ(out.next(&out), SEQ_END);
    EXPECT_EQ(out.next(&out), SEQ_END);
    EXPECT_EQ(out.chunk_count, 3);
    EXPECT_EQ(out.next_pos, 7u);
    EXPECT_EQ(l.pulls(), 4u);
    EXPECT_EQ(r.pulls(), 1u);
    ASSERT_EQ(out.reset(&out), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(out), (Runs<int32_t>{{9, 3}, {8, 2}, {4, 2}}));
    EXPECT_EQ(out.next_pos, 7u);
    // Equal neighbouring results are not merged.
    Script l2 = Script::of<Int4>({{{7, 5}, {7, 2}}}), r2 = Script::of<Int4>({{{7, 3}, {7, 4}}});
    ASSERT_EQ(zvq_seq_eq_int4(&out, l2.rec(), r2.rec()), SEQ_OK);
    EXPECT_EQ(drain_runs<uint8_t>(out), (Runs<uint8_t>{{1, 3}, {1, 2}, {1, 2}}));
}

TEST(BinaryKernel, RunOf255AgainstSinglesWrapsRunPosOnce) {
    Script l = Script::of<Int4>({{{1000, 255}, {2000, 1}}}), r = Script::of<Int4>({singles<int32_t>(256, 0)});
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_add_int4(&out, l.rec(), r.rec()), SEQ_OK);
    Runs<int32_t> want;
    for (int32_t j = 0; j < 255; ++j) want.push_back({1000 + j, 1});
    want.push_back({2255, 1});
    EXPECT_EQ(drain_runs<int32_t>(out), want);
    EXPECT_EQ(l.rec()->chunk_pos, 2);
    EXPECT_EQ(l.rec()->run_pos, 0);
}

TEST(BinaryKernel, TwoConstantsCostOneRunPer255Elements) {
    zvq_seq_iterator a{}, b{}, sum{};
    ASSERT_EQ(zvq_seq_const_int4(&a, 40), SEQ_OK);
    ASSERT_EQ(zvq_seq_const_int4(&b, 2), SEQ_OK);
    ASSERT_EQ(zvq_seq_add_int4(&sum, &a, &b), SEQ_OK);
    ASSERT_EQ(sum.next(&sum), SEQ_OK);
    ASSERT_EQ(sum.chunk_count, 819);
    EXPECT_EQ(sum.next_pos, 208845u);
    EXPECT_EQ(value_at<int32_t>(sum, 818), 42);
}

// The bound is the uint1 capacity: 2048 runs a side, over four int8 chunks.
TEST(BinaryKernel, ComparisonConsumesSeveralOperandChunksPerCall) {
    std::vector<Chunk<int64_t>> lc, rc;
    for (int c = 0; c < 6; ++c) lc.push_back(singles<int64_t>(455, c * 455));
    for (int c = 0; c < 10; ++c) rc.push_back(singles<int64_t>(300, c * 300 + c % 2));  // other borders
    Script l = Script::of<Int8>(lc), r = Script::of<Int8>(rc);
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_eq_int8(&out, l.rec(), r.rec()), SEQ_OK);
    ASSERT_EQ(out.next(&out), SEQ_OK);
    ASSERT_EQ(out.chunk_count, 2048);
    EXPECT_EQ(out.next_pos, 2048u);
    EXPECT_EQ(l.pulls(), 5u);
    EXPECT_EQ(r.pulls(), 7u);
    EXPECT_EQ(l.rec()->chunk_pos, 2048 - 4 * 455);
    for (uint32_t k = 0; k < 2048; ++k) ASSERT_EQ(value_at<uint8_t>(out, k), k / 300 % 2 == 0) << k;
}

// Random layouts against the overlap rule applied run by run, so that
// stretches of equal repeats combined in one pass give the same runs.
TEST(BinaryKernel, EqualRepeatStretchesMatchTheRunByRunRule) {
    std::mt19937 gen(7);
    auto layout = [&](int runs, int per_chunk, Runs<int32_t>& flat) {
        std::vector<Chunk<int32_t>> chunks;
        for (int j = 0; j < runs; ++j) {
            if (j % per_chunk == 0) chunks.emplace_back();
            const uint8_t rep = gen() % 4 == 0 ? static_cast<uint8_t>(1 + gen() % 255) : 1;
            flat.push_back({static_cast<int32_t>(gen() % 1000), rep});
            chunks.back().push_back(flat.back());
        }
        return Script::of<Int4>(chunks);
    };
    Runs<int32_t> lf, rf, want;
    Script l = layout(3000, 819, lf), r = layout(2500, 333, rf);
    for (size_t a = 0, b = 0, ta = 0, tb = 0; a < lf.size() && b < rf.size();) {
        const auto k = static_cast<uint8_t>(std::min(lf[a].repeat - ta, rf[b].repeat - tb));
        want.push_back({lf[a].value - rf[b].value, k});
        if ((ta += k) == lf[a].repeat) ta = 0, ++a;
        if ((tb += k) == rf[b].repeat) tb = 0, ++b;
    }
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_sub_int4(&out, l.rec(), r.rec()), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(out), want);
}

// One record on both sides reads through one cursor: each output run moves it twice.
TEST(BinaryKernel, SameRecordOnBothSidesAdvancesTwicePerRun) {
    Script src = Script::of<Int4>({{{2, 1}, {3, 1}, {4, 1}, {5, 1}}});
    BindingChecks on(1);
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_add_int4(&out, src.rec(), src.rec()), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(out), (Runs<int32_t>{{4, 1}, {8, 1}}));
}

TEST(BinaryKernel, OperandFailureMidStreamIsPassedUpUnchanged) {
    for (const bool fail_left : {true, false}) {
        SCOPED_TRACE(fail_left ? "left fails" : "right fails");
        // A full chunk, then 10 runs into the second refill, then the failure.
        Script l = Script::of<Int4>({singles<int32_t>(819, 0), singles<int32_t>(10, 3), singles<int32_t>(5, 0)});
        Script r = Script::of<Int4>({singles<int32_t>(819, 1), singles<int32_t>(10, 4), singles<int32_t>(5, 0)});
        (fail_left ? l : r).fail_at(2, SEQ_NOMEM);
        zvq_seq_iterator out{};
        ASSERT_EQ(zvq_seq_add_int4(&out, l.rec(), r.rec()), SEQ_OK);
        ASSERT_EQ(out.next(&out), SEQ_OK);
        EXPECT_EQ(out.next(&out), SEQ_NOMEM);
        EXPECT_EQ(out.chunk_count, 819);
        EXPECT_EQ(out.next_pos, 819u + 10);  // already counts the abandoned runs
    }
}

TEST(BinaryConstructor, TypesAreTestedBeforeBindingsAndFailuresAlterNothing) {
    BindingChecks on(1);
    Script i8 = Script::of<Int8>({}), u8 = Script::of<Uint8>({}), dt = Script::of<Datetime>({});
    Script taken = Script::of<Uint8>({});
    taken.rec()->bound = 1;
    zvq_seq_iterator pristine, out;
    std::memset(&pristine, 0x5C, sizeof pristine);
    out = pristine;
    EXPECT_EQ(zvq_seq_add_uint8(&out, u8.rec(), dt.rec()), SEQ_TYPE_MISMATCH);  // same C type, other code
    EXPECT_EQ(zvq_seq_min_int8(&out, i8.rec(), taken.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_max_uint8(&out, u8.rec(), taken.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(std::memcmp(&out, &pristine, sizeof out), 0);
    EXPECT_EQ(u8.rec()->bound + i8.rec()->bound, 0);

    ASSERT_EQ(zvq_seq_gt_double(&out, Script::of<Double>({}).rec(), Script::of<Double>({}).rec()), SEQ_OK);
    EXPECT_EQ(out.elem_type, ZVQ_SEQ_TYPE_UINT1);
}

}  // namespace
