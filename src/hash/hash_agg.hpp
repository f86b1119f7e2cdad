// The frame that every hash aggregate pair shares: the constructor around one
// hash_pair, the build on first need, the walk in bucket order with a cursor
// per iterator, and the merge of partial tables.
//
// A family is a Fold, a struct of static functions that knows the entry and
// nothing of chunks or tables:
//
//   using OutTag = result type tag;
//   kReadsValues                        whether first and fold read a value
//   kValuesFirst                        pull order of a build step
//   first(TableBuilder&, HashEntry&, const Rec* values, uint8_t n)   new key
//   fold(HashEntry&, const Rec* values, uint8_t n)                   known key
//   combine(HashEntry& into, const HashEntry& from)                  merge
//   result(const HashEntry&)                                         delivered
//
// n is the overlap of the current key run and value run; a Fold takes the
// value at the value operand's chunk_pos.
#pragma once

#include <csignal>
#include <cstdlib>

#include "hash/hash_table.hpp"

namespace zvq {

// ---- constructors ----------------------------------------------------------

struct PairFns {
    zvq_seq_next_fn next_agg;
    zvq_seq_next_fn next_grp;
    zvq_seq_next_fn prepare;
    zvq_seq_merge_fn merge;
};

// The common tail of every pair constructor, once the operands are tested and
// bound: allocates the hash_pair (values as context) and fills both records.
zvq_seq_status make_pair(Rec& agg, Rec& grp, Rec* values, Rec& keys, uint64_t size, Shape result,
                         const PairFns& fns);

// The constructor of the value families and of the count (values may be
// null there, and only the count can then be read): value type, key width,
// then the bindings one operand at a time, values first.
template <class Tag, class Fold>
zvq_seq_status hash_agg_make(Rec& agg, Rec& grp, Rec* values, Rec* keys, uint64_t size, const PairFns& fns) {
    if (values != nullptr && !has_type<Tag>(values)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = check_key_width(*keys)) return s;
    if (values != nullptr)
        if (zvq_seq_status s = bind({values})) return s;
    if (zvq_seq_status s = bind({keys})) return s;
    return make_pair(agg, grp, values, *keys, size, shape_of<typename Fold::OutTag>, fns);
}

// ---- the build -------------------------------------------------------------

// A family that reads values, run without them, reads through a null
// operand: a fault by design, made explicit rather than left undefined.
inline void require_values(const Rec* values) {
    if (values == nullptr) {
        std::raise(SIGSEGV);
        std::abort();
    }
}

// A table that a failed build left in own_table, unpublished, is given back
// before the iterator builds again; a published one may be walked by the
// other iterator of the pair and stays.
void drop_unpublished(Rec& it);

// The overlap of the current runs of the key operand and, if any, the value
// operand.
inline uint8_t overlap(const Rec& keys, const Rec* values) {
    const uint8_t k = remainder(keys);
    if (values == nullptr) return k;
    const uint8_t v = remainder(*values);
    return v < k ? v : k;
}

inline void advance(Rec& keys, Rec* values, uint8_t n) {
    take(keys, n);
    if (values != nullptr) take(*values, n);
}

// One pass over both operands into a new table in own_table, published when
// either operand ends. A failure leaves the table unpublished.
template <class Fold>
zvq_seq_status build_groups(Rec& it) {
    HashAggState& st = state_of<HashAggState>(it);
    Rec& keys = *it.operand[1];
    Rec* const values = it.operand[0];
    if constexpr (Fold::kReadsValues) require_values(values);
    drop_unpublished(it);
    TableBuilder b(&it, keys.elem_size);
    if (zvq_seq_status s = b.start(st)) return s;
    for (;;) {
        zvq_seq_status s;
        if constexpr (Fold::kValuesFirst) {
            s = refill(*values);
            if (s == SEQ_OK) s = refill(keys);
        } else {
            s = refill(keys);
            if (s == SEQ_OK && values != nullptr) s = refill(*values);
        }
        if (s == SEQ_END) break;
        if (s != SEQ_OK) return s;

        const HashKey k = b.load_key(slot_ptr(keys, keys.chunk_pos));
        const uint8_t n = overlap(keys, values);
        const KeyPlace at = b.find(k);
        if (at.found) {
            Fold::fold(**at.link, values, n);
        } else {
            HashEntry* e;
            if ((s = b.add_entry(at, k, 0, 0, &e))) return s;
            if ((s = Fold::first(b, *e, values, n))) return s;
            if ((s = b.grow_if_due())) return s;
        }
        advance(keys, values, n);
    }
    b.publish(st);
    return SEQ_OK;
}

// ---- walking ---------------------------------------------------------------

// Delivers up to cap entries from the iterator's cursors, in bucket order
// and chain order, each as a run of repeat 1 written by put(slot, entry).
template <class Put>
zvq_seq_status walk_groups(Rec& r, uint32_t cap, Put&& put) {
    HashAggState& st = state_of<HashAggState>(r);
    const HashTable& t = *st.pair->table;
    uint64_t bucket = st.cursor_bucket;
    const HashEntry* e = st.cursor_entry;
    for (uint32_t i = 0; i < cap; ++i) {
        while (e == nullptr && bucket < t.size) e = t.buckets[bucket++];
        if (e == nullptr) {
            r.next_pos += i;
            st.cursor_bucket = bucket;
            st.cursor_entry = nullptr;
            r.chunk_count = static_cast<uint16_t>(i);
            return i > 0 ? SEQ_OK : SEQ_END;
        }
        put(i, *e);
        set_repeat(r, i, 1);
        e = e->next;
    }
    st.cursor_bucket = bucket;
    st.cursor_entry = const_cast<HashEntry*>(e);
    r.next_pos += cap;
    r.chunk_count = static_cast<uint16_t>(cap);
    return SEQ_OK;
}

template <class Fold>
zvq_seq_status deliver_aggregates(Rec& r) {
    using Out = value_t<typename Fold::OutTag>;
    return walk_groups(r, capacity<typename Fold::OutTag>,
                       [&r](uint32_t i, const HashEntry& e) { set_value<Out>(r, i, Fold::result(e)); });
}

// The keys, as the key operand had them: inline words or key-block copies.
zvq_seq_status deliver_keys(Rec& r);

// Either iterator builds the table on its first pull if no build has
// published one yet.
template <zvq_seq_status (*Build)(Rec&)>
zvq_seq_status ensure_table(Rec& r) {
    if (state_of<HashAggState>(r).pair->table != nullptr) return SEQ_OK;
    return Build(r);
}

template <class Fold>
zvq_seq_status next_aggregates(Rec& r) {
    if (zvq_seq_status s = ensure_table<build_groups<Fold>>(r)) return s;
    return deliver_aggregates<Fold>(r);
}

template <class Fold>
zvq_seq_status next_keys(Rec& r) {
    if (zvq_seq_status s = ensure_table<build_groups<Fold>>(r)) return s;
    return deliver_keys(r);
}

// ---- merging ---------------------------------------------------------------

// A merge needs a table that each side built itself, and two sides.
inline bool mergeable(const Rec& destination, const Rec& source) {
    return &destination != &source && state_of<HashAggState>(destination).own_table != nullptr &&
           state_of<HashAggState>(source).own_table != nullptr;
}

// After a merge the source no longer names the table it gave away, so that
// releasing it frees only its pair and pulling it builds anew.
void forget_merged(Rec& source);

template <class Fold>
zvq_seq_status merge_groups(Rec& destination, Rec& source) {
    if (!mergeable(destination, source)) return SEQ_BAD_ARGUMENT;
    if (zvq_seq_status s = merge_own_tables(destination, source, Fold::combine)) return s;
    forget_merged(source);
    return SEQ_OK;
}

}  // namespace zvq
