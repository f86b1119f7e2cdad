// Text lists that read back element for element: {1,2,2,3} or 1,2,2,3, with
// spaces around items, equal neighbours folded into runs whose repeat bytes
// are written, next_pos in elements. The list ends at "}" or the zero byte.
// Numbers are read as strtod and strtoll/strtoull read them in base 10; a
// number out of range for the element type is malformed. char items are
// quoted or not, with the escapes parse_char reads.
//
// A malformed item ends the refill with SEQ_BAD_ARGUMENT and its byte offset
// kept for zvq_seq_text_error_offset; the cursor stays where the refill
// began, so a retry meets the same item.
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/record.hpp"
#include "core/run_source.hpp"
#include "elementwise/items.hpp"
#include "elementwise/scan.hpp"

namespace zvq {
namespace {

struct TextListState {
    const char* text;    // as the caller gave it: error offsets count from here
    const char* start;   // behind an opening brace
    const char* cursor;  // the next item
    uint64_t error_offset;
};

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

const char* skip_spaces(const char* p) {
    while (is_space(*p)) ++p;
    return p;
}

bool list_end(char c) { return c == '}' || c == '\0'; }

// Behind an item: spaces, then "," (consumed) or the list's end (kept).
// Anything else makes the item malformed.
bool item_tail(const char*& p) {
    p = skip_spaces(p);
    if (*p == ',') {
        ++p;
        return true;
    }
    return list_end(*p);
}

zvq_seq_status malformed(TextListState& st, const char* item) {
    st.error_offset = static_cast<uint64_t>(item - st.text);
    return SEQ_BAD_ARGUMENT;
}

// One number as the element type, or false: no number, or out of range.
template <class Tag>
bool read_number(const char* p, value_t<Tag>& out, size_t& used) {
    using V = value_t<Tag>;
    errno = 0;
    if constexpr (is_floating<Tag>) {
        double d;
        if (!scan::scan_number(p, d, used)) return false;
        if (errno == ERANGE && std::isinf(d)) return false;
        if (sizeof(V) == 4 && std::isfinite(d) && std::fabs(d) > FLT_MAX) return false;
        out = static_cast<V>(d);
    } else if constexpr (is_signed_int<Tag>) {
        long long v;
        if (!scan::scan_decimal(p, v, used) || errno == ERANGE) return false;
        if (v < std::numeric_limits<V>::min() || v > std::numeric_limits<V>::max()) return false;
        out = static_cast<V>(v);
    } else {
        unsigned long long v;
        if (!scan::scan_decimal(p, v, used) || errno == ERANGE) return false;
        // strtoull negates a signed number; of those only zero is in range.
        if (*skip_spaces(p) == '-' && v != 0) return false;
        if (v > std::numeric_limits<V>::max()) return false;
        out = static_cast<V>(v);
    }
    return true;
}

// Reads items into runs until the chunk holds its capacity and the next item
// would open another run. An item is decoded into its bytes first, so that
// numbers and byte strings fold by the same comparison.
template <class Tag>
zvq_seq_status from_text_next(zvq_seq_iterator* it) {
    Rec& r = *it;
    TextListState& st = state_of<TextListState>(r);
    const uint32_t cap = capacity_of<Tag>(r);
    const size_t w = value_width<Tag>(r);
    uint8_t item_bytes[ZVQ_SEQ_CHUNK_SIZE];
    const char* p = st.cursor;
    uint32_t i = 0;
    uint32_t count = 0;
    uint64_t elements = 0;
    for (;;) {
        p = skip_spaces(p);
        if (list_end(*p)) break;
        const char* item = p;
        const char* behind;
        if constexpr (is_char<Tag>) {
            items::Item decoded;
            if (!items::decode_item(p, static_cast<uint32_t>(w), item_bytes, decoded, items::Unquoted::ListItem))
                return malformed(st, item);
            std::memset(item_bytes + decoded.length, 0, w - decoded.length);
            behind = decoded.end;
        } else {
            value_t<Tag> v;
            size_t used;
            if (!read_number<Tag>(p, v, used)) return malformed(st, item);
            store(item_bytes, v);
            behind = p + used;
        }
        if (!item_tail(behind)) return malformed(st, item);
        if (count != 0 && count < 255 && std::memcmp(slot_ptr(r, i), item_bytes, w) == 0) {
            ++count;
        } else {
            if (count != 0) {
                set_repeat(r, i, static_cast<uint8_t>(count));
                if (++i == cap) {
                    count = 0;
                    break;  // the item opens the next refill
                }
            }
            std::memcpy(slot_ptr(r, i), item_bytes, w);
            count = 1;
        }
        ++elements;
        p = behind;
    }
    if (count != 0) set_repeat(r, i++, static_cast<uint8_t>(count));
    st.cursor = p;
    if (i == 0) return SEQ_END;
    r.chunk_count = static_cast<uint16_t>(i);
    r.next_pos += elements;
    return SEQ_OK;
}

// The reset of these sources, by which text_error_offset knows them.
zvq_seq_status from_text_reset(zvq_seq_iterator* it) {
    TextListState& st = state_of<TextListState>(*it);
    st.cursor = st.start;
    st.error_offset = kAllOnes;
    return zvq_seq_reset_iterator(it);
}

zvq_seq_status from_text_init(Rec& r, Shape shape, zvq_seq_next_fn next, const char* text) {
    if (text == nullptr) return SEQ_BAD_ARGUMENT;
    init_record(r, shape, {next, zvq_seq_from_text_reset});
    const char* start = skip_spaces(text);
    if (*start == '{') ++start;
    state_of<TextListState>(r) = {text, start, start, kAllOnes};
    return SEQ_OK;
}

zvq_seq_status from_text_char_init(Rec& r, const char* text, uint16_t width) {
    if (const zvq_seq_status s = char_width_status(width)) return s;
    return from_text_init(r, char_shape(width), from_text_next<Char>, text);
}

uint64_t error_offset(const Rec& r) {
    return r.reset == zvq_seq_from_text_reset ? state_of<TextListState>(r).error_offset : kAllOnes;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_from_text_reset(zvq_seq_iterator* it) { return zvq::from_text_reset(it); }
uint64_t zvq_seq_text_error_offset(const zvq_seq_iterator* record) { return zvq::error_offset(*record); }
zvq_seq_status zvq_seq_from_text_char(zvq_seq_iterator* result, const char* text, uint16_t width) {
    return zvq::from_text_char_init(*result, text, width);
}

#define ZVQ_STAMP_FROM_TEXT(name, Tag, ctype)                                                            \
    zvq_seq_status zvq_seq_from_text_##name(zvq_seq_iterator* result, const char* text) {               \
        return zvq::from_text_init(*result, zvq::shape_of<zvq::Tag>, zvq::from_text_next<zvq::Tag>, text); \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_FROM_TEXT)

}  // extern "C"
