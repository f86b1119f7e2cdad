// Stream plumbing: thin, repeat, limit, tee, concat, rle_decode, skip_nan.
// None of these computes on values; most pass runs through unexpanded.
#include <cmath>
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

// Copies the whole chunk of src (chunk_count runs) into r.
void copy_chunk(Rec& r, const Rec& src) {
    copy_runs(r, 0, src, 0, src.chunk_count);
    r.chunk_count = src.chunk_count;
}

// ---- thin ----------------------------------------------------------------

struct ThinState {
    uint64_t thin_start;
    uint64_t thin_step;
    uint64_t source_pos;  // operand position at its (chunk_pos, run_pos)
};

template <class Tag>
zvq_seq_status thin_make(Rec& r, Rec* op, uint64_t start, uint64_t step, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Tag>(op)) return s;
    init_record(r, shape_of_record(*op), {next, zvq_seq_reset_unary_iterator}, {op});
    state_of<ThinState>(r) = {start, step, 0};
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status thin_next(Rec& r) {
    Rec& op = *r.operand[0];
    ThinState& st = state_of<ThinState>(r);
    const uint32_t cap = capacity_of<Tag>(r);
    const uint32_t w = r.elem_size;
    uint64_t target = st.thin_start + st.thin_step * r.next_pos;
    uint32_t i = 0;
    for (;;) {
        // Skip whole chunks by next_pos without looking at them. An exhausted
        // chunk is pulled too, which only happens when repeat bytes and
        // next_pos disagree (a repeat of 0) and keeps reads inside the chunk.
        while (target >= op.next_pos || exhausted(op)) {
            st.source_pos = op.next_pos;
            op.run_pos = 0;  // the rest of a partly taken run is skipped with its chunk
            bool closes;
            if (const zvq_seq_status s = close_at_end(pull(op), i, closes)) return s;
            if (closes) {
                r.next_pos += i;
                r.chunk_count = static_cast<uint16_t>(i);
                return SEQ_OK;
            }
        }
        for (;;) {
            const uint64_t run_end = st.source_pos - op.run_pos + current_repeat(op);
            if (target < run_end) break;
            st.source_pos = run_end;
            next_run(op);
            if (exhausted(op)) break;
        }
        if (exhausted(op)) continue;
        std::memcpy(r.chunk + i * w, op.chunk + op.chunk_pos * w, w);
        set_repeat(r, i, 1);
        // Keep source_pos at the element (chunk_pos, run_pos) designates.
        op.run_pos = static_cast<uint8_t>(op.run_pos + (target - st.source_pos));
        st.source_pos = target;
        ++i;
        target += st.thin_step;
        if (i == cap) {
            r.next_pos += i;
            r.chunk_count = static_cast<uint16_t>(i);
            return SEQ_OK;
        }
    }
}

// ---- repeat --------------------------------------------------------------

struct RepeatState {
    int64_t repeat_count;
};

template <class Tag>
zvq_seq_status repeat_make(Rec& r, Rec* op, int32_t count, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Tag>(op)) return s;
    init_record(r, shape_of_record(*op), {next, zvq_seq_reset_repeat_iterator}, {op});
    state_of<RepeatState>(r).repeat_count = count;
    return SEQ_OK;
}

// Multiplies repeat bytes in 8 bits; the wrap (128 x 2 = 0) is the result.
zvq_seq_status repeat_next(Rec& r) {
    Rec& op = *r.operand[0];
    if (zvq_seq_status s = pull(op)) return s;
    const uint32_t n = op.chunk_count;
    const auto factor = static_cast<uint64_t>(state_of<RepeatState>(r).repeat_count);
    std::memcpy(r.chunk, op.chunk, size_t{n} * r.elem_size);
    const uint8_t* src = repeat_area(op, n);
    uint8_t* dst = repeat_area(r, n);
    for (uint32_t j = 0; j < n; ++j) dst[j] = static_cast<uint8_t>(src[j] * factor);
    r.chunk_count = static_cast<uint16_t>(n);
    r.next_pos = factor * op.next_pos;
    return SEQ_OK;
}

// ---- limit ---------------------------------------------------------------

// Operand positions count from the operand's own first_pos. An operand that
// has not reached its first position yet (a fresh limit) has served none.
uint64_t position_count(const Rec& op) { return op.next_pos > op.first_pos ? op.next_pos - op.first_pos : 0; }

