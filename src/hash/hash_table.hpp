// The chained hash table that every hash aggregate rests on: its records and
// the operations its builders share.
//
// Layouts are fixed: entries are 40 bytes, a table 40, a pair 24. Entries and
// wide keys live in blocks of 40968 bytes (a link word, then 1024 entries or
// 40960 key bytes) on one list per table, newest first, so that a table is
// released by walking one list with one size. Chains are sorted by key, and
// an entry keeps its hash, so growth and merging move pointers and never hash
// again.
//
// A builder of a hash aggregate works like this (hash_agg.hpp has the one
// build loop of the hash aggregates, which hashes its keys in windows):
//
//     if (auto s = check_key_width(keys)) return s;          // in the constructor
//     st.table_size = table_size_for(requested);             // in the constructor
//     ...
//     TableBuilder b(&it, keys.elem_size);                   // in the build
//     if (auto s = b.start(st)) return s;                    // own_table is set
//     for each overlap of runs:
//         HashKey k = b.load_key(slot_ptr(keys, keys.chunk_pos));
//         TableBuilder::Found f;
//         if (auto s = b.find_or_insert(k, f)) return s;     // 52, unpublished
//         fold the value into f.entry->agg (f.inserted: first value), count += n
//     b.publish(st);                                          // count, pair.table
//
// The merge of two partial tables is merge_own_tables with the family's
// combine step.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/record.hpp"

namespace zvq {

struct HashEntry {
    uint64_t key;  // narrow key zero-extended in place, or a pointer into a key block
    uint64_t agg;  // the builder's aggregate word
    HashEntry* next;
    uint64_t count;  // elements folded in, repeats included
    uint32_t hash;
};
static_assert(sizeof(HashEntry) == 40);

struct HashTable {
    uint64_t size;
    uint64_t count;  // valid once published
    void* blocks;    // newest block first
    void* last_block;
    HashEntry** buckets;
};
static_assert(sizeof(HashTable) == 40);

struct HashAggState;

struct HashPair {
    HashTable* table;  // null until a build has finished
    HashAggState* agg_state;
    HashAggState* grp_state;
};
static_assert(sizeof(HashPair) == 24);

// State of both iterators of a hash aggregate pair.
struct HashAggState {
    uint64_t table_size;
    uint64_t cursor_bucket;
    HashEntry* cursor_entry;
    HashPair* pair;
    HashTable* own_table;
};

// ---- sizes ---------------------------------------------------------------

inline constexpr uint32_t kEntriesPerBlock = 1024;
inline constexpr uint64_t kKeyBlockBytes = kEntriesPerBlock * sizeof(HashEntry);
inline constexpr uint64_t kBlockLinkBytes = sizeof(void*);
inline constexpr uint64_t kBlockBytes = kBlockLinkBytes + kKeyBlockBytes;
static_assert(kKeyBlockBytes == 40960 && kBlockBytes == 40968);

// Keys up to this width are held in the entry itself.
inline constexpr uint32_t kInlineKeyWidth = 8;

// Builds copy each key into a scratch area of this size. Constructors of hash
// aggregates call check_key_width so that a wider key is refused with
// SEQ_TYPE_MISMATCH instead of overrunning the area.
inline constexpr uint32_t kMaxHashKeyWidth = 32;

inline zvq_seq_status check_key_width(const Rec& keys) {
    return keys.elem_size > kMaxHashKeyWidth ? SEQ_TYPE_MISMATCH : SEQ_OK;
}

// Index of the last rung of the prime ladder.
inline constexpr uint32_t kLadderTop = 28;

// Bucket count for a constructor's requested size (0: the global init size),
// rounded up to a rung of even index.
uint64_t table_size_for(uint64_t requested);

// The next rung strictly above size, stepping by one; the top rung stays.
uint64_t next_table_size(uint64_t size);

// Entries past which a table of this size grows, at the present load factor.
// All ones, never, when size times the factor truncates to 0.
uint64_t grow_bound(uint64_t size);

// ---- keys ----------------------------------------------------------------

// A key as stored in an entry: the zero-extended bytes for widths up to 8,
// otherwise the address of the bytes.
inline const void* key_bytes(uint64_t word) { return reinterpret_cast<const void*>(static_cast<uintptr_t>(word)); }
inline uint64_t key_word(const void* p) { return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(p)); }

// The word of the key (or value) of `width` bytes at p: its bytes
// zero-extended, or p itself for a wide one, valid while p is.
inline uint64_t word_at(const uint8_t* p, uint32_t width) {
    if (width > kInlineKeyWidth) return key_word(p);
    uint64_t word = 0;
    std::memcpy(&word, p, width);
    return word;
}

