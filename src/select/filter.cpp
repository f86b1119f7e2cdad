// filter: the values of `input` where `cond` is true, kept as runs. Each
// overlap of a cond run with an input run is one step: one output run under
// a true flag, nothing under a false one, whatever the overlap's length.
#include <algorithm>
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

// Where both operands stand at the start of runs of equal lengths, k such
// overlaps are taken at once. Compacting writes every run and moves the
// output slot only under a true flag. Flags and repeat bytes are read eight
// at a time, so that eight false flags (what a sparse condition mostly
// holds) cost one test. Returns the slots filled.
template <class Tag>
uint32_t filter_aligned(Rec& r, uint32_t count, const Rec& cond, const Rec& input, uint32_t k) {
    const size_t w = value_width<Tag>(input);
    const uint8_t* flags = cond.chunk + cond.chunk_pos;
    const uint8_t* values = input.chunk + input.chunk_pos * w;
    const uint32_t at = input.chunk_pos;
    uint8_t* out = r.chunk;
    const uint32_t first = count;
    auto one = [&](uint32_t j, uint8_t flag, uint8_t rep) {
        std::memcpy(out + count * w, values + j * w, w);
        set_repeat(r, count, rep);
        count += flag != 0;
    };
    uint32_t j = 0;
    for (; j + 8 <= k; j += 8) {
        const uint64_t eight = load<uint64_t>(flags + j);
        if (eight == 0) continue;
        // Run j + e has its repeat byte at byte 7 - e of this word.
        const uint64_t reps = load<uint64_t>(repeat_block(input, at + j, 8));
        for (uint32_t e = 0; e < 8; ++e)
            one(j + e, static_cast<uint8_t>(eight >> (8 * e)), static_cast<uint8_t>(reps >> (8 * (7 - e))));
    }
    for (; j < k; ++j) one(j, flags[j], repeat_at(input, at + j));
    r.next_pos += repeat_sum(r, first, count);
    return count - first;
}

// Under a false flag, the input runs that end inside cond's run give
// nothing: they are passed over by their repeat bytes alone, up to the end
// of the input's chunk. The overlap that reaches the end of cond's run (or a
// repeat byte of 0) is left to the run-by-run step.
void pass_over_false(Rec& cond, Rec& input) {
    uint32_t left = remainder(cond);
    uint32_t rem = remainder(input);
    if (rem == 0 || rem >= left) return;
    uint32_t run = input.chunk_pos;
    do {
        left -= rem;
        if (++run == input.chunk_count) break;
        rem = repeat_at(input, run);
    } while (rem != 0 && rem < left);
    input.chunk_pos = static_cast<uint16_t>(run);
    input.run_pos = 0;
    cond.run_pos = static_cast<uint8_t>(current_repeat(cond) - left);
}

template <class Tag>
zvq_seq_status filter_next(Rec& r) {
    Rec& cond = *r.operand[0];
    Rec& input = *r.operand[1];
    const uint32_t cap = capacity_of<Tag>(r);
    if (cap == 0) return SEQ_END;  // a char wider than the chunk
    // cond first, so that at a common end it is cond that reports it.
    const std::array<Rec*, 2> ops = {&cond, &input};
    uint32_t count = 0;
    while (count < cap) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(ops, count, closes)) return s;
        if (closes) break;

        if (const uint32_t k = aligned_stretch(ops, cap - count)) {
            count += filter_aligned<Tag>(r, count, cond, input, k);
            advance_runs(ops, k);
            continue;
        }

        if (current<uint8_t>(cond) == 0 && &cond != &input) {
            pass_over_false(cond, input);
            if (exhausted(input)) continue;
        }
        const uint8_t m = std::min(remainder(cond), remainder(input));
        if (current<uint8_t>(cond) != 0) {
            copy_value<Tag>(r, count, input, input.chunk_pos);
            set_repeat(r, count, m);
            r.next_pos += m;
            ++count;
        }
        take(cond, m);
        take(input, m);
    }
    r.chunk_count = static_cast<uint16_t>(count);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status filter_make(Rec& r, Rec* cond, Rec* input, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Uint1, Tag>(cond, input)) return s;
    init_record(r, shape_like<Tag>(*input), {next, zvq_seq_reset_binary_iterator}, {cond, input});
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_FILTER(name, Tag, ctype)                                                                    \
    zvq_seq_status zvq_seq_filter_##name(zvq_seq_iterator* result, zvq_seq_iterator* cond,                  \
                                         zvq_seq_iterator* input) {                                          \
        return zvq::filter_make<zvq::Tag>(*result, cond, input, zvq_seq_filter_##name##_next);              \
    }
#define ZVQ_STAMP_FILTER_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_filter_##name##_next(zvq_seq_iterator* it) { return zvq::filter_next<zvq::Tag>(*it); }

ZVQ_ALL_TYPES(ZVQ_STAMP_FILTER_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_FILTER)

}  // extern "C"
