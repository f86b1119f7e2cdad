// The frame that every hash aggregate pair shares: the constructor around one
// hash_pair, the build on first need, the walk in bucket order with a cursor
// per iterator, and the merge of partial tables.
//
// A family is a Fold, a struct that knows the entry and nothing of chunks or
// tables (most have static functions only):
//
//   using OutTag = result type tag;
//   kReadsValues                                      first and fold read a value
//   kValuesFirst                                      pull order of a build step
//   first(TableBuilder&, HashEntry&, values, slot, n) a new key; returns a status
//   fold(HashEntry&, values, slot, n)                 a known key; returns a status
//   combine(HashEntry& into, const HashEntry& from)   merge
//   result(const HashEntry&)                          the delivered value
//
// n is the overlap of the current key run and value run, slot the value's
// run in the value operand's chunk.
#pragma once

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

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
zvq_seq_status make_pair(Rec& agg, Rec& grp, Rec* values, Rec& keys, uint64_t size, Shape result, const PairFns& fns);

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

// The hashes, narrow key words and buckets of a window of key runs,
// computed in one pass per window: the hashing loop has the width fixed at
// compile time where it is 1, 2, 4 or 8, and vectorises. A wide key's word
// points at its slot in the chunk, valid until the next pull. The buckets
// are for the table's size at the time; a growth makes the window stale.
struct KeyBatch {
    static constexpr uint32_t kRuns = 256;  // small enough for the stack
    // A table whose buckets and entries take this many bytes outgrows the
    // first-level cache: its buckets, and then the entries these name, are
    // fetched a few runs ahead. (The default 4229 buckets already do.)
    static constexpr uint64_t kFarBytes = 16 * 1024;
    static constexpr uint32_t kAhead = 8;

    uint32_t from = 0;
    uint32_t to = 0;  // runs [from, to) of the chunk in hand; none after a growth
    uint64_t size = 0;
    bool far = false;
    uint32_t hash[kRuns];
    uint32_t bucket[kRuns];
    uint64_t word[kRuns];

    bool holds(uint32_t run) const { return run >= from && run < to; }
    HashKey key(uint32_t run) const { return {word[run - from], hash[run - from]}; }

    // Inlined early: GCC otherwise finds the function free of side effects
    // and drops the call with its prefetches.
    [[gnu::always_inline]] void prefetch(HashEntry* const* buckets, uint32_t run) const {
        const uint32_t i = run - from;
        if (far && i + 2 * kAhead < to - from) __builtin_prefetch(&buckets[bucket[i + 2 * kAhead]]);
        if (far && i + kAhead < to - from && buckets[bucket[i + kAhead]] != nullptr)
            __builtin_prefetch(buckets[bucket[i + kAhead]]);
    }
};

// Fills the batch with the window of the key chunk that starts at run
// `from`, for the table as it stands.
void hash_window(const Rec& keys, uint32_t from, const TableBuilder& b, KeyBatch& out);

// The value side of a count run without values: never ends, never limits.
struct NoValues {
    static bool exhausted() { return false; }
    static uint32_t pos() { return 0; }
    static uint8_t remainder() { return 255; }
    static void take(uint8_t) {}
    static void skip_runs(uint32_t) {}
    static void store() {}
};

// How many runs from the cursors' places line up one to one (both at a
// run's start, equal repeat bytes), at most limit. Distinct values and
// stretches cut alike line up throughout.
inline uint32_t lined_up(const Cursor& k, const Cursor& v, uint32_t limit) {
    if (k.run_pos() != 0 || v.run_pos() != 0) return 0;
    const uint32_t m = std::min({limit, k.runs_left(), v.runs_left()});
    // Most often all of it lines up, and one block compare says so.
    if (std::memcmp(repeat_block(k.rec(), k.pos(), m), repeat_block(v.rec(), v.pos(), m), m) == 0) return m;
    uint32_t i = 0;
    while (repeat_at(k.rec(), k.pos() + i) == repeat_at(v.rec(), v.pos() + i)) ++i;
    return i;
}
inline uint32_t lined_up(const Cursor& k, NoValues, uint32_t limit) {
    return k.run_pos() != 0 ? 0 : std::min(limit, k.runs_left());
}

// A key that the table does not have yet: an entry, its first fold, and
// the growth that may follow. Off the path of keys already seen.
template <class Fold>
[[gnu::noinline]] zvq_seq_status insert_one(TableBuilder& b, Fold& fold, KeyBatch& batch, KeyPlace at, uint32_t run,
                                            const Rec* values, uint32_t slot, uint8_t n) {
    HashEntry* e;
    if (zvq_seq_status s = b.add_entry(at, batch.key(run), 0, 0, &e)) return s;
    if (zvq_seq_status s = fold.first(b, *e, values, slot, n)) return s;
    if (zvq_seq_status s = b.grow_if_due()) return s;
    if (b.table()->size != batch.size) batch.to = 0;  // grown: the window's buckets are stale
    return SEQ_OK;
}

