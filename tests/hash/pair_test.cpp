#include <gtest/gtest.h>

#include "hash/hash_table.hpp"
#include "support/scripted_source.hpp"

namespace zvq {
namespace {

using test::CountingAllocator;

// Two iterators around one pair, as a hash aggregate's constructor leaves
// them, optionally with a published table of `keys` 4-byte keys.
struct Pair {
    zvq_seq_iterator agg{}, grp{};
    HashAggState& a = state_of<HashAggState>(agg);
    HashAggState& g = state_of<HashAggState>(grp);

    explicit Pair(uint32_t keys, bool publish = true) {
        auto* p = static_cast<HashPair*>(zvq_seq_malloc(&agg, sizeof(HashPair)));
        *p = {nullptr, &a, &g};
        a.pair = g.pair = p;
        agg.reset = grp.reset = zvq_seq_hash_agg_reset;
        a.table_size = g.table_size = table_size_for(2);
        if (!publish) return;
        TableBuilder b(&agg, 4);
        EXPECT_EQ(b.start(a), SEQ_OK);
        TableBuilder::Found f;
        for (uint32_t k = 0; k < keys; ++k) EXPECT_EQ(b.find_or_insert(b.load_key(reinterpret_cast<uint8_t*>(&k)), f), SEQ_OK);
        b.publish(a);
    }
};

TEST(HashPairRelease, FreeHashOnceThroughEitherIterator) {
    CountingAllocator alloc;
    Pair p(2000);
    ASSERT_NE(p.a.pair->table, nullptr);
    EXPECT_EQ(p.a.pair->table->count, 2000u);
    EXPECT_EQ(p.a.pair->table, p.a.own_table);
    EXPECT_EQ(zvq_seq_free_hash(&p.grp), 1u);
    EXPECT_EQ(p.a.pair, nullptr);
    EXPECT_EQ(p.g.pair, nullptr);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
    EXPECT_EQ(zvq_seq_free_hash(&p.agg), 0u);
    EXPECT_EQ(zvq_seq_free_hash(&p.grp), 0u);
    EXPECT_FALSE(alloc.size_mismatch());
}

// An unpublished table is not the pair's: only the pair is given back.
TEST(HashPairRelease, FreeHashWithoutTableFreesThePair) {
    CountingAllocator alloc;
    Pair p(0, false);
    EXPECT_EQ(alloc.live_bytes(), 24);
    EXPECT_EQ(zvq_seq_free_hash(&p.agg), 1u);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_EQ(p.g.pair, nullptr);
}

// The blunt form frees the same and leaves both pointers as they were.
TEST(HashPairRelease, ReleaseHashKeepsDanglingPointers) {
    CountingAllocator alloc;
    Pair p(3);
    HashPair* const pair = p.a.pair;
    zvq_seq_release_hash(&p.agg);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
    EXPECT_EQ(p.a.pair, pair);
    EXPECT_EQ(p.g.pair, pair);
}

TEST(HashPairIdentity, ResetRewindsCursorsOnly) {
    Pair p(5);
    HashTable* const table = p.a.pair->table;
    p.a.cursor_bucket = 7;
    p.a.cursor_entry = reinterpret_cast<HashEntry*>(table);  // any non-null place
    p.agg.chunk_count = 3;
    p.agg.next_pos = 9;
    EXPECT_EQ(p.agg.reset(&p.agg), SEQ_OK);
    EXPECT_EQ(p.a.cursor_bucket, 0u);
    EXPECT_EQ(p.a.cursor_entry, nullptr);
    EXPECT_EQ(p.agg.chunk_count, 0);
    EXPECT_EQ(p.agg.next_pos, 0u);
    EXPECT_EQ(p.a.pair->table, table);
    EXPECT_EQ(zvq_seq_is_hash_aggreate(&p.agg), 1u);
    zvq_seq_iterator other{};
    other.reset = zvq_seq_reset_iterator;
    EXPECT_EQ(zvq_seq_is_hash_aggreate(&other), 0u);
    EXPECT_EQ(zvq_seq_free_hash(&p.agg), 1u);
}

TEST(HashPairMerge, MergeOwnTablesPublishesTheDestination) {
    CountingAllocator alloc;
    Pair d(100), s(150);
    test::Script keys = test::Script::of<Int4>({});
    d.agg.operand[1] = keys.rec();
    HashTable* const stale = d.a.pair->table;
    d.a.pair->table = nullptr;
    ASSERT_EQ(merge_own_tables(d.agg, s.agg,
                               [](HashEntry& into, const HashEntry& from) { into.count += from.count + 1; }),
              SEQ_OK);
    EXPECT_EQ(d.a.pair->table, stale);
    EXPECT_EQ(stale->count, 150u);
    uint64_t combined = 0;
    for (uint64_t b = 0; b < stale->size; ++b)
        for (HashEntry* e = stale->buckets[b]; e != nullptr; e = e->next) combined += e->count;
    EXPECT_EQ(combined, 100u);  // the keys 0..99 met in both
    // The source's table is gone; its pair still names it and is freed alone.
    s.a.pair->table = nullptr;
    EXPECT_EQ(zvq_seq_free_hash(&s.agg), 1u);
    EXPECT_EQ(zvq_seq_free_hash(&d.grp), 1u);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

TEST(HashKeyWidth, WiderThanScratchIsRefused) {
    zvq_seq_iterator keys{};
    keys.elem_size = kMaxHashKeyWidth;
    EXPECT_EQ(check_key_width(keys), SEQ_OK);
    keys.elem_size = kMaxHashKeyWidth + 1;
    EXPECT_EQ(check_key_width(keys), SEQ_TYPE_MISMATCH);
}

}  // namespace
}  // namespace zvq
