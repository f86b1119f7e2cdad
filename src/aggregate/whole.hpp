// Whole-sequence folds: the partial state and the drivers that own the pull
// loop and the merge. The rules (core/fold_rules.hpp, whole_rules.hpp) never
// see a chunk.
//
// The drivers keep the accumulators in locals and write the record once, at
// publication, so that a later merge finds the whole partial state there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/fold_rules.hpp"
#include "core/record.hpp"

namespace zvq {

// Fields in the order a host's merge relies on.
template <class Acc>
struct WholeState {
    Acc partial_value;
    double partial_squares;  // 0.0 where no squares are kept
    uint64_t partial_count;  // sum of repeat bytes
};

// The repeat bytes of runs [from, to) in run order. They stand downward in
// the chunk; reversing them 8 at a time lets the fold below walk both arrays
// upward, which the compiler vectorises (a byte-reversing shuffle is not in
// the baseline instruction set).
inline void repeats_upward(const Rec& op, uint32_t from, uint32_t to, uint8_t* out) {
    uint32_t k = 0;
    const uint32_t m = to - from;
    for (; k + 8 <= m; k += 8) {
        const uint64_t word = __builtin_bswap64(load<uint64_t>(repeat_block(op, from + k, 8)));
        std::memcpy(out + k, &word, 8);
    }
    for (; k < m; ++k) out[k] = repeat_at(op, from + k);
}

// Folds runs [from, to) of the operand's chunk without touching the
// operand's read positions. Accumulators stay in locals. Internal linkage
// keeps the clones and their resolver out of the export table.
template <class Rule>
static ZVQ_FOLD_CLONES void fold_runs(const Rec& op, uint32_t from, uint32_t to, typename Rule::Acc& acc, double& squares,
                      uint64_t& count) {
    using In = typename Rule::In;
    uint8_t repeats[capacity<Uint1>];
    repeats_upward(op, from, to, repeats);
    const uint8_t* values = op.chunk + static_cast<size_t>(from) * sizeof(In);
    const uint32_t m = to - from;
    typename Rule::Acc a = acc;
    double q = squares;
    for (uint32_t k = 0; k < m; ++k) Rule::fold(a, q, load<In>(values + static_cast<size_t>(k) * sizeof(In)), repeats[k]);
    uint32_t n = 0;  // at most 2048 x 255
    for (uint32_t k = 0; k < m; ++k) n += repeats[k];
    acc = a;
    squares = q;
    count += n;
}

template <class Rule>
using state_t = WholeState<typename Rule::Acc>;

// next of a whole-sequence aggregate: drains the operand, publishes one run.
template <class Rule>
zvq_seq_status whole_next(Rec& r) {
    using In = typename Rule::In;
    zvq_seq_status s;
    if (settled_aggregate(r, s)) return s;

    Rec& op = *r.operand[0];
    s = pull(op);
    if (s != SEQ_OK) return s;

    typename Rule::Acc a{};
    double q = 0.0;
    uint64_t n = repeat_at(op, 0);
    Rule::seed(a, q, value_at<In>(op, 0), repeat_at(op, 0));
    fold_runs<Rule>(op, 1, op.chunk_count, a, q, n);
    while ((s = pull(op)) == SEQ_OK) fold_runs<Rule>(op, 0, op.chunk_count, a, q, n);

    // A failure drops what was folded: nothing is published, next_pos stays 0.
    if (s != SEQ_END || n == 0) return s;
    state_of<state_t<Rule>>(r) = {a, q, n};
    publish_one<value_t<typename Rule::Out>>(r, Rule::result(a, q, n));
    return SEQ_OK;
}

// Folds the source's partial state into the destination's and rewrites the
// destination's result. Prepared flags and next_pos are the host's business.
template <class Rule>
zvq_seq_status whole_merge(Rec& dst, const Rec& src) {
    auto& d = state_of<state_t<Rule>>(dst);
    const auto& s = state_of<state_t<Rule>>(src);
    d.partial_count += s.partial_count;
    d.partial_squares += s.partial_squares;
    Rule::merge(d.partial_value, s.partial_value);
    set_value<value_t<typename Rule::Out>>(dst, 0, Rule::result(d.partial_value, d.partial_squares, d.partial_count));
    return SEQ_OK;
}

template <class Rule>
zvq_seq_status whole_make(Rec& r, Rec* op, zvq_seq_next_fn next, zvq_seq_merge_fn merge) {
    if (zvq_seq_status s = open_operands<typename Rule::Tag>(op)) return s;
    init_record(r, shape_of<typename Rule::Out>, {next, zvq_seq_reset_unary_iterator, zvq_seq_prepare_aggregate, merge},
                {op});
    r.prepared = 0;
    state_of<state_t<Rule>>(r).partial_count = 0;
    return SEQ_OK;
}

}  // namespace zvq
