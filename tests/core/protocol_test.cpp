// The shared reading helpers: operands refilled and closed together, aligned
// stretches of several operands, the stepwise walk over whole runs, known
// counts and the constructor opening.
#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

#include "core/known_count.hpp"
#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

using V = int32_t;

Script ints(const std::vector<Chunk<V>>& chunks) { return Script::of<Int4>(chunks); }

TEST(RefillOrClose, AnEndClosesOnlyAChunkWithResultsAndOtherStatusesPassThrough) {
    struct Case {
        zvq_seq_status in;
        uint64_t written;
        zvq_seq_status out;
        bool closes;
    };
    const Case cases[] = {{SEQ_OK, 0, SEQ_OK, false},       {SEQ_OK, 5, SEQ_OK, false},
                          {SEQ_END, 0, SEQ_END, false},     {SEQ_END, 1, SEQ_OK, true},
                          {SEQ_END, 1ull << 32, SEQ_OK, true},  // a count past 32 bits is still "written"
                          {SEQ_NOMEM, 7, SEQ_NOMEM, false}, {SEQ_BAD_ORDER, 0, SEQ_BAD_ORDER, false}};
    for (const Case& c : cases) {
        bool closes = !c.closes;
        EXPECT_EQ(close_at_end(c.in, c.written, closes), c.out) << c.in << " " << c.written;
        EXPECT_EQ(closes, c.closes) << c.in << " " << c.written;
    }
}

TEST(RefillOrClose, OperandsInStepRefillInOrderAndTheFirstFailureLeavesLaterOnesUnpulled) {
    Script a = ints({{{1, 2}}});
    Script b = ints({{{5, 2}}, {{6, 1}}});
    const std::array<Rec*, 2> ops = {a.rec(), b.rec()};
    bool closes = true;
    ASSERT_EQ(refill_or_close(ops, 0, closes), SEQ_OK);
    EXPECT_FALSE(closes);
    EXPECT_EQ(a.pulls(), 1u);
    EXPECT_EQ(b.pulls(), 1u);
    // Nothing is pulled while both chunks hold runs.
    ASSERT_EQ(refill_or_close(ops, 0, closes), SEQ_OK);
    EXPECT_EQ(a.pulls() + b.pulls(), 2u);
    // a ends: with results written the chunk closes and b is not pulled.
    a.rec()->chunk_pos = 1;
    b.rec()->chunk_pos = 1;
    ASSERT_EQ(refill_or_close(ops, 3, closes), SEQ_OK);
    EXPECT_TRUE(closes);
    EXPECT_EQ(b.pulls(), 1u);
    // Without results, the end is the call's.
    EXPECT_EQ(refill_or_close(ops, 0, closes), SEQ_END);
    EXPECT_FALSE(closes);

    Script failing = ints({{{1, 1}}, {{2, 1}}});
    failing.fail_at(1, SEQ_NOMEM);
    Script other = ints({{{1, 1}}, {{2, 1}}});
    const std::array<Rec*, 2> pair = {failing.rec(), other.rec()};
    ASSERT_EQ(refill_or_close(pair, 0, closes), SEQ_OK);
    failing.rec()->chunk_pos = 1;
    other.rec()->chunk_pos = 1;
    EXPECT_EQ(refill_or_close(pair, 9, closes), SEQ_NOMEM);
    EXPECT_FALSE(closes);
    EXPECT_EQ(other.pulls(), 1u);
}

// Both operands pulled once, standing at the given run.
struct Pair {
    Script x, y;
    Pair(const Chunk<V>& xs, const Chunk<V>& ys) : x(ints({xs})), y(ints({ys})) {
        pull(*x.rec());
        pull(*y.rec());
    }
    std::array<Rec*, 2> ops() { return {x.rec(), y.rec()}; }
};

