// hash_agg_dup_count and hash_agg_distinct_count: per key, how many distinct
// values occur at least min_count times among that key's elements. Two tables
// side by side: the group table of every hash aggregate, whose entry count is
// the answer, and a pair table with one entry per distinct (key, value),
// which lives from the build to the first pull of the iterator that built it
// and lets a merge recount values that reach min_count only across parts.
#include <cstddef>
#include <new>

#include "hash/hash_agg_rules.hpp"
#include "core/murmur.hpp"

namespace zvq {
namespace {

struct DupState {
    HashAggState groups;  // what every hash aggregate pair keeps, first
    uint64_t pair_table_size;
    uint64_t min_count;
    HashTable* pair_table;  // null once released
};
static_assert(offsetof(DupState, pair_table_size) == sizeof(HashAggState));

// One distinct (key, value), in the 40 bytes of a group entry. The value's
// hash is seeded with the key's, so the two together name the pair.
struct PairEntry {
    uint64_t key;    // inline up to 8 bytes, else a copy in the pair table's key blocks
    uint64_t value;  // likewise
    PairEntry* next;
    uint64_t count;  // occurrences, repeats included
    uint32_t key_hash;
    uint32_t pair_hash;
};

struct PairKey {
    uint64_t key;
    uint64_t value;
    uint32_t key_hash;
    uint32_t pair_hash;
};

struct Widths {
    uint32_t key;
    uint32_t value;
};

// Pair chains are unsorted: they are only searched for equality.
PairEntry*& chain_of(const HashTable& t, uint32_t pair_hash) {
    return reinterpret_cast<PairEntry**>(t.buckets)[pair_hash % t.size];
}

bool same_part(uint64_t a, uint64_t b, uint32_t width) {
    return width <= kInlineKeyWidth ? a == b : zvq_memcmp(key_bytes(a), key_bytes(b), width) == 0;
}

// Two narrow words decide alone; with a wide part the hash rules out most
// candidates before the bytes are compared.
bool same_pair(const PairEntry& e, const PairKey& p, Widths w) {
    if (w.key <= kInlineKeyWidth && w.value <= kInlineKeyWidth) return e.key == p.key && e.value == p.value;
    return e.pair_hash == p.pair_hash && same_part(e.value, p.value, w.value) && same_part(e.key, p.key, w.key);
}

PairEntry* find_pair(const HashTable& t, const PairKey& p, Widths w) {
    for (PairEntry* e = chain_of(t, p.pair_hash); e != nullptr; e = e->next)
        if (same_pair(*e, p, w)) return e;
    return nullptr;
}

void push_front(PairEntry*& head, PairEntry* e) {
    e->next = head;
    head = e;
}

void link_pair(const HashTable& t, PairEntry* e) { push_front(chain_of(t, e->pair_hash), e); }

zvq_seq_status grow_pairs(Rec* ctx, HashTable& t, uint64_t& grow_at) {
    return rebucket<PairEntry>(ctx, t, grow_at, [](PairEntry** buckets, uint64_t size, PairEntry* e) {
        push_front(buckets[e->pair_hash % size], e);
    });
}

// Counts n more occurrences of a pair; the group's count moves once, when
// the pair reaches min_count (so a min_count of 0 never moves it).
void count_occurrences(HashEntry& group, PairEntry& pair, uint64_t n, uint64_t min_count) {
    const uint64_t old = pair.count;
    pair.count += n;
    if (pair.count >= min_count && old < min_count) ++group.count;
}

// The pair table being built: its blocks come from a builder of their own,
// the counter and bound are kept here.
struct PairBuild {
    TableBuilder blocks;
    uint64_t count = 0;
    uint64_t grow_at = 0;
    PairBuild(Rec* ctx, uint32_t width) : blocks(ctx, width) {}

    // A wide key or value gets its own copy in the pair table's key blocks.
    zvq_seq_status keep(uint64_t& word, uint32_t width) {
        if (width <= kInlineKeyWidth) return SEQ_OK;
        uint8_t* copy = blocks.key_space(width);
        if (copy == nullptr) return SEQ_NOMEM;
        std::memcpy(copy, key_bytes(word), width);
        word = key_word(copy);
        return SEQ_OK;
    }

