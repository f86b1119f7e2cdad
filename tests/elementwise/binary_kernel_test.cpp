// The run-overlap kernel shared by every binary operator: how runs fragment,
// where the output ends, how failures and bounds stop a refill, and what the
// constructors test. Driven through add (the kernel does not depend on the
// rule) and through eq, whose bound is that of its uint1 result.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "support/scripted_source.hpp"

namespace {

using zvq::test::Chunk;
using zvq::test::Script;
using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);

template <class Tag>
struct Members;
#define ZVQ_TEST_MEMBERS(name, Tag, ctype)         \
    template <>                                    \
    struct Members<zvq::Tag> {                     \
        static constexpr Ctor add = zvq_seq_add_##name; \
        static constexpr Ctor eq = zvq_seq_eq_##name;   \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_MEMBERS)
#undef ZVQ_TEST_MEMBERS

template <class Tag>
class BinaryKernel : public ::testing::Test {
   protected:
    using V = zvq::value_t<Tag>;
    static V v(int x) { return static_cast<V>(x); }
    static constexpr uint32_t cap = zvq::capacity<Tag>;

    // n runs of repeat 1 with values start, start+1, ... (small enough for every type).
    static Chunk<V> ones(uint32_t n, int start) {
        Chunk<V> c;
        for (uint32_t j = 0; j < n; ++j) c.push_back({v((start + static_cast<int>(j)) % 50), 1});
        return c;
    }
};

using NumericTags = ::testing::Types<zvq::Uint1, zvq::Uint2, zvq::Uint4, zvq::Uint8, zvq::Int1, zvq::Int2,
                                     zvq::Int4, zvq::Int8, zvq::Float, zvq::Double, zvq::Datetime>;
TYPED_TEST_SUITE(BinaryKernel, NumericTags);

TYPED_TEST(BinaryKernel, UnequalRunsFragmentIntoOverlaps) {
    using V = typename TestFixture::V;
    auto v = TestFixture::v;
    Script left = Script::of<TypeParam>({{{v(7), 5}, {v(3), 2}}});
    Script right = Script::of<TypeParam>({{{v(2), 3}, {v(1), 4}}});
    zvq_seq_iterator out{};
    ASSERT_EQ(Members<TypeParam>::add(&out, left.rec(), right.rec()), SEQ_OK);
    zvq_seq_status last;
    const auto runs = zvq::test::drain_runs<V>(out, &last);
    EXPECT_EQ(runs, (std::vector<zvq::test::Run<V>>{{v(9), 3}, {v(8), 2}, {v(4), 2}}));
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(out.next_pos, 7u);

    // Equal neighbouring results stay separate runs.
    Script l2 = Script::of<TypeParam>({{{v(7), 5}, {v(3), 2}}});
    Script r2 = Script::of<TypeParam>({{{v(7), 3}, {v(3), 4}}});
    zvq_seq_iterator flags{};
    ASSERT_EQ(Members<TypeParam>::eq(&flags, l2.rec(), r2.rec()), SEQ_OK);
    EXPECT_EQ(zvq::test::drain_runs<uint8_t>(flags), (std::vector<zvq::test::Run<uint8_t>>{{1, 3}, {0, 2}, {1, 2}}));
}

TYPED_TEST(BinaryKernel, OutputEndsWithTheShorterOperand) {
    using V = typename TestFixture::V;
    auto v = TestFixture::v;
    Script left = Script::of<TypeParam>({{{v(1), 2}, {v(2), 1}}});
    Script right = Script::of<TypeParam>({{{v(10), 5}}});
    zvq_seq_iterator out{};
    ASSERT_EQ(Members<TypeParam>::add(&out, left.rec(), right.rec()), SEQ_OK);

    ASSERT_EQ(out.next(&out), SEQ_OK);
    ASSERT_EQ(out.chunk_count, 2);
    EXPECT_EQ(zvq::value_at<V>(out, 0), v(11));
    EXPECT_EQ(zvq::repeat_at(out, 0), 2);
    EXPECT_EQ(zvq::value_at<V>(out, 1), v(12));
    EXPECT_EQ(zvq::repeat_at(out, 1), 1);
    // The longer operand's partial run keeps where it stopped.
    EXPECT_EQ(right.rec()->chunk_pos, 0);
    EXPECT_EQ(right.rec()->run_pos, 3);

    for (int again = 0; again < 2; ++again) {
        out.chunk_pos = out.chunk_count;
        EXPECT_EQ(out.next(&out), SEQ_END);
        EXPECT_EQ(out.chunk_count, 2);
        EXPECT_EQ(out.next_pos, 3u);
    }
    EXPECT_EQ(left.pulls(), 4u);  // the first SEQ_END ended the partial chunk
    EXPECT_EQ(right.pulls(), 1u);
}

TYPED_TEST(BinaryKernel, OneLongRunAgainstManyShortOnes) {
    using V = typename TestFixture::V;
    auto v = TestFixture::v;
    Chunk<V> singles = TestFixture::ones(255, 0);
    singles.push_back({v(40), 1});
    Script left = Script::of<TypeParam>({{{v(1), 255}, {v(2), 1}}});
    Script right = Script::of<TypeParam>({singles});
    zvq_seq_iterator out{};
    ASSERT_EQ(Members<TypeParam>::add(&out, left.rec(), right.rec()), SEQ_OK);
    const auto runs = zvq::test::drain_runs<V>(out);
    ASSERT_EQ(runs.size(), 256u);
    for (uint32_t j = 0; j < 255; ++j) ASSERT_EQ(runs[j], (zvq::test::Run<V>{v(1 + static_cast<int>(j % 50)), 1})) << j;
    // The long run moved on exactly once, when run_pos wrapped to 0.
    EXPECT_EQ(runs[255], (zvq::test::Run<V>{v(42), 1}));
    EXPECT_EQ(left.rec()->chunk_pos, 2);
    EXPECT_EQ(left.rec()->run_pos, 0);
}

TYPED_TEST(BinaryKernel, FailureOfEitherOperandIsPassedUpUnchanged) {
    using V = typename TestFixture::V;
    const uint32_t cap = TestFixture::cap;
    for (const bool fail_left : {true, false}) {
        SCOPED_TRACE(fail_left ? "left fails" : "right fails");
        // A full chunk, then 10 runs of a second refill, then the failure at
        // the third pull.
        Script left = Script::of<TypeParam>({TestFixture::ones(cap, 0), TestFixture::ones(10, 3), TestFixture::ones(5, 0)});
        Script right = Script::of<TypeParam>({TestFixture::ones(cap, 1), TestFixture::ones(10, 4), TestFixture::ones(5, 0)});
        (fail_left ? left : right).fail_at(2, SEQ_NOMEM);
        zvq_seq_iterator out{};
        ASSERT_EQ(Members<TypeParam>::add(&out, left.rec(), right.rec()), SEQ_OK);
        ASSERT_EQ(out.next(&out), SEQ_OK);
        ASSERT_EQ(out.chunk_count, cap);
        EXPECT_EQ(zvq::value_at<V>(out, 0), TestFixture::v(1));
        EXPECT_EQ(out.next(&out), SEQ_NOMEM);
        EXPECT_EQ(out.chunk_count, cap);
        // next_pos already counts the runs the failed refill abandoned.
        EXPECT_EQ(out.next_pos, uint64_t{cap} + 10);
        EXPECT_EQ(left.rec()->chunk_pos, fail_left ? 10 : 0);
    }
}

TYPED_TEST(BinaryKernel, ResetRewindsBothOperands) {
    using V = typename TestFixture::V;
    auto v = TestFixture::v;
    Script left = Script::of<TypeParam>({{{v(1), 4}}, {{v(2), 4}}});
    Script right = Script::of<TypeParam>({{{v(5), 8}}});
    zvq_seq_iterator out{};
    ASSERT_EQ(Members<TypeParam>::add(&out, left.rec(), right.rec()), SEQ_OK);
    const auto first = zvq::test::drain_runs<V>(out);
    ASSERT_EQ(out.reset(&out), SEQ_OK);
    EXPECT_EQ(out.next_pos, 0u);
    EXPECT_EQ(left.resets(), 1u);
    EXPECT_EQ(right.resets(), 1u);
    EXPECT_EQ(zvq::test::drain_runs<V>(out), first);
    EXPECT_EQ(first, (std::vector<zvq::test::Run<V>>{{v(6), 4}, {v(7), 4}}));
}

// Two endless constants: one refill is a full chunk of 255-element runs.
TEST(BinaryKernelRuns, ConstantStretchesCostOneRunPer255Elements) {
    zvq_seq_iterator a{}, b{}, sum{};
    ASSERT_EQ(zvq_seq_const_int4(&a, 40), SEQ_OK);
    ASSERT_EQ(zvq_seq_const_int4(&b, 2), SEQ_OK);
    ASSERT_EQ(zvq_seq_add_int4(&sum, &a, &b), SEQ_OK);
    ASSERT_EQ(sum.next(&sum), SEQ_OK);
    ASSERT_EQ(sum.chunk_count, 819);
    EXPECT_EQ(sum.next_pos, 208845u);
    for (uint32_t i = 0; i < 819; ++i) {
        ASSERT_EQ(zvq::value_at<int32_t>(sum, i), 42);
        ASSERT_EQ(zvq::repeat_at(sum, i), 255);
    }
    sum.chunk_pos = sum.chunk_count;
    ASSERT_EQ(sum.next(&sum), SEQ_OK);
    EXPECT_EQ(sum.next_pos, 2u * 208845u);
}

// The bound is the uint1 capacity: one refill reads 2048 runs a side, more
// than four int8 chunks each.
TEST(BinaryKernelRuns, ComparisonConsumesSeveralOperandChunksPerRefill) {
    std::vector<Chunk<int64_t>> lc, rc;
    for (int c = 0, k = 0; c < 6; ++c) {
        lc.emplace_back();
        for (int j = 0; j < 455; ++j, ++k) lc.back().push_back({k, 1});
    }
    for (int c = 0, k = 0; c < 10; ++c) {  // other chunk borders on the right
        rc.emplace_back();
        for (int j = 0; j < 300; ++j, ++k) rc.back().push_back({k % 3 == 0 ? k : -k, 1});
    }
    Script left = Script::of<zvq::Int8>(lc);
    Script right = Script::of<zvq::Int8>(rc);
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_eq_int8(&out, left.rec(), right.rec()), SEQ_OK);
    ASSERT_EQ(out.next(&out), SEQ_OK);
    ASSERT_EQ(out.chunk_count, 2048);
    EXPECT_EQ(out.next_pos, 2048u);
    EXPECT_EQ(left.pulls(), 5u);
    EXPECT_EQ(right.pulls(), 7u);
    EXPECT_EQ(left.rec()->chunk_pos, 2048 - 4 * 455);
    EXPECT_EQ(right.rec()->chunk_pos, 2048 - 6 * 300);
    for (uint32_t k = 0; k < 2048; ++k) {
        ASSERT_EQ(zvq::value_at<uint8_t>(out, k), k % 3 == 0 ? 1 : 0) << k;
        ASSERT_EQ(zvq::repeat_at(out, k), 1);
    }
}

