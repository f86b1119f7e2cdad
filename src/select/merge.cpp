// union merges two sorted streams, unique drops a value equal to the one
// delivered before it. Both take their operands' runs whole and ignore the
// repeat bytes: a run is one element, and every output run has repeat 1.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

// ---- union ---------------------------------------------------------------

struct UnionState {
    uint32_t left_ended;
    uint32_t right_ended;
    uint32_t order;
};

// Pulls an operand whose chunk is used up, unless it has ended. Its end is
// remembered, so an ended operand is never pulled again.
inline zvq_seq_status refill_or_end(Rec& op, uint32_t& ended) {
    if (ended || !exhausted(op)) return SEQ_OK;
    const zvq_seq_status s = pull(op);
    if (s == SEQ_END) ended = 1;
    return s == SEQ_END ? SEQ_OK : s;
}

// Copies up to n runs of op, from its cursor on, as single elements.
template <class V>
inline uint32_t pass_through(Rec& r, uint32_t count, Rec& op, uint32_t n) {
    const uint32_t k = std::min<uint32_t>(n, op.chunk_count - op.chunk_pos);
    std::memcpy(r.chunk + size_t{count} * sizeof(V), op.chunk + size_t{op.chunk_pos} * sizeof(V),
                size_t{k} * sizeof(V));
    op.chunk_pos = static_cast<uint16_t>(op.chunk_pos + k);
    return k;
}

// Both operands hold runs: merge until one chunk or the output is used up.
// Comparisons are the type's own: a NaN compares false either way, so the
// right side goes first and an equal pair is never found.
template <class V, bool Descending>
inline uint32_t merge_runs(Rec& r, uint32_t count, uint32_t cap, Rec& left, Rec& right) {
    uint32_t lp = left.chunk_pos, rp = right.chunk_pos;
    const uint32_t ln = left.chunk_count, rn = right.chunk_count;
    // Each output moves each cursor by one at most: k outputs can be made
    // without looking at the chunk ends.
    for (uint32_t k; (k = std::min({ln - lp, rn - rp, cap - count})) != 0;) {
        for (; k != 0; --k) {
            const V x = value_at<V>(left, lp), y = value_at<V>(right, rp);
            const bool left_wins = Descending ? x > y : x < y;
            if (left_wins) {
                set_value<V>(r, count++, x);
                ++lp;
                continue;
            }
            lp += x == y;  // one equal pair collapses to the right's value
            set_value<V>(r, count++, y);
            ++rp;
        }
    }
    left.chunk_pos = static_cast<uint16_t>(lp);
    right.chunk_pos = static_cast<uint16_t>(rp);
    return count;
}

template <class Tag, bool Descending>
zvq_seq_status union_fill(Rec& r, UnionState& st) {
    using V = value_t<Tag>;
    constexpr uint32_t cap = capacity<Tag>;
    Rec& left = *r.operand[0];
    Rec& right = *r.operand[1];
    uint32_t count = 0;
    while (count < cap) {
        if (zvq_seq_status s = refill_or_end(left, st.left_ended)) return s;
        if (st.left_ended && st.right_ended) break;
        if (st.right_ended) {
            count += pass_through<V>(r, count, left, cap - count);
            continue;
        }
        if (zvq_seq_status s = refill_or_end(right, st.right_ended)) return s;
        if (st.left_ended && st.right_ended) break;
        if (st.right_ended || st.left_ended) {
            Rec& rest = st.right_ended ? left : right;
            count += pass_through<V>(r, count, rest, cap - count);
            continue;
        }
        count = merge_runs<V, Descending>(r, count, cap, left, right);
    }
    if (count == 0) return SEQ_END;
    publish_singles(r, count);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status union_next(Rec& r) {
    UnionState& st = state_of<UnionState>(r);
    if (st.left_ended && st.right_ended) return SEQ_END;
    return st.order == SEQ_ORDER_DESC ? union_fill<Tag, true>(r, st) : union_fill<Tag, false>(r, st);
}

template <class Tag>
zvq_seq_status union_make(Rec& r, Rec* left, Rec* right, uint32_t order, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Tag, Tag>(left, right)) return s;
    init_record(r, shape_of<Tag>, {next, zvq_seq_reset_union_iterator}, {left, right});
    state_of<UnionState>(r) = {0, 0, order};
    return SEQ_OK;
}

// ---- unique --------------------------------------------------------------

// pending_count keeps its shared place; last_value follows it, for char as
// elem_size bytes, which is why char widths are bounded by what is left.
template <class Tag>
struct UniqueState {
    uint64_t reserved;
    uint64_t pending_count;
    value_t<Tag> last_value;
};
template <>
struct UniqueState<Char> {
    uint64_t reserved;
    uint64_t pending_count;
    uint8_t last_value[ZVQ_SEQ_STATE_SIZE - 16];
};
ZVQ_ASSERT_PENDING_COUNT(UniqueState<Uint1>);
ZVQ_ASSERT_PENDING_COUNT(UniqueState<Char>);