    // The entry is taken and counted first; growth comes before it is linked.
    zvq_seq_status add(Rec* ctx, const PairKey& p, Widths w, PairEntry** out) {
        HashEntry* slot = blocks.take_entry();
        if (slot == nullptr) return SEQ_NOMEM;
        HashTable& t = *blocks.table();
        if (++count >= grow_at)
            if (zvq_seq_status s = grow_pairs(ctx, t, grow_at)) return s;
        PairKey kept = p;
        if (zvq_seq_status s = keep(kept.value, w.value)) return s;
        if (zvq_seq_status s = keep(kept.key, w.key)) return s;
        auto* e = new (slot) PairEntry{kept.key, kept.value, nullptr, 0, p.key_hash, p.pair_hash};
        link_pair(t, e);
        *out = e;
        return SEQ_OK;
    }
};

// A pair table that an earlier build of this iterator left behind.
void drop_pair_table(Rec& it) {
    DupState& st = state_of<DupState>(it);
    if (st.pair_table != nullptr) free_hash(&it, st.pair_table);
    st.pair_table = nullptr;
}

// The fold of the build: the group entry is found or new (count 0); the
// pair is looked up under it, made if new, and counted.
struct DupFold {
    static constexpr bool kReadsValues = true;
    static constexpr bool kValuesFirst = true;
    Rec* ctx;
    PairBuild& pairs;
    Widths w;
    uint64_t min_count;