// Random run layouts on both sides, checked against the overlap rule applied
// run by run to the input lists, so that stretches combined in one pass and
// single overlaps give the same runs.
TEST(BinaryKernelRuns, MixedRunLayoutsGiveTheOverlapsRunByRun) {
    std::mt19937 gen(7);
    auto layout = [&](int runs, int chunk) {
        std::vector<Chunk<int32_t>> chunks;
        std::vector<zvq::test::Run<int32_t>> flat;
        for (int j = 0; j < runs; ++j) {
            if (j % chunk == 0) chunks.emplace_back();
            // Mostly aligned runs of 1, with stretches of longer ones.
            const uint8_t rep = gen() % 4 == 0 ? static_cast<uint8_t>(1 + gen() % 255) : 1;
            const zvq::test::Run<int32_t> run{static_cast<int32_t>(gen() % 1000), rep};
            chunks.back().push_back(run);
            flat.push_back(run);
        }
        return std::pair{chunks, flat};
    };
    auto [lc, lf] = layout(3000, 819);
    auto [rc, rf] = layout(2500, 333);

    std::vector<zvq::test::Run<int32_t>> expected;
    for (size_t a = 0, b = 0, ta = 0, tb = 0; a < lf.size() && b < rf.size();) {
        const uint8_t k = static_cast<uint8_t>(std::min(lf[a].repeat - ta, rf[b].repeat - tb));
        expected.push_back({static_cast<int32_t>(lf[a].value - rf[b].value), k});
        if ((ta += k) == lf[a].repeat) ta = 0, ++a;
        if ((tb += k) == rf[b].repeat) tb = 0, ++b;
    }
    Script left = Script::of<zvq::Int4>(lc);
    Script right = Script::of<zvq::Int4>(rc);
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_sub_int4(&out, left.rec(), right.rec()), SEQ_OK);
    const auto got = zvq::test::drain_runs<int32_t>(out);
    EXPECT_EQ(got, expected);
}

