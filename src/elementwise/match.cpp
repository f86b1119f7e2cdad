// The matcher over char sequences: a pattern in the LIKE style (% any text,
// _ any byte, a backslash escapes in the wildcard mode), tested once per run
// into a boolean sequence. The constructor picks one of three matchers by
// the pattern's shape: exact, substring (%inner%, Boyer-Moore-Horspool), or
// the general wildcard match.
//
// The text of run i of a refill starts at byte i of the operand's value area,
// whatever the operand's width: for width 1 that is the value, for wider
// operands it is how this operator reads, and it stays so. A text is cut at
// the operand's width and at the chunk's end, so no match reads past the
// record.
#include <algorithm>
#include <cstring>

#include "core/unary.hpp"

namespace zvq {
namespace {

using MatchFn = int (*)(const char* const*, const char*, uint32_t);

// The matchers receive the address of `pattern` and reach the other fields
// from it, so it must stay first.
struct MatchState {
    const char* pattern;
    MatchFn match_fn;
    int32_t pattern_len;
    int32_t text_width;
    uint8_t skip_table[256];
};
static_assert(offsetof(MatchState, pattern) == 0);

const MatchState& matcher_of(const char* const* pattern_field) {
    return *reinterpret_cast<const MatchState*>(pattern_field);
}

// Bytes of the text a matcher may look at: the width, but never past the
// chunk that the text starts in.
int64_t text_limit(const MatchState& st, uint32_t chunk_pos) {
    return std::clamp<int64_t>(int64_t{ZVQ_SEQ_CHUNK_SIZE} - chunk_pos, 0, st.text_width);
}

int exact_match(const MatchState& st, const char* text, int64_t width) {
    const char* pattern = st.pattern;
    for (int64_t k = 0;; ++k) {
        const char t = k < width ? text[k] : '\0';
        if (pattern[k] != t) return 0;
        if (t == '\0') return 1;
    }
}

// Horspool over the inner text of %inner%. The table holds skips in a byte
// and leaves byte 255 at 0, so the search always moves on by at least one:
// a shorter skip never passes a match, it only costs a comparison.
int match_substring(const MatchState& st, const char* text, int64_t width) {
    const int64_t m = int64_t{st.pattern_len} - 2;
    if (m <= 0) return 1;  // %%: matches every text
    const char* inner = st.pattern + 1;
    int64_t e = m - 1;
    if (width <= e || text[e] == '\0') return 0;
    for (;;) {
        int64_t j = m - 1, k = e;
        while (j >= 0 && inner[j] == text[k]) --j, --k;
        if (j < 0) return 1;
        e += std::max<int64_t>(st.skip_table[static_cast<uint8_t>(text[e])], 1);
        if (e >= width || text[e] == '\0') return 0;
    }
}

// Wildcards with backtracking to the last %: on a mismatch the text that the
// last % swallowed grows by one byte and matching resumes behind the %.
int match_regex(const MatchState& st, const char* text, int64_t width) {
    const char* pattern = st.pattern;
    int64_t p = 0, t = 0;
    int64_t restart_p = -1, restart_t = 0;
    for (;;) {
        if (pattern[p] == '%') {
            restart_p = ++p;
            restart_t = t;
            continue;
        }
        if (t == width || text[t] == '\0') return pattern[p] == '\0';
        if (pattern[p] == '\\' && pattern[p + 1] != '\0') {
            if (pattern[p + 1] == text[t]) {
                p += 2;
                ++t;
                continue;
            }
        } else if (pattern[p] == text[t] || pattern[p] == '_') {
            ++p;
            ++t;
            continue;
        }
        if (restart_p < 0) return 0;
        t = ++restart_t;
        p = restart_p;
    }
}

struct MatchCell {
    static uint32_t bound(const Rec&) { return capacity<Uint1>; }

    // The text steps by the result's width, 1, from the operand chunk's start.
    static void put_many(Rec& r, uint32_t i, const Rec& op, uint32_t, uint32_t n) {
        const MatchState& st = state_of<MatchState>(r);
        for (uint32_t j = i; j < i + n; ++j)
            set_value<uint8_t>(r, j, static_cast<uint8_t>(st.match_fn(&st.pattern, reinterpret_cast<const char*>(op.chunk + j), j)));
    }
};

// Wildcards outside escapes; a backslash hides the byte behind it.
int count_wildcards(const char* pattern) {
    int n = 0;
    for (const char* p = pattern; *p != '\0'; ++p) {
        if (*p == '\\') {
            if (*++p == '\0') break;
        } else if (*p == '%' || *p == '_') {
            ++n;
        }
    }
    return n;
}

void build_skip_table(MatchState& st) {
    const int32_t m = st.pattern_len - 2;
    const char* inner = st.pattern + 1;
    std::memset(st.skip_table, static_cast<uint8_t>(m), 255);
    for (int32_t j = 0; j <= m - 2; ++j) st.skip_table[static_cast<uint8_t>(inner[j])] = static_cast<uint8_t>(m - 1 - j);
}

zvq_seq_status match_make(Rec& r, Rec* op, const char* pattern) {
    if (zvq_seq_status s = open_operands<Char>(op)) return s;
    if (pattern == nullptr) return SEQ_BAD_ARGUMENT;
    init_record(r, shape_of<Uint1>, {zvq_seq_match_next, zvq_seq_reset_unary_iterator}, {op});
    MatchState& st = state_of<MatchState>(r);
    st = MatchState{};
    st.pattern = pattern;
    st.pattern_len = static_cast<int32_t>(std::strlen(pattern));
    st.text_width = op->elem_size;
    const int wildcards = count_wildcards(pattern);
    if (wildcards == 0) {
        st.match_fn = zvq_seq_exact_match;
    } else if (wildcards == 2 && pattern[0] == '%' && pattern[st.pattern_len - 1] == '%') {
        st.match_fn = zvq_seq_match_substring;
        build_skip_table(st);
    } else {
        st.match_fn = zvq_seq_match_regex;
    }
    return SEQ_OK;
}

template <int (*Match)(const MatchState&, const char*, int64_t)>
int run_matcher(const char* const* pattern_field, const char* text, uint32_t chunk_pos) {
    const MatchState& st = matcher_of(pattern_field);
    return Match(st, text, text_limit(st, chunk_pos));
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_match(zvq_seq_iterator* result, zvq_seq_iterator* operand, const char* pattern) {
    return zvq::match_make(*result, operand, pattern);
}
zvq_seq_status zvq_seq_match_next(zvq_seq_iterator* it) { return zvq::unary_cell_next<zvq::MatchCell>(*it); }

int zvq_seq_exact_match(const char* const* pattern_field, const char* text, uint32_t chunk_pos) {
    return zvq::run_matcher<zvq::exact_match>(pattern_field, text, chunk_pos);
}
int zvq_seq_match_substring(const char* const* pattern_field, const char* text, uint32_t chunk_pos) {
    return zvq::run_matcher<zvq::match_substring>(pattern_field, text, chunk_pos);
}
int zvq_seq_match_regex(const char* const* pattern_field, const char* text, uint32_t chunk_pos) {
    return zvq::run_matcher<zvq::match_regex>(pattern_field, text, chunk_pos);
}

}  // extern "C"
