// print_char: formats the operand's value, a packed tuple of fixed-width
// fields, into text by a format string whose directives each take the next
// bytes of the tuple. The result is char of the given width (at most 32).
//
// The operand's value is read at its chunk_pos and never advanced, so every
// slot of a refill formats the same tuple unless a pull moved the operand
// on; the operator is kept so. Repeat bytes are not written, and chunk_count
// and next_pos grow by the whole capacity however many slots were made.
//
// Formatting is bounded: each directive is formatted aside and copied only
// if it leaves room for the terminator, otherwise the refill fails; tuple
// bytes past the value's width read as zero bytes, as a char value is
// padded.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/record.hpp"
#include "elementwise/scan.hpp"

namespace zvq {
namespace {

constexpr uint64_t kMaxPrintWidth = 32;

struct PrintState {
    const char* print_format;
};

class Tuple {
   public:
    Tuple(const uint8_t* bytes, uint64_t width) : bytes_(bytes), width_(width) {}

    template <class V>
    V take() {
        uint8_t b[sizeof(V)];
        for (size_t k = 0; k < sizeof(V); ++k) b[k] = byte(offset_ + k);
        offset_ += sizeof(V);
        return load<V>(b);
    }

    // Bytes of text at the current offset, up to a zero byte, the tuple's
    // end or `max`.
    uint64_t text_length(uint64_t max) const {
        uint64_t n = 0;
        while (n < max && byte(offset_ + n) != 0) ++n;
        return n;
    }
    const char* here() const { return offset_ < width_ ? reinterpret_cast<const char*>(bytes_ + offset_) : ""; }
    void skip(uint64_t n) { offset_ += n; }

   private:
    uint8_t byte(uint64_t at) const { return at < width_ ? bytes_[at] : 0; }

    const uint8_t* bytes_;
    uint64_t width_;
    uint64_t offset_ = 0;
};

// The text of one slot: a piece is written only if the slot keeps room for
// the terminator; otherwise the output has reached the width.
class Slot {
   public:
    Slot(uint8_t* out, uint32_t width) : out_(out), width_(width) {}

    bool emit(const char* s, uint64_t n) {
        if (length_ + n >= width_) return false;
        if (n != 0) std::memcpy(out_ + length_, s, n);
        length_ += static_cast<uint32_t>(n);
        return true;
    }

    template <class... A>
    bool print(const char* format, A... args) {
        char buf[64];
        const int n = std::snprintf(buf, sizeof buf, format, args...);
        return n >= 0 && static_cast<size_t>(n) < sizeof buf && emit(buf, static_cast<uint64_t>(n));
    }

    // What stands behind the terminator in the slot is left as it was.
    void end() { out_[length_] = 0; }