// One overlap of n elements: the key of `run` with the value in `slot`.
template <class Fold>
[[gnu::always_inline]] inline zvq_seq_status fold_one(TableBuilder& b, Fold& fold, KeyBatch& batch, uint32_t run,
                                                      const Rec* values, uint32_t slot, uint8_t n) {
    const uint32_t i = run - batch.from;
    const KeyPlace at = b.find_in_bucket(batch.bucket[i], batch.word[i]);
    if (at.found) [[likely]]
        return fold.fold(**at.link, values, slot, n);
    return insert_one(b, fold, batch, at, run, values, slot, n);
}

// Runs [run, run + m) of the key chunk, which line up one to one with the
// value runs from `slot` on: each key run is folded with its own repeat
// byte. Stops early after a growth, which makes the batch stale. Returns the
// status and, in done, the runs folded.
template <class Fold>
zvq_seq_status fold_lined_up(TableBuilder& b, Fold& fold, KeyBatch& batch, const Rec& keys, uint32_t run, uint32_t m,
                             const Rec* values, uint32_t slot, uint32_t& done) {
    HashEntry* const* buckets = b.table()->buckets;
    const uint32_t first = run - batch.from;
    const uint32_t width = keys.elem_size;
    for (uint32_t i = 0; i < m; ++i) {
        batch.prefetch(buckets, run + i);
        const uint8_t n = repeat_at(keys, run + i);
        HashEntry** link = const_cast<HashEntry**>(&buckets[batch.bucket[first + i]]);
        const KeyPlace at = find_in_chain(link, batch.word[first + i], width);
        zvq_seq_status s;
        if (at.found) [[likely]] {
            s = fold.fold(**at.link, values, slot + i, n);
        } else {
            s = insert_one(b, fold, batch, at, run + i, values, slot + i, n);
            buckets = b.table()->buckets;
        }
        if (s != SEQ_OK || batch.to == 0) {
            done = i + (s == SEQ_OK ? 1 : 0);
            return s;
        }
    }
    done = m;
    return SEQ_OK;
}

// Folds the overlaps of key runs and value runs until either chunk in hand
// is used up, with both read positions in locals and the key runs hashed a
// window at a time. Runs that line up go one by one without the overlap
// arithmetic. A failure leaves the operands at the overlap that failed.
template <class Fold, class ValueCursor>
zvq_seq_status fold_overlaps(TableBuilder& b, Fold& fold, KeyBatch& batch, Rec& keys, const Rec* values,
                             ValueCursor v) {
    Cursor k(keys);
    zvq_seq_status s = SEQ_OK;
    while (s == SEQ_OK && !k.exhausted() && !v.exhausted()) {
        const uint32_t run = k.pos();
        if (!batch.holds(run)) hash_window(keys, run, b, batch);
        if (const uint32_t m = lined_up(k, v, batch.to - run)) {
            uint32_t done;
            s = fold_lined_up(b, fold, batch, keys, run, m, values, v.pos(), done);
            k.skip_runs(done);
            v.skip_runs(done);
            continue;
        }
        batch.prefetch(b.table()->buckets, run);
        const uint8_t n = std::min(k.remainder(), v.remainder());
        if ((s = fold_one(b, fold, batch, run, values, v.pos(), n))) break;
        k.take(n);
        v.take(n);
    }
    k.store();
    v.store();
    return s;
}

// The pull loop of every build: both operands in the family's order, then
// the overlaps of the chunks in hand, until either operand ends (SEQ_OK) or
// fails (its status).
template <class Fold>
zvq_seq_status fold_operands(TableBuilder& b, Fold& fold, Rec& keys, Rec* values) {
    if constexpr (Fold::kReadsValues) require_values(values);
    KeyBatch batch;
    const auto refill_keys = [&] {
        if (!exhausted(keys)) return SEQ_OK;
        batch.to = 0;  // the batch was of the chunk that goes
        return pull(keys);
    };
    for (;;) {
        zvq_seq_status s;
        if constexpr (Fold::kValuesFirst) {
            s = refill(*values);
            if (s == SEQ_OK) s = refill_keys();
        } else {
            s = refill_keys();
            if (s == SEQ_OK && values != nullptr) s = refill(*values);
        }
        if (s == SEQ_OK) {
            if (values != nullptr)
                s = fold_overlaps(b, fold, batch, keys, values, Cursor(*values));
            else if constexpr (!Fold::kReadsValues)
                s = fold_overlaps(b, fold, batch, keys, values, NoValues{});
        }
        if (s == SEQ_END) return SEQ_OK;
        if (s != SEQ_OK) return s;
    }
}

// One pass over both operands into a new table in own_table, published when
// either operand ends. A failure leaves the table unpublished.
template <class Fold>
zvq_seq_status build_groups(Rec& it) {
    HashAggState& st = state_of<HashAggState>(it);
    drop_unpublished(it);
    TableBuilder b(&it, it.operand[1]->elem_size);
    if (zvq_seq_status s = b.start(st)) return s;
    Fold fold;
    if (zvq_seq_status s = fold_operands(b, fold, *it.operand[1], it.operand[0])) return s;
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
