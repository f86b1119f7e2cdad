// The binary element-wise kernel: two operands read run by run, one output run
// per overlap of a left run and a right run.
//
// A family supplies its rule as an Op (a struct with a static apply that
// knows nothing of chunks) and picks the cell that says where the values
// stand: ValueCell for the fixed-size types, ByteCompareCell for the char
// comparisons, TextCell for the char joins. binary_next<Cell> owns the loop.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/record.hpp"

namespace zvq {

// ---- cells -------------------------------------------------------------

// Fixed-size operands and result, each at the constant stride of its type.
template <class OutTag, class InTag, class Op>
struct ValueCell {
    using In = value_t<InTag>;
    using Out = value_t<OutTag>;

    static uint32_t bound(const Rec&) { return capacity<OutTag>; }

    static void put(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp) {
        set_value<Out>(r, i, static_cast<Out>(Op::template apply<InTag>(value_at<In>(left, lp), value_at<In>(right, rp))));
    }

    // n cells at once, written so that the compiler can vectorise it.
    static void put_many(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp,
                         uint32_t n) {
        uint8_t* __restrict out = r.chunk + size_t{i} * sizeof(Out);
        const uint8_t* __restrict a = left.chunk + size_t{lp} * sizeof(In);
        const uint8_t* __restrict b = right.chunk + size_t{rp} * sizeof(In);
        for (uint32_t j = 0; j < n; ++j)
            store<Out>(out + size_t{j} * sizeof(Out),
                       static_cast<Out>(Op::template apply<InTag>(load<In>(a + size_t{j} * sizeof(In)),
                                                                  load<In>(b + size_t{j} * sizeof(In)))));
    }
};

// The char comparisons: the stride into the operands and the length compared
// are the elem_size of the uint1 result, so one byte at the run index is
// compared, whatever the operands' width. The Op sees the sign of the
// comparison against 0.
template <class Op>
struct ByteCompareCell {
    static uint32_t bound(const Rec&) { return capacity<Uint1>; }

    static void put(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp) {
        const size_t stride = r.elem_size;
        const int order = zvq_memcmp(left.chunk + lp * stride, right.chunk + rp * stride, stride);
        set_value<uint8_t>(r, i, Op::template apply<Int4>(order, 0));
    }

    static void put_many(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp,
                         uint32_t n) {
        for (uint32_t j = 0; j < n; ++j) put(r, i + j, left, lp + j, right, rp + j);
    }
};

// char results of width left + right; the capacity follows elem_size.
template <class Op>
struct TextCell {
    static uint32_t bound(const Rec& r) { return char_capacity(r.elem_size); }

    static void put(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp) {
        Op::apply(slot_ptr(r, i), r.elem_size, slot_ptr(left, lp), left.elem_size, slot_ptr(right, rp),
                  right.elem_size);
    }

    static void put_many(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp,
                         uint32_t n) {
        for (uint32_t j = 0; j < n; ++j) put(r, i + j, left, lp + j, right, rp + j);
    }
};

// ---- kernel ------------------------------------------------------------


// One refill of r. Left is refilled before right, both before a value is
// combined. Where both operands stand at the start of runs of equal length,
// a stretch of such runs is combined in one pass: the result is the one the
// run-by-run rule gives, run for run. The bound is tested before each pull
// (cat's order); as no member has a bound of 0, every member fills alike.
template <class Cell>
zvq_seq_status binary_next(Rec& r) {
    Rec& left = *r.operand[0];
    Rec& right = *r.operand[1];
    const std::array<Rec*, 2> ops = {&left, &right};
    const uint32_t bound = Cell::bound(r);
    uint32_t i = 0;
    while (i < bound) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(ops, i, closes)) return s;
        if (closes) break;

        if (const uint32_t k = aligned_stretch(ops, bound - i)) {
            Cell::put_many(r, i, left, left.chunk_pos, right, right.chunk_pos, k);
            std::memcpy(repeat_block(r, i, k), repeat_block(left, left.chunk_pos, k), k);
            r.next_pos += repeat_sum(r, i, i + k);
            advance_runs(ops, k);
            i += k;
            continue;
        }

        Cell::put(r, i, left, left.chunk_pos, right, right.chunk_pos);
        const uint8_t k = std::min(remainder(left), remainder(right));
        set_repeat(r, i, k);
        r.next_pos += k;
        take(left, k);
        take(right, k);
        ++i;
    }
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

// Constructor of a member whose operands both have InTag and whose result has
// OutTag.
template <class InTag, class OutTag>
zvq_seq_status binary_make(Rec& r, Rec* left, Rec* right, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<InTag, InTag>(left, right)) return s;
    init_record(r, shape_of<OutTag>, {next, zvq_seq_reset_binary_iterator}, {left, right});
    return SEQ_OK;
}

}  // namespace zvq
