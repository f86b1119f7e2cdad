// cross reports where a sequence changes sign, extrema where it turns. Both
// take a run in one step, whatever its length, and publish positions (runs
// expanded, counted from 0 at the start of the input) as a uint8 sequence.
#include <cstdint>

#include "core/arith.hpp"
#include "core/record.hpp"

namespace zvq {
namespace {

// The driver of both families. A rule sees one run at a time:
//     explicit Rule(Rec&)                 loads what it keeps from the state
//     bool step(V v, uint8_t r, uint64_t& position_out)   true to report one
//     void save(Rec&)                     the state of a published chunk
// The rule's fields are written back only when a chunk is published, so a
// failing or empty refill leaves the state of the last return.
template <class Tag, class Rule>
zvq_seq_status scan_positions(Rec& r) {
    using V = value_t<Tag>;
    Rec& op = *r.operand[0];
    Rule rule(r);
    uint32_t count = 0;
    while (count < kPositionCapacity) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, count, closes)) return s;
        if (closes) break;
        uint32_t j = op.chunk_pos;
        const uint32_t n = op.chunk_count;
        for (; j < n && count < kPositionCapacity; ++j) {
            uint64_t position;
            if (rule.step(value_at<V>(op, j), repeat_at(op, j), position)) set_value<uint64_t>(r, count++, position);
        }
        op.chunk_pos = static_cast<uint16_t>(j);
    }
    publish_singles(r, count);
    rule.save(r);
    return SEQ_OK;
}

// ---- cross ---------------------------------------------------------------

struct CrossState {
    uint64_t position;  // of the next element
    int32_t cross_direction;
    int32_t last_sign;  // of the last element that was not zero
    int32_t zero_run;   // elements of the current flat stretch
};

// 1 above zero, -1 below, 0 otherwise: a NaN is flat, a datetime never negative.
template <class Tag>
inline int32_t sign_of(value_t<Tag> x) {
    using V = value_t<Tag>;
    if constexpr (is_unsigned_int<Tag>)
        return x != V(0);
    else
        return x > V(0) ? 1 : (x < V(0) ? -1 : 0);
}

// zero_run is not among the fields saved with a chunk: it lives in the state
// and keeps what a failed refill added. A flat stretch that comes back to the
// same sign stays in it until the next crossing, which is reported that much
// earlier.
template <class Tag>
struct CrossRule {
    uint64_t position;
    int32_t last_sign;
    int32_t direction;
    bool all;  // from the second published chunk on, crossings of both directions
    int32_t& zero_run;

    explicit CrossRule(Rec& r)
        : position(state_of<CrossState>(r).position),
          last_sign(state_of<CrossState>(r).last_sign),
          direction(state_of<CrossState>(r).cross_direction),
          all(r.next_pos != 0 || direction == 0),
          zero_run(state_of<CrossState>(r).zero_run) {}

    bool step(value_t<Tag> x, uint8_t repeat, uint64_t& out) {
        const int32_t s = sign_of<Tag>(x);
        bool crossed = false;
        if (s != last_sign) {
            if (s == 0) {
                zero_run = wrap_add<int32_t>(zero_run, repeat);
            } else {
                crossed = last_sign != 0 && (all || direction == s);
                out = position - static_cast<uint64_t>(static_cast<int64_t>(zero_run));
                zero_run = 0;
                last_sign = s;
            }
        }
        position += repeat;
        return crossed;
    }

    void save(Rec& r) const {
        CrossState& st = state_of<CrossState>(r);
        st.position = position;
        st.last_sign = last_sign;
    }
};

template <class Tag>
zvq_seq_status cross_make(Rec& r, Rec* input, int32_t direction, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Tag>(input)) return s;
    init_record(r, shape_of<Uint8>, {next, zvq_seq_cross_reset_iterator}, {input});
    state_of<CrossState>(r) = {0, direction, 0, 0};
    return SEQ_OK;
}

// The unsigned members never change sign; they exist only to refuse.
inline zvq_seq_status cross_refused() { return SEQ_NOT_SUPPORTED; }

// ---- extrema -------------------------------------------------------------

template <class Tag>
struct ExtremaState {
    int32_t extremum_kind;
    int32_t trend;  // -1 falling, 1 rising, 0 not known yet
    value_t<Tag> prev_value;
    uint64_t position;  // of the next element
};

// A turn is reported at the last element before the reversing one, so on a
// plateau at its last element; a flat step (equal, or a NaN on either side)
// never changes the trend. The kind is compared with the trend that ended.
template <class Tag>
struct ExtremaRule {
    using V = value_t<Tag>;
    int32_t kind;
    int32_t trend;
    V prev;
    uint64_t position;
    bool first;  // nothing published yet: no previous value to compare

