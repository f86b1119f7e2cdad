// Group aggregates: one result per stretch of equal adjacent keys. This
// header holds what every group family shares: the key rule, the pull loop
// and the constructors' checks. A family plugs in as a struct:
//
//   using Out = result type tag;           the chunk holds capacity<Out>
//   using In = value type;                 read by group_input<In>
//   static constexpr size_t kValues;       value operands, ahead of the keys
//   using Held = the group in progress;    kept in locals during a call
//   static Held load(const Rec&);          from the record's state
//   static void save(Rec&, const Held&);   back to it, on every return
//   static KeyStore key_store(Rec&);       where the last key is kept
//   static void seed(Held&, uint8_t n, In... v);  first fold of a group
//   static void fold(Held&, uint8_t n, In... v);  every later fold
//   static value_t<Out> result(const Held&, uint64_t c);  c elements folded
//
// A family of one value operand may also fold a stretch of whole runs:
//   static void fold_runs(Held&, const Rec& values, uint32_t from, uint32_t to, uint64_t& pending);
// FoldGroup (group_rules.hpp) makes a family from a whole-sequence fold rule.
// group_next<Family, Keys> is the loop; Keys is the key test, GroupKeys
// unless a family compares keys its own way.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "core/record.hpp"

namespace zvq {

// Bytes of the widest key a group aggregate keeps; wider keys are refused at
// construction.
inline constexpr uint32_t kGroupKeyRoom = 232;

// The state of the arithmetic families and of the count.
template <class Acc>
struct GroupState {
    uint64_t reserved;       // the first u64 stays free
    uint64_t pending_count;  // elements of the group in progress; 0: none
    alignas(8) Acc group_acc;
    double group_sq;
    uint8_t group_key[kGroupKeyRoom];
};
ZVQ_ASSERT_PENDING_COUNT(GroupState<uint64_t>);
static_assert(offsetof(GroupState<int8_t>, group_sq) == 24 && offsetof(GroupState<int8_t>, group_key) == 32);

struct KeyStore {
    uint8_t* narrow;  // a key of 1, 2, 4 or 8 bytes
    uint8_t* wide;    // any other width
    uint32_t room;    // bytes at `wide`
};

// The key test of the group rule. Keys of 1, 2, 4 and 8 bytes compare by
// their bits at the key operand's chunk_pos (a float key too: 0.0 and -0.0
// differ, equal NaNs are equal); the last one is held in a register during a
// call. Other widths compare through zvq_memcmp at the slot the caller
// names, which group_next takes from the count of results of the call;
// keys read as Words instead compare their first 8 bytes as one word.
enum class OtherWidths { Wide, Words };

class GroupKeys {
   public:
    GroupKeys(const KeyStore& store, uint16_t width, OtherWidths other = OtherWidths::Wide)
        : store_(store), width_(width), kept_(word_bytes(width, other)),
          mask_(kept_ >= 8 ? ~uint64_t{0} : (uint64_t{1} << (8 * kept_)) - 1) {
        if (narrow()) std::memcpy(&last_, store_.narrow, kept_);
    }

    bool fits() const { return narrow() || width_ <= store_.room; }

    // A wide key is read at a slot numbered by results: stopping the chunk
    // at the key chunk's capacity keeps that slot inside the key chunk.
    uint32_t bound(uint32_t cap) const { return narrow() ? cap : std::min(cap, char_capacity(width_)); }

    // Keys that compare through zvq_memcmp.
    bool wide() const { return !narrow(); }

    // Compares the key with the last one and keeps it; true if they differ.
    // Wide is wide(), fixed per call so that a narrow loop calls nothing.
    template <bool Wide>
    bool differs(const Rec& keys, uint32_t pos, uint32_t wide_slot) {
        if constexpr (Wide) {
            const uint8_t* p = slot_ptr(keys, wide_slot);
            const bool d = zvq_memcmp(p, store_.wide, width_) != 0;
            std::memcpy(store_.wide, p, width_);
            return d;
        } else {
            const uint64_t k = narrow_key(keys, pos);
            const bool d = k != last_;
            last_ = k;
            return d;
        }
    }

    // The first slot in [from, to) whose narrow key differs from the last
    // one, or to: where a stretch of key runs that join the group ends.
    uint32_t same_until(const Rec& keys, uint32_t from, uint32_t to) const {
        while (from < to && narrow_key(keys, from) == last_) ++from;
        return from;
    }

    void save() const {
        if (narrow()) std::memcpy(store_.narrow, &last_, kept_);
    }

   private:
    // Bytes a key keeps in a word; 0 for a key compared in place.
    static uint16_t word_bytes(uint16_t width, OtherWidths other) {
        if (width == 1 || width == 2 || width == 4 || width == 8) return width;
        return other == OtherWidths::Words ? 8 : 0;
    }
    bool narrow() const { return kept_ != 0; }

    // A word read at the slot and masked to the key's bytes (the low bytes:
    // the layout is little-endian), so that no branch takes the width. It
    // stays inside the chunk: the repeat bytes, at least one per slot,
    // follow the last slot, and a slot of 8 bytes or more holds the word.
    uint64_t narrow_key(const Rec& keys, uint32_t pos) const {
        return load<uint64_t>(keys.chunk + size_t{pos} * width_) & mask_;
    }

