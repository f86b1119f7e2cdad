#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <vector>

#include "hash/hash_table.hpp"
#include "hash/murmur.hpp"
#include "support/scripted_source.hpp"

namespace zvq {
namespace {

using test::CountingAllocator;

// Sets the load factor for a scope.
class LoadFactor {
   public:
    explicit LoadFactor(double f) : former_(zvq_seq_hash_table_load_factor) { zvq_seq_hash_table_load_factor = f; }
    ~LoadFactor() { zvq_seq_hash_table_load_factor = former_; }

   private:
    double former_;
};

uint64_t rung(uint32_t i) { return zvq_int_get_prime_number(i); }

std::vector<HashEntry*> chain(const HashTable& t, uint64_t b) {
    std::vector<HashEntry*> out;
    for (HashEntry* e = t.buckets[b]; e != nullptr; e = e->next) out.push_back(e);
    return out;
}

std::vector<HashEntry*> all_entries(const HashTable& t) {
    std::vector<HashEntry*> out;
    for (uint64_t b = 0; b < t.size; ++b)
        for (HashEntry* e : chain(t, b)) out.push_back(e);
    return out;
}

// Every entry sits in the bucket of its stored hash, every chain ascends.
void expect_well_formed(const HashTable& t, uint32_t width) {
    for (uint64_t b = 0; b < t.size; ++b) {
        const auto c = chain(t, b);
        for (size_t i = 0; i < c.size(); ++i) {
            EXPECT_EQ(c[i]->hash % t.size, b);
            if (i > 0) {
                EXPECT_LT(key_order(c[i - 1]->key, c[i]->key, width), 0) << "bucket " << b;
            }
        }
    }
}

size_t block_count(const HashTable& t) {
    size_t n = 0;
    for (void* b = t.blocks; b != nullptr; ++n) std::memcpy(&b, b, sizeof b);
    return n;
}

template <class V>
HashKey key_of(TableBuilder& b, V v) {
    return b.load_key(reinterpret_cast<const uint8_t*>(&v));
}

template <class V>
zvq_seq_status add(TableBuilder& b, V v, HashEntry** out = nullptr) {
    const HashKey k = key_of(b, v);
    const KeyPlace at = b.find(k);
    EXPECT_FALSE(at.found);
    return b.insert(at, k, 0, 1, out);
}

// A key of `width` bytes whose first 8 bytes carry i; the rest is fixed.
std::vector<uint8_t> wide_key(uint32_t width, uint64_t i) {
    std::vector<uint8_t> k(width, 0xA5);
    std::memcpy(k.data(), &i, sizeof i);
    return k;
}

TEST(HashSizing, ConstructorRoundsUpToEvenRungs) {
    EXPECT_EQ(table_size_for(1), rung(0));
    EXPECT_EQ(table_size_for(rung(0) + 1), rung(2));
    EXPECT_EQ(table_size_for(rung(1)), rung(2));  // odd rungs are skipped
    EXPECT_EQ(table_size_for(rung(8)), rung(8));
    EXPECT_EQ(table_size_for(0), table_size_for(zvq_seq_hash_table_init_size));
    EXPECT_EQ(table_size_for(1361), rung(10));
    EXPECT_EQ(table_size_for(rung(26) + 1), rung(28));
    EXPECT_EQ(table_size_for(~uint64_t{0}), rung(28));
}

TEST(HashSizing, GrowthStepsByOneAndStopsAtTheTop) {
    EXPECT_EQ(next_table_size(0), rung(0));
    EXPECT_EQ(next_table_size(rung(0)), rung(1));
    EXPECT_EQ(next_table_size(rung(1) - 1), rung(1));
    EXPECT_EQ(next_table_size(rung(26)), rung(27));
    EXPECT_EQ(next_table_size(rung(27)), rung(28));
    EXPECT_EQ(next_table_size(rung(28)), rung(28));
    EXPECT_EQ(next_table_size(~uint64_t{0}), rung(28));
}

TEST(HashSizing, GrowAtFromLoadFactor) {
    EXPECT_EQ(grow_bound(1361), 1360u);
    EXPECT_EQ(grow_bound(2), 1u);
    {
        LoadFactor lf(0.5);
        EXPECT_EQ(grow_bound(2), 0u);
        EXPECT_EQ(grow_bound(11), 4u);
    }
    {
        LoadFactor lf(0.4);  // 0.8 truncates to 0: never
        EXPECT_EQ(grow_bound(2), kAllOnes);
    }
    LoadFactor lf(0.0);
    EXPECT_EQ(grow_bound(4229), kAllOnes);
}

TEST(HashTableOps, InsertAndFindManyKeysWithGrowth) {
    CountingAllocator alloc;
    zvq_seq_iterator ctx{};
    {
        TableBuilder b(&ctx, 4);
        ASSERT_EQ(b.start(2), SEQ_OK);
        for (uint32_t i = 0; i < 3000; ++i) ASSERT_EQ(add(b, i * 2654435761u), SEQ_OK);
        const HashTable& t = *b.table();
        EXPECT_EQ(b.count(), 3000u);
        EXPECT_GT(t.size, 2u);
        EXPECT_LT(b.count(), b.grow_at() + 1);
        EXPECT_EQ(all_entries(t).size(), 3000u);
        expect_well_formed(t, 4);
        for (uint32_t i = 0; i < 3000; ++i) {
            const uint32_t v = i * 2654435761u;
            const KeyPlace at = b.find(key_of(b, v));
            ASSERT_TRUE(at.found) << i;
            EXPECT_EQ((*at.link)->key, uint64_t{v});
            EXPECT_EQ((*at.link)->hash, murmur_hash3_32(&v, 4, kHashSeed));
        }
        EXPECT_FALSE(b.find(key_of(b, uint32_t{1})).found);
        EXPECT_EQ(block_count(t), 3u);  // 1024 entries per block
        free_hash(&ctx, b.table());
    }
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

TEST(HashTableOps, FindOrInsertReturnsTheSameEntry) {
    zvq_seq_iterator ctx{};
    TableBuilder b(&ctx, 2);
    ASSERT_EQ(b.start(11), SEQ_OK);
    TableBuilder::Found first, again;
    ASSERT_EQ(b.find_or_insert(key_of(b, int16_t{-3}), first), SEQ_OK);
    EXPECT_TRUE(first.inserted);
    first.entry->agg = 42;
    ASSERT_EQ(b.find_or_insert(key_of(b, int16_t{-3}), again), SEQ_OK);
    EXPECT_FALSE(again.inserted);
    EXPECT_EQ(again.entry, first.entry);
    EXPECT_EQ(again.entry->agg, 42u);
    EXPECT_EQ(again.entry->key, 0xFFFDu);  // zero-extended, not sign-extended
    EXPECT_EQ(b.count(), 1u);
    free_hash(&ctx, b.table());
}

// 2 buckets at load factor 1: grow_at 1, so the first insertion grows.
TEST(HashTableOps, GrowsWhenTheCountReachesGrowAt) {
    zvq_seq_iterator ctx{};
    TableBuilder b(&ctx, 8);
    ASSERT_EQ(b.start(2), SEQ_OK);
    EXPECT_EQ(b.grow_at(), 1u);
    ASSERT_EQ(add(b, uint64_t{10}), SEQ_OK);
    EXPECT_EQ(b.table()->size, rung(1));
    EXPECT_EQ(b.grow_at(), rung(1) - 1);
    for (uint64_t k = 11; k < 10 + rung(1) - 2; ++k) ASSERT_EQ(add(b, k), SEQ_OK);
    EXPECT_EQ(b.table()->size, rung(1));
    ASSERT_EQ(add(b, uint64_t{99}), SEQ_OK);
    EXPECT_EQ(b.table()->size, rung(2));
    expect_well_formed(*b.table(), 8);
    free_hash(&ctx, b.table());
}

// Growth places entries by their stored hash and moves them, never copies.
TEST(HashTableOps, GrowthRelinksByStoredHash) {
    LoadFactor lf(0.0);
    zvq_seq_iterator ctx{};
    TableBuilder b(&ctx, 4);
    ASSERT_EQ(b.start(2), SEQ_OK);
    std::vector<HashEntry*> entries(6);
    for (uint32_t i = 0; i < 6; ++i) ASSERT_EQ(add(b, i, &entries[i]), SEQ_OK);
    EXPECT_EQ(b.table()->size, 2u);
    // A hash that is not the key's: only the stored one leads to `moved_to`.
    const uint32_t real = entries[4]->hash;
    const uint64_t moved_to = (real % rung(1) + 1) % rung(1);
    entries[4]->hash = static_cast<uint32_t>(moved_to);
    uint64_t grow_at = 0;
    ASSERT_EQ(grow_table(&ctx, *b.table(), 4, grow_at), SEQ_OK);
    const HashTable& t = *b.table();
    EXPECT_EQ(t.size, rung(1));
    EXPECT_EQ(grow_at, kAllOnes);
    std::set<HashEntry*> moved;
    for (HashEntry* e : all_entries(t)) moved.insert(e);
    EXPECT_EQ(moved, std::set<HashEntry*>(entries.begin(), entries.end()));
    const auto there = chain(t, moved_to);
    EXPECT_NE(std::find(there.begin(), there.end(), entries[4]), there.end());
    const auto home = chain(t, real % rung(1));
    EXPECT_EQ(std::find(home.begin(), home.end(), entries[4]), home.end());
    expect_well_formed(t, 4);
    free_hash(&ctx, b.table());
}

TEST(HashTableOps, LoadFactorZeroNeverGrows) {
    LoadFactor lf(0.0);
    CountingAllocator alloc;
    zvq_seq_iterator ctx{};
    TableBuilder b(&ctx, 4);
    ASSERT_EQ(b.start(2), SEQ_OK);
    for (uint32_t i = 0; i < 500; ++i) ASSERT_EQ(add(b, i), SEQ_OK);
    EXPECT_EQ(b.table()->size, 2u);
    EXPECT_EQ(alloc.allocations(), 3u);  // header, buckets, one entry block
    expect_well_formed(*b.table(), 4);
    free_hash(&ctx, b.table());
}

// Narrow keys live in the entry; a 9-byte key goes to a key block on the same
// list as the entry blocks, and free_hash releases both kinds.
TEST(HashTableOps, InlineAndKeyBlockKeys) {
    CountingAllocator alloc;
    zvq_seq_iterator ctx{};
    {
        TableBuilder b(&ctx, 8);
        ASSERT_EQ(b.start(11), SEQ_OK);
        HashEntry* e;
        ASSERT_EQ(add(b, uint64_t{0x0102030405060708}, &e), SEQ_OK);
        EXPECT_EQ(e->key, 0x0102030405060708u);
        EXPECT_EQ(block_count(*b.table()), 1u);
        free_hash(&ctx, b.table());
    }
    {
        TableBuilder b(&ctx, 9);
        ASSERT_EQ(b.start(11), SEQ_OK);
        const auto k1 = wide_key(9, 1);
        auto k2 = k1;
        k2[8] = 0;  // differs only in the last byte
        HashEntry *e1, *e2;
        const HashKey h1 = b.load_key(k1.data());
        ASSERT_EQ(b.insert(b.find(h1), h1, 0, 1, &e1), SEQ_OK);
        const HashKey h2 = b.load_key(k2.data());
        ASSERT_FALSE(b.find(h2).found);
        ASSERT_EQ(b.insert(b.find(h2), h2, 0, 1, &e2), SEQ_OK);
        const HashTable& t = *b.table();
        EXPECT_EQ(block_count(t), 2u);
        // The entry block came first, so it is the tail; the key block the head.
        EXPECT_EQ(static_cast<uint8_t*>(t.last_block) + kBlockLinkBytes, reinterpret_cast<uint8_t*>(e1));
        EXPECT_EQ(e1->key, key_word(static_cast<uint8_t*>(t.blocks) + kBlockLinkBytes));
        EXPECT_EQ(e2->key, e1->key + 9);
        EXPECT_EQ(std::memcmp(key_bytes(e2->key), k2.data(), 9), 0);
        EXPECT_TRUE(b.find(b.load_key(k1.data())).found);
        expect_well_formed(t, 9);
        free_hash(&ctx, b.table());
    }
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

// 40960 bytes hold 1365 keys of 30 bytes; the 1366th starts a new key block
// and the last 10 bytes of the old one stay unused.
TEST(HashTableOps, KeyBlockWithoutRoomIsAbandoned) {
    CountingAllocator alloc;
    zvq_seq_iterator ctx{};
    TableBuilder b(&ctx, 30);
    ASSERT_EQ(b.start(4229), SEQ_OK);
    std::vector<HashEntry*> e(1366);
    for (uint32_t i = 0; i < 1365; ++i) {
        const auto k = wide_key(30, i);
        const HashKey h = b.load_key(k.data());
        ASSERT_EQ(b.insert(b.find(h), h, 0, 1, &e[i]), SEQ_OK);
    }
    const HashTable& t = *b.table();
    EXPECT_EQ(block_count(t), 3u);  // entry, key, entry
    // Packed without alignment: the last key fitting ends 10 bytes short.
    EXPECT_EQ(e[1364]->key, e[0]->key + 1364 * 30);
    const auto k = wide_key(30, 1365);
    const HashKey h = b.load_key(k.data());
    ASSERT_EQ(b.insert(b.find(h), h, 0, 1, &e[1365]), SEQ_OK);
    EXPECT_EQ(block_count(t), 4u);
    EXPECT_EQ(e[1365]->key, key_word(static_cast<uint8_t*>(t.blocks) + kBlockLinkBytes));
    EXPECT_EQ(std::memcmp(key_bytes(e[1364]->key), wide_key(30, 1364).data(), 30), 0);
    expect_well_formed(t, 30);
    free_hash(&ctx, b.table());
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

// Keys are raw bytes: 0.0 and -0.0 are two keys, equal NaN bits one.
TEST(HashTableOps, FloatKeysByTheirBits) {
    zvq_seq_iterator ctx{};
    TableBuilder b(&ctx, 4);
    ASSERT_EQ(b.start(11), SEQ_OK);
    TableBuilder::Found f;
    for (float v : {0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN()})
        ASSERT_EQ(b.find_or_insert(key_of(b, v), f), SEQ_OK);
    EXPECT_EQ(b.count(), 3u);
    EXPECT_NE(key_of(b, 0.0f).hash, key_of(b, -0.0f).hash);
    free_hash(&ctx, b.table());
}

TEST(HashKeyOrder, SignOfWrappedDifference) {
    const uint64_t top = uint64_t{1} << 63;
    EXPECT_EQ(key_order(5, 5, 8), 0);
    EXPECT_LT(key_order(1, 2, 8), 0);
    EXPECT_GT(key_order(2, 1, 8), 0);
    // 2^63 apart: each is below the other.
    EXPECT_LT(key_order(0, top, 8), 0);
    EXPECT_LT(key_order(top, 0, 8), 0);
    // Neither the signed nor the unsigned order.
    EXPECT_GT(key_order(0, top + 1, 8), 0);
    EXPECT_LT(key_order(top - 1, top + top / 2, 8), 0);
}

// Three keys a third of the way round each other form a cycle: the chain
// order depends on the order of insertion, and a present key can be missed.
TEST(HashKeyOrder, CyclicChainsInOneBucket) {
    LoadFactor lf(0.0);
    const uint64_t a = 0, b6 = 0x6000000000000000, c = 0xC000000000000000;
    zvq_seq_iterator ctx{};
    auto build = [&](std::vector<uint64_t> keys) {
        TableBuilder b(&ctx, 8);
        EXPECT_EQ(b.start(1), SEQ_OK);
        for (uint64_t k : keys) {
            const HashKey h{k, 7};
            EXPECT_EQ(b.insert(b.find(h), h, 0, 1, nullptr), SEQ_OK);
        }
        std::vector<uint64_t> order;
        for (HashEntry* e : chain(*b.table(), 0)) order.push_back(e->key);
        const bool found_b6 = b.find({b6, 7}).found;
        free_hash(&ctx, b.table());
        return std::make_pair(order, found_b6);
    };
    const auto [first, found_first] = build({a, b6, c});
    EXPECT_EQ(first, (std::vector<uint64_t>{c, a, b6}));
    EXPECT_FALSE(found_first);  // the walk stops at c, which is not below b6
    const auto [second, found_second] = build({c, b6, a});
    EXPECT_EQ(second, (std::vector<uint64_t>{a, b6, c}));
    EXPECT_TRUE(found_second);
}

// Allocation k of a build fails: header, buckets, entry block, key block,
// then two growths. Each failure is 52; a failed growth keeps the table as it
// was, with the new entry in it; everything is released afterwards.
TEST(HashTableFailure, EveryAllocationFailingGivesNomem) {
    for (uint64_t n = 1; n <= 6; ++n) {
        SCOPED_TRACE(n);
        CountingAllocator alloc;
        alloc.fail_on(n);
        zvq_seq_iterator ctx{};
        TableBuilder b(&ctx, 12);
        zvq_seq_status s = b.start(2);
        uint64_t inserted = 0;
        uint64_t size_before = 0;
        for (uint64_t i = 0; s == SEQ_OK && i < 4; ++i) {
            const auto k = wide_key(12, i);
            const HashKey h = b.load_key(k.data());
            size_before = b.table()->size;
            s = b.insert(b.find(h), h, 0, 1, nullptr);
            if (s == SEQ_OK) ++inserted;
        }
        EXPECT_EQ(s, SEQ_NOMEM);
        EXPECT_EQ(alloc.allocations(), n);
        if (n <= 2) {
            EXPECT_EQ(alloc.live_blocks(), 0);
            continue;
        }
        const HashTable& t = *b.table();
        if (n >= 5) {
            EXPECT_EQ(t.size, size_before);
            ++inserted;  // linked before the growth failed
        }
        EXPECT_EQ(all_entries(t).size(), inserted);
        for (uint64_t i = 0; i < inserted; ++i) {
            const auto k = wide_key(12, i);
            EXPECT_TRUE(b.find(b.load_key(k.data())).found) << i;
        }
        expect_well_formed(t, 12);
        free_hash(&ctx, b.table());
        EXPECT_EQ(alloc.live_blocks(), 0);
        EXPECT_FALSE(alloc.size_mismatch());
    }
}

// Equal keys combine, the others move; blocks are spliced so wide keys stay
// valid, the source's header and buckets go.
TEST(HashTableMerge, MovesEntriesAndSplicesBlocks) {
    CountingAllocator alloc;
    zvq_seq_iterator dctx{}, sctx{};
    TableBuilder d(&dctx, 10), s(&sctx, 10);
    ASSERT_EQ(d.start(2), SEQ_OK);
    ASSERT_EQ(s.start(43), SEQ_OK);
    auto fill = [](TableBuilder& b, uint64_t from, uint64_t to) {
        for (uint64_t i = from; i < to; ++i) {
            const auto k = wide_key(10, i);
            TableBuilder::Found f;
            ASSERT_EQ(b.find_or_insert(b.load_key(k.data()), f), SEQ_OK);
            f.entry->agg = i;
            f.entry->count = 1;
        }
    };
    fill(d, 0, 1500);
    fill(s, 1000, 3000);
    d.table()->count = d.count();
    s.table()->count = s.count();
    const size_t blocks = block_count(*d.table()) + block_count(*s.table());
    HashTable& t = *d.table();
    ASSERT_EQ(merge_tables(&dctx, t, &sctx, s.table(), 10,
                           [](HashEntry& into, const HashEntry& from) {
                               into.agg += from.agg;
                               into.count += from.count;
                           }),
              SEQ_OK);
    EXPECT_EQ(t.count, 3000u);
    EXPECT_EQ(all_entries(t).size(), 3000u);
    EXPECT_EQ(block_count(t), blocks);
    expect_well_formed(t, 10);
    for (uint64_t i = 0; i < 3000; ++i) {
        const auto k = wide_key(10, i);
        const KeyPlace at = d.find(d.load_key(k.data()));
        ASSERT_TRUE(at.found) << i;
        const bool both = i >= 1000 && i < 1500;
        EXPECT_EQ((*at.link)->agg, both ? 2 * i : i);
        EXPECT_EQ((*at.link)->count, both ? 2u : 1u);
    }
    free_hash(&dctx, &t);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_FALSE(alloc.size_mismatch());
}

TEST(HashTableMerge, EmptyDestinationTakesOverTheBlocks) {
    zvq_seq_iterator ctx{};
    TableBuilder d(&ctx, 4), s(&ctx, 4);
    ASSERT_EQ(d.start(5), SEQ_OK);
    ASSERT_EQ(s.start(5), SEQ_OK);
    ASSERT_EQ(add(s, 7u), SEQ_OK);
    s.table()->count = 1;
    d.table()->count = 0;
    void* const blocks = s.table()->blocks;
    HashTable& t = *d.table();
    ASSERT_EQ(merge_tables(&ctx, t, &ctx, s.table(), 4, [](HashEntry&, const HashEntry&) { FAIL(); }), SEQ_OK);
    EXPECT_EQ(t.blocks, blocks);
    EXPECT_EQ(t.last_block, blocks);
    EXPECT_EQ(t.count, 1u);
    EXPECT_TRUE(d.find(key_of(d, 7u)).found);
    free_hash(&ctx, &t);
}

}  // namespace
}  // namespace zvq
