// Whole-sequence folds: the partial state, the run product, and the drivers
// that own the pull loop and the merge.
//
// A fold rule is a struct of static functions that never sees a chunk:
//
//   using Tag = operand type tag;     using In  = its value type;
//   using Out = result type tag;      using Acc = partial_value type;
//   seed(Acc&, double& q, In v, uint8_t r)   first run
//   fold(Acc&, double& q, In v, uint8_t r)   every further run, at once
//   merge(Acc&, Acc)                         a partial value of another part
//   result(Acc, double q, uint64_t n)        the published value
//
// The drivers keep the accumulators in locals and write the record once, at
// publication, so that a later merge finds the whole partial state there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/arith.hpp"
#include "core/record.hpp"

namespace zvq {

// Fields in the order a host's merge relies on.
template <class Acc>
struct WholeState {
    Acc partial_value;
    double partial_squares;  // 0.0 where no squares are kept
    uint64_t partial_count;  // sum of repeat bytes
};

// The 64-bit type of sums and products: int8 for signed operands, uint8 for
// unsigned ones, datetime stays datetime, floats widen to double.
template <class Tag>
using wide_tag_t =
    std::conditional_t<is_signed_int<Tag>, Int8,
                       std::conditional_t<is_floating<Tag>, Double,
                                          std::conditional_t<Tag::kind == Kind::Datetime, Datetime, Uint8>>>;
template <class Tag>
using wide_t = value_t<wide_tag_t<Tag>>;

// P(v, r): a run of r copies of v, multiplied in the operand's own
// arithmetic before widening. The wrap of a 4- or 8-byte product is part of
// the result, and a float run stays single precision until widened.
template <class Tag>
inline wide_t<Tag> run_product(value_t<Tag> v, uint8_t r) {
    using V = value_t<Tag>;
    using W = wide_t<Tag>;
    if constexpr (std::is_same_v<V, float>) {
        const float p = v * static_cast<float>(r);
        return static_cast<double>(p);
    } else if constexpr (is_floating<Tag>) {
        return v * static_cast<double>(r);
    } else if constexpr (sizeof(V) < 4) {
        return static_cast<W>(static_cast<int32_t>(v) * static_cast<int32_t>(r));
    } else {
        return static_cast<W>(wrap_mul<V>(v, static_cast<V>(r)));
    }
}

// v * v * r in double, in this order, for every operand type.
template <class V>
inline double run_squares(V v, uint8_t r) {
    const double d = static_cast<double>(v);
    return d * d * static_cast<double>(r);
}

// The repeat bytes of runs [from, to) in run order. They stand downward in
// the chunk; reversing them 8 at a time lets the fold below walk both arrays
// upward, which the compiler vectorises (a byte-reversing shuffle is not in
// the baseline instruction set).
inline void repeats_upward(const Rec& op, uint32_t from, uint32_t to, uint8_t* out) {
    const uint8_t* end = op.chunk + ZVQ_SEQ_CHUNK_SIZE;  // repeat of run i at end[-1 - i]
    uint32_t k = 0;
    const uint32_t m = to - from;
    for (; k + 8 <= m; k += 8) {
        uint64_t word;
        std::memcpy(&word, end - (from + k + 8), 8);
        word = __builtin_bswap64(word);
        std::memcpy(out + k, &word, 8);
    }
    for (; k < m; ++k) out[k] = end[-1 - static_cast<ptrdiff_t>(from + k)];
}

// The fold loop is built twice on x86-64 with GCC, once for AVX2, and the
// loader picks one: the baseline has no 32-bit lane multiply and no lane
// sign extension, which the integer run products need.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define ZVQ_FOLD_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define ZVQ_FOLD_CLONES
#endif

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
    s = op.next(&op);
    if (s != SEQ_OK) return s;

    typename Rule::Acc a{};
    double q = 0.0;
    uint64_t n = repeat_at(op, 0);
    Rule::seed(a, q, value_at<In>(op, 0), repeat_at(op, 0));
    fold_runs<Rule>(op, 1, op.chunk_count, a, q, n);
    while ((s = op.next(&op)) == SEQ_OK) fold_runs<Rule>(op, 0, op.chunk_count, a, q, n);

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
    if (!has_type<typename Rule::Tag>(op)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({op})) return s;
    init_record(r, shape_of<typename Rule::Out>, {next, zvq_seq_reset_unary_iterator, zvq_seq_prepare_aggregate, merge},
                {op});
    r.prepared = 0;
    state_of<state_t<Rule>>(r).partial_count = 0;
    return SEQ_OK;
}

}  // namespace zvq
