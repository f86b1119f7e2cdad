// Joining two sequences into fixed-width strings: add_char joins the texts
// (each ends at its first zero byte), cat joins the raw value bytes of any
// two types. The result width is the sum of the operands' widths, at most 32.
#include <cstring>

#include "elementwise/binary.hpp"

namespace zvq {
namespace {

constexpr uint32_t kMaxJoinedWidth = 32;

// The text of left, then the text of right behind it, zero bytes up to the
// width: the padding of both moves to the end.
struct JoinText {
    static void apply(uint8_t* out, uint32_t width, const uint8_t* a, uint32_t aw, const uint8_t* b, uint32_t bw) {
        uint32_t n = 0;
        for (uint32_t j = 0; j < aw && a[j] != 0; ++j) out[n++] = a[j];
        for (uint32_t j = 0; j < bw && b[j] != 0; ++j) out[n++] = b[j];
        std::memset(out + n, 0, width - n);
    }
};

// The value bytes exactly as they stand, padding included.
struct JoinBytes {
    static void apply(uint8_t* out, uint32_t, const uint8_t* a, uint32_t aw, const uint8_t* b, uint32_t bw) {
        std::memcpy(out, a, aw);
        std::memcpy(out + aw, b, bw);
    }
};

uint32_t joined_width(const Rec* left, const Rec* right) { return uint32_t{left->elem_size} + right->elem_size; }

zvq_seq_status join_make(Rec& r, Rec* left, Rec* right, zvq_seq_next_fn next) {
    if (joined_width(left, right) > kMaxJoinedWidth) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({left, right})) return s;
    init_record(r, char_shape(joined_width(left, right)), {next, zvq_seq_reset_binary_iterator}, {left, right});
    return SEQ_OK;
}

zvq_seq_status add_char_make(Rec& r, Rec* left, Rec* right) {
    if (!has_type<Char>(left) || !has_type<Char>(right)) return SEQ_TYPE_MISMATCH;
    return join_make(r, left, right, zvq_seq_add_char_next);
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_add_char_next(zvq_seq_iterator* it) {
    return zvq::binary_next<zvq::TextCell<zvq::JoinText>>(*it);
}
zvq_seq_status zvq_seq_add_char(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right) {
    return zvq::add_char_make(*result, left, right);
}
zvq_seq_status zvq_seq_cat_next(zvq_seq_iterator* it) { return zvq::binary_next<zvq::TextCell<zvq::JoinBytes>>(*it); }
zvq_seq_status zvq_seq_cat(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right) {
    return zvq::join_make(*result, left, right, zvq_seq_cat_next);
}

}  // extern "C"
