// Series transforms that look at more than one element: the first
// difference, the direction of change, and division by a norm. Each has its
// own way with runs.
#include <cmath>

#include "core/arith.hpp"
#include "core/unary.hpp"

namespace zvq {
namespace {

// ---- diff ------------------------------------------------------------------

template <class Tag>
struct DiffState {
    value_t<Tag> diff_prev;
};

// In the width of the type: integers and datetime wrap, floats are IEEE.
template <class Tag>
value_t<Tag> difference(value_t<Tag> a, value_t<Tag> b) {
    if constexpr (is_integer<Tag>)
        return wrap_sub(a, b);
    else
        return a - b;
}

// A run of r becomes the difference to the previous run's value with repeat
// 1, then r - 1 zeros: as many elements out as in, two runs per run.
template <class Tag>
zvq_seq_status diff_next(Rec& r) {
    using V = value_t<Tag>;
    Rec& op = *r.operand[0];
    DiffState<Tag>& st = state_of<DiffState<Tag>>(r);
    uint32_t i = 0;
    while (i < capacity<Tag>) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, i, closes)) return s;
        if (closes) break;
        if (r.next_pos == 0) st.diff_prev = value_at<V>(op, 0);  // the first difference is 0
        if (op.run_pos == 0) {
            const V v = current<V>(op);
            set_value<V>(r, i, difference<Tag>(v, st.diff_prev));
            set_repeat(r, i, 1);
            st.diff_prev = v;
            r.next_pos += 1;
            take(op, 1);
        } else {
            const uint8_t rest = static_cast<uint8_t>(current_repeat(op) - 1);
            set_value<V>(r, i, V(0));
            set_repeat(r, i, rest);
            r.next_pos += rest;
            next_run(op);
        }
        ++i;
    }
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

// ---- trend -----------------------------------------------------------------

template <class Tag>
struct TrendState {
    value_t<Tag> trend_prev;
    int32_t trend_last;
};

// One whole operand chunk per call: 1 up, -1 down, and for an equal value
// (or a NaN, which compares neither way) the last direction given.
template <class Tag>
zvq_seq_status trend_next(Rec& r) {
    using V = value_t<Tag>;
    Rec& op = *r.operand[0];
    if (zvq_seq_status s = pull(op)) return s;
    TrendState<Tag>& st = state_of<TrendState<Tag>>(r);
    if (r.next_pos == 0) st = {value_at<V>(op, 0), 0};
    // A one-byte result has room for any operand chunk; the bound only keeps
    // a malformed chunk count inside the chunk.
    const uint32_t n = std::min<uint32_t>(op.chunk_count, capacity<Int1>);
    for (uint32_t j = 0; j < n; ++j) {
        const V v = value_at<V>(op, j);
        if (v < st.trend_prev)
            st.trend_last = -1;
        else if (v > st.trend_prev)
            st.trend_last = 1;
        set_value<int8_t>(r, j, static_cast<int8_t>(st.trend_last));
        set_repeat(r, j, repeat_at(op, j));
        r.next_pos += repeat_at(op, j);
        st.trend_prev = v;
    }
    r.chunk_count = static_cast<uint16_t>(n);
    return SEQ_OK;
}

// ---- norm ------------------------------------------------------------------

struct NormState {
    double norm_value;
};

// The value over the norm, run by run. The bound is the capacity of the
// double result, so a refill of a narrower operand stops at 455 runs and
// leaves the rest in the operand for the next call.
template <class Tag>
struct NormCell {
    static uint32_t bound(const Rec&) { return capacity<Double>; }

    static void put_many(Rec& r, uint32_t i, const Rec& op, uint32_t from, uint32_t n) {
        const double d = state_of<NormState>(r).norm_value;
        for (uint32_t j = 0; j < n; ++j)
            set_value<double>(r, i + j, static_cast<double>(value_at<value_t<Tag>>(op, from + j)) / d);
    }
};

// The first pass sums squares weighted by repeats and takes the root after
// every chunk, so each chunk adds to the root so far: not the Euclidean norm
// of a long sequence, and meant so.
template <class Tag>
zvq_seq_status norm_pass(Rec& r, Rec& op) {
    double acc = 0;
    for (;;) {
        const zvq_seq_status s = pull(op);
        if (s == SEQ_END) break;
        if (s != SEQ_OK) return s;
        for (uint32_t j = 0; j < op.chunk_count; ++j) {
            const double v = static_cast<double>(value_at<value_t<Tag>>(op, j));
            acc += v * v * repeat_at(op, j);
        }
        acc = std::sqrt(acc);
        state_of<NormState>(r).norm_value = acc;
    }
    return op.reset(&op);
}

template <class Tag>
zvq_seq_status norm_next(Rec& r) {
    if (r.next_pos == 0)
        if (zvq_seq_status s = norm_pass<Tag>(r, *r.operand[0])) return s;
    return unary_cell_next<NormCell<Tag>>(r);
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_SERIES_NEXT(name, Tag, ctype)                                                                   \
    zvq_seq_status zvq_seq_diff_##name##_next(zvq_seq_iterator* it) { return zvq::diff_next<zvq::Tag>(*it); }   \
    zvq_seq_status zvq_seq_trend_##name##_next(zvq_seq_iterator* it) { return zvq::trend_next<zvq::Tag>(*it); } \
    zvq_seq_status zvq_seq_norm_##name##_next(zvq_seq_iterator* it) { return zvq::norm_next<zvq::Tag>(*it); }
#define ZVQ_STAMP_SERIES(name, Tag, ctype)                                                            \
    zvq_seq_status zvq_seq_diff_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) {        \
        return zvq::unary_make<zvq::Tag, zvq::Tag>(*result, operand, zvq_seq_diff_##name##_next);    \
    }                                                                                                 \
    zvq_seq_status zvq_seq_trend_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) {       \
        return zvq::unary_make<zvq::Int1, zvq::Tag>(*result, operand, zvq_seq_trend_##name##_next);  \
    }                                                                                                 \
    zvq_seq_status zvq_seq_norm_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) {        \
        return zvq::unary_make<zvq::Double, zvq::Tag>(*result, operand, zvq_seq_norm_##name##_next); \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_SERIES_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_SERIES)

}  // extern "C"