    // The value's hash is seeded with the key's, so the two name the pair.
    PairKey pair_of(const HashEntry& group, const Rec* values, uint32_t slot) const {
        const uint8_t* value = slot_ptr(*values, slot);
        return {group.key, word_at(value, w.value), group.hash,
                murmur_hash3_32(value, static_cast<int32_t>(w.value), group.hash)};
    }
    zvq_seq_status count(HashEntry& group, const PairKey& p, PairEntry* pair, uint8_t n) {
        if (pair == nullptr)
            if (zvq_seq_status s = pairs.add(ctx, p, w, &pair)) return s;
        count_occurrences(group, *pair, n, min_count);
        return SEQ_OK;
    }
    zvq_seq_status first(TableBuilder&, HashEntry& group, const Rec* values, uint32_t slot, uint8_t n) {
        return count(group, pair_of(group, values, slot), nullptr, n);
    }
    zvq_seq_status fold(HashEntry& group, const Rec* values, uint32_t slot, uint8_t n) {
        const PairKey p = pair_of(group, values, slot);
        return count(group, p, find_pair(*pairs.blocks.table(), p, w), n);
    }
};

zvq_seq_status dup_build(Rec& it) {
    DupState& st = state_of<DupState>(it);
    Rec& values = *it.operand[0];
    Rec& keys = *it.operand[1];
    const Widths w{keys.elem_size, values.elem_size};
    drop_unpublished(it);
    drop_pair_table(it);
    TableBuilder groups(&it, w.key);
    if (zvq_seq_status s = groups.start(st.groups)) return s;
    PairBuild pairs(&it, w.value);
    if (zvq_seq_status s = pairs.blocks.start(st.pair_table_size)) return s;
    st.pair_table = pairs.blocks.table();
    pairs.grow_at = pairs.blocks.grow_at();
    DupFold fold{&it, pairs, w, st.min_count};
    if (zvq_seq_status s = fold_operands(groups, fold, keys, &values)) return s;
    st.pair_table->count = pairs.count;
    groups.publish(st.groups);
    return SEQ_OK;
}

// ---- merge -----------------------------------------------------------------

// A group entry for a key new to the destination: the source's group entries
// are not read by the merge, and the source bucket of the key holds one for
// every key of the source that hashes there. Should the cyclic key order have
// made the destination miss a key, a fresh block gives the entry.
HashEntry* take_shell(Rec& destination, HashTable& into, HashTable& source_groups, uint32_t key_hash) {
    HashEntry*& head = source_groups.buckets[key_hash % source_groups.size];
    if (HashEntry* shell = head) {
        head = shell->next;
        return shell;
    }
    uint8_t* block = push_block(&destination, into);
    return block == nullptr ? nullptr : new (block) HashEntry{};
}

bool dup_mergeable(const Rec& destination, const Rec& source) {
    return mergeable(destination, source) && state_of<DupState>(destination).pair_table != nullptr &&
           state_of<DupState>(source).pair_table != nullptr;
}

// Walks the source's pairs: a pair the destination has adds its count there
// (and may cross min_count only now); any other pair moves over, with a
// group entry made from a shell if its key is new.
zvq_seq_status move_pairs(Rec& destination, Rec& source) {
    DupState& d = state_of<DupState>(destination);
    DupState& s = state_of<DupState>(source);
    HashTable& groups = *d.groups.own_table;
    HashTable& pairs = *d.pair_table;
    HashTable& source_groups = *s.groups.own_table;
    HashTable& source_pairs = *s.pair_table;
    const Widths w{destination.operand[1]->elem_size, destination.operand[0]->elem_size};
    const uint64_t min_count = d.min_count;
    uint64_t group_count = groups.count;
    uint64_t group_grow_at = grow_bound(groups.size);
    uint64_t pair_count = pairs.count;
    uint64_t pair_grow_at = grow_bound(pairs.size);
    PairEntry** const source_buckets = reinterpret_cast<PairEntry**>(source_pairs.buckets);
    for (uint64_t b = 0; b < source_pairs.size; ++b) {
        for (PairEntry* e = source_buckets[b]; e != nullptr;) {
            PairEntry* const following = e->next;
            const KeyPlace at = find_key(groups, e->key, e->key_hash, w.key);
            HashEntry* group;
            if (at.found) {
                group = *at.link;
                if (PairEntry* p = find_pair(pairs, {e->key, e->value, e->key_hash, e->pair_hash}, w)) {
                    if (p->count < min_count && p->count + e->count >= min_count) ++group->count;
                    p->count += e->count;
                    e = following;
                    continue;
                }
            } else {
                group = take_shell(destination, groups, source_groups, e->key_hash);
                if (group == nullptr) return SEQ_NOMEM;
                group->key = e->key;
                group->hash = e->key_hash;
                group->count = 0;
                group->next = *at.link;
                *at.link = group;
                if (++group_count >= group_grow_at)
                    if (zvq_seq_status st = grow_table(&destination, groups, w.key, group_grow_at)) return st;
            }
            if (++pair_count >= pair_grow_at)
                if (zvq_seq_status st = grow_pairs(&destination, pairs, pair_grow_at)) return st;
            if (e->count >= min_count) ++group->count;
            link_pair(pairs, e);
            e = following;
        }
    }
    splice_blocks(groups, source_groups);
    free_hash(&source, &source_groups);
    splice_blocks(pairs, source_pairs);
    free_hash(&source, &source_pairs);
    groups.count = group_count;
    pairs.count = pair_count;
    d.groups.pair->table = &groups;
    s.pair_table = nullptr;
    forget_merged(source);
    return SEQ_OK;
}

// A merge that fails half way leaves counts that nothing can repair. Both
// pair tables are given back then, each with its own blocks, so that
// releasing the two pairs leaves nothing behind.
zvq_seq_status dup_merge(Rec& destination, Rec& source) {
    if (!dup_mergeable(destination, source)) return SEQ_BAD_ARGUMENT;
    const zvq_seq_status s = move_pairs(destination, source);
    if (s != SEQ_OK) {
        drop_pair_table(destination);
        drop_pair_table(source);
    }
    return s;
}

// ---- delivery --------------------------------------------------------------

// The pair table goes on the first pull of the iterator that built it, also
// when that pull's build failed.
template <bool kKeys>
zvq_seq_status dup_next(Rec& r) {
    const zvq_seq_status built = ensure_table<dup_build>(r);
    drop_pair_table(r);
    if (built != SEQ_OK) return built;
    if constexpr (kKeys)
        return deliver_keys(r);
    else
        return deliver_aggregates<CountFold>(r);
}

// Values and keys of any type; one binding test for both operands.
zvq_seq_status dup_make(Rec& agg, Rec& grp, Rec* values, Rec* keys, uint64_t size, uint64_t pair_size,
                        uint64_t min_count) {
    if (zvq_seq_status s = check_key_width(*keys)) return s;
    if (zvq_seq_status s = bind({values, keys})) return s;
    if (zvq_seq_status s = make_pair(
            agg, grp, values, *keys, size, shape_of<Uint8>,
            {zvq_seq_dup_hash_next_count, zvq_seq_dup_hash_next_grp, zvq_seq_dup_hash_prepare, zvq_seq_dup_hash_merge}))
        return s;
    const uint64_t pair_table_size = table_size_for(pair_size);
    for (Rec* r : {&agg, &grp}) {
        DupState& st = state_of<DupState>(*r);
        st.pair_table_size = pair_table_size;
        st.min_count = min_count;
        st.pair_table = nullptr;
    }
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_hash_agg_dup_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result,
                                          zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size,
                                          uint64_t pair_size, uint64_t min_count) {
    return zvq::dup_make(*agg_result, *grp_result, values, keys, size, pair_size, min_count);
}
zvq_seq_status zvq_seq_hash_agg_distinct_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result,
                                               zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size,
                                               uint64_t pair_size) {
    return zvq_seq_hash_agg_dup_count(agg_result, grp_result, values, keys, size, pair_size, 1);
}
zvq_seq_status zvq_seq_dup_hash_prepare(zvq_seq_iterator* it) { return zvq::dup_build(*it); }
zvq_seq_status zvq_seq_dup_hash_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) {
    return zvq::dup_merge(*destination, *source);
}
zvq_seq_status zvq_seq_dup_hash_next_count(zvq_seq_iterator* it) { return zvq::dup_next<false>(*it); }
zvq_seq_status zvq_seq_dup_hash_next_grp(zvq_seq_iterator* it) { return zvq::dup_next<true>(*it); }

}  // extern "C"
