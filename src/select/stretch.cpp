// stretch carries each value of a series back over the leading timestamps
// before its key; stretch0 merges the two time lines, with a filler where
// the aligned series has no key.
#include <algorithm>

#include "select/align.hpp"

namespace zvq {
namespace {

// ---- stretch -------------------------------------------------------------

template <class KeyTag, class ValueTag>
struct StretchState {
    value_t<ValueTag> filler;
    value_t<ValueTag> current;  // the value being delivered
    value_t<KeyTag> next_key;   // the ts2 key that current belongs to
    uint32_t ts2_ended;
    void rewind() {
        next_key = 0;
        ts2_ended = 0;
    }
};

// Steps through values while t is not below the key reached, then repeats
// one value, or the filler past ts2's end.
template <class KeyTag, class ValueTag>
struct StretchWalk {
    using K = value_t<KeyTag>;
    using V = value_t<ValueTag>;
    StretchState<KeyTag, ValueTag>& st;
    Rec& ts2;
    Rec& values;

    explicit StretchWalk(Rec& r)
        : st(state_of<StretchState<KeyTag, ValueTag>>(r)), ts2(*r.operand[1]), values(*r.operand[2]) {}

    V settled(K) const { return st.current; }

    zvq_seq_status step(K, V& out) {
        const zvq_seq_status s = step_key<K>(ts2, st.next_key);
        if (s == SEQ_END) {
            st.ts2_ended = 1;
            st.current = st.filler;
        } else if (s != SEQ_OK) {
            return s;
        } else if (zvq_seq_status v = take_value<V>(values, st.current)) {
            return v;
        }
        out = st.current;
        return SEQ_OK;
    }
};

template <class KeyTag, class ValueTag>
zvq_seq_status stretch_make(Rec& r, Rec* ts1, Rec* ts2, Rec* values, value_t<ValueTag> filler, const Fns& fns) {
    if (zvq_seq_status s = align_make<KeyTag, ValueTag>(r, ts1, ts2, values, fns)) return s;
    auto& st = state_of<StretchState<KeyTag, ValueTag>>(r);
    st.filler = filler;
    st.rewind();
    return SEQ_OK;
}

// ---- stretch0 ------------------------------------------------------------

template <class ValueTag>
struct Stretch0State {
    value_t<ValueTag> filler;
    uint32_t ts1_ended;
    uint32_t ts2_ended;
    void rewind() {
        ts1_ended = 0;
        ts2_ended = 0;
    }
};

// Where one element of the merged time line comes from.
enum class Source { Filler, Value, Done };

// One step of the merge by ascending key, for what stretch0_run leaves: a
// chunk to pull, an ended side. Moves the key cursors; the caller writes the
// element.
template <class KeyTag, class ValueTag>
zvq_seq_status stretch0_step(Rec& ts1, Rec& ts2, Stretch0State<ValueTag>& st, Source& src) {
    using K = value_t<KeyTag>;
    src = Source::Done;
    if (!st.ts1_ended && exhausted(ts1)) {
        const zvq_seq_status s = pull(ts1);
        if (s != SEQ_OK && s != SEQ_END) return s;
        st.ts1_ended = s == SEQ_END;
        if (st.ts1_ended && st.ts2_ended) return SEQ_OK;
    }
    if (!st.ts2_ended && exhausted(ts2)) {
        const zvq_seq_status s = pull(ts2);
        if (s != SEQ_OK && s != SEQ_END) return s;
        st.ts2_ended = s == SEQ_END;
        if (st.ts1_ended && st.ts2_ended) return SEQ_OK;
    }
    if (st.ts2_ended) {
        src = st.ts1_ended ? Source::Value : Source::Filler;
    } else if (st.ts1_ended) {
        src = Source::Value;  // ts2 stands still; values run on to their end
    } else {
        const K ta = current<K>(ts1), tb = current<K>(ts2);
        src = ta < tb ? Source::Filler : Source::Value;
        if (src == Source::Value) {
            if (ta == tb) ++ts1.chunk_pos;
            ++ts2.chunk_pos;
        }
    }
    if (src == Source::Filler) ++ts1.chunk_pos;
    return SEQ_OK;
}

// The merge of both key chunks while both have keys and values have
// elements in their chunk: no pull, no end to watch. Each element moves each
// of the three cursors by one run at most, so k elements can be made without
// looking at the chunk ends. Returns the new count; what is left (a chunk to
// pull, an ended side) goes through stretch0_step.
template <class KeyTag, class ValueTag>
uint32_t stretch0_run(Rec& r, uint32_t count, Rec& ts1, Rec& ts2, Rec& values, value_t<ValueTag> filler) {
    using K = value_t<KeyTag>;
    using V = value_t<ValueTag>;
    constexpr uint32_t cap = capacity<ValueTag>;
    uint32_t i1 = ts1.chunk_pos, i2 = ts2.chunk_pos, iv = values.chunk_pos;
    const uint32_t n1 = ts1.chunk_count, n2 = ts2.chunk_count, nv = values.chunk_count;
    uint8_t taken = values.run_pos;
    for (uint32_t k; (k = std::min({n1 - i1, n2 - i2, nv - iv, cap - count})) != 0;) {
        for (; k != 0; --k) {
            const K ta = value_at<K>(ts1, i1), tb = value_at<K>(ts2, i2);
            if (ta < tb) {
                set_value<V>(r, count++, filler);
                ++i1;
                continue;
            }
            i1 += ta == tb;
            ++i2;
            set_value<V>(r, count++, value_at<V>(values, iv));
            taken = static_cast<uint8_t>(taken + 1);
            if (taken == repeat_at(values, iv)) {
                taken = 0;
                ++iv;
            }
        }
    }
    ts1.chunk_pos = static_cast<uint16_t>(i1);
    ts2.chunk_pos = static_cast<uint16_t>(i2);
    values.chunk_pos = static_cast<uint16_t>(iv);
    values.run_pos = taken;
    return count;
}

template <class KeyTag, class ValueTag>
zvq_seq_status stretch0_next(Rec& r) {
    using V = value_t<ValueTag>;
    constexpr uint32_t cap = capacity<ValueTag>;
    Rec& ts1 = *r.operand[0];
    Rec& ts2 = *r.operand[1];
    Rec& values = *r.operand[2];
    auto& st = state_of<Stretch0State<ValueTag>>(r);
    if (st.ts1_ended && st.ts2_ended) return SEQ_END;
    uint32_t count = 0;
    while (count < cap) {
        if (!st.ts1_ended && !st.ts2_ended) {
            count = stretch0_run<KeyTag, ValueTag>(r, count, ts1, ts2, values, st.filler);
            if (count == cap) break;
        }
        Source src;
        if (zvq_seq_status s = stretch0_step<KeyTag, ValueTag>(ts1, ts2, st, src)) return s;
        if (src == Source::Done) break;
        V v = st.filler;
        if (src == Source::Value)
            if (zvq_seq_status s = take_value<V>(values, v)) return s;
        set_value<V>(r, count++, v);
    }
    if (count == 0) return SEQ_END;
    publish_singles(r, count);
    return SEQ_OK;
}

template <class KeyTag, class ValueTag>
zvq_seq_status stretch0_make(Rec& r, Rec* ts1, Rec* ts2, Rec* values, value_t<ValueTag> filler, const Fns& fns) {
    if (zvq_seq_status s = align_make<KeyTag, ValueTag>(r, ts1, ts2, values, fns)) return s;
    auto& st = state_of<Stretch0State<ValueTag>>(r);
    st.filler = filler;
    st.rewind();
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_STRETCH(k, K, k_c, v, V, v_c)                                                                        \
    zvq_seq_status zvq_seq_stretch_##k##_##v(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2,   \
                                             zvq_seq_iterator* values, v_c filler) {                                   \
        return zvq::stretch_make<zvq::K, zvq::V>(                                                                      \
            *result, ts1, ts2, values, filler, {zvq_seq_stretch_##k##_##v##_next, zvq_seq_stretch_##k##_##v##_reset}); \
    }
#define ZVQ_STAMP_STRETCH_NEXT(k, K, k_c, v, V, v_c)                                  \
    zvq_seq_status zvq_seq_stretch_##k##_##v##_next(zvq_seq_iterator* it) {           \
        return zvq::walk_next<zvq::K, zvq::V, zvq::StretchWalk<zvq::K, zvq::V>>(*it); \
    }
#define ZVQ_STAMP_STRETCH_RESET(k, K, k_c, v, V, v_c)                        \
    zvq_seq_status zvq_seq_stretch_##k##_##v##_reset(zvq_seq_iterator* it) { \
        return zvq::align_reset<zvq::StretchState<zvq::K, zvq::V>>(*it);     \
    }
#define ZVQ_STAMP_STRETCH0(k, K, k_c, v, V, v_c)                                                                      \
    zvq_seq_status zvq_seq_stretch0_##k##_##v(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, \
                                              zvq_seq_iterator* values, v_c filler) {                                 \
        return zvq::stretch0_make<zvq::K, zvq::V>(                                                                    \
            *result, ts1, ts2, values, filler,                                                                        \
            {zvq_seq_stretch0_##k##_##v##_next, zvq_seq_stretch0_##k##_##v##_reset});                                 \
    }
#define ZVQ_STAMP_STRETCH0_NEXT(k, K, k_c, v, V, v_c)                        \
    zvq_seq_status zvq_seq_stretch0_##k##_##v##_next(zvq_seq_iterator* it) { \
        return zvq::stretch0_next<zvq::K, zvq::V>(*it);                      \
    }
#define ZVQ_STAMP_STRETCH0_RESET(k, K, k_c, v, V, v_c)                        \
    zvq_seq_status zvq_seq_stretch0_##k##_##v##_reset(zvq_seq_iterator* it) { \
        return zvq::align_reset<zvq::Stretch0State<zvq::V>>(*it);             \
    }

// One row per key type; the inner list supplies the value types.
#define ZVQ_STAMP_STRETCH_ROW(k, K, k_c)                        \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_STRETCH_NEXT, k, K, k_c)   \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_STRETCH_RESET, k, K, k_c)  \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_STRETCH, k, K, k_c)        \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_STRETCH0_NEXT, k, K, k_c)  \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_STRETCH0_RESET, k, K, k_c) \
    ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_STRETCH0, k, K, k_c)

ZVQ_TIME_KEY_TYPES(ZVQ_STAMP_STRETCH_ROW)

}  // extern "C"