    explicit ExtremaRule(const Rec& r)
        : kind(state_of<ExtremaState<Tag>>(r).extremum_kind),
          trend(state_of<ExtremaState<Tag>>(r).trend),
          prev(state_of<ExtremaState<Tag>>(r).prev_value),
          position(state_of<ExtremaState<Tag>>(r).position),
          first(r.next_pos == 0) {}

    bool step(V x, uint8_t repeat, uint64_t& out) {
        bool turned = false;
        if (!first) {
            const int32_t c = prev > x ? -1 : (x > prev ? 1 : 0);
            if (c != 0 && trend != 0 && c != trend) {
                turned = kind == 0 || kind == trend;
                out = position - 1;
            }
            if (c != 0) trend = c;
        }
        first = false;
        prev = x;
        position += repeat;
        return turned;
    }

    void save(Rec& r) const {
        ExtremaState<Tag>& st = state_of<ExtremaState<Tag>>(r);
        st.trend = trend;
        st.prev_value = prev;
        st.position = position;
    }
};

template <class Tag>
zvq_seq_status extrema_make(Rec& r, Rec* input, int32_t kind, zvq_seq_next_fn next, zvq_seq_next_fn reset) {
    if (zvq_seq_status s = open_operands<Tag>(input)) return s;
    init_record(r, shape_of<Uint8>, {next, reset}, {input});
    ExtremaState<Tag>& st = state_of<ExtremaState<Tag>>(r);
    st.extremum_kind = kind;
    st.trend = 0;
    st.position = 0;
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status extrema_reset(Rec& r) {
    ExtremaState<Tag>& st = state_of<ExtremaState<Tag>>(r);
    st.trend = 0;
    st.position = 0;
    return zvq_seq_reset_unary_iterator(&r);
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_cross_reset_iterator(zvq_seq_iterator* it) {
    auto& st = zvq::state_of<zvq::CrossState>(*it);
    st.last_sign = 0;
    st.zero_run = 0;
    st.position = 0;
    return zvq_seq_reset_unary_iterator(it);
}

#define ZVQ_STAMP_CROSS(name, Tag, ctype)                                                                       \
    zvq_seq_status zvq_seq_cross_##name(zvq_seq_iterator* result, zvq_seq_iterator* input, int32_t direction) { \
        return zvq::cross_make<zvq::Tag>(*result, input, direction, zvq_seq_cross_##name##_next);               \
    }
#define ZVQ_STAMP_CROSS_NEXT(name, Tag, ctype)                               \
    zvq_seq_status zvq_seq_cross_##name##_next(zvq_seq_iterator* it) {       \
        return zvq::scan_positions<zvq::Tag, zvq::CrossRule<zvq::Tag>>(*it); \
    }
#define ZVQ_STAMP_CROSS_REFUSED(name, Tag, ctype) \
    zvq_seq_status zvq_seq_cross_##name(zvq_seq_iterator*, zvq_seq_iterator*, int32_t) { return zvq::cross_refused(); }
#define ZVQ_STAMP_EXTREMA(name, Tag, ctype)                                                                  \
    zvq_seq_status zvq_seq_extrema_##name(zvq_seq_iterator* result, zvq_seq_iterator* input, int32_t kind) { \
        return zvq::extrema_make<zvq::Tag>(*result, input, kind, zvq_seq_extrema_##name##_next,              \
                                           zvq_seq_extrema_##name##_reset_iterator);                         \
    }
#define ZVQ_STAMP_EXTREMA_NEXT(name, Tag, ctype)                               \
    zvq_seq_status zvq_seq_extrema_##name##_next(zvq_seq_iterator* it) {       \
        return zvq::scan_positions<zvq::Tag, zvq::ExtremaRule<zvq::Tag>>(*it); \
    }
#define ZVQ_STAMP_EXTREMA_RESET(name, Tag, ctype)                                  \
    zvq_seq_status zvq_seq_extrema_##name##_reset_iterator(zvq_seq_iterator* it) { \
        return zvq::extrema_reset<zvq::Tag>(*it);                                  \
    }

ZVQ_SIGNED_INT_TYPES(ZVQ_STAMP_CROSS_NEXT)
ZVQ_FLOAT_TYPES(ZVQ_STAMP_CROSS_NEXT)
ZVQ_DATETIME_TYPE(ZVQ_STAMP_CROSS_NEXT)
ZVQ_SIGNED_INT_TYPES(ZVQ_STAMP_CROSS)
ZVQ_FLOAT_TYPES(ZVQ_STAMP_CROSS)
ZVQ_DATETIME_TYPE(ZVQ_STAMP_CROSS)
ZVQ_UNSIGNED_INT_TYPES(ZVQ_STAMP_CROSS_REFUSED)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_EXTREMA_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_EXTREMA_RESET)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_EXTREMA)

}  // extern "C"
