// What the time alignment operators (stretch, stretch0, asof_join) share:
// the constructor, the reset, and how the three operands are read.
//
// operand[0] is ts1, the leading timestamps; operand[1] is ts2, the keys of
// the series to align; operand[2] is values, one element per ts2 key. Keys
// are read run by run (their repeat bytes are not looked at), values element
// by element by the reading rule, so a run of values serves several keys.
// Every output run has repeat 1.
#pragma once

#include <cstdint>

#include "core/arith.hpp"
#include "core/record.hpp"

namespace zvq {

// The next element of values. Any status but SEQ_OK, SEQ_END included, is
// the caller's to return at once: the refill under way is dropped.
template <class V>
inline zvq_seq_status take_value(Rec& values, V& out) {
    if (zvq_seq_status s = refill(values)) return s;
    out = current<V>(values);
    take(values, 1);
    return SEQ_OK;
}

// Moves ts2 on by one key and reads it, pulling when the chunk is used up.
// A fresh ts2 (chunk_count 0) is pulled at once, so the first step finds the
// first key.
template <class K>
inline zvq_seq_status step_key(Rec& ts2, K& key) {
    ts2.chunk_pos = static_cast<uint16_t>(ts2.chunk_pos + 1);
    if (exhausted(ts2))
        if (zvq_seq_status s = pull(ts2)) return s;
    key = current<K>(ts2);
    return SEQ_OK;
}

// Slots [from, to) all hold v: once neither ts1 nor ts2 can move, every
// further element repeats the last choice.
template <class V>
inline void fill_slots(Rec& r, uint32_t from, uint32_t to, V v) {
    for (uint32_t i = from; i < to; ++i) set_value<V>(r, i, v);
}

// The loop of stretch and asof_join. ts1's cursor never moves: every element
// is computed from its first key t. While t is not below next_key, the rule
// steps ts2 once per element; from then on, or once ts2 has ended, nothing
// can move and the rest of every chunk repeats one value. Such a sequence
// never ends: its reader bounds it. A rule is made for each refill:
//     explicit Walk(Rec&)                 its state is Walk::st
//     V settled(K t)                      the value that repeats
//     zvq_seq_status step(K t, V& out)    steps ts2 once and gives an element
template <class KeyTag, class ValueTag, class Walk>
zvq_seq_status walk_next(Rec& r) {
    using K = value_t<KeyTag>;
    using V = value_t<ValueTag>;
    constexpr uint32_t cap = capacity<ValueTag>;
    Rec& ts1 = *r.operand[0];
    Walk walk(r);
    uint32_t count = 0;
    while (count < cap) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(ts1, count, closes)) return s;
        if (closes) break;
        const K t = current<K>(ts1);
        if (walk.st.ts2_ended || t < walk.st.next_key) {
            fill_slots<V>(r, count, cap, walk.settled(t));
            count = cap;
            break;
        }
        V out;
        if (zvq_seq_status s = walk.step(t, out)) return s;
        set_value<V>(r, count++, out);
    }
    publish_singles(r, count);
    return SEQ_OK;
}

// Types, then bindings, then the record; the operator sets its own state.
template <class KeyTag, class ValueTag>
zvq_seq_status align_make(Rec& r, Rec* ts1, Rec* ts2, Rec* values, const Fns& fns) {
    if (zvq_seq_status s = open_operands<KeyTag, KeyTag, ValueTag>(ts1, ts2, values)) return s;
    init_record(r, shape_of<ValueTag>, fns, {ts1, ts2, values});
    return SEQ_OK;
}

// values first, and nothing else if it fails; then ts1, ts2 and the record.
// The state's end flags and next_key are cleared whatever that gave; the
// carried values (current, prev_value, ...) stay for the next run.
template <class State>
zvq_seq_status align_reset(Rec& r) {
    Rec& values = *r.operand[2];
    if (zvq_seq_status s = values.reset(&values)) return s;
    const zvq_seq_status s = zvq_seq_reset_binary_iterator(&r);
    state_of<State>(r).rewind();
    return s;
}

}  // namespace zvq