zvq_seq_status limit_next(Rec& r) {
    Rec& op = *r.operand[0];
    uint64_t skip = 0;
    if (r.next_pos < r.first_pos) {
        uint64_t start = 0;
        while (exhausted(op) || position_count(op) <= r.first_pos) {
            start = position_count(op);
            if (zvq_seq_status s = pull(op)) return s;
        }
        uint32_t idx = op.chunk_pos;
        while (idx + 1u < op.chunk_count && start + repeat_at(op, idx) <= r.first_pos) start += repeat_at(op, idx++);
        op.chunk_pos = static_cast<uint16_t>(idx);
        r.next_pos = r.first_pos;
        skip = r.first_pos - start;
    }
    const uint32_t cap = char_capacity(r.elem_size);
    if (cap == 0 || r.last_pos < r.next_pos) return SEQ_END;
    const uint32_t w = r.elem_size;
    for (uint32_t i = 0; i < cap; ++i) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, i, closes)) return s;
        if (closes) {
            r.chunk_count = static_cast<uint16_t>(i);
            return SEQ_OK;
        }
        std::memcpy(r.chunk + i * w, op.chunk + op.chunk_pos * w, w);
        const uint8_t rep = static_cast<uint8_t>(current_repeat(op) - (i == 0 ? skip : 0));
        set_repeat(r, i, rep);
        r.next_pos += rep;
        ++op.chunk_pos;
        if (r.next_pos > r.last_pos) {
            set_repeat(r, i, static_cast<uint8_t>(rep - (r.next_pos - (r.last_pos + 1))));
            r.next_pos = r.last_pos + 1;
            r.chunk_count = static_cast<uint16_t>(i + 1);
            return SEQ_OK;
        }
    }
    r.chunk_count = static_cast<uint16_t>(cap);
    return SEQ_OK;
}

// ---- tee -----------------------------------------------------------------

// The reader that is behind gets the chunk its twin holds now; nothing is
// queued, so readers must pull in turn.
zvq_seq_status tee_next(Rec& r) {
    Rec& twin = *r.operand[1];
    if (twin.next_pos > r.next_pos) {
        copy_chunk(r, twin);
        r.next_pos = twin.next_pos;
        return SEQ_OK;
    }
    Rec& src = *r.operand[0];
    if (zvq_seq_status s = pull(src)) return s;
    copy_chunk(r, src);
    r.next_pos = src.next_pos;
    return SEQ_OK;
}

// ---- concat --------------------------------------------------------------

struct ConcatState {
    uint32_t first_active;
};

zvq_seq_status concat_next(Rec& r) {
    ConcatState& st = state_of<ConcatState>(r);
    if (st.first_active) {
        Rec& first = *r.operand[0];
        const zvq_seq_status s = pull(first);
        if (s == SEQ_OK) {
            copy_chunk(r, first);
            r.next_pos = first.next_pos;
            return SEQ_OK;
        }
        if (s != SEQ_END) return s;
        st.first_active = 0;
    }
    Rec& second = *r.operand[1];
    const uint64_t before = second.next_pos;
    if (zvq_seq_status s = pull(second)) return s;
    copy_chunk(r, second);
    r.next_pos += second.next_pos - before;
    return SEQ_OK;
}

// ---- rle_decode ----------------------------------------------------------

// One slot per element, for slot-wise readers; at most 128 slots (the null
// bitmap's reach) and never more than the chunk's value area holds. Repeat
// bytes are deliberately left unwritten.
zvq_seq_status rle_decode_next(Rec& r) {
    Rec& op = *r.operand[0];
    const uint32_t w = r.elem_size;
    const uint32_t cap = char_capacity(w);
    const uint32_t limit = cap < 128 ? cap : 128;
    if (limit == 0) return SEQ_END;
    uint32_t i = 0;
    for (;;) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, i, closes)) return s;
        if (closes) break;
        std::memcpy(r.chunk + i * w, op.chunk + op.chunk_pos * w, w);
        take(op, 1);
        if (++i == limit) break;
    }
    r.next_pos += i;
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

// ---- skip_nan ------------------------------------------------------------

struct SkipNanState {
    uint64_t reserved;
    uint64_t pending_count;
};
ZVQ_ASSERT_PENDING_COUNT(SkipNanState);

template <class Tag>
zvq_seq_status skip_nan_make(Rec& r, Rec* op, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Tag>(op)) return s;
    init_record(r, shape_of<Tag>, {next, zvq_seq_reset_unary_agg_iterator}, {op});
    state_of<SkipNanState>(r).pending_count = 0;
    return SEQ_OK;
}

// Whole runs in, NaN runs dropped. next_pos counts output runs, not elements.
template <class Tag>
zvq_seq_status skip_nan_next(Rec& r) {
    using V = value_t<Tag>;
    Rec& op = *r.operand[0];
    uint32_t i = 0;
    while (i < capacity<Tag>) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, i, closes)) return s;
        if (closes) break;
        const V v = current<V>(op);
        if (!std::isnan(v)) {
            set_value<V>(r, i, v);
            set_repeat(r, i, current_repeat(op));
            ++i;
        }
        ++op.chunk_pos;
    }
    r.next_pos += i;
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_reset_repeat_iterator(zvq_seq_iterator* it) { return zvq_seq_reset_unary_iterator(it); }

