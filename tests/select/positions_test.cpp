// filter_pos, filter_search, filter_first_pos with its merge, get_first_pos.
#include <sys/time.h>

#include <csignal>

#include "select_support.hpp"

namespace zvq::test {
namespace {

TEST(FilterPos, FalseRunsSkipTrueRunsCountAcrossChunks) {
    // 454 single true flags leave one slot: a true run of 5 goes on in the
    // next chunk with the next position.
    Chunk<uint8_t> head = flags({{0, 3}});
    for (int k = 0; k < 454; ++k) head.push_back({1, 1});
    auto in = Script::of<Uint1>({head, flags({{2, 5}, {0, 255}, {0, 255}}), flags({{1, 1}})});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_filter_pos(&r, in.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_UINT8);
    std::vector<uint32_t> sizes;
    zvq_seq_status last;
    const auto got = drain_slots<uint64_t>(r, &sizes, &last);
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(sizes, (std::vector<uint32_t>{455, 5}));
    ASSERT_EQ(got.size(), 460u);
    EXPECT_EQ(got[0], 3u);
    EXPECT_EQ(got[453], 456u);
    EXPECT_EQ(std::vector<uint64_t>(got.begin() + 454, got.end()),
              (std::vector<uint64_t>{457, 458, 459, 460, 461, 972}));
    EXPECT_EQ(r.next_pos, 460u);

    // A reset goes back to position 0.
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(r)[0], 3u);
}

TEST(FilterSearch, CountsFromTheSourcesFirstPosAndReturnsThereOnReset) {
    auto flags_src = Script::of<Uint1>({flags({{1, 1}, {0, 4}, {1, 2}})});
    zvq_seq_iterator source{};
    source.first_pos = 1000;
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_filter_search(&r, flags_src.rec(), &source), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(r), (std::vector<uint64_t>{1000, 1005, 1006}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(r), (std::vector<uint64_t>{1000, 1005, 1006}));

    // A refused operand still leaves the two state words written.
    auto wrong = Script::of<Int4>({});
    zvq_seq_iterator refused{};
    EXPECT_EQ(zvq_seq_filter_search(&refused, wrong.rec(), &source), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(refused.state.words[0], 1000u);
    EXPECT_EQ(refused.state.words[1], 1000u);
}

// ---- filter_first_pos ----------------------------------------------------

TEST(FilterFirstPos, LimitsStatusesAndTheClimbingBase) {
    zvq_seq_iterator r{};
    auto wrong = Script::of<Int4>({});
    EXPECT_EQ(zvq_seq_filter_first_pos(&r, wrong.rec(), 3), SEQ_TYPE_MISMATCH);
    auto in = Script::of<Uint1>({flags({{1, 1}, {0, 9}})});
    EXPECT_EQ(zvq_seq_filter_first_pos(&r, in.rec(), 456), SEQ_BAD_ARGUMENT);
    // The operand is not bound, so it can be read by a second one.
    ASSERT_EQ(zvq_seq_filter_first_pos(&r, in.rec(), 0), SEQ_OK);
    EXPECT_EQ(in.rec()->bound, 0);
    EXPECT_EQ(r.prepare, zvq_seq_prepare_aggregate);
    EXPECT_EQ(r.merge, zvq_seq_filter_first_pos_merge);
    // N of 0: SEQ_END without a pull.
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(in.pulls(), 0u);

    // A condition over a part of a sequence reports places in the whole:
    // the base is the tree's first position, here a limit's start.
    auto part = Script::of<Uint1>({flags({{0, 255}, {0, 245}, {1, 1}, {0, 10}})});
    zvq_seq_iterator lim{}, fp{};
    ASSERT_EQ(zvq_seq_limit(&lim, part.rec(), 500, kAllOnes), SEQ_OK);
    ASSERT_EQ(zvq_seq_filter_first_pos(&fp, &lim, 3), SEQ_OK);
    ASSERT_EQ(fp.next(&fp), SEQ_OK);
    EXPECT_EQ((std::vector<uint64_t>{value_at<uint64_t>(fp, 0), value_at<uint64_t>(fp, 1), value_at<uint64_t>(fp, 2)}),
              (std::vector<uint64_t>{500, 501, 502}));
}

TEST(FilterFirstPos, TrueFlagGivesConsecutivePositionsOnceThenEnds) {
    auto in = Script::of<Uint1>({flags({{1, 1}, {0, 200}})});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_filter_first_pos(&r, in.rec(), 4), SEQ_OK);
    EXPECT_EQ(singles_of<uint64_t>(r), (std::vector<uint64_t>{0, 1, 2, 3}));
    EXPECT_EQ(in.pulls(), 1u);
    // The reset rewinds the operand and the record: the same result again.
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(in.resets(), 1u);
    EXPECT_EQ(singles_of<uint64_t>(r), (std::vector<uint64_t>{0, 1, 2, 3}));

    // An empty input: the pull's SEQ_END, chunk_count as it was.
    auto empty = Script::of<Uint1>({});
    zvq_seq_iterator e{};
    ASSERT_EQ(zvq_seq_filter_first_pos(&e, empty.rec(), 4), SEQ_OK);
    e.chunk_count = 9;
    EXPECT_EQ(e.next(&e), SEQ_END);
    EXPECT_EQ(e.chunk_count, 9u);
}

// Pulls a filter_first_pos whose cursor stands on a false flag, with an
// alarm set: only the alarm can end the call.
void pull_on_a_false_flag() {
    auto in = Script::of<Uint1>({flags({{0, 1}, {1, 9}})});
    zvq_seq_iterator r{};
    zvq_seq_filter_first_pos(&r, in.rec(), 2);
    const itimerval in_100ms{{0, 0}, {0, 100000}};
    setitimer(ITIMER_REAL, &in_100ms, nullptr);
    r.next(&r);
    std::exit(0);
}

TEST(FilterFirstPosDeathTest, AFalseFlagAtTheCursorKeepsTheCallInItsLoop) {
    EXPECT_EXIT(pull_on_a_false_flag(), ::testing::KilledBySignal(SIGALRM), "");
}

// A piece prepared as the host does, with its result set by hand.
void piece(zvq_seq_iterator& r, Script& src, uint64_t n, std::vector<uint64_t> list) {
    ASSERT_EQ(zvq_seq_filter_first_pos(&r, src.rec(), n), SEQ_OK);
    for (size_t i = 0; i < list.size(); ++i) {
        set_value<uint64_t>(r, static_cast<uint32_t>(i), list[i]);
        set_repeat(r, static_cast<uint32_t>(i), 1);
    }
    r.chunk_count = static_cast<uint16_t>(list.size());
    r.next_pos = list.size();
    r.prepared = 1;
}

TEST(FilterFirstPosMerge, SortedListsMergedAndCutSelfTailFirst) {
    auto src = Script::of<Uint1>({});
    struct Case {
        uint64_t n;
        std::vector<uint64_t> self, other, want;
    };
    const Case cases[] = {
        {5, {10, 20}, {30, 31}, {10, 20, 30, 31}},           // other after self
        {5, {10, 20, 30}, {15, 16}, {10, 15, 16, 20, 30}},   // other between
        {4, {10, 20, 30}, {15, 16}, {10, 15, 16, 20}},       // self's tail cut first
        {2, {10, 20}, {15, 16, 17}, {10, 15}},               // then other's
        {3, {10, 20, 30}, {40}, {10, 20, 30}},               // no room: unchanged
        {4, {}, {7, 8}, {7, 8}},                             // an empty self takes other's list
    };
    for (const Case& c : cases) {
        zvq_seq_iterator self{}, other{};
        piece(self, src, c.n, c.self);
        piece(other, src, c.n, c.other);
        if (c.self.empty()) set_value<uint64_t>(self, 0, 3);  // whatever an empty self holds, below other's
        EXPECT_EQ(self.merge(&self, &other), SEQ_OK);
        EXPECT_EQ(self.next_pos, c.want.size());
        EXPECT_EQ(singles_of<uint64_t>(self), c.want);
    }
}

TEST(FilterFirstPosMerge, PiecesThroughTheHostProtocol) {
    // Two pieces of one condition, the destination being the later one.
    auto early = Script::of<Uint1>({flags({{1, 1}})});
    auto late = Script::of<Uint1>({flags({{0, 255}, {0, 245}, {1, 1}})});
    zvq_seq_iterator lim{}, pa{}, pb{};
    ASSERT_EQ(zvq_seq_limit(&lim, late.rec(), 500, kAllOnes), SEQ_OK);
    ASSERT_EQ(zvq_seq_filter_first_pos(&pa, &lim, 4), SEQ_OK);
    ASSERT_EQ(zvq_seq_filter_first_pos(&pb, early.rec(), 4), SEQ_OK);
    EXPECT_EQ(pa.prepare(&pa), SEQ_OK);
    EXPECT_EQ(pb.prepare(&pb), SEQ_OK);
    EXPECT_EQ(pa.merge(&pa, &pb), SEQ_OK);
    const size_t pulls = late.pulls();
    EXPECT_EQ(singles_of<uint64_t>(pa), (std::vector<uint64_t>{0, 1, 2, 3}));
    EXPECT_EQ(late.pulls(), pulls);
}

TEST(GetFirstPos, GreatestOverAllThreeSlotsAndATeesTwins) {
    zvq_seq_iterator a{}, b{}, c{}, root{};
    a.first_pos = 7;
    b.first_pos = 30;
    c.first_pos = 12;
    root.operand[0] = &a;
    root.operand[2] = &c;
    a.operand[1] = &b;
    EXPECT_EQ(zvq_seq_get_first_pos(&root), 30u);

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
