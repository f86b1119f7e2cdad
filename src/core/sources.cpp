// Sources: the endless constant, the in-memory array and the sequence of
// sequences.
#include <cstring>

#include "core/known_count.hpp"
#include "core/record.hpp"

namespace zvq {
namespace {

// Widths that fit the record: a char constant lives in state, and elem_size
// is 16 bits.
constexpr uint64_t kMaxConstWidth = ZVQ_SEQ_STATE_SIZE;
constexpr uint64_t kMaxCharWidth = 0xFFFF;

// ---- const ---------------------------------------------------------------

template <class Tag>
zvq_seq_status const_next(Rec& r) {
    const uint32_t cap = capacity_of<Tag>(r);
    if (r.chunk_count == 0) {
        const uint32_t w = r.elem_size;
        for (uint32_t i = 0; i < cap; ++i) std::memcpy(r.chunk + i * w, r.state.bytes, w);
        std::memset(repeat_area(r, cap), 255, cap);
        r.chunk_count = static_cast<uint16_t>(cap);
    }
    r.next_pos += uint64_t{cap} * 255u;
    return SEQ_OK;
}

zvq_seq_status const_init(Rec& r, Shape shape, zvq_seq_next_fn next, const void* value) {
    init_record(r, shape, {next, zvq_seq_reset_iterator});
    std::memcpy(r.state.bytes, value, shape.elem_size);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status const_make(Rec& r, value_t<Tag> value, zvq_seq_next_fn next) {
    return const_init(r, shape_of<Tag>, next, &value);
}

zvq_seq_status const_make_char(Rec& r, const char* value, uint64_t width) {
    if (width > kMaxConstWidth) return SEQ_TYPE_MISMATCH;
    return const_init(r, char_shape(static_cast<uint32_t>(width)), zvq_seq_const_next_char, value);
}

// ---- unget ---------------------------------------------------------------

template <class Tag>
zvq_seq_status unget_next(Rec& r) {
    if (r.last_pos == kAllOnes) return SEQ_END;
    const uint64_t left = r.last_pos + 1 - r.next_pos;
    const uint64_t cap = capacity_of<Tag>(r);
    const uint32_t n = static_cast<uint32_t>(left < cap ? left : cap);
    if (n == 0) return SEQ_END;
    const uint32_t w = r.elem_size;
    std::memcpy(r.chunk, static_cast<const uint8_t*>(r.buffer) + r.next_pos * w, size_t{n} * w);
    std::memset(repeat_area(r, n), 1, n);
    r.chunk_count = static_cast<uint16_t>(n);
    r.next_pos += n;
    return SEQ_OK;
}

zvq_seq_status unget_init(Rec& r, Shape shape, zvq_seq_next_fn next, const void* items, uint64_t count) {
    init_record(r, shape, {next, zvq_seq_unget_reset});
    r.buffer = const_cast<void*>(items);
    r.buffer_size = count * shape.elem_size;
    r.last_pos = count - 1;  // all ones for an empty array
    return SEQ_OK;
}

zvq_seq_status unget_make_char(Rec& r, const char* items, uint64_t count, uint64_t width) {
    if (width > kMaxCharWidth) return SEQ_TYPE_MISMATCH;
    return unget_init(r, char_shape(static_cast<uint32_t>(width)), zvq_seq_unget_char_next, items, count);
}

// ---- join ----------------------------------------------------------------

struct JoinState {
    zvq_seq_meta_iterator* meta;
    uint32_t phase;  // 0 not started, 1 reading, 2 exhausted
};

enum : uint32_t { kJoinFresh = 0, kJoinReading = 1, kJoinDone = 2 };

zvq_seq_status join_init(Rec& r, Shape shape, zvq_seq_meta_iterator* meta) {
    init_record(r, shape, {zvq_seq_meta_iterator_next, zvq_seq_meta_iterator_reset});
    state_of<JoinState>(r) = {meta, kJoinFresh};
    return SEQ_OK;
}

zvq_seq_status join_next(Rec& r) {
    JoinState& st = state_of<JoinState>(r);
    zvq_seq_meta_iterator& meta = *st.meta;
    Rec& inner = meta.inner;
    const uint32_t cap = char_capacity(r.elem_size);
    zvq_seq_status s = SEQ_OK;
    switch (st.phase) {
        case kJoinDone:
            return SEQ_END;
        case kJoinFresh:
            if ((s = meta.first_sequence(&meta)) != SEQ_OK) return s;
            st.phase = kJoinReading;
            s = pull(inner);
            break;
        default:
            s = refill(inner);
            break;
    }
    uint32_t i = 0;
    for (;;) {
        if (s == SEQ_END) {
            // Step to the next inner sequence; it arrives with chunk_count 0
            // or a fresh chunk at chunk_pos 0.
            s = meta.next_sequence(&meta);
            if (s == SEQ_END) {
                st.phase = kJoinDone;
                if (i == 0) return SEQ_END;
                r.chunk_count = static_cast<uint16_t>(i);
                return SEQ_OK;
            }
            if (s != SEQ_OK) return s;
        } else if (s != SEQ_OK) {
            return s;
        }
        const uint32_t avail = exhausted(inner) ? 0u : uint32_t{inner.chunk_count} - inner.chunk_pos;
        const uint32_t k = cap - i < avail ? cap - i : avail;
        copy_runs(r, i, inner, inner.chunk_pos, k);
        for (uint32_t j = 0; j < k; ++j) r.next_pos += repeat_at(r, i + j);
        inner.chunk_pos = static_cast<uint16_t>(inner.chunk_pos + k);
        i += k;
        if (i == cap) {
            r.chunk_count = static_cast<uint16_t>(i);
            return SEQ_OK;
        }
        s = pull(inner);
    }
}

// An array knows its size: all ones + 1 counts an empty one 0.
uint64_t array_count(Rec& op) { return op.last_pos + 1; }

[[maybe_unused]] const bool counts_array = register_known_count(zvq_seq_unget_reset, array_count);

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_const_char(zvq_seq_iterator* result, const char* value, uint64_t width) {
    return zvq::const_make_char(*result, value, width);
}
zvq_seq_status zvq_seq_const_next_char(zvq_seq_iterator* it) { return zvq::const_next<zvq::Char>(*it); }
zvq_seq_status zvq_seq_unget_char(zvq_seq_iterator* result, const char* items, uint64_t count, uint64_t width) {
    return zvq::unget_make_char(*result, items, count, width);
}
zvq_seq_status zvq_seq_unget_reset(zvq_seq_iterator* it) { return zvq_seq_reset_iterator(it); }
zvq_seq_status zvq_seq_join_char(zvq_seq_iterator* result, zvq_seq_meta_iterator* meta, uint64_t width) {
    if (width > 0xFFFF) return SEQ_TYPE_MISMATCH;
    return zvq::join_init(*result, zvq::char_shape(static_cast<uint32_t>(width)), meta);
}
zvq_seq_status zvq_seq_meta_iterator_next(zvq_seq_iterator* it) { return zvq::join_next(*it); }
zvq_seq_status zvq_seq_meta_iterator_reset(zvq_seq_iterator* it) {
    zvq::state_of<zvq::JoinState>(*it).phase = zvq::kJoinFresh;
    return zvq_seq_reset_iterator(it);
}

#define ZVQ_STAMP_CONST(name, Tag, ctype)                                        \
    zvq_seq_status zvq_seq_const_##name(zvq_seq_iterator* result, ctype value) { \
        return zvq::const_make<zvq::Tag>(*result, value, zvq_seq_const_##name##_next); \
    }
#define ZVQ_STAMP_CONST_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_const_##name##_next(zvq_seq_iterator* it) { return zvq::const_next<zvq::Tag>(*it); }
#define ZVQ_STAMP_UNGET(name, Tag, ctype)                                                          \
    zvq_seq_status zvq_seq_unget_##name(zvq_seq_iterator* result, const ctype* items, uint64_t count) { \
        return zvq::unget_init(*result, zvq::shape_of<zvq::Tag>, zvq_seq_unget_##name##_next, items, count); \
    }
#define ZVQ_STAMP_UNGET_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_unget_##name##_next(zvq_seq_iterator* it) { return zvq::unget_next<zvq::Tag>(*it); }
#define ZVQ_STAMP_JOIN(name, Tag, ctype)                                                     \
    zvq_seq_status zvq_seq_join_##name(zvq_seq_iterator* result, zvq_seq_meta_iterator* meta) { \
        return zvq::join_init(*result, zvq::shape_of<zvq::Tag>, meta);                         \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_CONST_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_CONST)
ZVQ_ALL_TYPES(ZVQ_STAMP_UNGET_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_UNGET)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_JOIN)

}  // extern "C"
