// filter_pos, filter_search, filter_first_pos with its merge, get_first_pos.
#include <sys/time.h>

#include <csignal>
#include <numeric>

#include "select_support.hpp"

namespace zvq::test {
namespace {

using P = std::vector<uint64_t>;

TEST(FilterPos, FalseRunsSkipTrueRunsCountAcrossChunks) {
    // 454 single true flags leave one slot: a true run of 5 goes on in the
    // next chunk with the next position; a false run is one step.
    Chunk<uint8_t> head = flags({{0, 3}});
    head.insert(head.end(), 454, {1, 1});
    auto in = Script::of<Uint1>({head, flags({{2, 5}, {0, 255}, {0, 255}}), flags({{1, 1}})});
    // filter_search counts from the source's first_pos, and a reset returns there.
    zvq_seq_iterator source{}, r{};
    source.first_pos = 1000;
    P want(460);
    std::iota(want.begin(), want.end() - 1, 1003);
    want.back() = 1972;
    ASSERT_EQ(zvq_seq_filter_search(&r, in.rec(), &source), SEQ_OK);
    std::vector<size_t> sizes;
    EXPECT_EQ(singles_of<uint64_t>(r, nullptr, &sizes), want);
    EXPECT_EQ(sizes, (std::vector<size_t>{455, 5}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(r), want);

    // A true run with a repeat byte of 0 gives 256 positions, 2 to 257.
    auto short_in = Script::of<Uint1>({flags({{0, 2}, {1, 0}, {0, 1}, {1, 1}})});
    ASSERT_EQ(zvq_seq_filter_pos(&r, short_in.rec()), SEQ_OK);
    std::iota(want.begin(), want.begin() + 256, 2);
    want[256] = 259;
    want.resize(257);
    EXPECT_EQ(singles_of<uint64_t>(r), want);
    // A refused operand still leaves the two state words written.
    auto wrong = Script::of<Int4>({});
    EXPECT_EQ(zvq_seq_filter_search(&r, wrong.rec(), &source), SEQ_TYPE_MISMATCH);
    EXPECT_EQ((P{r.state.words[0], r.state.words[1]}), (P{1000, 1000}));
}

TEST(FilterFirstPos, ChecksThenOneFlagReadAgainWhileTheBaseClimbs) {
    zvq_seq_iterator r{};
    auto wrong = Script::of<Int4>({});
    EXPECT_EQ(zvq_seq_filter_first_pos(&r, wrong.rec(), 3), SEQ_TYPE_MISMATCH);
    auto in = Script::of<Uint1>({flags({{1, 1}, {0, 200}})});
    EXPECT_EQ(zvq_seq_filter_first_pos(&r, in.rec(), 456), SEQ_BAD_ARGUMENT);
    // N of 0: SEQ_END without a pull. The operand is not bound, so that
    // pieces of one condition can share it.
    ASSERT_EQ(zvq_seq_filter_first_pos(&r, in.rec(), 0), SEQ_OK);
    EXPECT_EQ(in.rec()->bound, 0);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(in.pulls(), 0u);
    // A true flag at the cursor gives consecutive positions, once; the reset
    // rewinds the operand and the record.
    ASSERT_EQ(zvq_seq_filter_first_pos(&r, in.rec(), 4), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(r), (P{0, 1, 2, 3}));
    EXPECT_EQ(in.pulls(), 1u);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(in.resets(), 1u);
    EXPECT_EQ(singles_of<uint64_t>(r), (P{0, 1, 2, 3}));
    // An empty input: the pull's SEQ_END, chunk_count as it was.
    auto empty = Script::of<Uint1>({});
    ASSERT_EQ(zvq_seq_filter_first_pos(&r, empty.rec(), 4), SEQ_OK);
    r.chunk_count = 9;
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.chunk_count, 9u);
}

TEST(FilterFirstPosDeathTest, AFalseFlagAtTheCursorKeepsTheCallInItsLoop) {
    auto in = Script::of<Uint1>({flags({{0, 1}, {1, 9}})});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_filter_first_pos(&r, in.rec(), 2), SEQ_OK);
    const itimerval in_100ms{{0, 0}, {0, 100000}};
    // Only the alarm can end the call.
    EXPECT_EXIT((setitimer(ITIMER_REAL, &in_100ms, nullptr), r.next(&r), std::exit(0)),
                ::testing::KilledBySignal(SIGALRM), "");
}

TEST(FilterFirstPosMerge, SortedListsMergedAndCutSelfTailFirst) {
    auto src = Script::of<Uint1>({});
    // A piece prepared as the host does, with its result set by hand.
    auto piece = [&](zvq_seq_iterator& r, uint64_t n, const P& list) {
        ASSERT_EQ(zvq_seq_filter_first_pos(&r, src.rec(), n), SEQ_OK);
        for (size_t i = 0; i < list.size(); ++i) set_value<uint64_t>(r, static_cast<uint32_t>(i), list[i]);
        publish_singles(r, static_cast<uint32_t>(list.size()));
        r.prepared = 1;
    };
    struct Case {
        uint64_t n;
        P self, other, want;
    };
    const Case cases[] = {
        {5, {10, 20}, {30, 31}, {10, 20, 30, 31}},          // other after self
        {5, {10, 20, 30}, {15, 16}, {10, 15, 16, 20, 30}},  // other between
        {4, {10, 20, 30}, {15, 16}, {10, 15, 16, 20}},      // self's tail cut first
        {2, {10, 20}, {15, 16, 17}, {10, 15}},              // then other's
        {3, {10, 20, 30}, {40}, {10, 20, 30}},              // no room: unchanged
        {4, {}, {7, 8}, {7, 8}},                            // an empty self takes other's list
    };
    for (const Case& c : cases) {
        zvq_seq_iterator self{}, other{};
        piece(self, c.n, c.self);
        piece(other, c.n, c.other);
        if (c.self.empty()) set_value<uint64_t>(self, 0, 3);  // whatever an empty self holds, below other's
        EXPECT_EQ(self.merge(&self, &other), SEQ_OK);
        EXPECT_EQ(singles_of<uint64_t>(self), c.want);
    }
    // Through the host's protocol, the destination reading through a limit:
    // its base is the limit's start, a place in the whole sequence.
    auto early = Script::of<Uint1>({flags({{1, 1}})});
    auto late = Script::of<Uint1>({flags({{0, 255}, {0, 245}, {1, 1}})});
    zvq_seq_iterator lim{}, pa{}, pb{};
    ASSERT_EQ(zvq_seq_limit(&lim, late.rec(), 500, kAllOnes), SEQ_OK);
    ASSERT_EQ(zvq_seq_filter_first_pos(&pa, &lim, 4), SEQ_OK);
    ASSERT_EQ(zvq_seq_filter_first_pos(&pb, early.rec(), 2), SEQ_OK);
    EXPECT_TRUE(pa.prepare(&pa) == SEQ_OK && pb.prepare(&pb) == SEQ_OK);
    EXPECT_EQ(pa.merge(&pa, &pb), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(pa), (P{0, 1, 500, 501}));
}

TEST(GetFirstPos, GreatestOverAllThreeSlotsAndATeesTwins) {
    zvq_seq_iterator a{}, b{}, c{}, root{};
    a.first_pos = 7, b.first_pos = 30, c.first_pos = 40;
    root.operand[0] = &a, root.operand[2] = &c, a.operand[1] = &b;
    EXPECT_EQ(zvq_seq_get_first_pos(&root), 40u);
    EXPECT_EQ(zvq_seq_get_first_pos(&a), 30u);
    // The twins of a tee name each other: the walk must still end.
    auto src = Script::of<Double>({});
    src.rec()->first_pos = 64;
    zvq_seq_iterator t1{}, t2{}, sum{};
    ASSERT_EQ(zvq_seq_tee(&t1, &t2, src.rec()), SEQ_OK);
    ASSERT_EQ(zvq_seq_add_double(&sum, &t1, &t2), SEQ_OK);
    EXPECT_EQ(zvq_seq_get_first_pos(&sum), 64u);
}

}  // namespace
}  // namespace zvq::test
