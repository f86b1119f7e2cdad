// asof_join takes, for a leading timestamp, the value whose key is nearest.
#include "select/align.hpp"

namespace zvq {
namespace {

template <class KeyTag, class ValueTag>
struct AsofState {
    value_t<ValueTag> next_value;
    value_t<ValueTag> prev_value;
    value_t<KeyTag> next_key;
    value_t<KeyTag> prev_key;
    uint32_t ts2_ended;
    void rewind() {
        next_key = 0;
        ts2_ended = 0;
    }
};

// Distances are unsigned at the key's width: a next_key still below t wraps
// to a large distance, so the earlier value wins until the keys catch up. A
// tie goes to the earlier key.
template <class KeyTag, class ValueTag>
inline value_t<ValueTag> nearest(const AsofState<KeyTag, ValueTag>& st, value_t<KeyTag> t) {
    using K = value_t<KeyTag>;
    return wrap_sub<K>(t, st.prev_key) > wrap_sub<K>(st.next_key, t) ? st.next_value : st.prev_value;
}

// Moves along ts2 one key per element while t is not below next_key, then
// repeats the nearest value, or the last one once ts2 has ended.
template <class KeyTag, class ValueTag>
struct AsofWalk {
    using K = value_t<KeyTag>;
    using V = value_t<ValueTag>;
    AsofState<KeyTag, ValueTag>& st;
    Rec& ts2;
    Rec& values;
    bool ts2_seen;  // an end of ts2 before any key of it was seen ends the sequence

    explicit AsofWalk(Rec& r)
        : st(state_of<AsofState<KeyTag, ValueTag>>(r)),
          ts2(*r.operand[1]),
          values(*r.operand[2]),
          ts2_seen(ts2.chunk_count != 0) {}

    V settled(K t) const { return st.ts2_ended ? st.prev_value : nearest(st, t); }

    zvq_seq_status step(K t, V& out) {
        st.prev_key = st.next_key;
        st.prev_value = st.next_value;
        const zvq_seq_status s = step_key<K>(ts2, st.next_key);
        if (s == SEQ_END && ts2_seen) {
            st.ts2_ended = 1;
            out = st.prev_value;
            return SEQ_OK;
        }
        if (s != SEQ_OK) return s;
        ts2_seen = true;
        if (zvq_seq_status v = take_value<V>(values, st.next_value)) return v;
        out = nearest(st, t);
        return SEQ_OK;
    }
};

template <class KeyTag, class ValueTag>
zvq_seq_status asof_join_make(Rec& r, Rec* ts1, Rec* ts2, Rec* values, const Fns& fns) {
    if (zvq_seq_status s = align_make<KeyTag, ValueTag>(r, ts1, ts2, values, fns)) return s;
    state_of<AsofState<KeyTag, ValueTag>>(r).rewind();
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_ASOF_JOIN(k, K, k_c, v, V, v_c)                                                                      \
    zvq_seq_status zvq_seq_asof_join_##k##_##v(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, \
                                               zvq_seq_iterator* values) {                                             \
        return zvq::asof_join_make<zvq::K, zvq::V>(                                                                    \
            *result, ts1, ts2, values, {zvq_seq_asof_join_##k##_##v##_next, zvq_seq_asof_join_##k##_##v##_reset});     \
    }
#define ZVQ_STAMP_ASOF_JOIN_NEXT(k, K, k_c, v, V, v_c)                             \
    zvq_seq_status zvq_seq_asof_join_##k##_##v##_next(zvq_seq_iterator* it) {      \
        return zvq::walk_next<zvq::K, zvq::V, zvq::AsofWalk<zvq::K, zvq::V>>(*it); \
    }
#define ZVQ_STAMP_ASOF_JOIN_RESET(k, K, k_c, v, V, v_c)                        \
    zvq_seq_status zvq_seq_asof_join_##k##_##v##_reset(zvq_seq_iterator* it) { \
        return zvq::align_reset<zvq::AsofState<zvq::K, zvq::V>>(*it);          \
    }

// One row per key type; the inner list supplies the value types.
#define ZVQ_STAMP_ASOF_JOIN_ROW(k, K, k_c)                       \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_ASOF_JOIN_NEXT, k, K, k_c)  \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_ASOF_JOIN_RESET, k, K, k_c) \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_ASOF_JOIN, k, K, k_c)

ZVQ_TIME_KEY_TYPES(ZVQ_STAMP_ASOF_JOIN_ROW)

}  // extern "C"
