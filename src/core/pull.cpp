// The public pull functions: how a caller reads the root of a tree.
#include <algorithm>
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

template <class Tag>
zvq_seq_status check_reader(const Rec& r) {
    if (!has_type<Tag>(&r)) return SEQ_TYPE_MISMATCH;
    if (checks_on() && r.bound) return SEQ_ALREADY_BOUND;
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status next_one(Rec& r, value_t<Tag>* out) {
    if (zvq_seq_status s = check_reader<Tag>(r)) return s;
    if (zvq_seq_status s = refill(r)) return s;
    const size_t w = value_width<Tag>(r);
    std::memcpy(out, r.chunk + r.chunk_pos * w, w);
    take(r, 1);
    return SEQ_OK;
}

// Expands runs. Delivers a whole remainder at once, as one-by-one reading
// would take it (256 elements for a repeat byte of 0).
template <class Tag>
zvq_seq_status get_many(Rec& r, value_t<Tag>* out, uint64_t* count) {
    if (zvq_seq_status s = check_reader<Tag>(r)) return s;
    const uint64_t n = *count;
    if (n == 0) {
        *count = 0;
        return SEQ_OK;
    }
    const size_t w = value_width<Tag>(r);
    auto* dst = reinterpret_cast<uint8_t*>(out);
    uint64_t got = 0;
    while (got < n) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(r, got, closes)) return s;
        if (closes) break;
        const uint64_t k = std::min<uint64_t>(stepwise_remainder(r), n - got);
        const uint8_t* src = r.chunk + r.chunk_pos * w;
        if constexpr (is_char<Tag>) {
            for (uint64_t j = 0; j < k; ++j) std::memcpy(dst + (got + j) * w, src, w);
        } else {
            const value_t<Tag> v = load<value_t<Tag>>(src);
            for (uint64_t j = 0; j < k; ++j) out[got + j] = v;
        }
        got += k;
        take_stepwise(r, static_cast<uint32_t>(k));
    }
    *count = got;
    return SEQ_OK;
}

// Slot-wise: a run comes out as one element, with its null flag.
template <class Tag>
zvq_seq_status get_nullable(Rec& r, value_t<Tag>* out, uint64_t* count, uint64_t* nulls) {
    if (zvq_seq_status s = check_reader<Tag>(r)) return s;
    const uint64_t n = *count;
    zvq_memnull(nulls, ((n + 63) / 64) * 8);
    if (n == 0) {
        *count = 0;
        return SEQ_OK;
    }
    const size_t w = value_width<Tag>(r);
    auto* dst = reinterpret_cast<uint8_t*>(out);
    uint64_t got = 0;
    while (got < n) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(r, got, closes)) {
            *count = got;
            return s;
        }
        if (closes) break;
        const uint64_t avail = r.chunk_count - r.chunk_pos;
        const uint64_t k = avail < n - got ? avail : n - got;
        std::memcpy(dst + got * w, r.chunk + r.chunk_pos * w, k * w);
        zvq_seq_copy_bitmap(nulls, static_cast<uint32_t>(got), r.null_bitmap, r.chunk_pos, static_cast<uint32_t>(k));
        got += k;
        r.chunk_pos = static_cast<uint16_t>(r.chunk_pos + k);
    }
    *count = got;
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_next_##name(zvq_seq_iterator* it, ctype* out) { return zvq::next_one<zvq::Tag>(*it, out); }
#define ZVQ_STAMP_GET(name, Tag, ctype)                                                   \
    zvq_seq_status zvq_seq_get_##name(zvq_seq_iterator* it, ctype* out, uint64_t* count) { \
        return zvq::get_many<zvq::Tag>(*it, out, count);                                   \
    }
#define ZVQ_STAMP_GET_NULLABLE(name, Tag, ctype)                                                            \
    zvq_seq_status zvq_seq_get_nullable_##name(zvq_seq_iterator* it, ctype* out, uint64_t* count,            \
                                               uint64_t* nulls) {                                            \
        return zvq::get_nullable<zvq::Tag>(*it, out, count, nulls);                                          \
    }

ZVQ_ALL_TYPES(ZVQ_STAMP_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_GET)
ZVQ_ALL_TYPES(ZVQ_STAMP_GET_NULLABLE)

}  // extern "C"
