// Sources that read a sequence from a text such as {1,2,3}: numbers of one
// type, fixed-width strings with quotes, escapes and nulls, and any type
// through a caller's function per item. The text stays the caller's; the
// cursor walks it one refill at a time, and a malformed item leaves the
// cursor where the refill began.
#include <algorithm>
#include <cstring>
#include <type_traits>

#include "core/record.hpp"
#include "elementwise/items.hpp"
#include "elementwise/scan.hpp"

namespace zvq {
namespace {

using ParseFn = int (*)(const char* item, uint64_t* null_bitmap, uint32_t slot);

struct ParseState {
    const char* parse_cursor;
    const char* parse_start;
    ParseFn parse_fn;  // custom_parse only
};

bool at_end(const char* cursor) { return *cursor == '\0' || *cursor == '}'; }

// A constructor skips one leading brace and starts both pointers there.
void start_parse(Rec& r, Shape shape, zvq_seq_next_fn next, zvq_seq_next_fn reset, const char* text,
                 ParseFn fn = nullptr) {
    init_record(r, shape, {next, reset});
    if (*text == '{') ++text;
    state_of<ParseState>(r) = {text, text, fn};
}

// ---- numbers ---------------------------------------------------------------

// What each member scans, and how the value read becomes the element.
template <class Tag>
using scanned_t = std::conditional_t<
    is_floating<Tag>, double,
    std::conditional_t<is_signed_int<Tag>, std::conditional_t<sizeof(value_t<Tag>) == 8, long long, int>,
                       std::conditional_t<sizeof(value_t<Tag>) == 8, unsigned long long, unsigned>>>;

// Equal neighbours share a run, up to 255 elements. Only the last run's
// repeat byte is written (the others keep what stood in the chunk) and
// next_pos grows by runs, not elements: both kept as they are. Values are
// compared as read, before narrowing, so a NaN opens a run of its own.
template <class Tag>
zvq_seq_status parse_next(Rec& r) {
    using V = value_t<Tag>;
    using S = scanned_t<Tag>;
    ParseState& st = state_of<ParseState>(r);
    const char* cursor = st.parse_cursor;
    if (at_end(cursor)) return SEQ_END;
    uint32_t runs = 0;
    uint8_t count = 0;
    S run_value{};
    for (;;) {
        S v;
        size_t used;
        if (!scan::scan_number(cursor, v, used)) return SEQ_BAD_ARGUMENT;
        if (runs != 0 && v == run_value && count < 255) {
            ++count;
        } else {
            if (runs == capacity<Tag>) break;  // the cursor stays on this item
            set_value<V>(r, runs++, static_cast<V>(v));
            run_value = v;
            count = 1;
        }
        cursor += used;
        if (*cursor == ',') ++cursor;
        if (at_end(cursor)) break;
    }
    st.parse_cursor = cursor;
    r.chunk_count = static_cast<uint16_t>(runs);
    r.next_pos += runs;
    set_repeat(r, runs - 1, count);
    return SEQ_OK;
}

// ---- char ------------------------------------------------------------------

constexpr uint32_t kMaxItems = 128;  // the null_bitmap has one bit per slot
constexpr uint32_t kChunkBytes = ZVQ_SEQ_CHUNK_SIZE;

// Slots of this width that fit the chunk's bytes: no repeat bytes are
// written, so up to width 32 all 128 do.
uint32_t item_room(uint32_t width) { return width == 0 ? kMaxItems : std::min(kMaxItems, kChunkBytes / width); }

using items::decode_item;
using items::Item;

// "null" by zvq_memcmp, without reading past the text's end.
bool null_item(const char* p) {
    return p[0] != '\0' && p[1] != '\0' && p[2] != '\0' && zvq_memcmp(p, "null", 4) == 0;
}

zvq_seq_status finish_char_chunk(Rec& r, ParseState& st, const char* cursor, uint32_t count) {
    r.next_pos += count;
    st.parse_cursor = cursor;
    r.chunk_count = static_cast<uint16_t>(count);
    return count != 0 ? SEQ_OK : SEQ_END;
}

// One item per slot, no runs and no repeat bytes at all. A text ends at "}"
// or at an item that begins with the digit 0; the zero byte that ends the
// string makes an empty item, which leaves the cursor where it stands.
zvq_seq_status parse_char_next(Rec& r) {
    ParseState& st = state_of<ParseState>(r);
    r.null_bitmap[0] = r.null_bitmap[1] = 0;
    const char* cursor = st.parse_cursor;
    uint32_t count = 0;
    for (;;) {
        if (*cursor == '}' || *cursor == '0') return finish_char_chunk(r, st, cursor, count);
        if (count == item_room(r.elem_size)) return finish_char_chunk(r, st, cursor, count);
        if (null_item(cursor)) {
            if (r.elem_size == 0) return SEQ_BAD_ARGUMENT;
            r.null_bitmap[count / 64] |= uint64_t{1} << (count % 64);  // the slot keeps what stood there
            cursor += 4;
        } else {
            Item item;
            if (!decode_item(cursor, r.elem_size != 0 ? r.elem_size : kChunkBytes, nullptr, item))
                return SEQ_BAD_ARGUMENT;
            if (r.elem_size == 0) {
                if (count >= item_room(item.length)) return finish_char_chunk(r, st, cursor, count);
                r.elem_size = static_cast<uint16_t>(item.length);  // the first item sets the width
            }
            uint8_t* slot = slot_ptr(r, count);
            decode_item(cursor, r.elem_size, slot, item);
            std::memset(slot + item.length, 0, r.elem_size - item.length);
            cursor = item.end;
        }
        if (*cursor == ',') ++cursor;
        if (++count == kMaxItems) return finish_char_chunk(r, st, cursor, count);
    }
}

// ---- custom ----------------------------------------------------------------

// Each item goes to the caller's function with its end ("," or else "}")
// replaced by a zero byte for the duration of the call only. A last item
// without an end leaves the cursor on it, so the next refill reads it again.
zvq_seq_status custom_parse_next(Rec& r) {
    ParseState& st = state_of<ParseState>(r);
    const uint32_t cap = char_capacity(r.elem_size);
    char* cursor = const_cast<char*>(st.parse_cursor);  // the caller handed it writable
    if (cap == 0 || at_end(cursor)) {
        r.chunk_count = 0;
        return SEQ_END;
    }
    uint32_t count = 0;
    for (;;) {
        char* end = zvq_strchr(cursor, ',');
        if (end == nullptr) end = zvq_strchr(cursor, '}');
        const char kept = end != nullptr ? *end : '\0';
        if (end != nullptr) *end = '\0';
        const int ok = st.parse_fn(cursor, r.null_bitmap, count);
        if (end != nullptr) *end = kept;
        if (ok == 0) return SEQ_BAD_ARGUMENT;
        set_repeat(r, count++, 1);
        if (end == nullptr) break;
        cursor = end + 1;
        if (count == cap || at_end(cursor)) break;
    }
    st.parse_cursor = cursor;
    r.next_pos += count;
    r.chunk_count = static_cast<uint16_t>(count);
    return SEQ_OK;
}

// The numeric shapes; a custom parser must produce one of them or char.
constexpr Shape kNumericShapes[] = {
#define ZVQ_SHAPE_ROW(name, Tag, ctype) shape_of<Tag>,
    ZVQ_NUMERIC_TYPES(ZVQ_SHAPE_ROW)
#undef ZVQ_SHAPE_ROW
};

bool valid_shape(uint32_t type, uint64_t size) {
    if (type == ZVQ_SEQ_TYPE_CHAR) return size <= UINT16_MAX;
    for (const Shape& s : kNumericShapes)
        if (s.elem_type == type) return s.elem_size == size;
    return false;
}

// ---- constructors ----------------------------------------------------------

template <class Tag>
zvq_seq_status parse_make(Rec& r, const char* text, zvq_seq_next_fn next) {
    if (text == nullptr) return SEQ_BAD_ARGUMENT;
    start_parse(r, shape_of<Tag>, next, zvq_seq_reset_parse_iterator, text);
    return SEQ_OK;
}

// A width above the chunk could hold no item.
zvq_seq_status parse_char_make(Rec& r, const char* text, uint64_t width) {
    if (width > kChunkBytes) return SEQ_TYPE_MISMATCH;
    if (text == nullptr) return SEQ_BAD_ARGUMENT;
    start_parse(r, char_shape(static_cast<uint32_t>(width)), zvq_seq_parse_char_next,
                zvq_seq_reset_parse_iterator, text);
    return SEQ_OK;
}

zvq_seq_status custom_parse_make(Rec& r, char* text, uint32_t type, uint64_t size, ParseFn fn) {
    if (!valid_shape(type, size)) return SEQ_TYPE_MISMATCH;
    if (text == nullptr || fn == nullptr) return SEQ_BAD_ARGUMENT;
    start_parse(r, {static_cast<uint16_t>(size), static_cast<uint8_t>(type)}, zvq_seq_custom_parse_next,
                zvq_seq_reset_custom_parse_iterator, text, fn);
    return SEQ_OK;
}

zvq_seq_status reset_parse(Rec& r) {
    ParseState& st = state_of<ParseState>(r);
    st.parse_cursor = st.parse_start;
    return zvq_seq_reset_iterator(&r);
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_reset_parse_iterator(zvq_seq_iterator* it) { return zvq::reset_parse(*it); }
zvq_seq_status zvq_seq_reset_custom_parse_iterator(zvq_seq_iterator* it) { return zvq::reset_parse(*it); }

#define ZVQ_STAMP_PARSE(name, Tag, ctype)                                                                  \
    zvq_seq_status zvq_seq_parse_##name##_next(zvq_seq_iterator* it) { return zvq::parse_next<zvq::Tag>(*it); } \
    zvq_seq_status zvq_seq_parse_##name(zvq_seq_iterator* result, const char* text) {                      \
        return zvq::parse_make<zvq::Tag>(*result, text, zvq_seq_parse_##name##_next);                      \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_PARSE)

zvq_seq_status zvq_seq_parse_char_next(zvq_seq_iterator* it) { return zvq::parse_char_next(*it); }
zvq_seq_status zvq_seq_parse_char(zvq_seq_iterator* result, const char* text, uint64_t width) {
    return zvq::parse_char_make(*result, text, width);
}

zvq_seq_status zvq_seq_custom_parse_next(zvq_seq_iterator* it) { return zvq::custom_parse_next(*it); }
zvq_seq_status zvq_seq_custom_parse(zvq_seq_iterator* result, char* text, uint32_t elem_type, uint64_t elem_size,
                                    int (*parse_fn)(const char* item, uint64_t* null_bitmap, uint32_t slot)) {
    return zvq::custom_parse_make(*result, text, elem_type, elem_size, parse_fn);
}

}  // extern "C"
