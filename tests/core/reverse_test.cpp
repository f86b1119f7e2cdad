// reverse: one chunk mirrored with its runs, longer input expanded into a
// buffer that the reset releases.
#include <gtest/gtest.h>

#include <string>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

template <class Tag>
struct Rev;
#define ZVQ_TEST_REV(name, Tag, ctype)                                                         \
    template <>                                                                                \
    struct Rev<zvq::Tag> {                                                                     \
        static constexpr auto make = zvq_seq_reverse_##name;                                   \
        static constexpr auto reset = zvq_seq_reverse_##name##_reset;                          \
        static constexpr auto unget = zvq_seq_unget_##name;                                    \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_REV)
#undef ZVQ_TEST_REV

template <class Tag>
class Reverse : public ::testing::Test {};
using Tags = ::testing::Types<Uint1, Uint2, Uint4, Uint8, Int1, Int2, Int4, Int8, Float, Double, Datetime>;
TYPED_TEST_SUITE(Reverse, Tags);

TYPED_TEST(Reverse, OneChunkKeepsItsRunsAndAllocatesNothing) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    BindingChecks on(1);  // the short way reads no bound record directly
    CountingAllocator alloc;
    auto s = Script::of<Tag>({{{V(1), 3}, {V(2), 255}, {V(3), 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(Rev<Tag>::make(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.reset, zvq_seq_reset_unary_iterator);
    zvq_seq_status last;
    const auto runs = drain_chunks<V>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0], (Chunk<V>{{V(3), 1}, {V(2), 255}, {V(1), 3}}));
    EXPECT_EQ(r.next_pos, 259u);
    EXPECT_EQ(alloc.allocations(), 0u);
}

TYPED_TEST(Reverse, LongInputComesOutExpandedAndResetFreesTheBuffer) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    BindingChecks off(0);
    CountingAllocator alloc;
    // Runs straddle two chunks: 300 elements in all.
    auto s = Script::of<Tag>({{{V(1), 100}, {V(2), 1}}, {{V(3), 199}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(Rev<Tag>::make(&r, s.rec()), SEQ_OK);
    std::vector<V> expected(199, V(3));
    expected.push_back(V(2));
    expected.insert(expected.end(), 100, V(1));

    for (int pass = 0; pass < 2; ++pass) {
        zvq_seq_status last;
        const auto runs = drain_runs<V>(r, &last);
        EXPECT_EQ(last, SEQ_END);
        EXPECT_EQ(expand(runs), expected);
        for (const auto& run : runs) EXPECT_EQ(run.repeat, 1);
        EXPECT_EQ(r.reset, Rev<Tag>::reset);
        EXPECT_EQ(alloc.live_blocks(), 1);
        EXPECT_EQ(alloc.live_bytes(), int64_t{300} * int64_t{sizeof(V)});
        ASSERT_EQ(r.reset(&r), SEQ_OK);
        EXPECT_EQ(alloc.live_blocks(), 0);
        EXPECT_EQ(r.reset, zvq_seq_reset_unary_iterator);
    }
    EXPECT_FALSE(alloc.size_mismatch());
    EXPECT_EQ(s.resets(), 6u);  // two per long way, one per reset
}

TYPED_TEST(Reverse, ManyChunksWithChecksOnMeetTheBindingOfTheOperand) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    BindingChecks on(1);
    CountingAllocator alloc;
    std::vector<V> items(3000);
    for (size_t i = 0; i < items.size(); ++i) items[i] = V(i % 100);
    zvq_seq_iterator src{}, r{};
    ASSERT_EQ(Rev<Tag>::unget(&src, items.data(), items.size()), SEQ_OK);
    ASSERT_EQ(Rev<Tag>::make(&r, &src), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_ALREADY_BOUND);
    zvq_seq_free_buffer(&r);
    EXPECT_EQ(alloc.live_blocks(), 0);
}

TYPED_TEST(Reverse, EmptyOperandEnds) {
    using Tag = TypeParam;
    auto s = Script::of<Tag>({});
    zvq_seq_iterator r{};
    ASSERT_EQ(Rev<Tag>::make(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.next(&r), SEQ_END);
}

TEST(ReverseLong, AllocatorFailureIsNoMem) {
    BindingChecks off(0);
    CountingAllocator alloc;
    alloc.fail_all();
    auto s = Script::of<Double>({{{1.0, 1}}, {{2.0, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_reverse_double(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(alloc.live_blocks(), 0);
}

TEST(ReverseLong, OperandFailureOnTheSecondReadFreesTheBuffer) {
    BindingChecks off(0);
    CountingAllocator alloc;
    // Pulls: 0 and 1 the first look, 2..4 the count, 5 fails the read.
    auto s = Script::of<Int2>({{{1, 1}}, {{2, 1}}});
    s.fail_at(5, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_reverse_int2(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_EQ(r.next_pos, 0u);
}

TEST(ReverseChar, ShortAndLongWays) {
    BindingChecks off(0);
    CountingAllocator alloc;
    auto one = Script::of_char(3, {{{"ab", 2}, {"xyz", 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_reverse_char(&r, one.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.elem_size, 3);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(r.chunk), 6), std::string("xyzab\0", 6));
    EXPECT_EQ(repeat_at(r, 0), 1);
    EXPECT_EQ(repeat_at(r, 1), 2);

    // Wider than the swap's local block, over several chunks of 13.
    const size_t width = 300, count = 30;
    std::string items(width * count, '\0');
    for (size_t i = 0; i < count; ++i)
        for (size_t b = 0; b < width; ++b) items[i * width + b] = static_cast<char>('A' + (i + b) % 26);
    zvq_seq_iterator src{}, wide{};
    ASSERT_EQ(zvq_seq_unget_char(&src, items.data(), count, width), SEQ_OK);
    ASSERT_EQ(zvq_seq_reverse_char(&wide, &src), SEQ_OK);
    std::string out(width * count, '\0');
    uint64_t n = count;
    ASSERT_EQ(zvq_seq_get_char(&wide, out.data(), &n), SEQ_OK);
    ASSERT_EQ(n, count);
    for (size_t i = 0; i < count; ++i)
        EXPECT_EQ(out.substr(i * width, width), items.substr((count - 1 - i) * width, width)) << i;
    EXPECT_EQ(zvq_seq_reverse_char_reset(&wide), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);
}

TEST(ReverseConstructor, TestsTypeAndBinding) {
    BindingChecks on(1);
    auto s = Script::of<Uint8>({{{1, 1}}});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_reverse_datetime(&r, s.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(s.rec()->bound, 0);
    ASSERT_EQ(zvq_seq_reverse_uint8(&r, s.rec()), SEQ_OK);
    zvq_seq_iterator again{};
    EXPECT_EQ(zvq_seq_reverse_uint8(&again, s.rec()), SEQ_ALREADY_BOUND);
}

}  // namespace
}  // namespace zvq::test
