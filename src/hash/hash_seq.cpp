// zvq_seq_hash: one 32-bit hash per run, optionally seeded by a second
// sequence of hashes.
#include "core/murmur.hpp"
#include "core/record.hpp"

namespace zvq {
namespace {

// The limit comes from the input's width; a narrow input would allow more
// runs than the uint4 result holds, so it stops at the result's capacity.
uint32_t hash_limit(const Rec& input) {
    const uint32_t limit = char_capacity(input.elem_size);
    return limit < capacity<Uint4> ? limit : capacity<Uint4>;
}

uint32_t hash_slot(const Rec& input, uint32_t seed) {
    return murmur_hash3_32(slot_ptr(input, input.chunk_pos), static_cast<int32_t>(input.elem_size), seed);
}

zvq_seq_status hash_next(Rec& r) {
    Rec& input = *r.operand[0];
    Rec* const seed = r.operand[1];
    const uint32_t limit = hash_limit(input);
    uint32_t i = 0;
    while (i < limit) {
        zvq_seq_status s = refill(input);
        if (s == SEQ_OK && seed != nullptr) s = refill(*seed);
        bool closes;
        if ((s = close_at_end(s, i, closes))) return s;
        if (closes) break;
        if (seed == nullptr) {
            // The whole run, however much of it a reader already took.
            const uint8_t n = current_repeat(input);
            set_value<uint32_t>(r, i, hash_slot(input, kHashSeed));
            set_repeat(r, i, n);
            r.next_pos += n;
            ++input.chunk_pos;
        } else {
            const uint8_t a = remainder(input);
            const uint8_t b = remainder(*seed);
            const uint8_t n = a < b ? a : b;
            set_value<uint32_t>(r, i, hash_slot(input, current<uint32_t>(*seed)));
            set_repeat(r, i, n);
            r.next_pos += n;
            take(input, n);
            take(*seed, n);
        }
        ++i;
    }
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

zvq_seq_status hash_make(Rec& result, Rec& input, Rec* seed) {
    if (seed != nullptr) {
        if (!has_type<Uint4>(seed)) return SEQ_TYPE_MISMATCH;
        if (checks_on() && seed->bound) return SEQ_ALREADY_BOUND;
        seed->bound = 1;
    }
    // A seed marked above stays marked.
    if (checks_on() && input.bound) return SEQ_ALREADY_BOUND;
    input.bound = 1;
    const zvq_seq_next_fn reset = seed != nullptr ? zvq_seq_reset_binary_iterator : zvq_seq_reset_unary_iterator;
    init_record(result, shape_of<Uint4>, {zvq_seq_hash_next, reset}, {&input, seed});
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_hash(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* seed) {
    return zvq::hash_make(*result, *input, seed);
}

zvq_seq_status zvq_seq_hash_next(zvq_seq_iterator* it) { return zvq::hash_next(*it); }

}  // extern "C"
