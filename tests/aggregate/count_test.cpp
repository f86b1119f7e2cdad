// agg_count and agg_count_not_null: the walk by chunks, the short ways of
// sources that know their size, null flags, and the merge of counts.
#include "agg_support.hpp"
#include "hash/hash_table.hpp"

namespace zvq::test {
namespace {

using CountCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

// Reads a count record: SEQ_OK with the count, then SEQ_END.
uint64_t read_count(zvq_seq_iterator& r) {
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1);
    EXPECT_EQ(r.next_pos, 1u);
    const uint64_t n = value_at<uint64_t>(r, 0);
    EXPECT_EQ(r.next(&r), SEQ_END);
    return n;
}

TEST(Count, AddsRepeatBytesOverChunksAndAnyType) {
    auto s = Script::of<Int4>({{{5, 255}, {1, 3}}, {{2, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_count(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_UINT8);
    EXPECT_EQ(r.elem_size, 8);
    EXPECT_EQ(r.prepare, zvq_seq_prepare_aggregate);
    EXPECT_EQ(r.merge, zvq_seq_count_merge);
    EXPECT_EQ(repeat_at(r, 0), 0);
    EXPECT_EQ(read_count(r), 259u);
    EXPECT_EQ(repeat_at(r, 0), 1);

    auto text = Script::of_char(5, {{{"ab", 4}, {"cde", 2}}});
    zvq_seq_iterator c{};
    ASSERT_EQ(zvq_seq_agg_count(&c, text.rec()), SEQ_OK);
    EXPECT_EQ(read_count(c), 6u);
}

TEST(Count, NeitherTestsNorTakesTheBinding) {
    BindingChecks on(1);
    auto s = Script::of<Double>({{{1.0, 2}}});
    s.rec()->bound = 1;
    for (CountCtor ctor : {zvq_seq_agg_count, zvq_seq_agg_count_not_null}) {
        zvq_seq_iterator r{};
        EXPECT_EQ(ctor(&r, s.rec()), SEQ_OK);
    }
    auto free_op = Script::of<Double>({{{1.0, 2}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_count(&r, free_op.rec()), SEQ_OK);
    EXPECT_EQ(free_op.rec()->bound, 0);
}

TEST(Count, EmptyOperandCountsZeroAndSwallowsFailures) {
    for (CountCtor ctor : {zvq_seq_agg_count, zvq_seq_agg_count_not_null}) {
        auto empty = Script::of<Int2>({});
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, empty.rec()), SEQ_OK);
        EXPECT_EQ(read_count(r), 0u);

        auto failing = Script::of<Int2>({{{1, 7}}, {{2, 9}}});
        failing.fail_at(1, SEQ_NOMEM);
        ASSERT_EQ(ctor(&r, failing.rec()), SEQ_OK);
        const uint64_t expected = ctor == zvq_seq_agg_count ? 7u : 1u;
        EXPECT_EQ(read_count(r), expected);
    }
}

TEST(Count, UngetSourceAnswersItsSizeWithoutBeingRead) {
    const int32_t items[5] = {1, 2, 3, 4, 5};
    for (CountCtor ctor : {zvq_seq_agg_count, zvq_seq_agg_count_not_null}) {
        zvq_seq_iterator src{}, r{};
        ASSERT_EQ(zvq_seq_unget_int4(&src, items, 5), SEQ_OK);
        ASSERT_EQ(ctor(&r, &src), SEQ_OK);
        EXPECT_EQ(r.prepare, nullptr);
        EXPECT_EQ(r.merge, nullptr);
        EXPECT_EQ(read_count(r), 5u);
        EXPECT_EQ(src.next_pos, 0u);

        ASSERT_EQ(zvq_seq_unget_int4(&src, items, 0), SEQ_OK);
        ASSERT_EQ(ctor(&r, &src), SEQ_OK);
        EXPECT_EQ(read_count(r), 0u);  // all ones plus one
    }
}

// A stand-in hash aggregate: identified by its reset, publishing a table.
struct FakeHashAggregate {
    HashTable table{};
    HashPair pair{};
    zvq_seq_iterator rec{};
    explicit FakeHashAggregate(uint64_t entries, zvq_seq_next_fn next) {
        table.count = entries;
        pair.table = &table;
        rec.next = next;
        rec.reset = zvq_seq_hash_agg_reset;
        state_of<HashAggState>(rec).pair = &pair;
    }
};

TEST(Count, HashAggregateAnswersItsTableCountAfterOnePull) {
    FakeHashAggregate built(42, [](zvq_seq_iterator* it) -> zvq_seq_status {
        it->chunk_count = 1;
        return SEQ_OK;
    });
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_count(&r, &built.rec), SEQ_OK);
    EXPECT_EQ(r.prepare, nullptr);
    EXPECT_EQ(r.merge, nullptr);
    EXPECT_EQ(read_count(r), 42u);

    FakeHashAggregate failing(42, [](zvq_seq_iterator*) -> zvq_seq_status { return SEQ_NOMEM; });
    ASSERT_EQ(zvq_seq_agg_count_not_null(&r, &failing.rec), SEQ_OK);
    EXPECT_EQ(read_count(r), 0u);
}

TEST(CountNotNull, CountsRunsNotElements) {
    auto s = Script::of<Int4>({{{5, 200}, {6, 3}}, {{7, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_count_not_null(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(read_count(r), 3u);
}

TEST(CountNotNull, SkipsRunsFlaggedInTheBitmap) {
    auto s = Script::of<Int2>({{{1, 9}, {2, 9}, {3, 9}, {4, 9}}, {{1, 1}, {2, 1}, {3, 1}, {4, 1}}});
    s.rec()->null_bitmap[0] = 0b0101;  // runs 0 and 2 of every chunk
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_count_not_null(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(read_count(r), 4u);
}

TEST(CountNotNull, FlagsFromRun128OnAreTheChunksOwnFirstBytes) {
    // 200 runs of uint1: runs 0..7 hold 0xFF, so the word read for runs
    // 128..191 is all ones; runs 192..199 read runs 8..15, which are 0.
    Chunk<uint8_t> runs;
    for (int i = 0; i < 200; ++i) runs.push_back({uint8_t(i < 8 ? 0xFF : 0), 1});
    auto s = Script::of<Uint1>({runs});
    s.rec()->null_bitmap[0] = 0;
    s.rec()->null_bitmap[1] = 1;  // run 64
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_count_not_null(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(read_count(r), 200u - 1u - 64u);
}

TEST(CountNotNull, LeavesRepeatByteAndRunPosClearsItsOwnFlags) {
    auto s = Script::of<Int4>({{{5, 2}}});
    zvq_seq_iterator r{};
    set_repeat(r, 0, 77);
    r.run_pos = 3;
    r.null_bitmap[0] = r.null_bitmap[1] = ~uint64_t{0};
    ASSERT_EQ(zvq_seq_agg_count_not_null(&r, s.rec()), SEQ_OK);
    EXPECT_EQ(r.run_pos, 3);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(r, 0), 1u);
    EXPECT_EQ(repeat_at(r, 0), 77);
    EXPECT_EQ(r.null_bitmap[0], 0u);
    EXPECT_EQ(r.null_bitmap[1], 0u);

    zvq_seq_iterator plain{};
    plain.run_pos = 3;
    ASSERT_EQ(zvq_seq_agg_count(&plain, s.rec()), SEQ_OK);
    EXPECT_EQ(plain.run_pos, 0);
}

TEST(CountMerge, AddsThePublishedCounts) {
    auto a = Script::of<Uint2>({{{1, 200}}, {{1, 100}}});
    auto b = Script::of<Uint2>({{{1, 5}}});
    auto empty = Script::of<Uint2>({});
    zvq_seq_iterator pa{}, pb{}, pe{};
    ASSERT_EQ(zvq_seq_agg_count(&pa, a.rec()), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_count(&pb, b.rec()), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_count(&pe, empty.rec()), SEQ_OK);
    ASSERT_EQ(pa.prepare(&pa), SEQ_OK);
    ASSERT_EQ(pb.prepare(&pb), SEQ_OK);
    ASSERT_EQ(pe.prepare(&pe), SEQ_OK);  // a count always has a result
    EXPECT_EQ(pa.merge(&pa, &pb), SEQ_OK);
    EXPECT_EQ(pa.merge(&pa, &pe), SEQ_OK);
    const size_t pulls = a.pulls();
    EXPECT_EQ(read_count(pa), 305u);
    EXPECT_EQ(a.pulls(), pulls);
}

}  // namespace
}  // namespace zvq::test
