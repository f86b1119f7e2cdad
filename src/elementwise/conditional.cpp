// Selection by a boolean sequence between two sequences of one type, in two
// readings of runs.
//
// iif picks from aligned columns: all three operands move together by the
// smallest of their repeat bytes as they stand, without subtracting run_pos.
// Where run borders differ, the longer run is taken again by whole steps and
// only closes when the steps hit its repeat byte exactly (in 8 bits), so
// unaligned runs yield more elements than the inputs hold. That is the
// operator's meaning and is kept; if is the selector for the other reading.
//
// if interleaves two streams: only the chosen operand and the condition move,
// by the smaller of their remainders; the other stream waits.
#include <algorithm>
#include <array>

#include "elementwise/binary.hpp"

namespace zvq {
namespace {

template <class Tag>
void select_aligned(Rec& r, uint32_t i, Rec& cond, Rec& a, Rec& b, uint32_t k) {
    if constexpr (is_char<Tag>) {
        for (uint32_t j = 0; j < k; ++j) {
            const Rec& src = value_at<uint8_t>(cond, cond.chunk_pos + j) != 0 ? a : b;
            copy_value<Tag>(r, i + j, src, src.chunk_pos + j);
        }
    } else {
        using V = value_t<Tag>;
        const uint8_t* __restrict c = cond.chunk + cond.chunk_pos;
        const uint8_t* __restrict x = a.chunk + size_t{a.chunk_pos} * sizeof(V);
        const uint8_t* __restrict y = b.chunk + size_t{b.chunk_pos} * sizeof(V);
        uint8_t* __restrict out = r.chunk + size_t{i} * sizeof(V);
        for (uint32_t j = 0; j < k; ++j)
            store<V>(out + j * sizeof(V), c[j] != 0 ? load<V>(x + j * sizeof(V)) : load<V>(y + j * sizeof(V)));
    }
    std::memcpy(repeat_block(r, i, k), repeat_block(cond, cond.chunk_pos, k), k);
    r.next_pos += repeat_sum(r, i, i + k);
    advance_runs(std::array<Rec*, 3>{&cond, &a, &b}, k);
}

// One output run of the value chosen by the condition, k elements long.
template <class Tag>
Rec& put_chosen(Rec& r, uint32_t i, Rec& cond, Rec& a, Rec& b, uint8_t k) {
    Rec& chosen = current<uint8_t>(cond) != 0 ? a : b;
    copy_value<Tag>(r, i, chosen, chosen.chunk_pos);
    set_repeat(r, i, k);
    r.next_pos += k;
    return chosen;
}

// iif: all three move by the smallest repeat byte as it stands. Returns the
// runs made.
struct Aligned {
    template <class Tag>
    static uint32_t step(Rec& r, uint32_t i, Rec& cond, Rec& a, Rec& b, uint32_t room) {
        // A stretch of aligned runs is selected in one pass.
        if (const uint32_t k = aligned_stretch(std::array<Rec*, 3>{&cond, &a, &b}, room)) {
            select_aligned<Tag>(r, i, cond, a, b, k);
            return k;
        }
        const uint8_t k = std::min({current_repeat(cond), current_repeat(a), current_repeat(b)});
        put_chosen<Tag>(r, i, cond, a, b, k);
        take(cond, k);
        take(a, k);
        take(b, k);
        return 1;
    }
};

// if: the condition and the chosen stream move by the smaller remainder; the
// other stream waits.
struct Streams {
    template <class Tag>
    static uint32_t step(Rec& r, uint32_t i, Rec& cond, Rec& a, Rec& b, uint32_t) {
        const uint8_t k = std::min(remainder(cond), remainder(current<uint8_t>(cond) != 0 ? a : b));
        Rec& chosen = put_chosen<Tag>(r, i, cond, a, b, k);
        take(cond, k);
        take(chosen, k);
        return 1;
    }
};

// Both value streams must have a run ready, even the one not chosen.
template <class Tag, class Rule>
zvq_seq_status select_next(Rec& r) {
    Rec& cond = *r.operand[0];
    Rec& a = *r.operand[1];
    Rec& b = *r.operand[2];
    const uint32_t cap = capacity_of<Tag>(r);
    const std::array<Rec*, 3> ops = {&cond, &a, &b};
    uint32_t i = 0;
    while (i < cap) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(ops, i, closes)) return s;
        if (closes) break;
        i += Rule::template step<Tag>(r, i, cond, a, b, cap - i);
    }
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status select_make(Rec& r, Rec* cond, Rec* a, Rec* b, zvq_seq_next_fn next, zvq_seq_next_fn reset) {
    const bool typed = has_type<Uint1>(cond) && has_type<Tag>(a) && has_type<Tag>(b) && same_width<Tag>(*a, *b);
    if (zvq_seq_status s = open_operands(typed, {cond, a, b})) return s;
    init_record(r, shape_like<Tag>(*a), {next, reset}, {cond, a, b});
    return SEQ_OK;
}

// The value operands first, then the condition and the record itself.
zvq_seq_status select_reset(Rec& r) {
    for (Rec* op : {r.operand[1], r.operand[2]})
        if (zvq_seq_status s = op->reset(op)) return s;
    return zvq_seq_reset_unary_iterator(&r);
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_iif_reset(zvq_seq_iterator* it) { return zvq::select_reset(*it); }
zvq_seq_status zvq_seq_if_reset(zvq_seq_iterator* it) { return zvq::select_reset(*it); }

#define ZVQ_STAMP_SELECT_NEXT(name, Tag, ctype)                         \
    zvq_seq_status zvq_seq_iif_##name##_next(zvq_seq_iterator* it) {     \
        return zvq::select_next<zvq::Tag, zvq::Aligned>(*it);            \
    }                                                                    \
    zvq_seq_status zvq_seq_if_##name##_next(zvq_seq_iterator* it) {      \
        return zvq::select_next<zvq::Tag, zvq::Streams>(*it);            \
    }
#define ZVQ_STAMP_SELECT(name, Tag, ctype)                                                                         \
    zvq_seq_status zvq_seq_iif_##name(zvq_seq_iterator* result, zvq_seq_iterator* cond, zvq_seq_iterator* first,  \
                                      zvq_seq_iterator* second) {                                                \
        return zvq::select_make<zvq::Tag>(*result, cond, first, second, zvq_seq_iif_##name##_next,               \
                                          zvq_seq_iif_reset);                                                    \
    }                                                                                                            \
    zvq_seq_status zvq_seq_if_##name(zvq_seq_iterator* result, zvq_seq_iterator* cond, zvq_seq_iterator* first,   \
                                     zvq_seq_iterator* second) {                                                 \
        return zvq::select_make<zvq::Tag>(*result, cond, first, second, zvq_seq_if_##name##_next,                \
                                          zvq_seq_if_reset);                                                     \
    }

ZVQ_ALL_TYPES(ZVQ_STAMP_SELECT_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_SELECT)

}  // extern "C"
