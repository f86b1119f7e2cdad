// agg_count and agg_count_not_null: any operand type, no binding. A source
// that knows its size (core/known_count.hpp) is asked instead of read, and
// such a count cannot be summed over parts.
#include <cstddef>
#include <cstring>

#include "core/known_count.hpp"
#include "core/record.hpp"

namespace zvq {
namespace {

// Both counts: what a chunk adds, and how the count is published. A failing
// operand ends the count, not the answer.
template <uint64_t (*per_chunk)(const Rec&), void (*publish)(Rec&, uint64_t)>
zvq_seq_status counting_next(Rec& r) {
    zvq_seq_status status;
    if (settled_aggregate(r, status)) return status;
    publish(r, count_chunks(*r.operand[0], per_chunk));
    return SEQ_OK;
}

// Elements, by repeat bytes.
uint64_t elements(const Rec& op) { return repeat_sum(op, op.chunk_count); }

void publish_count(Rec& r, uint64_t count) { publish_one<uint64_t>(r, count); }

// Bit i of the operand's null flags. Words beyond the two of null_bitmap are
// the chunk's first bytes, which the record lays out right behind it.
static_assert(offsetof(zvq_seq_iterator, chunk) == offsetof(zvq_seq_iterator, null_bitmap) + 16);

bool null_flag(const Rec& op, uint32_t i) {
    const uint32_t word = i / 64;
    uint64_t bits;
    if (word < 2)
        bits = op.null_bitmap[word];
    else
        std::memcpy(&bits, op.chunk + (word - 2) * sizeof(uint64_t), sizeof bits);
    return (bits >> (i % 64)) & 1u;
}

// Runs, not elements: a flagged slot is a null, whatever its repeat.
uint64_t not_null_runs(const Rec& op) {
    if (op.null_bitmap[0] == 0 && op.null_bitmap[1] == 0) return op.chunk_count;
    uint64_t n = 0;
    for (uint32_t i = 0; i < op.chunk_count; ++i) n += null_flag(op, i) ? 0u : 1u;
    return n;
}

// The repeat byte of the result is left as found; the result's own null
// flags are cleared instead.
void publish_not_null_count(Rec& r, uint64_t count) {
    set_value<uint64_t>(r, 0, count);
    r.chunk_count = 1;
    r.next_pos = 1;
    r.null_bitmap[0] = 0;
    r.null_bitmap[1] = 0;
}

zvq_seq_status count_next(Rec& r) { return counting_next<elements, publish_count>(r); }
zvq_seq_status count_not_null_next(Rec& r) { return counting_next<not_null_runs, publish_not_null_count>(r); }

zvq_seq_status count_merge(Rec& dst, const Rec& src) {
    set_value<uint64_t>(dst, 0, value_at<uint64_t>(dst, 0) + value_at<uint64_t>(src, 0));
    return SEQ_OK;
}

void count_init(Rec& r, Rec* op, zvq_seq_next_fn next) {
    const bool whole = counts_itself(*op);
    init_record(r, shape_of<Uint8>,
                {next, zvq_seq_reset_unary_iterator, whole ? nullptr : zvq_seq_prepare_aggregate,
                 whole ? nullptr : zvq_seq_count_merge},
                {op});
    r.prepared = 0;
}

zvq_seq_status count_make(Rec& r, Rec* op) {
    count_init(r, op, zvq_seq_count_next);
    return SEQ_OK;
}

// Unlike agg_count, the reader's run_pos survives construction.
zvq_seq_status count_not_null_make(Rec& r, Rec* op) {
    const uint8_t run_pos = r.run_pos;
    count_init(r, op, zvq_seq_count_not_null_next);
    r.run_pos = run_pos;
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_agg_count(zvq_seq_iterator* result, zvq_seq_iterator* operand) {
    return zvq::count_make(*result, operand);
}
zvq_seq_status zvq_seq_agg_count_not_null(zvq_seq_iterator* result, zvq_seq_iterator* operand) {
    return zvq::count_not_null_make(*result, operand);
}
zvq_seq_status zvq_seq_count_next(zvq_seq_iterator* it) { return zvq::count_next(*it); }
zvq_seq_status zvq_seq_count_not_null_next(zvq_seq_iterator* it) { return zvq::count_not_null_next(*it); }
zvq_seq_status zvq_seq_count_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) {
    return zvq::count_merge(*destination, *source);
}

}  // extern "C"
