// reverse: a sequence back to front. One chunk is reversed run by run in the
// record's own chunk; anything longer is counted, read whole into a scratch
// buffer with runs expanded, reversed there, and served by turning this
// record into an in-memory source over the buffer.
#include <algorithm>
#include <cstring>

#include "core/known_count.hpp"
#include "core/record.hpp"

namespace zvq {
namespace {

// Swaps two elements of `width` bytes through a fixed local, piece by piece:
// a char element may be up to 65535 bytes wide.
void swap_bytes(uint8_t* a, uint8_t* b, size_t width) {
    uint8_t tmp[256];
    for (size_t done = 0; done < width; done += sizeof tmp) {
        const size_t k = std::min(sizeof tmp, width - done);
        std::memcpy(tmp, a + done, k);
        std::memcpy(a + done, b + done, k);
        std::memcpy(b + done, tmp, k);
    }
}

template <class Tag>
void reverse_in_place(uint8_t* items, uint64_t count, size_t width) {
    for (uint64_t i = 0, j = count - 1; i < count / 2; ++i, --j) {
        uint8_t* a = items + i * width;
        uint8_t* b = items + j * width;
        if constexpr (is_char<Tag>) {
            swap_bytes(a, b, width);
        } else {
            const auto x = load<value_t<Tag>>(a);
            std::memcpy(a, b, sizeof x);
            store(b, x);
        }
    }
}

// Get and Unget are the member's public zvq_seq_get_T and zvq_seq_unget_T,
// Reset its zvq_seq_reverse_T_reset.
template <class Tag, auto Get, auto Unget, zvq_seq_next_fn Reset>
struct Reverse {
    // Run j of the operand becomes run n - 1 - j, repeat byte and all.
    static void mirror_runs(Rec& r, const Rec& op) {
        const uint32_t n = op.chunk_count;
        const size_t w = value_width<Tag>(r);
        for (uint32_t j = 0; j < n; ++j) {
            std::memcpy(slot_ptr(r, n - 1 - j), slot_ptr(op, j), w);
            set_repeat(r, n - 1 - j, repeat_at(op, j));
        }
    }

    static zvq_seq_status read(Rec& op, uint8_t* items, uint64_t* count) {
        if constexpr (is_char<Tag>)
            return Get(&op, reinterpret_cast<char*>(items), count);
        else
            return Get(&op, reinterpret_cast<value_t<Tag>*>(items), count);
    }

    static zvq_seq_status become_source(Rec& r, const uint8_t* items, uint64_t count) {
        if constexpr (is_char<Tag>)
            return Unget(&r, reinterpret_cast<const char*>(items), count, r.elem_size);
        else
            return Unget(&r, reinterpret_cast<const value_t<Tag>*>(items), count);
    }

    // Reads the whole operand into the buffer and turns the record into a
    // source over it. `runs` is the first chunk, already mirrored.
    static zvq_seq_status long_way(Rec& r, Rec& op, uint16_t runs) {
        if (zvq_seq_status s = op.reset(&op)) return s;
        const uint64_t count = count_elements(op);
        // A buffer left by an earlier failed attempt is not referenced.
        zvq_seq_free_buffer(&r);
        auto* items = static_cast<uint8_t*>(zvq_seq_alloc_buffer(&r, count * value_width<Tag>(r)));
        if (items == nullptr) return SEQ_NOMEM;
        zvq_seq_status s = op.reset(&op);
        uint64_t got = count;
        if (s == SEQ_OK) s = read(op, items, &got);
        if (s != SEQ_OK || got < count) {
            zvq_seq_free_buffer(&r);
            if (s != SEQ_OK) return s;
            // The operand shrank between the two reads: serve the first chunk.
            r.chunk_count = runs;
            return SEQ_OK;
        }
        reverse_in_place<Tag>(items, count, value_width<Tag>(r));
        // unget's constructor clears bound, but a record that feeds another
        // stays bound for good.
        const uint8_t bound = r.bound;
        if (zvq_seq_status u = become_source(r, items, count)) return u;
        r.bound = bound;
        r.reset = Reset;
        return r.next(&r);
    }

    static zvq_seq_status next(Rec& r) {
        if (r.next_pos != 0) return SEQ_END;  // the short way has delivered
        Rec& op = *r.operand[0];
        zvq_seq_status s = pull(op);
        if (s != SEQ_OK) return s;
        const uint16_t runs = op.chunk_count;
        mirror_runs(r, op);
        if (pull(op) == SEQ_END) {
            r.chunk_count = runs;
            r.next_pos = op.next_pos;
            return SEQ_OK;
        }
        return long_way(r, op, runs);
    }
};

zvq_seq_status reverse_reset(Rec& r, zvq_seq_next_fn next) {
    zvq_seq_free_buffer(&r);
    r.next = next;
    r.reset = zvq_seq_reset_unary_iterator;
    return zvq_seq_reset_unary_iterator(&r);
}

template <class Tag>
zvq_seq_status reverse_make(Rec& r, Rec* op, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Tag>(op)) return s;
    init_record(r, shape_like<Tag>(*op), {next, zvq_seq_reset_unary_iterator}, {op});
    // The long way frees before it allocates, so the field must not be stale.
    r.buffer = nullptr;
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_REVERSE(name, Tag, ctype)                                                       \
    zvq_seq_status zvq_seq_reverse_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) { \
        return zvq::reverse_make<zvq::Tag>(*result, operand, zvq_seq_reverse_##name##_next);      \
    }
#define ZVQ_STAMP_REVERSE_NEXT(name, Tag, ctype)                                                             \
    zvq_seq_status zvq_seq_reverse_##name##_next(zvq_seq_iterator* it) {                                  \
        return zvq::Reverse<zvq::Tag, zvq_seq_get_##name, zvq_seq_unget_##name,                           \
                            zvq_seq_reverse_##name##_reset>::next(*it);                                   \
    }
#define ZVQ_STAMP_REVERSE_RESET(name, Tag, ctype)                             \
    zvq_seq_status zvq_seq_reverse_##name##_reset(zvq_seq_iterator* it) {  \
        return zvq::reverse_reset(*it, zvq_seq_reverse_##name##_next);      \
    }

ZVQ_ALL_TYPES(ZVQ_STAMP_REVERSE_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_REVERSE_RESET)
ZVQ_ALL_TYPES(ZVQ_STAMP_REVERSE)

}  // extern "C"