inline constexpr uint32_t kUniqueCharWidth = sizeof(UniqueState<Char>::last_value);
static_assert(offsetof(UniqueState<Char>, last_value) + kUniqueCharWidth == ZVQ_SEQ_STATE_SIZE);

// last_value of the numeric members, kept in a register during a refill.
// The comparison is the type's ==: 0.0 equals -0.0, a NaN equals nothing.
template <class Tag>
struct LastValue {
    using V = value_t<Tag>;
    V v;
    explicit LastValue(const Rec& r) : v(state_of<UniqueState<Tag>>(r).last_value) {}
    bool same(const uint8_t* p) const { return load<V>(p) == v; }
    void keep(const uint8_t* p) { v = load<V>(p); }
    void save(Rec& r) const { state_of<UniqueState<Tag>>(r).last_value = v; }
};

// char: the bytes stay in the state and compare as unsigned bytes.
template <>
struct LastValue<Char> {
    uint8_t* bytes;
    uint16_t width;
    explicit LastValue(Rec& r) : bytes(state_of<UniqueState<Char>>(r).last_value), width(r.elem_size) {}
    bool same(const uint8_t* p) const { return zvq_memcmp(p, bytes, width) == 0; }
    void keep(const uint8_t* p) { std::memcpy(bytes, p, width); }
    void save(Rec&) const {}
};

// Filtering starts with the second refill after construction or reset:
// next_pos is still 0 throughout the first, whose duplicates all go out.
template <class Tag>
zvq_seq_status unique_next(Rec& r) {
    Rec& op = *r.operand[0];
    const uint32_t cap = capacity_of<Tag>(r);
    const size_t w = value_width<Tag>(r);
    const bool filtering = r.next_pos != 0;
    LastValue<Tag> last(r);
    uint32_t count = 0;
    zvq_seq_status s = SEQ_OK;
    while (count < cap) {
        bool closes;
        if ((s = refill_or_close(op, count, closes)) || closes) break;
        // At most one output per run, so cap - count runs cannot overfill.
        const uint32_t from = op.chunk_pos;
        const uint32_t to = from + std::min<uint32_t>(cap - count, op.chunk_count - from);
        for (uint32_t j = from; j < to; ++j) {
            const uint8_t* x = op.chunk + size_t{j} * w;
            if (filtering && last.same(x)) continue;
            last.keep(x);
            std::memcpy(r.chunk + size_t{count} * w, x, w);
            ++count;
        }
        op.chunk_pos = static_cast<uint16_t>(to);
    }
    last.save(r);
    if (s != SEQ_OK) return s;
    publish_singles(r, count);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status unique_make(Rec& r, Rec* input, zvq_seq_next_fn next) {
    // A char key wider than the state's copy cannot be compared across chunks.
    const bool typed = has_type<Tag>(input) && !(is_char<Tag> && input->elem_size > kUniqueCharWidth);
    if (zvq_seq_status s = open_operands(typed, {input})) return s;
    init_record(r, shape_like<Tag>(*input), {next, zvq_seq_reset_unary_agg_iterator}, {input});
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_reset_union_iterator(zvq_seq_iterator* it) {
    auto& st = zvq::state_of<zvq::UnionState>(*it);
    st.left_ended = 0;
    st.right_ended = 0;
    return zvq_seq_reset_binary_iterator(it);
}

#define ZVQ_STAMP_UNION(name, Tag, ctype)                                                                          \
    zvq_seq_status zvq_seq_union_##name(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right, \
                                        uint32_t order) {                                                          \
        return zvq::union_make<zvq::Tag>(*result, left, right, order, zvq_seq_union_##name##_next);                \
    }
#define ZVQ_STAMP_UNION_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_union_##name##_next(zvq_seq_iterator* it) { return zvq::union_next<zvq::Tag>(*it); }
#define ZVQ_STAMP_UNIQUE(name, Tag, ctype)                                                    \
    zvq_seq_status zvq_seq_unique_##name(zvq_seq_iterator* result, zvq_seq_iterator* input) { \
        return zvq::unique_make<zvq::Tag>(*result, input, zvq_seq_unique_##name##_next);      \
    }
#define ZVQ_STAMP_UNIQUE_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_unique_##name##_next(zvq_seq_iterator* it) { return zvq::unique_next<zvq::Tag>(*it); }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_UNION_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_UNION)
ZVQ_ALL_TYPES(ZVQ_STAMP_UNIQUE_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_UNIQUE)

}  // extern "C"
