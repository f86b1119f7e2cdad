// agg_count and agg_count_not_null: the walk by chunks, the short ways of
// sources that know their size, and null flags.
#include "agg_support.hpp"

namespace zvq::test {
namespace {

const Ctor kCounts[] = {zvq_seq_agg_count, zvq_seq_agg_count_not_null};

// A count over `op`, read as one run then SEQ_END. One `asked` cannot be merged.
uint64_t count_of(Ctor ctor, zvq_seq_iterator* op, bool asked = false) {
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, op), SEQ_OK);
    EXPECT_EQ(r.prepare == nullptr && r.merge == nullptr, asked);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1);
    EXPECT_EQ(repeat_at(r, 0), ctor == zvq_seq_agg_count ? 1 : 0);  // not-null leaves it as found
    const uint64_t n = value_at<uint64_t>(r, 0);
    EXPECT_EQ(r.next(&r), SEQ_END);
    return n;
}

TEST(Count, WalksChunksAndSwallowsFailures) {
    auto ints = Script::of<Int4>({{{5, 255}, {1, 3}}, {{2, 1}}});
    EXPECT_EQ(count_of(zvq_seq_agg_count, ints.rec()), 259u);
    auto runs = Script::of<Int4>({{{5, 200}, {6, 3}}, {{7, 1}}});
    EXPECT_EQ(count_of(zvq_seq_agg_count_not_null, runs.rec()), 3u);  // runs, not elements
    for (Ctor ctor : kCounts) {
        auto empty = Script::of<Int2>({});
        EXPECT_EQ(count_of(ctor, empty.rec()), 0u);
        auto failing = Script::of<Int2>({{{1, 7}}, {{2, 9}}}).fail_at(1, SEQ_NOMEM);
        EXPECT_EQ(count_of(ctor, failing.rec()), ctor == zvq_seq_agg_count ? 7u : 1u);
    }
}

TEST(Count, SourcesThatKnowTheirSizeAreAskedNotRead) {
    const int32_t items[5] = {4, 1, 4, 9, 1};
    for (Ctor ctor : kCounts) {
        zvq_seq_iterator src{};
        ASSERT_EQ(zvq_seq_unget_int4(&src, items, 5), SEQ_OK);
        EXPECT_EQ(count_of(ctor, &src, true), 5u);
        EXPECT_EQ(src.next_pos, 0u);
        ASSERT_EQ(zvq_seq_unget_int4(&src, items, 0), SEQ_OK);
        EXPECT_EQ(count_of(ctor, &src, true), 0u);  // all ones plus one

        // A hash aggregate: its table's count of groups once a pull has
        // built it; 0 when that pull fails.
        zvq_seq_iterator agg{}, grp{};
        ASSERT_EQ(zvq_seq_unget_int4(&src, items, 5), SEQ_OK);
        ASSERT_EQ(zvq_seq_hash_agg_count(&agg, &grp, &src, 0), SEQ_OK);
        EXPECT_EQ(count_of(ctor, &agg, true), 3u);
        EXPECT_EQ(zvq_seq_free_hash(&agg), 1u);
        auto failing = Script::of<Int4>({{{4, 2}}}).fail_at(0, SEQ_NOMEM);
        ASSERT_EQ(zvq_seq_hash_agg_count(&agg, &grp, failing.rec(), 0), SEQ_OK);
        EXPECT_EQ(count_of(ctor, &agg, true), 0u);
        EXPECT_EQ(agg.next(&agg), SEQ_OK);  // builds again, giving the failed table back
        EXPECT_EQ(zvq_seq_free_hash(&agg), 1u);
    }
}

TEST(CountNotNull, SkipsFlaggedRunsAndReadsFlagsBeyondTheBitmapInTheChunk) {
    // 200 runs of uint1 in each of two chunks: runs 0..7 hold 0xFF, so the
    // word read for runs 128..191 is all ones; runs 192..199 read runs 8..15,
    // which are 0. Flagged as well: run 5 (word 0) and run 64 (word 1).
    Chunk<uint8_t> runs;
    for (int i = 0; i < 200; ++i) runs.push_back({uint8_t(i < 8 ? 0xFF : 0), 9});
    auto s = Script::of<Uint1>({runs, runs});
    s.rec()->null_bitmap[0] = uint64_t{1} << 5;
    s.rec()->null_bitmap[1] = 1;
    EXPECT_EQ(count_of(zvq_seq_agg_count_not_null, s.rec()), 2 * (200u - 64u - 2u));
}

}  // namespace
}  // namespace zvq::test
