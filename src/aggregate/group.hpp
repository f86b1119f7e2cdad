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
// FoldGroup (below) makes such a family from a whole-sequence fold rule.
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
// names, which group_next takes from the count of results of the call.
class GroupKeys {
   public:
    GroupKeys(const KeyStore& store, uint16_t width) : store_(store), width_(width) {
        if (narrow()) std::memcpy(&last_, store_.narrow, width_);
    }

    bool fits() const { return narrow() || width_ <= store_.room; }

    // A wide key is read at a slot numbered by results: stopping the chunk
    // at the key chunk's capacity keeps that slot inside the key chunk.
    uint32_t bound(uint32_t cap) const { return narrow() ? cap : std::min(cap, char_capacity(width_)); }

    // Compares the key with the last one and keeps it; true if they differ.
    bool differs(const Rec& keys, uint32_t pos, uint32_t wide_slot) {
        uint64_t k;
        switch (width_) {
            case 1: k = value_at<uint8_t>(keys, pos); break;
            case 2: k = value_at<uint16_t>(keys, pos); break;
            case 4: k = value_at<uint32_t>(keys, pos); break;
            case 8: k = value_at<uint64_t>(keys, pos); break;
            default: {
                const uint8_t* p = slot_ptr(keys, wide_slot);
                const bool d = zvq_memcmp(p, store_.wide, width_) != 0;
                std::memcpy(store_.wide, p, width_);
                return d;
            }
        }
        const bool d = k != last_;
        last_ = k;
        return d;
    }

    void save() const {
        if (narrow()) std::memcpy(store_.narrow, &last_, width_);
    }

   private:
    bool narrow() const { return width_ == 1 || width_ == 2 || width_ == 4 || width_ == 8; }

    KeyStore store_;
    uint16_t width_;
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

}  // namespace detail

// next of a group aggregate. The value operands and then the keys are read
// in step; a group can start only where a key run starts, and does when the
// key differs from the last one and a group is in progress. A full chunk
// ends the call before the element that opened the new group is taken, so
// the next call reads it again: its key then compares equal, and with
// nothing pending it seeds the new group.
template <class Family, class Keys = GroupKeys>
zvq_seq_status group_next(Rec& r) {
    using Out = value_t<typename Family::Out>;
    constexpr size_t N = Family::kValues + 1;
    std::array<Rec*, N> ops;
    for (size_t k = 0; k < N; ++k) ops[k] = r.operand[k];
    const Rec& keys = *ops[N - 1];

    Keys key(Family::key_store(r), keys.elem_size);
    if (!key.fits()) return SEQ_TYPE_MISMATCH;  // a key operand that grew since construction
    const uint32_t cap = key.bound(capacity<typename Family::Out>);
    typename Family::Held held = Family::load(r);
    uint64_t pending = pending_count(r);
    uint32_t i = 0;

    const auto deliver = [&] {
        set_value<Out>(r, i, Family::result(held, pending));
        set_repeat(r, i, 1);
        ++r.next_pos;
        pending = 0;
        ++i;
    };
    // A failing operand leaves the group in progress as it stands.
    const auto leave = [&](zvq_seq_status s) {
        Family::save(r, held);
        set_pending_count(r, pending);
        key.save();
        return s;
    };
    const auto step = [&](const std::array<uint32_t, N>& at, uint8_t n, bool key_run_starts) {
        if (key_run_starts && key.differs(keys, at[N - 1], i) && pending != 0) {
            deliver();
            if (i == cap) return false;
        }
        detail::group_fold<Family>(held, pending == 0, n, ops, at, std::make_index_sequence<Family::kValues>{});
        pending += n;
        return true;
    };

    for (;;) {
        const zvq_seq_status s = refill_each(ops);
        if (s == SEQ_END) {
            // The end of any operand ends the sequence, and the last group with it.
            if (i == 0 && pending == 0) return leave(SEQ_END);
            if (pending != 0) deliver();
            r.chunk_count = static_cast<uint16_t>(i);
            return leave(SEQ_OK);
        }
        if (s != SEQ_OK) return leave(s);
        if (!walk_in_step(ops, step)) {
            r.chunk_count = static_cast<uint16_t>(cap);
            return leave(SEQ_OK);
        }
    }
}

// ---- constructors ----------------------------------------------------------

inline bool key_fits(const Rec* keys) { return keys->elem_size <= kGroupKeyRoom; }

// Values then keys. The keys are refused when bound even with binding checks
// off, after the values have been marked.
template <class Tag, class OutTag>
zvq_seq_status group_make(Rec& r, Rec* values, Rec* keys, zvq_seq_next_fn next) {
    if (!has_type<Tag>(values) || !key_fits(keys)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({values})) return s;
    if (keys->bound) return SEQ_ALREADY_BOUND;
    keys->bound = 1;
    init_record(r, shape_of<OutTag>, {next, zvq_seq_reset_binary_agg_iterator}, {values, keys});
    set_pending_count(r, 0);
    return SEQ_OK;
}

// Two value operands and the keys, all tested before any is marked.
template <class Tag, class OutTag>
zvq_seq_status group_make(Rec& r, Rec* a, Rec* b, Rec* keys, zvq_seq_next_fn next) {
    if (!has_type<Tag>(a) || !has_type<Tag>(b) || !key_fits(keys)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({a, b, keys})) return s;
    init_record(r, shape_of<OutTag>, {next, zvq_seq_reset_ternary_agg_iterator}, {a, b, keys});
    set_pending_count(r, 0);
    return SEQ_OK;
}

// ---- families from whole-sequence fold rules --------------------------------

// A fold rule of whole_rules.hpp's shape (seed, fold, result over an
// accumulator and a sum of squares) as a group family over Values value
// operands, its state a GroupState.
template <class Fold, size_t Values = 1>
struct FoldGroup {
    using Tag = typename Fold::Tag;
    using Out = typename Fold::Out;
    using In = typename Fold::In;
    using Acc = typename Fold::Acc;
    using State = GroupState<Acc>;
    static constexpr size_t kValues = Values;

    struct Held {
        Acc acc;
        double sq;
    };
    static Held load(const Rec& r) {
        const State& s = state_of<State>(r);
        return {s.group_acc, s.group_sq};
    }
    static void save(Rec& r, const Held& h) {
        State& s = state_of<State>(r);
        s.group_acc = h.acc;
        s.group_sq = h.sq;
    }
    static KeyStore key_store(Rec& r) {
        State& s = state_of<State>(r);
        return {s.group_key, s.group_key, kGroupKeyRoom};
    }
    template <class... V>
    static void seed(Held& h, uint8_t n, V... v) {
        Fold::seed(h.acc, h.sq, v..., n);
    }
    template <class... V>
    static void fold(Held& h, uint8_t n, V... v) {
        Fold::fold(h.acc, h.sq, v..., n);
    }
    static value_t<Out> result(const Held& h, uint64_t c) { return Fold::result(h.acc, h.sq, c); }
};

}  // namespace zvq