zvq_seq_status zvq_seq_limit(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t from, uint64_t to) {
    if (zvq_seq_status s = zvq::bind({operand})) return s;
    zvq::init_record(*result, zvq::shape_of_record(*operand), {zvq_seq_limit_next, zvq_seq_reset_unary_agg_iterator},
                     {operand});
    result->first_pos = from;
    result->last_pos = to;
    zvq::set_pending_count(*result, 0);
    return SEQ_OK;
}
zvq_seq_status zvq_seq_limit_next(zvq_seq_iterator* it) { return zvq::limit_next(*it); }

zvq_seq_status zvq_seq_tee(zvq_seq_iterator* first, zvq_seq_iterator* second, zvq_seq_iterator* source) {
    if (zvq_seq_status s = zvq::bind({source})) return s;
    const zvq::Fns fns{zvq_seq_tee_next, zvq_seq_reset_tee_iterator};
    zvq::init_record(*first, zvq::shape_of_record(*source), fns, {source, second});
    zvq::init_record(*second, zvq::shape_of_record(*source), fns, {source, first});
    return SEQ_OK;
}
zvq_seq_status zvq_seq_tee_next(zvq_seq_iterator* it) { return zvq::tee_next(*it); }
zvq_seq_status zvq_seq_reset_tee_iterator(zvq_seq_iterator* it) {
    zvq_seq_iterator* twin = it->operand[1];
    twin->chunk_pos = 0;
    twin->chunk_count = 0;
    twin->run_pos = 0;
    twin->next_pos = 0;
    return zvq_seq_reset_unary_iterator(it);
}

zvq_seq_status zvq_seq_concat(zvq_seq_iterator* result, zvq_seq_iterator* first, zvq_seq_iterator* second) {
    if (first->elem_type != second->elem_type) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = zvq::bind({first, second})) return s;
    zvq::init_record(*result, zvq::shape_of_record(*first), {zvq_seq_concat_next, zvq_seq_concat_reset},
                     {first, second});
    zvq::state_of<zvq::ConcatState>(*result).first_active = 1;
    return SEQ_OK;
}
zvq_seq_status zvq_seq_concat_next(zvq_seq_iterator* it) { return zvq::concat_next(*it); }
zvq_seq_status zvq_seq_concat_reset(zvq_seq_iterator* it) {
    zvq::state_of<zvq::ConcatState>(*it).first_active = 1;
    return zvq_seq_reset_binary_iterator(it);
}

zvq_seq_status zvq_seq_rle_decode(zvq_seq_iterator* result, zvq_seq_iterator* operand) {
    // Type and width are taken before the binding test.
    result->elem_type = operand->elem_type;
    result->elem_size = operand->elem_size;
    if (zvq_seq_status s = zvq::bind({operand})) return s;
    zvq::init_record(*result, zvq::shape_of_record(*operand), {zvq_seq_rle_decode_next, zvq_seq_reset_unary_iterator},
                     {operand});
    result->last_pos = operand->last_pos;
    return SEQ_OK;
}
zvq_seq_status zvq_seq_rle_decode_next(zvq_seq_iterator* it) { return zvq::rle_decode_next(*it); }

#define ZVQ_STAMP_THIN(name, Tag, ctype)                                                                  \
    zvq_seq_status zvq_seq_thin_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t start, \
                                       uint64_t step) {                                                   \
        return zvq::thin_make<zvq::Tag>(*result, operand, start, step, zvq_seq_thin_##name##_next);       \
    }
#define ZVQ_STAMP_THIN_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_thin_##name##_next(zvq_seq_iterator* it) { return zvq::thin_next<zvq::Tag>(*it); }
#define ZVQ_STAMP_REPEAT(name, Tag, ctype)                                                                \
    zvq_seq_status zvq_seq_repeat_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand, int32_t count) { \
        return zvq::repeat_make<zvq::Tag>(*result, operand, count, zvq_seq_repeat_##name##_next);        \
    }
#define ZVQ_STAMP_REPEAT_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_repeat_##name##_next(zvq_seq_iterator* it) { return zvq::repeat_next(*it); }
#define ZVQ_STAMP_SKIP_NAN(name, Tag, ctype)                                                         \
    zvq_seq_status zvq_seq_skip_nan_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) {     \
        return zvq::skip_nan_make<zvq::Tag>(*result, operand, zvq_seq_skip_nan_##name##_next);        \
    }
#define ZVQ_STAMP_SKIP_NAN_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_skip_nan_##name##_next(zvq_seq_iterator* it) { return zvq::skip_nan_next<zvq::Tag>(*it); }

ZVQ_ALL_TYPES(ZVQ_STAMP_THIN_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_THIN)
ZVQ_ALL_TYPES(ZVQ_STAMP_REPEAT_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_REPEAT)
ZVQ_FLOAT_TYPES(ZVQ_STAMP_SKIP_NAN_NEXT)
ZVQ_FLOAT_TYPES(ZVQ_STAMP_SKIP_NAN)

}  // extern "C"
