#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

#include "hash/hash_table.hpp"
#include "support/scripted_source.hpp"

namespace zvq {
namespace {

struct LoadFactor {
    double former;
    explicit LoadFactor(double f) : former(std::exchange(zvq_seq_hash_table_load_factor, f)) {}
    ~LoadFactor() { zvq_seq_hash_table_load_factor = former; }
};

// A started table with its own context.
struct Table : TableBuilder {
    zvq_seq_iterator ctx{};
    uint32_t width;
    Table(uint32_t w, uint64_t size) : TableBuilder(&ctx, w), width(w) { EXPECT_EQ(start(size), SEQ_OK); }
    void release() { free_hash(&ctx, table()); }
};

// All entries, each checked to sit in its stored hash's bucket, below the next.
std::set<HashEntry*> entries_of(const HashTable& t, uint32_t width) {
    std::set<HashEntry*> all;
    for (uint64_t b = 0; b < t.size; ++b)
        for (HashEntry* e = t.buckets[b]; e != nullptr; all.insert(e), e = e->next)
            EXPECT_TRUE(e->hash % t.size == b && (!e->next || key_order(e->key, e->next->key, width) < 0)) << b;
    return all;
}

std::vector<uint8_t> wide_key(uint32_t width, uint64_t i) {
    std::vector<uint8_t> k(width, 0xA5);
    std::memcpy(k.data(), &i, sizeof i);
    return k;
}

HashKey load(TableBuilder& b, const void* key) { return b.load_key(static_cast<const uint8_t*>(key)); }
HashEntry* find(TableBuilder& b, const void* key) {
    const KeyPlace at = b.find(load(b, key));
    return at.found ? *at.link : nullptr;
}
zvq_seq_status add(TableBuilder& b, const void* key, HashEntry** out = nullptr) {
    const KeyPlace at = b.find(load(b, key));
    EXPECT_FALSE(at.found);
    return b.insert(at, load(b, key), 0, 1, out);
}
// Inserts the wide keys from..to and stores the count, as a build does.
std::vector<HashEntry*> add_wide(Table& b, uint64_t from, uint64_t to) {
    std::vector<HashEntry*> out(to - from);
    for (uint64_t i = from; i < to; ++i) EXPECT_EQ(add(b, wide_key(b.width, i).data(), &out[i - from]), SEQ_OK);
    b.table()->count = b.count();
    return out;
}

// Whether the table grows (load factor 1) or not (0), every key is found
// again, sits in its stored hash's bucket, and growth relinks by that hash.
TEST(HashTable, InsertFindAndGrowth) {
    for (double load_factor : {1.0, 0.0}) {
        LoadFactor set(load_factor);
        Table b(4, 2);
        std::vector<HashEntry*> e(3000);
        for (uint32_t i = 0; i < 3000; ++i) {
            const uint32_t v = i * 2654435761u;
            ASSERT_EQ(add(b, &v, &e[i]), SEQ_OK);
            ASSERT_TRUE(find(b, &v) == e[i] && e[i]->key == v) << i;
        }
        EXPECT_EQ(b.table()->size, load_factor > 0 ? zvq_int_get_prime_number(10) : 2u);
        EXPECT_EQ(entries_of(*b.table(), 4).size(), 3000u);
        ++e[4]->hash;  // now names a bucket its key does not hash to
        uint64_t grow_at;
        ASSERT_EQ(grow_table(&b.ctx, *b.table(), 4, grow_at), SEQ_OK);
        EXPECT_EQ(entries_of(*b.table(), 4), std::set<HashEntry*>(e.begin(), e.end()));
        b.release();
    }
}

// Keys of up to 8 bytes are their raw bytes, zero-extended, in the entry.
TEST(HashTable, NarrowKeysAreRawBytesInline) {
    Table f(4, 11), w(8, 11);
    TableBuilder::Found found;
    const float minus_zero = -0.0f, nan = std::numeric_limits<float>::quiet_NaN();
    ASSERT_EQ(f.find_or_insert(load(f, &minus_zero), found), SEQ_OK);
    EXPECT_EQ(found.entry->key, 0x80000000u);
    for (float v : {0.0f, nan, nan}) ASSERT_EQ(f.find_or_insert(load(f, &v), found), SEQ_OK);
    EXPECT_FALSE(found.inserted);
    EXPECT_EQ(f.count(), 3u);
    const uint64_t eight = 0x8102030405060708;
    ASSERT_EQ(add(w, &eight), SEQ_OK);
    EXPECT_EQ(find(w, &eight)->key, eight);
    for (Table* t : {&f, &w}) t->release();
}

// Keys 2^63 or more apart compare the other way round from either order.
TEST(HashTable, KeyOrderIsSignOfWrappedDifference) {
    const uint64_t top = uint64_t{1} << 63;
    const std::tuple<uint64_t, uint64_t, int> cases[] = {
        {5, 5, 0}, {1, 2, -1}, {2, 1, 1}, {0, top, -1}, {top, 0, -1}, {0, top + 1, 1}, {top - 1, top + top / 2, -1}};
    for (const auto& [entry, sought, sign] : cases)
        EXPECT_EQ(std::clamp(key_order(entry, sought, 8), -1, 1), sign) << entry << " vs " << sought;
}

// Allocation n fails: header, buckets, entry block, key block, two growths.
// A failed growth keeps the table as it was, with the new entry in it.
TEST(HashTable, EveryAllocationFailingGivesNomem) {
    for (uint64_t n = 1; n <= 6; ++n) {
        SCOPED_TRACE(n);
        test::CountingAllocator alloc;
        alloc.fail_on(n);
        zvq_seq_iterator ctx{};
        TableBuilder b(&ctx, 12);
        zvq_seq_status s = b.start(2);
        uint64_t inserted = 0, size_before = 0;
        for (uint64_t i = 0; s == SEQ_OK && i < 4; ++i) {
            size_before = b.table()->size;
            s = add(b, wide_key(12, i).data());
            inserted += s == SEQ_OK || n >= 5;
        }
        EXPECT_EQ(s, SEQ_NOMEM);
        EXPECT_EQ(alloc.allocations(), n);
        if (n > 2) {
            EXPECT_EQ(b.table()->size, size_before);
            EXPECT_EQ(entries_of(*b.table(), 12).size(), inserted);
            free_hash(&ctx, b.table());
        }
        EXPECT_EQ(alloc.live_blocks(), 0);
        EXPECT_FALSE(alloc.size_mismatch());
    }
}

// Equal keys combine, the others move, growing the destination, also one
// without any entries; nothing leaks.
TEST(HashTable, MergeMovesEntriesAndSplicesBlocks) {
    for (uint64_t dst_keys : {0u, 1500u}) {
        SCOPED_TRACE(dst_keys);
        test::CountingAllocator alloc;
        Table d(10, 2), s(10, 43);
        add_wide(d, 0, dst_keys);
        add_wide(s, 1000, 3000);
        auto combine = [](HashEntry& into, const HashEntry& from) { into.count += from.count; };
        ASSERT_EQ(merge_tables(&d.ctx, *d.table(), &s.ctx, s.table(), 10, combine), SEQ_OK);
        const uint64_t first = dst_keys == 0 ? 1000 : 0;
        EXPECT_EQ(d.table()->count, 3000 - first);
        EXPECT_EQ(entries_of(*d.table(), 10).size(), 3000 - first);
        for (uint64_t i = first; i < 3000; ++i) {
            const HashEntry* e = find(d, wide_key(10, i).data());
            EXPECT_EQ(e ? e->count : 0u, i >= 1000 && i < dst_keys ? 2u : 1u) << i;
        }
        d.release();
        EXPECT_EQ(alloc.live_blocks(), 0);
        EXPECT_FALSE(alloc.size_mismatch());
    }
}

// 9-byte keys are kept whole past a block's end; free_hash releases the
// table once, through either side of the pair.
TEST(HashPair, WideKeyTableFreedWithThePair) {
    test::CountingAllocator alloc;
    Table b(9, 11);
    const auto e = add_wide(b, 0, 4552);
    for (uint32_t i : {0u, 4550u, 4551u}) EXPECT_EQ(std::memcmp(key_bytes(e[i]->key), wide_key(9, i).data(), 9), 0);
    zvq_seq_iterator agg{}, grp{};
    HashAggState &a = state_of<HashAggState>(agg), &g = state_of<HashAggState>(grp);
    auto* p = static_cast<HashPair*>(zvq_seq_malloc(&agg, sizeof(HashPair)));
    *p = {b.table(), &a, &g};
    a.pair = g.pair = p;
    EXPECT_EQ(zvq_seq_free_hash(&grp), 1u);
    EXPECT_EQ(zvq_seq_free_hash(&agg), 0u);
    EXPECT_EQ(zvq_seq_free_hash(&grp), 0u);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

// The pair's reset is the identity of hash aggregates and replays without
// touching the table; a blunt release frees it all.
TEST(HashPair, ResetKeepsTheTableAndReleaseFreesIt) {
    zvq_seq_iterator keys{};
    test::CountingAllocator alloc;
    Table b(8, 5);
    uint64_t key = 7;
    ASSERT_EQ(add(b, &key), SEQ_OK);
    zvq_seq_iterator agg{}, grp{};
    HashAggState &a = state_of<HashAggState>(agg), &g = state_of<HashAggState>(grp);
    auto* p = static_cast<HashPair*>(zvq_seq_malloc(&agg, sizeof(HashPair)));
    *p = {b.table(), &a, &g};
    a.pair = g.pair = p;
    agg.reset = zvq_seq_hash_agg_reset;
    a.cursor_bucket = 3;
    a.cursor_entry = reinterpret_cast<HashEntry*>(p);
    agg.next_pos = 9;
    EXPECT_EQ(zvq_seq_is_hash_aggreate(&agg), 1u);
    EXPECT_EQ(zvq_seq_is_hash_aggreate(&keys), 0u);
    EXPECT_EQ(agg.reset(&agg), SEQ_OK);
    EXPECT_EQ(a.cursor_bucket, 0u);
    EXPECT_EQ(a.cursor_entry, nullptr);
    EXPECT_EQ(agg.next_pos, 0u);
    EXPECT_EQ(p->table, b.table()) << "the table stays for a replay";
    zvq_seq_release_hash(&agg);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

}  // namespace
}  // namespace zvq
