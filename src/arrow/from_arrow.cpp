// zvq_seq_from_arrow: a source over an Arrow array, read in place. A run-end
// encoded array's runs become runs (cut at 255), so a sum over it costs per
// run; a plain array is folded into runs of equal neighbours as encode does.
//
// Everything the refills will read is checked at construction: buffer
// counts, lengths against the offset, run ends rising and covering the
// slice. The refills then read no further than what was checked.
#include <cstring>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "core/record.hpp"
#include "core/run_source.hpp"

namespace zvq {
namespace {

struct ArrowSourceState {
    const uint8_t* values;    // value 0 of the slice's values (byte-aligned types)
    const uint8_t* run_ends;  // run end 0 (run-end encoded only)
    uint64_t first_bit;       // bit of value 0 (booleans)
    uint64_t scale;           // timestamps to nanoseconds
    RunCursor cursor;         // logical positions; run unused for a plain array
};

// Loaders built from the state, one per way a value is stored.
template <class V>
struct Typed {
    static PlainValues<V> of(const ArrowSourceState& st) { return {st.values}; }
};
struct Packed {
    static BitValues of(const ArrowSourceState& st) { return {st.values, st.first_bit}; }
};
struct ScaledValues {
    const uint8_t* base;
    uint64_t scale;
    uint64_t operator()(uint64_t i) const { return load<uint64_t>(base + i * 8) * scale; }  // wraps beyond 2262
};
struct Scaled {
    static ScaledValues of(const ArrowSourceState& st) { return {st.values, st.scale}; }
};
struct Bytes {};

template <class E>
struct SignedEnds {
    const uint8_t* base;
    uint64_t operator()(uint64_t k) const { return static_cast<uint64_t>(load<E>(base + k * sizeof(E))); }
};

template <class Tag, class Layout>
zvq_seq_status plain_next(zvq_seq_iterator* it) {
    Rec& r = *it;
    ArrowSourceState& st = state_of<ArrowSourceState>(r);
    RunCursor& c = st.cursor;
    rewind_if_reset(r, c);
    if (c.pos >= c.stop) return SEQ_END;
    const uint64_t before = c.pos;
    uint32_t runs;
    if constexpr (std::is_same_v<Layout, Bytes>)
        runs = fold_char_runs(r, capacity_of<Tag>(r), st.values, c.pos, c.stop);
    else
        runs = fold_runs<value_t<Tag>>(r, capacity<Tag>, Layout::of(st), c.pos, c.stop);
    r.chunk_count = static_cast<uint16_t>(runs);
    r.next_pos += c.pos - before;
    return SEQ_OK;
}

template <class Tag, class Layout, class E>
zvq_seq_status ree_next(zvq_seq_iterator* it) {
    Rec& r = *it;
    ArrowSourceState& st = state_of<ArrowSourceState>(r);
    rewind_if_reset(r, st.cursor);
    const uint64_t before = st.cursor.pos;
    uint32_t n;
    if constexpr (std::is_same_v<Layout, Bytes>) {
        const size_t w = r.elem_size;
        const uint8_t* values = st.values;
        n = emit_runs(r, capacity_of<Tag>(r), st.cursor, SignedEnds<E>{st.run_ends},
                      [&](uint32_t i, uint64_t k) { std::memcpy(slot_ptr(r, i), values + k * w, w); });
    } else {
        const auto values = Layout::of(st);
        n = emit_runs(r, capacity<Tag>, st.cursor, SignedEnds<E>{st.run_ends},
                      [&](uint32_t i, uint64_t k) { set_value<value_t<Tag>>(r, i, values(k)); });
    }
    if (n == 0) return SEQ_END;
    r.chunk_count = static_cast<uint16_t>(n);
    r.next_pos += st.cursor.pos - before;
    return SEQ_OK;
}

// ---- formats ---------------------------------------------------------------

enum class Store { Typed, Packed, Scaled, Bytes };

struct Format {
    Shape shape;
    Store store;
    uint64_t scale;   // timestamps
    uint32_t width;   // bytes per stored value; 0 for bits
    zvq_seq_next_fn plain;
    zvq_seq_next_fn ree[3];  // run ends int16, int32, int64
};

template <class Tag, class Layout>
Format format_of(Store store, uint32_t width, uint64_t scale = 1) {
    return {shape_of<Tag>, store, scale, width, plain_next<Tag, Layout>,
            {ree_next<Tag, Layout, int16_t>, ree_next<Tag, Layout, int32_t>, ree_next<Tag, Layout, int64_t>}};
}

Format char_format(uint32_t width) {
    return {char_shape(width), Store::Bytes, 1, width, plain_next<Char, Bytes>,
            {ree_next<Char, Bytes, int16_t>, ree_next<Char, Bytes, int32_t>, ree_next<Char, Bytes, int64_t>}};
}

// The element format of a leaf: false for any other. A timestamp's time zone
// does not matter, its values count from the epoch in UTC.
bool leaf_format(const char* f, Format& out) {
    const std::string_view s(f);
    if (s.size() == 1) {
        switch (s[0]) {
            case 'c': out = format_of<Int1, Typed<int8_t>>(Store::Typed, 1); return true;
            case 'C': out = format_of<Uint1, Typed<uint8_t>>(Store::Typed, 1); return true;
            case 's': out = format_of<Int2, Typed<int16_t>>(Store::Typed, 2); return true;
            case 'S': out = format_of<Uint2, Typed<uint16_t>>(Store::Typed, 2); return true;
            case 'i': out = format_of<Int4, Typed<int32_t>>(Store::Typed, 4); return true;
            case 'I': out = format_of<Uint4, Typed<uint32_t>>(Store::Typed, 4); return true;
            case 'l': out = format_of<Int8, Typed<int64_t>>(Store::Typed, 8); return true;
            case 'L': out = format_of<Uint8, Typed<uint64_t>>(Store::Typed, 8); return true;
            case 'f': out = format_of<Float, Typed<float>>(Store::Typed, 4); return true;
            case 'g': out = format_of<Double, Typed<double>>(Store::Typed, 8); return true;
            case 'b': out = format_of<Uint1, Packed>(Store::Packed, 0); return true;
            default: return false;
        }
    }
    if (s.size() >= 4 && s.substr(0, 2) == "ts" && s[3] == ':') {
        uint64_t scale;
        switch (s[2]) {
            case 'n': scale = 1; break;
            case 'u': scale = 1000; break;
            case 'm': scale = 1000000; break;
            case 's': scale = 1000000000; break;
            default: return false;
        }
        out = format_of<Datetime, Scaled>(Store::Scaled, 8, scale);
        return true;
    }
    if (s.size() > 2 && s.substr(0, 2) == "w:") {
        uint32_t n = 0;
        for (char ch : s.substr(2)) {
            if (ch < '0' || ch > '9' || n >= ZVQ_SEQ_CHUNK_SIZE) return false;
            n = n * 10 + static_cast<uint32_t>(ch - '0');
        }
        if (n == 0 || n >= ZVQ_SEQ_CHUNK_SIZE) return false;  // a chunk must hold a run
        out = char_format(n);
        return true;
    }
    return false;
}

// Run-end widths: index into Format::ree, or -1.
int ends_format(const char* f) {
    const std::string_view s(f);
    if (s == "s") return 0;
    if (s == "i") return 1;
    if (s == "l") return 2;
    return -1;
}

// ---- checks ----------------------------------------------------------------

constexpr uint64_t kMaxLength = uint64_t{1} << 62;  // offsets plus lengths stay far from overflow

bool live(const ArrowSchema* s, const ArrowArray* a) {
    return s != nullptr && a != nullptr && s->format != nullptr && s->release != nullptr && a->release != nullptr;
}

// No nulls: a null count of 0, or unknown (-1) with no validity buffer.
bool has_nulls(const ArrowArray& a) {
    if (a.null_count == 0) return false;
    return !(a.null_count == -1 && a.n_buffers > 0 && a.buffers != nullptr && a.buffers[0] == nullptr);
}

bool sane_extent(const ArrowArray& a) {
    return a.length >= 0 && a.offset >= 0 && static_cast<uint64_t>(a.length) < kMaxLength &&
           static_cast<uint64_t>(a.offset) < kMaxLength;
}

// A leaf of the format: a validity and a data buffer, no children, the data
// present unless the leaf is empty. Returns the status of a refusal.
zvq_seq_status check_leaf(const ArrowArray& a) {
    if (!sane_extent(a) || a.n_buffers != 2 || a.n_children != 0 || a.buffers == nullptr)
        return SEQ_BAD_ARGUMENT;
    if (a.length != 0 && a.buffers[1] == nullptr) return SEQ_BAD_ARGUMENT;
    return SEQ_OK;
}

// Refusals of what the library cannot hold, before the shape is checked.
zvq_seq_status check_supported(const ArrowSchema& s, const ArrowArray& a) {
    if (s.dictionary != nullptr || a.dictionary != nullptr) return SEQ_NOT_SUPPORTED;
    if (has_nulls(a)) return SEQ_NOT_SUPPORTED;
    return SEQ_OK;
}

const uint8_t* data_of(const ArrowArray& a) { return static_cast<const uint8_t*>(a.buffers[1]); }

void place_values(ArrowSourceState& st, const Format& f, const ArrowArray& a, uint64_t first) {
    const uint64_t at = static_cast<uint64_t>(a.offset) + first;
    if (f.store == Store::Packed) {
        st.values = data_of(a);
        st.first_bit = at;
    } else {
        st.values = data_of(a) == nullptr ? nullptr : data_of(a) + at * f.width;
        st.first_bit = 0;
    }
    st.scale = f.scale;
}

zvq_seq_status plain_source(Rec& r, const ArrowArray& a, const Format& f) {
    if (zvq_seq_status s = check_leaf(a)) return s;
    init_record(r, f.shape, {f.plain, zvq_seq_unget_reset});
    ArrowSourceState& st = state_of<ArrowSourceState>(r);
    place_values(st, f, a, 0);
    const uint64_t n = static_cast<uint64_t>(a.length);
    st.run_ends = nullptr;
    st.cursor = {0, 0, n, 0, 0};
    r.last_pos = n - 1;  // all ones when empty
    return SEQ_OK;
}

template <class E>
bool ends_rise(const uint8_t* base, uint64_t runs) {
    int64_t last = 0;
    for (uint64_t k = 0; k < runs; ++k) {
        const int64_t e = load<E>(base + k * sizeof(E));
        if (e <= last) return false;
        last = e;
    }
    return true;
}

zvq_seq_status ree_source(Rec& r, const ArrowSchema& s, const ArrowArray& a) {
    if (s.n_children != 2 || s.children == nullptr || a.n_children != 2 || a.children == nullptr ||
        !sane_extent(a) || a.n_buffers != 0)
        return SEQ_BAD_ARGUMENT;
    const ArrowSchema* es = s.children[0];
    const ArrowSchema* vs = s.children[1];
    const ArrowArray* ea = a.children[0];
    const ArrowArray* va = a.children[1];
    if (es == nullptr || vs == nullptr || ea == nullptr || va == nullptr || es->format == nullptr ||
        vs->format == nullptr)
        return SEQ_BAD_ARGUMENT;
    const int ends = ends_format(es->format);
    Format f;
    if (ends < 0 || !leaf_format(vs->format, f)) return SEQ_NOT_SUPPORTED;
    for (const auto& [cs, ca] : {std::pair{es, ea}, std::pair{vs, va}})
        if (zvq_seq_status st = check_supported(*cs, *ca)) return st;
    if (zvq_seq_status st = check_leaf(*ea)) return st;
    if (zvq_seq_status st = check_leaf(*va)) return st;
    const uint64_t runs = static_cast<uint64_t>(ea->length);
    if (static_cast<uint64_t>(va->length) < runs) return SEQ_BAD_ARGUMENT;
    static constexpr uint32_t kEndWidth[] = {2, 4, 8};
    const uint8_t* end_base = runs == 0 ? nullptr : data_of(*ea) + static_cast<uint64_t>(ea->offset) * kEndWidth[ends];
    bool rising;
    switch (ends) {
        case 0: rising = ends_rise<int16_t>(end_base, runs); break;
        case 1: rising = ends_rise<int32_t>(end_base, runs); break;
        default: rising = ends_rise<int64_t>(end_base, runs); break;
    }
    if (!rising) return SEQ_BAD_ARGUMENT;
    const uint64_t from = static_cast<uint64_t>(a.offset);
    const uint64_t stop = from + static_cast<uint64_t>(a.length);
    uint64_t last_end = 0;
    uint64_t first_run = 0;
    if (runs != 0) {
        switch (ends) {
            case 0: {
                const SignedEnds<int16_t> e{end_base};
                last_end = e(runs - 1);
                first_run = run_at(e, runs, from);
                break;
            }
            case 1: {
                const SignedEnds<int32_t> e{end_base};
                last_end = e(runs - 1);
                first_run = run_at(e, runs, from);
                break;
            }
            default: {
                const SignedEnds<int64_t> e{end_base};
                last_end = e(runs - 1);
                first_run = run_at(e, runs, from);
                break;
            }
        }
    }
    if (a.length != 0 && stop > last_end) return SEQ_BAD_ARGUMENT;
    init_record(r, f.shape, {f.ree[ends], zvq_seq_unget_reset});
    ArrowSourceState& st = state_of<ArrowSourceState>(r);
    place_values(st, f, *va, 0);
    st.run_ends = end_base;
    st.cursor = {first_run, from, stop, first_run, from};
    r.last_pos = static_cast<uint64_t>(a.length) - 1;
    return SEQ_OK;
}

zvq_seq_status from_arrow(Rec& r, const ArrowSchema* schema, const ArrowArray* array) {
    if (!live(schema, array)) return SEQ_BAD_ARGUMENT;
    if (zvq_seq_status s = check_supported(*schema, *array)) return s;
    if (std::string_view(schema->format) == "+r") return ree_source(r, *schema, *array);
    Format f;
    if (!leaf_format(schema->format, f)) return SEQ_NOT_SUPPORTED;
    return plain_source(r, *array, f);
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_from_arrow(zvq_seq_iterator* result, const struct ArrowSchema* schema,
                                  const struct ArrowArray* array) {
    return zvq::from_arrow(*result, schema, array);
}

}  // extern "C"
