// In-memory sources that hand out runs: encode folds equal neighbours of an
// array into runs, unget_runs serves run-end encoded runs (values with
// cumulative ends). Both read the caller's arrays in place and keep their
// length in last_pos, with unget's reset, so that agg_count asks them
// instead of reading them.
#include <cstring>

#include "core/record.hpp"
#include "core/run_source.hpp"

namespace zvq {
namespace {

// ---- encode --------------------------------------------------------------

// The array's position is next_pos itself: every element is handed out.
template <class Tag>
zvq_seq_status encode_next(zvq_seq_iterator* it) {
    Rec& r = *it;
    if (r.last_pos == kAllOnes) return SEQ_END;
    const uint64_t end = r.last_pos + 1;
    uint64_t pos = r.next_pos;
    if (pos >= end) return SEQ_END;
    const auto* base = static_cast<const uint8_t*>(r.buffer);
    uint32_t runs;
    if constexpr (is_char<Tag>)
        runs = fold_char_runs(r, capacity_of<Tag>(r), base, pos, end);
    else
        runs = fold_runs<value_t<Tag>>(r, capacity<Tag>, PlainValues<value_t<Tag>>{base}, pos, end);
    r.chunk_count = static_cast<uint16_t>(runs);
    r.next_pos = pos;
    return SEQ_OK;
}

zvq_seq_status encode_init(Rec& r, Shape shape, zvq_seq_next_fn next, const void* items, uint64_t count) {
    if (items == nullptr && count != 0) return SEQ_BAD_ARGUMENT;
    init_record(r, shape, {next, zvq_seq_unget_reset});
    r.buffer = const_cast<void*>(items);
    r.buffer_size = count * shape.elem_size;
    r.last_pos = count - 1;  // all ones for an empty array
    return SEQ_OK;
}

// ---- unget_runs ----------------------------------------------------------

struct RunsState {
    const uint8_t* values;
    const uint64_t* run_ends;
    RunCursor cursor;
};

struct U64Ends {
    const uint64_t* ends;
    uint64_t operator()(uint64_t k) const { return ends[k]; }
};

template <class Tag>
zvq_seq_status unget_runs_next(zvq_seq_iterator* it) {
    Rec& r = *it;
    RunsState& st = state_of<RunsState>(r);
    rewind_if_reset(r, st.cursor);
    const uint64_t before = st.cursor.pos;
    const size_t w = value_width<Tag>(r);
    const uint8_t* values = st.values;
    const uint32_t n = emit_runs(r, capacity_of<Tag>(r), st.cursor, U64Ends{st.run_ends},
                                 [&](uint32_t i, uint64_t k) { std::memcpy(slot_ptr(r, i), values + k * w, w); });
    if (n == 0) return SEQ_END;
    r.chunk_count = static_cast<uint16_t>(n);
    r.next_pos += st.cursor.pos - before;
    return SEQ_OK;
}

// Ends must start above 0 and rise strictly: a run of no elements is a
// caller's mistake, refused before anything is bound.
zvq_seq_status unget_runs_init(Rec& r, Shape shape, zvq_seq_next_fn next, const void* values,
                               const uint64_t* run_ends, uint64_t run_count) {
    if (run_count != 0 && (values == nullptr || run_ends == nullptr)) return SEQ_BAD_ARGUMENT;
    uint64_t last = 0;
    for (uint64_t k = 0; k < run_count; ++k) {
        if (run_ends[k] <= last) return SEQ_BAD_ARGUMENT;
        last = run_ends[k];
    }
    init_record(r, shape, {next, zvq_seq_unget_reset});
    r.last_pos = last - 1;  // all ones when there are no runs
    state_of<RunsState>(r) = {static_cast<const uint8_t*>(values), run_ends, {0, 0, last, 0, 0}};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_encode_char(zvq_seq_iterator* result, const char* items, uint64_t count, uint16_t width) {
    if (const zvq_seq_status s = zvq::char_width_status(width)) return s;
    return zvq::encode_init(*result, zvq::char_shape(width), zvq::encode_next<zvq::Char>, items, count);
}
zvq_seq_status zvq_seq_unget_runs_char(zvq_seq_iterator* result, const char* values, uint16_t width,
                                       const uint64_t* run_ends, uint64_t run_count) {
    if (const zvq_seq_status s = zvq::char_width_status(width)) return s;
    return zvq::unget_runs_init(*result, zvq::char_shape(width), zvq::unget_runs_next<zvq::Char>, values, run_ends,
                                run_count);
}

#define ZVQ_STAMP_ENCODE(name, Tag, ctype)                                                                  \
    zvq_seq_status zvq_seq_encode_##name(zvq_seq_iterator* result, const ctype* items, uint64_t count) {    \
        return zvq::encode_init(*result, zvq::shape_of<zvq::Tag>, zvq::encode_next<zvq::Tag>, items, count); \
    }
#define ZVQ_STAMP_UNGET_RUNS(name, Tag, ctype)                                                               \
    zvq_seq_status zvq_seq_unget_runs_##name(zvq_seq_iterator* result, const ctype* values,                  \
                                             const uint64_t* run_ends, uint64_t run_count) {                 \
        return zvq::unget_runs_init(*result, zvq::shape_of<zvq::Tag>, zvq::unget_runs_next<zvq::Tag>, values, \
                                    run_ends, run_count);                                                    \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_ENCODE)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_UNGET_RUNS)

}  // extern "C"