// One record on both sides reads through one cursor: every output run moves
// it twice.
TEST(BinaryKernelRuns, SameRecordOnBothSidesAdvancesTwicePerRun) {
    Script src = Script::of<zvq::Int4>({{{2, 1}, {3, 1}, {4, 1}, {5, 1}}});
    zvq::test::BindingChecks on(1);
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_add_int4(&out, src.rec(), src.rec()), SEQ_OK);
    EXPECT_EQ(src.rec()->bound, 1);
    EXPECT_EQ(zvq::test::drain_runs<int32_t>(out), (std::vector<zvq::test::Run<int32_t>>{{4, 1}, {8, 1}}));
}

// ---- constructors ------------------------------------------------------

zvq_seq_iterator filled(uint8_t byte) {
    zvq_seq_iterator r;
    std::memset(&r, byte, sizeof r);
    return r;
}

TEST(BinaryConstructor, FillsTheRecordAndBindsBothOperands) {
    Script left = Script::of<zvq::Double>({});
    Script right = Script::of<zvq::Double>({});
    zvq_seq_iterator out = filled(0xAB);
    zvq_seq_iterator* const sentinel = out.operand[2];
    ASSERT_EQ(zvq_seq_gt_double(&out, left.rec(), right.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_type, ZVQ_SEQ_TYPE_UINT1);
    EXPECT_EQ(out.elem_size, 1);
    EXPECT_EQ(out.next, &zvq_seq_gt_double_next);
    EXPECT_EQ(out.reset, &zvq_seq_reset_binary_iterator);
    EXPECT_EQ(out.prepare, nullptr);
    EXPECT_EQ(out.merge, nullptr);
    EXPECT_EQ(out.operand[0], left.rec());
    EXPECT_EQ(out.operand[1], right.rec());
    EXPECT_EQ(out.operand[2], sentinel);
    EXPECT_EQ(out.chunk_count, 0);
    EXPECT_EQ(out.bound, 0);
    EXPECT_EQ(out.next_pos, 0u);
    EXPECT_EQ(out.last_pos, zvq::kAllOnes);
    EXPECT_EQ(left.rec()->bound, 1);
    EXPECT_EQ(right.rec()->bound, 1);

    Script a = Script::of<zvq::Int2>({});
    Script b = Script::of<zvq::Int2>({});
    ASSERT_EQ(zvq_seq_mod_int2(&out, a.rec(), b.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_type, ZVQ_SEQ_TYPE_INT2);
    EXPECT_EQ(out.elem_size, 2);
}

TEST(BinaryConstructor, TypesAreTestedBeforeBindingsAndFailuresAlterNothing) {
    zvq::test::BindingChecks on(1);
    Script i8 = Script::of<zvq::Int8>({});
    Script u8 = Script::of<zvq::Uint8>({});
    Script dt = Script::of<zvq::Datetime>({});
    Script taken = Script::of<zvq::Uint8>({});
    taken.rec()->bound = 1;

    const zvq_seq_iterator pristine = filled(0x5C);
    zvq_seq_iterator out = pristine;
    // uint8 and datetime share a value type but not a code.
    EXPECT_EQ(zvq_seq_add_uint8(&out, u8.rec(), dt.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_lt_uint8(&out, i8.rec(), u8.rec()), SEQ_TYPE_MISMATCH);
    // A bound operand of the wrong type is a type mismatch first.
    EXPECT_EQ(zvq_seq_min_int8(&out, i8.rec(), taken.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(std::memcmp(&out, &pristine, sizeof out), 0);
    EXPECT_EQ(u8.rec()->bound, 0);
    EXPECT_EQ(i8.rec()->bound, 0);

    EXPECT_EQ(zvq_seq_max_uint8(&out, u8.rec(), taken.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(u8.rec()->bound, 0);
    EXPECT_EQ(std::memcmp(&out, &pristine, sizeof out), 0);

    zvq::test::BindingChecks off(0);
    EXPECT_EQ(zvq_seq_max_uint8(&out, u8.rec(), taken.rec()), SEQ_OK);
    EXPECT_EQ(u8.rec()->bound, 1);
}

TEST(BinaryConstructor, LogicTakesBooleanOperandsOnly) {
    Script b1 = Script::of<zvq::Uint1>({});
    Script b2 = Script::of<zvq::Uint1>({});
    Script i1 = Script::of<zvq::Int1>({});
    zvq_seq_iterator out{};
    EXPECT_EQ(zvq_seq_xor(&out, b1.rec(), i1.rec()), SEQ_TYPE_MISMATCH);
    ASSERT_EQ(zvq_seq_xor(&out, b1.rec(), b2.rec()), SEQ_OK);
    EXPECT_EQ(out.next, &zvq_seq_xor_zvq_seq_bool_next);
    EXPECT_EQ(out.elem_type, ZVQ_SEQ_TYPE_UINT1);
}

}  // namespace
