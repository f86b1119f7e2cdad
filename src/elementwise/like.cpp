// like: SQL LIKE over each element of a char sequence, one flag per run.
//
// A text is the element's bytes up to its first zero byte or its width.
// In the pattern % is any run of bytes, _ one byte, and a backslash makes
// the next byte literal (a backslash at the end stands for itself).
//
// One matcher: a greedy scan that backtracks only to the last %, which is
// O(text x pattern) at worst and linear on the usual shapes, never
// exponential ('%a%a%a%b' over a long run of a's included). The constructor
// recognises a pattern that is one plain literal, alone, before a %, after a
// % or between two, and answers those by a compare or a memmem; the general
// scan gives the same answers on them.
#include <algorithm>
#include <cstring>

#include "core/unary.hpp"

namespace zvq {
namespace {

enum class Shape : uint8_t { General, Exact, Prefix, Suffix, Contains };

// The pattern stays the caller's; literal points into it.
struct LikeState {
    const char* pattern;
    const char* literal;
    uint32_t literal_len;
    Shape shape;
};

bool match_general(const char* pat, const uint8_t* text, size_t n) {
    size_t p = 0, t = 0;
    size_t star_p = SIZE_MAX, star_t = 0;
    while (t < n) {
        const char c = pat[p];
        if (c == '%') {
            star_p = ++p;
            star_t = t;
            continue;
        }
        if (c == '_') {
            ++p;
            ++t;
            continue;
        }
        if (c != '\0') {
            const bool escaped = c == '\\' && pat[p + 1] != '\0';
            if (static_cast<uint8_t>(escaped ? pat[p + 1] : c) == text[t]) {
                p += escaped ? 2 : 1;
                ++t;
                continue;
            }
        }
        // Mismatch: the last % swallows one more byte.
        if (star_p == SIZE_MAX) return false;
        p = star_p;
        t = ++star_t;
    }
    while (pat[p] == '%') ++p;
    return pat[p] == '\0';
}

inline bool like_match(const LikeState& st, const uint8_t* text, size_t n) {
    const size_t m = st.literal_len;
    switch (st.shape) {
        case Shape::Exact:
            return n == m && std::memcmp(text, st.literal, m) == 0;
        case Shape::Prefix:
            return n >= m && std::memcmp(text, st.literal, m) == 0;
        case Shape::Suffix:
            return n >= m && std::memcmp(text + n - m, st.literal, m) == 0;
        case Shape::Contains:
            return m == 0 || (n >= m && ::memmem(text, n, st.literal, m) != nullptr);
        case Shape::General:
            break;
    }
    return match_general(st.pattern, text, n);
}

struct LikeCell {
    static uint32_t bound(const Rec&) { return capacity<Uint1>; }

    static void put_many(Rec& r, uint32_t i, const Rec& op, uint32_t from, uint32_t n) {
        const LikeState& st = state_of<LikeState>(r);
        const size_t w = op.elem_size;
        for (uint32_t j = 0; j < n; ++j) {
            const uint8_t* text = slot_ptr(op, from + j);
            const void* zero = std::memchr(text, 0, w);
            const size_t len = zero ? static_cast<size_t>(static_cast<const uint8_t*>(zero) - text) : w;
            set_value<uint8_t>(r, i + j, like_match(st, text, len));
        }
    }
};

// Sorts a pattern into a shape: a literal with no wildcard and no backslash,
// with a % at neither end, one end or both ends. Anything else is General.
LikeState classify(const char* pattern) {
    const size_t len = std::strlen(pattern);
    const bool lead = len > 0 && pattern[0] == '%';
    const bool trail = len > (lead ? 1u : 0u) && pattern[len - 1] == '%';
    const char* lit = pattern + (lead ? 1 : 0);
    const size_t lit_len = len - (lead ? 1 : 0) - (trail ? 1 : 0);
    LikeState st{pattern, lit, static_cast<uint32_t>(lit_len), Shape::General};
    if (std::find_if(lit, lit + lit_len, [](char c) { return c == '%' || c == '_' || c == '\\'; }) != lit + lit_len ||
        lit_len > UINT32_MAX)
        return st;
    st.shape = lead && trail ? Shape::Contains : lead ? Shape::Suffix : trail ? Shape::Prefix : Shape::Exact;
    return st;
}

zvq_seq_status like_make(Rec& r, Rec* op, const char* pattern) {
    if (!has_type<Char>(op)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({op})) return s;
    if (pattern == nullptr) return SEQ_BAD_ARGUMENT;
    init_record(r, shape_of<Uint1>, {zvq_seq_like_next, zvq_seq_reset_unary_iterator}, {op});
    state_of<LikeState>(r) = classify(pattern);
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_like(zvq_seq_iterator* result, zvq_seq_iterator* operand, const char* pattern) {
    return zvq::like_make(*result, operand, pattern);
}
zvq_seq_status zvq_seq_like_next(zvq_seq_iterator* it) { return zvq::unary_cell_next<zvq::LikeCell>(*it); }

}  // extern "C"