    KeyStore store_;
    uint16_t width_;
    uint16_t kept_;
    uint64_t mask_;  // the low kept_ bytes of a word
    uint64_t last_ = 0;
};

// The value a fold takes from a value operand's slot.
template <class In>
inline In group_input(const Rec& op, uint32_t slot) {
    return value_at<In>(op, slot);
}

namespace detail {

template <class Family, size_t N, size_t... K>
inline void group_fold(typename Family::Held& held, bool first, uint8_t n, const std::array<Rec*, N>& ops,
                       const std::array<uint32_t, N>& at, std::index_sequence<K...>) {
    using In = typename Family::In;
    if (first)
        Family::seed(held, n, group_input<In>(*ops[K], at[K])...);
    else
        Family::fold(held, n, group_input<In>(*ops[K], at[K])...);
}

// Writes the result of the group in progress into slot i, which closes it.
template <class Family>
inline void deliver(Rec& r, uint32_t& i, const typename Family::Held& held, uint64_t& pending) {
    set_value<value_t<typename Family::Out>>(r, i, Family::result(held, pending));
    set_repeat(r, i, 1);
    ++r.next_pos;
    pending = 0;
    ++i;
}

// One call of a group aggregate's next, for narrow or for wide keys. The
// group in progress is kept in locals and written back on every return: a
// failing operand leaves it as it stands. (The visit captures only plain
// locals, so that they stay in registers.)
template <class Family, class Keys, bool Wide>
zvq_seq_status group_pass(Rec& r, Keys key) {
    constexpr size_t N = Family::kValues + 1;
    std::array<Rec*, N> ops;
    for (size_t k = 0; k < N; ++k) ops[k] = r.operand[k];
    const Rec& keys = *ops[N - 1];
    const uint32_t cap = key.bound(capacity<typename Family::Out>);
    typename Family::Held held = Family::load(r);
    uint64_t pending = pending_count(r);
    uint32_t i = 0;

    const auto step = [&](const std::array<uint32_t, N>& at, uint8_t n, bool key_run_starts) {
        if (key_run_starts && key.template differs<Wide>(keys, at[N - 1], i) && pending != 0) {
            deliver<Family>(r, i, held, pending);
            if (i == cap) return false;
        }
        group_fold<Family>(held, pending == 0, n, ops, at, std::make_index_sequence<Family::kValues>{});
        pending += n;
        return true;
    };

    zvq_seq_status s;
    for (;;) {
        s = refill_each(ops);
        if (s == SEQ_END) {
            // The end of any operand ends the sequence, and the last group with it.
            if (i == 0 && pending == 0) break;
            if (pending != 0) deliver<Family>(r, i, held, pending);
            r.chunk_count = static_cast<uint16_t>(i);
            s = SEQ_OK;
            break;
        }
        if (s != SEQ_OK) break;
        bool room;
        if constexpr (!Wide && requires(typename Family::Held& h, const Rec& v, uint64_t& c) {
                          Family::fold_runs(h, v, 0u, 0u, c);
                      }) {
            // Whole runs of the one value operand: the keys are scanned to the
            // next change and the value runs up to it folded in one go.
            room = walk_in_step<N>(ops, step, [&](const std::array<uint32_t, N>& at, uint32_t m) {
                for (uint32_t j = 0; j < m;) {
                    if (key.template differs<false>(keys, at[1] + j, i) && pending != 0) {
                        deliver<Family>(r, i, held, pending);
                        if (i == cap) return j;
                    }
                    const uint32_t end = key.same_until(keys, at[1] + j + 1, at[1] + m) - at[1];
                    Family::fold_runs(held, *ops[0], at[0] + j, at[0] + end, pending);
                    j = end;
                }
                return m;
            });
        } else {
            // A wide key calls out on every key run: a loop of whole runs
            // would keep nothing in registers there.
            room = walk_in_step<N, !Wide>(ops, step);
        }
        if (!room) {
            r.chunk_count = static_cast<uint16_t>(cap);
            break;
        }
    }
    Family::save(r, held);
    set_pending_count(r, pending);
    key.save();
    return s;
}

}  // namespace detail

// next of a group aggregate. The value operands and then the keys are read
// in step; a group can start only where a key run starts, and does when the
// key differs from the last one and a group is in progress. A full chunk
// ends the call before the element that opened the new group is taken, so
// the next call reads it again: its key then compares equal, and with
// nothing pending it seeds the new group.
template <class Family, class Keys = GroupKeys>
zvq_seq_status group_next(Rec& r) {
    Keys key(Family::key_store(r), r.operand[Family::kValues]->elem_size);
    if (!key.fits()) return SEQ_TYPE_MISMATCH;  // a key operand that grew since construction
    return key.wide() ? detail::group_pass<Family, Keys, true>(r, key)
                      : detail::group_pass<Family, Keys, false>(r, key);
}

// ---- constructors ----------------------------------------------------------

inline bool key_fits(const Rec* keys) { return keys->elem_size <= kGroupKeyRoom; }

// Values then keys. The keys are refused when bound even with binding checks
// off, after the values have been marked.
template <class Tag, class OutTag>
zvq_seq_status group_make(Rec& r, Rec* values, Rec* keys, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands(has_type<Tag>(values) && key_fits(keys), {values})) return s;
    if (keys->bound) return SEQ_ALREADY_BOUND;
    keys->bound = 1;
    init_record(r, shape_of<OutTag>, {next, zvq_seq_reset_binary_agg_iterator}, {values, keys});
    set_pending_count(r, 0);
    return SEQ_OK;
}

// Two value operands and the keys, all tested before any is marked.
template <class Tag, class OutTag>
zvq_seq_status group_make(Rec& r, Rec* a, Rec* b, Rec* keys, zvq_seq_next_fn next) {
    const bool typed = has_type<Tag>(a) && has_type<Tag>(b) && key_fits(keys);
    if (zvq_seq_status s = open_operands(typed, {a, b, keys})) return s;
    init_record(r, shape_of<OutTag>, {next, zvq_seq_reset_ternary_agg_iterator}, {a, b, keys});
    set_pending_count(r, 0);
    return SEQ_OK;
}

}  // namespace zvq