// Negative when the entry's key is below the sought key, 0 when equal.
// Narrow keys compare by the sign of the wrapped difference, which is neither
// the signed nor the unsigned order: keys 2^63 or more apart compare the
// other way round, so chains are in a cyclic order and an 8-byte key can,
// rarely, be entered twice. Deliberate; kept so.
inline int key_order(uint64_t entry_key, uint64_t sought, uint32_t width) {
    if (width <= kInlineKeyWidth) {
        const uint64_t d = entry_key - sought;
        if (d == 0) return 0;
        return (d >> 63) != 0 ? -1 : 1;
    }
    return zvq_memcmp(key_bytes(entry_key), key_bytes(sought), width);
}

struct HashKey {
    uint64_t word;  // as in HashEntry::key; a wide key points to scratch
    uint32_t hash;
};

// Where a key is or belongs: *link is the entry when found, otherwise the
// new entry goes in at link.
struct KeyPlace {
    HashEntry** link;
    bool found;
};

// Walks a sorted chain from its head link; stops at the first key not below.
inline KeyPlace find_in_chain(HashEntry** link, uint64_t key, uint32_t width) {
    for (HashEntry* e = *link; e != nullptr; e = *link) {
        const int order = key_order(e->key, key, width);
        if (order == 0) return {link, true};
        if (order > 0) break;
        link = &e->next;
    }
    return {link, false};
}

// The chain of hash modulo size.
inline KeyPlace find_key(const HashTable& t, uint64_t key, uint32_t hash, uint32_t width) {
    return find_in_chain(&t.buckets[uint64_t{hash} % t.size], key, width);
}

// hash % size without a division (Lemire's fastmod), for the sizes of the
// ladder, which are below 2^32. The division is what a build would
// otherwise wait for on every run.
class BucketOf {
   public:
    explicit BucketOf(uint64_t size = 1) : size_(static_cast<uint32_t>(size)), m_(~uint64_t{0} / size_ + 1) {}
    uint64_t size() const { return size_; }
    uint64_t operator()(uint32_t hash) const {
        const uint64_t low = m_ * hash;
        return static_cast<uint64_t>((static_cast<unsigned __int128>(low) * size_) >> 64);
    }

   private:
    uint32_t size_;
    uint64_t m_;
};

// ---- whole tables --------------------------------------------------------

// Allocates the header and the cleared buckets, no blocks. 52 on failure,
// with nothing left allocated.
zvq_seq_status create_table(Rec* ctx, uint64_t size, HashTable** out);

// Moves every entry to a bucket array of the next size, in sorted place, by
// its stored hash. 52 leaves the table as it was.
zvq_seq_status grow_table(Rec* ctx, HashTable& t, uint32_t width, uint64_t& grow_at);

// The growth step of any table whose entries are 40-byte records with next at
// the same place: a cleared bucket array of the next size, every entry handed
// to link(buckets, size, entry) in old bucket order, the old array given back.
// Group tables link in sorted place; tables of other entries say how.
template <class Entry, class Link>
zvq_seq_status rebucket(Rec* ctx, HashTable& t, uint64_t& grow_at, Link&& link);

// Puts a new 40968-byte block at the head of the block list; null on no
// memory. Returns the block's payload, past the link word.
uint8_t* push_block(Rec* ctx, HashTable& t);

// Appends src's blocks to dst's list and leaves src with none.
void splice_blocks(HashTable& dst, HashTable& src);

template <class Entry, class Link>
zvq_seq_status rebucket(Rec* ctx, HashTable& t, uint64_t& grow_at, Link&& link) {
    static_assert(sizeof(Entry) == sizeof(HashEntry));
    const uint64_t size = next_table_size(t.size);
    const uint64_t bytes = size * sizeof(Entry*);
    auto* buckets = static_cast<Entry**>(zvq_seq_malloc(ctx, bytes));
    if (buckets == nullptr) return SEQ_NOMEM;
    zvq_memnull(buckets, bytes);
    Entry** const old = reinterpret_cast<Entry**>(t.buckets);
    for (uint64_t b = 0; b < t.size; ++b) {
        for (Entry* e = old[b]; e != nullptr;) {
            Entry* const following = e->next;
            link(buckets, size, e);
            e = following;
        }
    }
    zvq_seq_free(ctx, t.buckets, t.size * sizeof(Entry*));
    t.size = size;
    t.buckets = reinterpret_cast<HashEntry**>(buckets);
    grow_at = grow_bound(size);
    return SEQ_OK;
}

// Gives back every block, the buckets and the header. ctx is only handed to
// the free hook.
void free_hash(Rec* ctx, HashTable* t);

// ---- the build -----------------------------------------------------------