   private:
    uint8_t* out_;
    uint32_t width_;
    uint32_t length_ = 0;
};

// "%.<count>s": at most count bytes of text, count bytes taken. The count is
// read as "%d%n" reads it; missing or negative, it is a malformed format.
bool print_precision(Slot& slot, const char*& f, Tuple& t) {
    int count = 0;
    size_t used = 0;
    if (!scan::scan_decimal(f + 2, count, used) || count < 0 || f[2 + used] != 's') return false;
    f += 3 + used;
    const bool ok = slot.emit(t.here(), t.text_length(static_cast<uint64_t>(count)));
    t.skip(static_cast<uint64_t>(count));
    return ok;
}

// An integer conversion: d or i signed, u unsigned, from the next bytes.
template <class S, class U>
bool print_integer(Slot& slot, char conversion, Tuple& t, const char* signed_format, const char* unsigned_format) {
    switch (conversion) {
        case 'd':
        case 'i':
            return slot.print(signed_format, t.take<S>());
        case 'u':
            return slot.print(unsigned_format, t.take<U>());
        default:
            return false;
    }
}

// l and L skip the character behind them and take the conversion from the
// next, which is then copied as an ordinary character too.
bool print_long(Slot& slot, const char*& f, Tuple& t) {
    if (f[2] == '\0') return false;
    f += 3;
    if (*f == 'e') return slot.print("%e", t.take<double>());
    if (*f == 'f') return slot.print("%f", t.take<double>());
    return print_integer<long long, unsigned long long>(slot, *f, t, "%lld", "%llu");
}

// h looks two characters on: an h there makes a one-byte conversion from
// the character after it, anything else a two-byte one from itself.
bool print_half(Slot& slot, const char*& f, Tuple& t) {
    if (f[2] == '\0') return false;
    if (f[3] == 'h') {
        f += 4;
        return print_integer<signed char, unsigned char>(slot, *f, t, "%hhd", "%hhu");
    }
    f += 3;
    return print_integer<short, unsigned short>(slot, *f, t, "%hd", "%hu");
}

// One directive at f (on its %); f moves to where scanning resumes.
bool print_directive(Slot& slot, const char*& f, Tuple& t) {
    switch (f[1]) {
        case '%':
            f += 2;
            return slot.emit("%", 1);
        case '.':
            return print_precision(slot, f, t);
        case 'c':
            f += 2;
            return slot.print("%c", static_cast<int>(t.take<uint8_t>()));
        case 'd':
        case 'i':
        case 'u':
            f += 2;
            return print_integer<int32_t, uint32_t>(slot, f[-1], t, "%d", "%u");
        case 'e':
            f += 2;
            return slot.print("%e", static_cast<double>(t.take<float>()));
        case 'f':
            f += 2;
            return slot.print("%f", static_cast<double>(t.take<float>()));
        case 's': {
            f += 2;
            const uint64_t n = t.text_length(UINT64_MAX);
            const bool ok = slot.emit(t.here(), n);
            t.skip(n + 1);
            return ok;
        }
        case 'l':
        case 'L':
            return print_long(slot, f, t);
        case 'h':
            return print_half(slot, f, t);
        default:
            return false;
    }
}

zvq_seq_status format_slot(uint8_t* out, uint32_t width, const char* f, Tuple t) {
    Slot slot(out, width);
    while (*f != '\0') {
        const bool ok = *f == '%' ? print_directive(slot, f, t) : slot.emit(f++, 1);
        if (!ok) return SEQ_BAD_ARGUMENT;
    }
    slot.end();
    return SEQ_OK;
}

// The operand's current value, cut at its chunk's end.
Tuple tuple_of(const Rec& op) {
    const uint64_t at = std::min<uint64_t>(uint64_t{op.chunk_pos} * op.elem_size, ZVQ_SEQ_CHUNK_SIZE);
    return {op.chunk + at, std::min<uint64_t>(op.elem_size, ZVQ_SEQ_CHUNK_SIZE - at)};
}

zvq_seq_status print_next(Rec& r) {
    Rec& op = *r.operand[0];
    const char* format = state_of<PrintState>(r).print_format;
    const uint32_t cap = char_capacity(r.elem_size);
    for (uint32_t i = 0; i < cap; ++i) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, i, closes)) return s;
        if (closes) break;
        if (zvq_seq_status s = format_slot(slot_ptr(r, i), r.elem_size, format, tuple_of(op))) return s;
    }
    r.next_pos += cap;
    r.chunk_count = static_cast<uint16_t>(cap);
    return SEQ_OK;
}

// The width is tested before the binding: a refused width leaves the
// operand free.
zvq_seq_status print_make(Rec& r, Rec* op, uint64_t width, const char* format) {
    if (!has_type<Char>(op)) return SEQ_TYPE_MISMATCH;
    if (width > kMaxPrintWidth || format == nullptr) return SEQ_BAD_ARGUMENT;
    if (zvq_seq_status s = bind({op})) return s;
    init_record(r, char_shape(static_cast<uint32_t>(width)), {zvq_seq_print_char_next, zvq_seq_reset_unary_iterator},
                {op});
    state_of<PrintState>(r) = {format};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_print_char_next(zvq_seq_iterator* it) { return zvq::print_next(*it); }
zvq_seq_status zvq_seq_print_char(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t width,
                                  const char* format) {
    return zvq::print_make(*result, operand, width, format);
}

}  // extern "C"
