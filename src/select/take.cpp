// take: the elements of `input` at the positions of a non-decreasing uint8
// sequence, exact over runs on both sides.
//
// The input is walked forward run by run; the state keeps the position at
// which the run under the input's cursor starts, so no offset inside a run
// is ever stored. A positions run (p, r) is one output run of r copies, and
// consecutive positions that fall in one input run extend one output run
// (up to 255), so a dense or repeated selection stays run-length encoded.
//
// A position behind the previous one is SEQ_BAD_ORDER, and a position past
// the input's end ends the result: in both cases the runs already gathered
// are delivered first and the next call answers the status, the offending
// position left unread.
#include "core/record.hpp"

namespace zvq {
namespace {

struct TakeState {
    uint64_t run_start;   // input position where the run at the input's chunk_pos starts
    uint64_t last_taken;  // the last position taken, for the order test
};

template <class Tag>
zvq_seq_status take_next(Rec& r) {
    Rec& positions = *r.operand[0];
    Rec& input = *r.operand[1];
    TakeState& st = state_of<TakeState>(r);
    const uint32_t cap = capacity_of<Tag>(r);
    if (cap == 0) return SEQ_END;  // a char wider than the chunk
    uint32_t i = 0;
    bool open = false;       // output run i - 1 may still grow
    uint32_t open_from = 0;  // the input run it copies
    zvq_seq_status s = SEQ_OK;
    for (;;) {
        if ((s = refill(positions)) != SEQ_OK) break;
        const uint64_t p = current<uint64_t>(positions);
        if (p < st.last_taken) {
            s = SEQ_BAD_ORDER;
            break;
        }
        // Walk the input to the run that holds p.
        for (;;) {
            if (exhausted(input)) {
                if ((s = pull(input)) != SEQ_OK) break;
                open = false;
                continue;
            }
            const uint32_t rep = stepwise_repeat(input, input.chunk_pos);
            if (p - st.run_start < rep) break;
            st.run_start += rep;
            ++input.chunk_pos;
        }
        if (s != SEQ_OK) break;
        const uint32_t want = stepwise_remainder(positions);
        uint32_t k;
        if (open && open_from == input.chunk_pos && repeat_at(r, i - 1) < 255) {
            k = std::min<uint32_t>(want, 255u - repeat_at(r, i - 1));
            set_repeat(r, i - 1, static_cast<uint8_t>(repeat_at(r, i - 1) + k));
        } else {
            if (i == cap) break;
            k = std::min<uint32_t>(want, 255u);
            copy_value<Tag>(r, i, input, input.chunk_pos);
            set_repeat(r, i, static_cast<uint8_t>(k));
            open = true;
            open_from = input.chunk_pos;
            ++i;
        }
        take_stepwise(positions, k);
        st.last_taken = p;
        r.next_pos += k;
    }
    // The end of either operand, or a position out of order, closes a chunk
    // that has runs; the next call meets it again.
    if (i == 0 || (s != SEQ_OK && s != SEQ_END && s != SEQ_BAD_ORDER)) return s;
    r.chunk_count = static_cast<uint16_t>(i);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status take_make(Rec& r, Rec* positions, Rec* input, zvq_seq_next_fn next) {
    if (!has_type<Uint8>(positions) || !has_type<Tag>(input)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({positions, input})) return s;
    init_record(r, shape_like<Tag>(*input), {next, zvq_seq_take_reset}, {positions, input});
    state_of<TakeState>(r) = {0, 0};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_take_reset(zvq_seq_iterator* it) {
    zvq::state_of<zvq::TakeState>(*it) = {0, 0};
    return zvq_seq_reset_binary_iterator(it);
}

#define ZVQ_STAMP_TAKE(name, Tag, ctype)                                                                       \
    zvq_seq_status zvq_seq_take_##name(zvq_seq_iterator* result, zvq_seq_iterator* positions,                 \
                                       zvq_seq_iterator* input) {                                             \
        return zvq::take_make<zvq::Tag>(*result, positions, input, zvq_seq_take_##name##_next);               \
    }
#define ZVQ_STAMP_TAKE_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_take_##name##_next(zvq_seq_iterator* it) { return zvq::take_next<zvq::Tag>(*it); }

ZVQ_ALL_TYPES(ZVQ_STAMP_TAKE_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_TAKE)

}  // extern "C"