// Build-only values of one table: the current entry and key blocks and how
// much of each is used, the entry counter and grow_at. Lives on the stack of
// the build; the table alone outlives it.
class TableBuilder {
   public:
    TableBuilder(Rec* ctx, uint32_t key_width) : ctx_(ctx), width_(key_width) {}
    TableBuilder(const TableBuilder&) = delete;
    TableBuilder& operator=(const TableBuilder&) = delete;

    // Creates the table of st.table_size and stores it in st.own_table.
    zvq_seq_status start(HashAggState& st);
    zvq_seq_status start(uint64_t size);

    // Stores the count, then makes the table visible through the pair.
    void publish(HashAggState& st);

    // Copies a key's bytes into scratch and hashes them with the hash seed.
    // The result stays valid until the next load_key.
    HashKey load_key(const uint8_t* bytes);

    KeyPlace find(const HashKey& k) const { return find_key(*table_, k.word, k.hash, width_); }

    // The chain of a bucket that the caller computed for the table's present
    // size, as a build that hashes its keys in batches does.
    KeyPlace find_in_bucket(uint64_t bucket, uint64_t word) const {
        return find_in_chain(&table_->buckets[bucket], word, width_);
    }

    // Steps 1 to 3 of an insertion: a new entry linked in at place. The
    // place must come from find on this table with no change since.
    zvq_seq_status add_entry(KeyPlace place, const HashKey& k, uint64_t agg, uint64_t count, HashEntry** out);
    // Step 4: grows when the entry counter has reached grow_at.
    zvq_seq_status grow_if_due();
    zvq_seq_status insert(KeyPlace place, const HashKey& k, uint64_t agg, uint64_t count, HashEntry** out);

    struct Found {
        HashEntry* entry;
        bool inserted;  // a new entry, agg and count 0 for the first fold
    };
    zvq_seq_status find_or_insert(const HashKey& k, Found& out);

    // Step 1 alone: a cleared, unlinked 40-byte slot of the entry blocks, for
    // tables whose entries are laid out otherwise. Null on no memory.
    HashEntry* take_entry();

    // n bytes of key-block storage, unaligned; a block with too little room
    // left is abandoned. Null on no memory or when n exceeds a block.
    uint8_t* key_space(uint64_t n);

    HashTable* table() const { return table_; }
    uint64_t count() const { return count_; }
    uint64_t grow_at() const { return grow_at_; }

   private:
    Rec* ctx_;
    uint32_t width_;
    HashTable* table_ = nullptr;
    uint64_t count_ = 0;
    uint64_t grow_at_ = 0;
    HashEntry* entry_block_ = nullptr;
    uint32_t entries_used_ = kEntriesPerBlock;  // full: the first entry allocates
    uint8_t* key_block_ = nullptr;
    uint64_t key_bytes_used_ = kKeyBlockBytes;
    alignas(8) uint8_t scratch_[kMaxHashKeyWidth] = {};
};

// ---- merge ---------------------------------------------------------------

// Folds src into dst: equal keys are combined by combine(dst_entry, src_entry),
// which also does whatever the family does with count; other entries are
// moved into dst's chains, growing dst as they come. Then src's blocks join
// dst's list and src's header and buckets are freed with src_ctx. 52 from a
// growth leaves both tables half moved and unusable.
template <class Combine>
zvq_seq_status merge_tables(Rec* dst_ctx, HashTable& dst, Rec* src_ctx, HashTable* src, uint32_t width,
                            Combine&& combine) {
    uint64_t count = dst.count;
    uint64_t grow_at = grow_bound(dst.size);
    for (uint64_t b = 0; b < src->size; ++b) {
        for (HashEntry* e = src->buckets[b]; e != nullptr;) {
            HashEntry* const following = e->next;
            const KeyPlace at = find_key(dst, e->key, e->hash, width);
            if (at.found) {
                combine(**at.link, *e);
            } else {
                e->next = *at.link;
                *at.link = e;
                if (++count >= grow_at)
                    if (zvq_seq_status s = grow_table(dst_ctx, dst, width, grow_at)) return s;
            }
            e = following;
        }
    }
    splice_blocks(dst, *src);
    free_hash(src_ctx, src);
    dst.count = count;
    return SEQ_OK;
}

// The merge of two hash aggregate iterators: their own tables, the key width
// of the destination's key operand; the result is published in the
// destination's pair.
template <class Combine>
zvq_seq_status merge_own_tables(Rec& destination, Rec& source, Combine&& combine) {
    HashAggState& d = state_of<HashAggState>(destination);
    HashAggState& s = state_of<HashAggState>(source);
    const uint32_t width = destination.operand[1]->elem_size;
    if (zvq_seq_status st = merge_tables(&destination, *d.own_table, &source, s.own_table, width, combine)) return st;
    d.pair->table = d.own_table;
    return SEQ_OK;
}

}  // namespace zvq
