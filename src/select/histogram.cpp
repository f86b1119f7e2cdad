// histogram: counts of the elements in each of n equal half-open intervals
// of [hist_min, hist_max), delivered as n uint8 counters. Repeats count. A
// value outside the bounds is an error, not a clamp.
#include <cmath>

#include "core/arith.hpp"
#include "core/record.hpp"

namespace zvq {
namespace {

template <class Tag>
struct HistState {
    value_t<Tag> hist_min;
    value_t<Tag> hist_max;
    int64_t interval_count;
};

// (v - hist_min) x n / (hist_max - hist_min), truncated, in the arithmetic of
// each width. Only the narrow types are exact: an int4 span of 2^31 or more
// and a 64-bit product that overflows give wrong intervals, and a float just
// below hist_max can round up to n.
template <class Tag>
uint64_t interval_of(value_t<Tag> v, value_t<Tag> lo, value_t<Tag> hi, uint64_t n) {
    using V = value_t<Tag>;
    if constexpr (is_floating<Tag>) {
        const V q = ((v - lo) * static_cast<V>(n)) / (hi - lo);
        // A NaN value or bound falls in interval 0.
        return std::isnan(q) ? 0 : float_to_int<uint64_t>(q);
    } else if constexpr (sizeof(V) < 4) {
        const auto span = static_cast<uint64_t>(int32_t{hi} - int32_t{lo});
        return static_cast<uint64_t>(int32_t{v} - int32_t{lo}) * n / span;
    } else if constexpr (sizeof(V) == 4) {
        // int4 differences wrap in 32 bits and are sign-extended; uint4 ones
        // are zero-extended.
        const auto span = static_cast<uint64_t>(wrap_sub<V>(hi, lo));
        return static_cast<uint64_t>(wrap_sub<V>(v, lo)) * n / span;
    } else {
        const auto u = [](V x) { return static_cast<uint64_t>(x); };
        return (u(v) - u(lo)) * n / (u(hi) - u(lo));
    }
}

template <class Tag>
zvq_seq_status histogram_next(Rec& r) {
    using V = value_t<Tag>;
    if (r.next_pos != 0) return SEQ_END;
    const HistState<Tag>& st = state_of<HistState<Tag>>(r);
    const auto n = static_cast<uint32_t>(st.interval_count);
    zvq_memnull(r.chunk, uint64_t{n} * 8);
    Rec& op = *r.operand[0];
    for (;;) {
        const zvq_seq_status s = pull(op);
        if (s != SEQ_OK) {
            // The counts are published whatever ended the read.
            publish_singles(r, n);
            return s == SEQ_END ? SEQ_OK : s;
        }
        for (uint32_t i = 0; i < op.chunk_count; ++i) {
            const V v = value_at<V>(op, i);
            // A NaN is neither below the low bound nor at or above the high one.
            if (v < st.hist_min || v >= st.hist_max) return SEQ_BAD_ARGUMENT;
            const uint64_t k = interval_of<Tag>(v, st.hist_min, st.hist_max, n);
            // An index past the n counters would fall outside the delivered
            // slots; it is not counted.
            if (k < n) {
                const auto slot = static_cast<uint32_t>(k);
                set_value<uint64_t>(r, slot, value_at<uint64_t>(r, slot) + repeat_at(op, i));
            }
        }
    }
}

// The arguments are tested before the binding, so a refusal leaves the
// operand free. min >= max lets NaN bounds through.
template <class Tag>
zvq_seq_status histogram_make(Rec& r, Rec* input, value_t<Tag> min, value_t<Tag> max, int64_t n,
                              zvq_seq_next_fn next) {
    if (!has_type<Tag>(input)) return SEQ_TYPE_MISMATCH;
    if (n < 1 || n > int64_t{capacity<Uint8>} || min >= max) return SEQ_BAD_ARGUMENT;
    if (zvq_seq_status s = bind({input})) return s;
    init_record(r, shape_of<Uint8>, {next, zvq_seq_reset_unary_iterator}, {input});
    r.last_pos = static_cast<uint64_t>(n - 1);
    state_of<HistState<Tag>>(r) = {min, max, n};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_HISTOGRAM(name, Tag, ctype)                                                                     \
    zvq_seq_status zvq_seq_histogram_##name(zvq_seq_iterator* result, zvq_seq_iterator* input, ctype min,       \
                                            ctype max, int64_t n) {                                              \
        return zvq::histogram_make<zvq::Tag>(*result, input, min, max, n, zvq_seq_histogram_##name##_next);     \
    }
#define ZVQ_STAMP_HISTOGRAM_NEXT(name, Tag, ctype)                           \
    zvq_seq_status zvq_seq_histogram_##name##_next(zvq_seq_iterator* it) { \
        return zvq::histogram_next<zvq::Tag>(*it);                          \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_HISTOGRAM_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_HISTOGRAM)

}  // extern "C"
