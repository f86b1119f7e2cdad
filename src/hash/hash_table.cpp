// The chained hash table: sizing, lookup, blocks, insertion, growth, release.
#include "hash/hash_table.hpp"

#include <new>

#include "core/arith.hpp"
#include "core/murmur.hpp"

extern "C" {

uint64_t zvq_seq_hash_table_init_size = 1361;
double zvq_seq_hash_table_load_factor = 1.0;

}  // extern "C"

namespace zvq {
namespace {

// The host's ladder; only the low 32 bits of a rung are used.
uint64_t rung(uint32_t index) { return zvq_int_get_prime_number(index) & 0xFFFFFFFFu; }

uint64_t bucket_bytes(uint64_t size) { return size * sizeof(HashEntry*); }

// Links e into a chain of buckets before the first key not below its own.
void link_sorted(HashEntry** buckets, uint64_t size, HashEntry* e, uint32_t width) {
    HashEntry** link = &buckets[uint64_t{e->hash} % size];
    while (*link != nullptr && key_order((*link)->key, e->key, width) < 0) link = &(*link)->next;
    e->next = *link;
    *link = e;
}

void* block_link(void* block) {
    void* next;
    std::memcpy(&next, block, sizeof next);
    return next;
}

}  // namespace

uint64_t table_size_for(uint64_t requested) {
    const uint64_t want = requested != 0 ? requested : zvq_seq_hash_table_init_size;
    for (uint32_t i = 0; i < kLadderTop; i += 2)
        if (rung(i) >= want) return rung(i);
    return rung(kLadderTop);
}

uint64_t next_table_size(uint64_t size) {
    for (uint32_t i = 0; i < kLadderTop; ++i)
        if (rung(i) > size) return rung(i);
    return rung(kLadderTop);
}

uint64_t grow_bound(uint64_t size) {
    return trunc_to_u64(static_cast<double>(size) * zvq_seq_hash_table_load_factor) - 1u;
}

zvq_seq_status create_table(Rec* ctx, uint64_t size, HashTable** out) {
    void* header = zvq_seq_malloc(ctx, sizeof(HashTable));
    if (header == nullptr) return SEQ_NOMEM;
    void* buckets = zvq_seq_malloc(ctx, bucket_bytes(size));
    if (buckets == nullptr) {
        // Not yet reachable from anywhere: give it back rather than leak it.
        zvq_seq_free(ctx, header, sizeof(HashTable));
        return SEQ_NOMEM;
    }
    zvq_memnull(buckets, bucket_bytes(size));
    *out = new (header) HashTable{size, 0, nullptr, nullptr, static_cast<HashEntry**>(buckets)};
    return SEQ_OK;
}

zvq_seq_status grow_table(Rec* ctx, HashTable& t, uint32_t width, uint64_t& grow_at) {
    return rebucket<HashEntry>(ctx, t, grow_at, [width](HashEntry** buckets, uint64_t size, HashEntry* e) {
        link_sorted(buckets, size, e, width);
    });
}

uint8_t* push_block(Rec* ctx, HashTable& t) {
    void* block = zvq_seq_malloc(ctx, kBlockBytes);
    if (block == nullptr) return nullptr;
    std::memcpy(block, &t.blocks, sizeof t.blocks);
    t.blocks = block;
    if (t.last_block == nullptr) t.last_block = block;
    return static_cast<uint8_t*>(block) + kBlockLinkBytes;
}

void splice_blocks(HashTable& dst, HashTable& src) {
    if (src.blocks == nullptr) return;
    if (dst.blocks == nullptr)
        dst.blocks = src.blocks;
    else
        std::memcpy(dst.last_block, &src.blocks, sizeof src.blocks);
    dst.last_block = src.last_block;
    src.blocks = nullptr;
    src.last_block = nullptr;
}

void free_hash(Rec* ctx, HashTable* t) {
    for (void* block = t->blocks; block != nullptr;) {
        void* const following = block_link(block);
        zvq_seq_free(ctx, block, kBlockBytes);
        block = following;
    }
    zvq_seq_free(ctx, t->buckets, bucket_bytes(t->size));
    zvq_seq_free(ctx, t, sizeof(HashTable));
}

// ---- TableBuilder --------------------------------------------------------

zvq_seq_status TableBuilder::start(uint64_t size) {
    if (zvq_seq_status s = create_table(ctx_, size, &table_)) return s;
    grow_at_ = grow_bound(size);
    return SEQ_OK;
}

zvq_seq_status TableBuilder::start(HashAggState& st) {
    if (zvq_seq_status s = start(st.table_size)) return s;
    st.own_table = table_;
    return SEQ_OK;
}

void TableBuilder::publish(HashAggState& st) {
    table_->count = count_;
    st.pair->table = table_;
}

HashKey TableBuilder::load_key(const uint8_t* bytes) {
    const uint32_t hash = murmur_hash3_32(bytes, static_cast<int32_t>(width_), kHashSeed);
    if (width_ <= kInlineKeyWidth) {
        uint64_t word = 0;
        std::memcpy(&word, bytes, width_);
        return {word, hash};
    }
    std::memcpy(scratch_, bytes, width_);
    return {key_word(scratch_), hash};
}

uint8_t* TableBuilder::key_space(uint64_t n) {
    if (n > kKeyBlockBytes) return nullptr;
    if (key_bytes_used_ + n > kKeyBlockBytes) {
        uint8_t* block = push_block(ctx_, *table_);
        if (block == nullptr) return nullptr;
        key_block_ = block;
        key_bytes_used_ = 0;
    }
    uint8_t* p = key_block_ + key_bytes_used_;
    key_bytes_used_ += n;
    return p;
}

HashEntry* TableBuilder::take_entry() {
    if (entries_used_ == kEntriesPerBlock) {
        uint8_t* block = push_block(ctx_, *table_);
        if (block == nullptr) return nullptr;
        entry_block_ = reinterpret_cast<HashEntry*>(block);
        entries_used_ = 0;
    }
    return new (entry_block_ + entries_used_++) HashEntry{};
}

zvq_seq_status TableBuilder::add_entry(KeyPlace place, const HashKey& k, uint64_t agg, uint64_t count,
                                       HashEntry** out) {
    HashEntry* const e = take_entry();
    if (e == nullptr) return SEQ_NOMEM;
    if (width_ <= kInlineKeyWidth) {
        e->key = k.word;
    } else {
        uint8_t* copy = key_space(width_);
        if (copy == nullptr) return SEQ_NOMEM;
        std::memcpy(copy, key_bytes(k.word), width_);
        e->key = key_word(copy);
    }
    ++count_;
    e->agg = agg;
    e->count = count;
    e->hash = k.hash;
    e->next = *place.link;
    *place.link = e;
    if (out != nullptr) *out = e;
    return SEQ_OK;
}

zvq_seq_status TableBuilder::grow_if_due() {
    return count_ >= grow_at_ ? grow_table(ctx_, *table_, width_, grow_at_) : SEQ_OK;
}

zvq_seq_status TableBuilder::insert(KeyPlace place, const HashKey& k, uint64_t agg, uint64_t count,
                                    HashEntry** out) {
    if (zvq_seq_status s = add_entry(place, k, agg, count, out)) return s;
    return grow_if_due();
}

zvq_seq_status TableBuilder::find_or_insert(const HashKey& k, Found& out) {
    const KeyPlace at = find(k);
    if (at.found) {
        out = {*at.link, false};
        return SEQ_OK;
    }
    out = {nullptr, true};
    return insert(at, k, 0, 0, &out.entry);
}

}  // namespace zvq