TEST(AlignedStretch, CountsLeadingRunsWithEqualRepeatBytesFromRunStarts) {
    // Repeat bytes only matter; 0 and 255 compare as bytes.
    Pair p({{1, 3}, {2, 5}, {3, 0}, {4, 255}, {5, 2}, {6, 9}, {7, 1}, {8, 1}, {9, 1}, {10, 1}},
           {{9, 3}, {9, 5}, {9, 0}, {9, 255}, {9, 2}, {9, 9}, {9, 1}, {9, 1}, {9, 1}, {9, 4}});
    EXPECT_EQ(aligned_stretch(p.ops(), 100), 9u);  // ten runs: more than one word of repeat bytes
    EXPECT_EQ(aligned_stretch(p.ops(), 4), 4u);    // the room bounds it
    EXPECT_EQ(aligned_stretch(p.ops(), 0), 0u);
    p.x.rec()->chunk_pos = 2;
    p.y.rec()->chunk_pos = 2;
    EXPECT_EQ(aligned_stretch(p.ops(), 100), 7u);
    p.y.rec()->chunk_pos = 3;  // out of step: run 2 (0) against run 3 (255)
    EXPECT_EQ(aligned_stretch(p.ops(), 100), 0u);
}

TEST(AlignedStretch, NoStretchInsideARunForOneRecordTwiceOrBeyondTheShortestChunk) {
    Pair p({{1, 3}, {2, 5}, {3, 7}}, {{1, 3}, {2, 5}});
    EXPECT_EQ(aligned_stretch(p.ops(), 100), 2u);
    p.x.rec()->run_pos = 1;
    EXPECT_EQ(aligned_stretch(p.ops(), 100), 0u);
    p.x.rec()->run_pos = 0;
    EXPECT_EQ(aligned_stretch(std::array<Rec*, 2>{p.x.rec(), p.x.rec()}, 100), 0u);

    Script z = ints({{{0, 3}, {0, 6}, {0, 7}}});
    pull(*z.rec());
    EXPECT_EQ(aligned_stretch(std::array<Rec*, 3>{p.x.rec(), z.rec(), p.y.rec()}, 100), 1u);

    advance_runs(p.ops(), 2);
    EXPECT_EQ(p.x.rec()->chunk_pos, 2u);
    EXPECT_EQ(p.y.rec()->chunk_pos, 2u);
}

// What walk_whole_runs hands out: ('s', first run, count) for a stretch of
// distinct values, ('r', run, length) for any other run.
struct Step {
    char kind;
    uint32_t at, n;
    bool operator==(const Step&) const = default;
};

std::vector<Step> walk(Rec& op, uint64_t room_left, uint32_t* stopped_at) {
    std::vector<Step> steps;
    walk_whole_runs(
        op, [&] { return room_left; },
        [&](uint32_t i, uint32_t m) {
            if (m != 0) steps.push_back({'s', i, m});
            room_left -= m;
        },
        [&](uint32_t i, uint32_t n) {
            steps.push_back({'r', i, n});
            room_left -= n;
        });
    *stopped_at = op.chunk_pos;
    return steps;
}

TEST(WalkWholeRuns, DistinctValuesGoTogetherARepeatOfZeroIsTwoHundredFiftySixAndRoomStopsBeforeARun) {
    const Chunk<V> runs = {{1, 1}, {2, 1}, {3, 4}, {4, 1}, {5, 0}, {6, 1}};
    struct Case {
        uint64_t room;
        std::vector<Step> steps;
        uint32_t stops;
    };
    const Case cases[] = {
        {1000, {{'s', 0, 2}, {'r', 2, 4}, {'s', 3, 1}, {'r', 4, 256}, {'s', 5, 1}}, 6},
        {263, {{'s', 0, 2}, {'r', 2, 4}, {'s', 3, 1}, {'r', 4, 256}}, 5},  // room 0 left for run 5
        {262, {{'s', 0, 2}, {'r', 2, 4}, {'s', 3, 1}}, 4},                 // 256 > 255 left
        {5, {{'s', 0, 2}}, 2},                                              // 4 > 3 left
        {1, {{'s', 0, 1}}, 1},
        {0, {}, 0},
    };
    for (const Case& c : cases) {
        Script s = ints({runs});
        pull(*s.rec());
        uint32_t stopped = 99;
        EXPECT_EQ(walk(*s.rec(), c.room, &stopped), c.steps) << "room " << c.room;
        EXPECT_EQ(stopped, c.stops) << "room " << c.room;
        EXPECT_EQ(s.rec()->run_pos, 0u);
    }
}

