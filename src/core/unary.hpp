// The unary kernel: one output run per input run, shared by abs, neg, not,
// the conversions, the callbacks, the matcher and norm. A family supplies a
// cell (where the values stand and how one is computed); a plain rule is a
// struct with
//     static value_t<OutTag> apply(value_t<InTag> v);
// that knows nothing of chunks, run through ValueRunCell.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/record.hpp"

namespace zvq {

// Fixed-size operand and result, each at the constant stride of its type.
template <class OutTag, class InTag, class Op>
struct ValueRunCell {
    static uint32_t bound(const Rec&) { return capacity<OutTag>; }

    // Runs [from, from + n) of op into slots [i, i + n) of r.
    static void put_many(Rec& r, uint32_t i, const Rec& op, uint32_t from, uint32_t n) {
        using In = value_t<InTag>;
        using Out = value_t<OutTag>;
        for (uint32_t j = 0; j < n; ++j) set_value<Out>(r, i + j, Op::apply(value_at<In>(op, from + j)));
    }
};

// Refills the result chunk from whole operand runs. The operand's run_pos is
// never looked at: this reader is the operand's only one and takes runs whole,
// so a repeat byte (0 included) is copied as it stands.
//
// The fill bound is the cell's, the capacity of the result type rather than
// the operand's: a narrowing conversion gathers runs over several operand
// chunks, a widening one leaves the rest of the operand chunk for the next
// call.
template <class Cell>
zvq_seq_status unary_cell_next(Rec& r) {
    const uint32_t cap = Cell::bound(r);
    Rec& op = *r.operand[0];
    uint32_t i = 0;
    while (i < cap) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, i, closes)) return s;
        if (closes) break;
        const uint32_t from = op.chunk_pos;
        const uint32_t k = std::min<uint32_t>(cap - i, op.chunk_count - from);
        Cell::put_many(r, i, op, from, k);
        std::memcpy(repeat_block(r, i, k), repeat_block(op, from, k), k);
        r.next_pos += repeat_sum(r, i, i + k);
        op.chunk_pos = static_cast<uint16_t>(from + k);
        i += k;
    }
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

template <class OutTag, class InTag, class Op>
zvq_seq_status unary_next(Rec& r) {
    return unary_cell_next<ValueRunCell<OutTag, InTag, Op>>(r);
}

// The constructor of every unary operator: (result, operand), operand of type
// InTag, no state.
template <class OutTag, class InTag>
zvq_seq_status unary_make(Rec& r, Rec* op, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<InTag>(op)) return s;
    init_record(r, shape_of<OutTag>, {next, zvq_seq_reset_unary_iterator}, {op});
    return SEQ_OK;
}

}  // namespace zvq
