// order_by: a column delivered in the order of a permutation, such as one
// that sort computed from a key column. The first next reads the whole input
// into a buffer (runs expanded) unless the caller handed one over; every run
// delivered has repeat byte 1.
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

struct OrderByState {
    const uint64_t* permutation;  // the caller's, n entries
    uint64_t count;               // n
};

// Get is the member's zvq_seq_get_T: reading through it is where the input's
// type and binding are checked.
template <class Tag, auto Get>
zvq_seq_status order_by_next(Rec& r) {
    const OrderByState& st = state_of<OrderByState>(r);
    const uint64_t n = st.count;
    const uint64_t cap = capacity_of<Tag>(r);
    const uint64_t take = r.next_pos + cap > n ? n - r.next_pos : cap;
    if (take == 0) return SEQ_END;
    const size_t w = value_width<Tag>(r);
    if (r.buffer == nullptr) {
        if (w != 0 && n > ~uint64_t{0} / w) return SEQ_NOMEM;  // no such block
        auto* items = static_cast<uint8_t*>(zvq_seq_alloc_buffer(&r, n * w));
        if (items == nullptr) return SEQ_NOMEM;
        // A short or failed read leaves a tail that the permutation may
        // still point at: zeros there, not the allocator's leftovers.
        std::memset(items, 0, n * w);
        r.reset = zvq_seq_order_by_reset;
        uint64_t got = n;
        if (zvq_seq_status s = Get(r.operand[0], reinterpret_cast<value_t<Tag>*>(items), &got)) return s;
    }
    const auto* items = static_cast<const uint8_t*>(r.buffer);
    const uint64_t* order = st.permutation + r.next_pos;
    // An entry is checked against n before anything is written: the buffer
    // holds n elements and nothing beyond it may be read.
    for (uint64_t k = 0; k < take; ++k)
        if (order[k] >= n) return SEQ_BAD_ARGUMENT;
    for (uint64_t k = 0; k < take; ++k) std::memcpy(r.chunk + k * w, items + order[k] * w, w);
    publish_singles(r, static_cast<uint32_t>(take));
    return SEQ_OK;
}

// No binding test and the input is not bound: the read in next checks it.
template <class Tag>
zvq_seq_status order_by_make(Rec& r, Rec* input, const uint64_t* permutation, uint64_t n, const void* buffer,
                             zvq_seq_next_fn next) {
    if (!has_type<Tag>(input)) return SEQ_TYPE_MISMATCH;
    const Shape shape = shape_like<Tag>(*input);
    init_record(r, shape, {next, zvq_seq_reset_unary_iterator}, {input});
    r.last_pos = n - 1;  // all ones for n of 0
    r.buffer = const_cast<void*>(buffer);
    r.buffer_size = n * shape.elem_size;
    state_of<OrderByState>(r) = {permutation, n};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_ORDER_BY(name, Tag, ctype)                                                                    \
    zvq_seq_status zvq_seq_order_by_##name(zvq_seq_iterator* result, zvq_seq_iterator* input,                 \
                                           const uint64_t* permutation, uint64_t n, const ctype* buffer) {     \
        return zvq::order_by_make<zvq::Tag>(*result, input, permutation, n, buffer, zvq_seq_order_by_##name##_next); \
    }
#define ZVQ_STAMP_ORDER_BY_NEXT(name, Tag, ctype)                                    \
    zvq_seq_status zvq_seq_order_by_##name##_next(zvq_seq_iterator* it) {            \
        return zvq::order_by_next<zvq::Tag, zvq_seq_get_##name>(*it);                 \
    }

ZVQ_ALL_TYPES(ZVQ_STAMP_ORDER_BY_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_ORDER_BY)

// Installed by the first next that allocates: a caller's buffer is neither
// freed nor read again.
zvq_seq_status zvq_seq_order_by_reset(zvq_seq_iterator* it) {
    zvq_seq_free_buffer(it);
    return zvq_seq_reset_unary_iterator(it);
}

}  // extern "C"