TEST(WalkWholeRuns, StartsWhereTheReaderStands) {
    Script s = ints({{{1, 7}, {2, 1}, {3, 1}, {4, 255}}});
    pull(*s.rec());
    s.rec()->chunk_pos = 1;
    uint32_t stopped = 99;
    EXPECT_EQ(walk(*s.rec(), 1000, &stopped), (std::vector<Step>{{'s', 1, 2}, {'r', 3, 255}}));
    EXPECT_EQ(stopped, 4u);
}

// ---- known counts --------------------------------------------------------

zvq_seq_status sized_reset(zvq_seq_iterator*) { return SEQ_OK; }
uint64_t sized_count(Rec&) { return 12345; }
[[maybe_unused]] const bool sized_registered = register_known_count(sized_reset, sized_count);

TEST(KnownCount, RegisteredSourcesAreAskedOthersAreReadToTheirEndByRepeatBytes) {
    Script read = ints({{{1, 3}, {2, 255}}, {{3, 0}, {4, 1}}});
    EXPECT_FALSE(counts_itself(*read.rec()));
    EXPECT_EQ(count_elements(*read.rec()), 259u);  // a repeat byte of 0 adds nothing
    EXPECT_EQ(read.pulls(), 3u);

    Script failing = ints({{{1, 3}, {2, 4}}, {{3, 5}}, {{4, 6}}});
    failing.fail_at(2, SEQ_NOMEM);
    EXPECT_EQ(count_elements(*failing.rec()), 12u);  // the failure ends the count

    Script asked = ints({{{1, 3}}});
    asked.rec()->reset = sized_reset;
    EXPECT_TRUE(counts_itself(*asked.rec()));
    EXPECT_EQ(count_elements(*asked.rec()), 12345u);
    EXPECT_EQ(asked.pulls(), 0u);

    const int32_t items[] = {4, 5, 6, 7};
    zvq_seq_iterator array{}, empty{};
    ASSERT_EQ(zvq_seq_unget_int4(&array, items, 4), SEQ_OK);
    ASSERT_EQ(zvq_seq_unget_int4(&empty, items, 0), SEQ_OK);
    EXPECT_TRUE(counts_itself(array));
    uint64_t n = 99;
    EXPECT_TRUE(known_count(array, n));
    EXPECT_EQ(n, 4u);
    EXPECT_TRUE(known_count(empty, n));
    EXPECT_EQ(n, 0u);
}

// ---- the constructor opening --------------------------------------------

TEST(OpenOperands, TypesBeforeBindingsAndNothingMarkedUnlessAllPass) {
    BindingChecks on(1);
    Script a = ints({});
    Script b = ints({});
    Script d = Script::of<Double>({});
    b.rec()->bound = 1;
    a.rec()->bound = 0;
    // A wrong type wins over a bound operand.
    EXPECT_EQ((open_operands<Int4, Int4>(d.rec(), b.rec())), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(d.rec()->bound, 0u);
    EXPECT_EQ((open_operands<Int4, Int4>(a.rec(), b.rec())), SEQ_ALREADY_BOUND);
    EXPECT_EQ(a.rec()->bound, 0u);
    EXPECT_EQ((open_operands<Int4, Double>(a.rec(), d.rec())), SEQ_OK);
    EXPECT_EQ(a.rec()->bound, 1u);
    EXPECT_EQ(d.rec()->bound, 1u);
    EXPECT_EQ(open_operands(false, {b.rec()}), SEQ_TYPE_MISMATCH);

    BindingChecks off(0);
    EXPECT_EQ((open_operands<Int4>(b.rec())), SEQ_OK);
}

TEST(OpenOperands, CharOperandsReadSideBySideMustShareAWidth) {
    Script narrow = Script::of_char(4, {});
    Script wide = Script::of_char(6, {});
    EXPECT_TRUE(same_width<Char>(*narrow.rec(), *narrow.rec()));
    EXPECT_FALSE(same_width<Char>(*narrow.rec(), *wide.rec()));
    EXPECT_TRUE(same_width<Int4>(*narrow.rec(), *wide.rec()));  // fixed types never compare widths
}

}  // namespace
}  // namespace zvq::test
