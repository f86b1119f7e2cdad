// map: the values of `input` at the positions of a uint8 sequence, which must
// not decrease. The input is walked forward only; a position behind the
// chunk it holds is SEQ_BAD_ORDER.
//
// The cursor into the input keeps the distance from the previous position in
// run_pos, not the offset inside the run. Over runs of one element that is
// exact; over longer runs the cursor drifts (over A x 10, B x 10 the
// positions 3, 5, 11 give A, A, A). That is this operator's defined result.
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

struct MapState {
    uint64_t map_pos;  // the last position served
};

template <class Tag>
zvq_seq_status map_next(Rec& r) {
    Rec& positions = *r.operand[0];
    Rec& input = *r.operand[1];
    const uint32_t cap = capacity_of<Tag>(r);
    if (cap == 0) return SEQ_END;  // a char wider than the chunk
    uint64_t base = state_of<MapState>(r).map_pos;
    uint32_t count = 0;
    while (count < cap) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(positions, count, closes)) return s;
        if (closes) break;
        // One run is one position: its repeat byte is not read.
        const uint64_t p = current<uint64_t>(positions);
        ++positions.chunk_pos;

        // The input's next_pos is the position just past its chunk. Its
        // run_pos is not cleared by the pull. (An empty chunk would leave
        // no run to stand on.)
        while (p >= input.next_pos || input.chunk_count == 0) {
            const uint64_t start = input.next_pos;
            if (zvq_seq_status s = pull(input)) return s;
            base = start;
        }
        if (p < base) return SEQ_BAD_ORDER;

        // Walk to the run that seems to hold p. q may be stale from the
        // previous chunk and above r, which moves base back; the walk stops
        // at the chunk's last run so that it never reads past the chunk.
        uint32_t run = input.chunk_pos;
        const int32_t room = int32_t{repeat_at(input, run)} - int32_t{input.run_pos};
        if (room <= 0 || p - base >= static_cast<uint64_t>(room)) {
            base += static_cast<uint64_t>(static_cast<int64_t>(room));
            for (++run; run < input.chunk_count; ++run) {
                const uint8_t rep = repeat_at(input, run);
                if (p - base < rep) break;
                base += rep;
            }
            if (run >= input.chunk_count) run = input.chunk_count - 1u;
        }
        input.chunk_pos = static_cast<uint16_t>(run);
        input.run_pos = static_cast<uint8_t>(p - base);

        copy_value<Tag>(r, count, input, run);
        ++count;
        base = p;
    }
    state_of<MapState>(r).map_pos = base;
    publish_singles(r, count);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status map_make(Rec& r, Rec* input, Rec* positions, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<Uint8, Tag>(positions, input)) return s;
    init_record(r, shape_like<Tag>(*input), {next, zvq_seq_map_reset}, {positions, input});
    state_of<MapState>(r).map_pos = 0;
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_MAP(name, Tag, ctype)                                                                         \
    zvq_seq_status zvq_seq_map_##name(zvq_seq_iterator* result, zvq_seq_iterator* input,                      \
                                      zvq_seq_iterator* positions) {                                           \
        return zvq::map_make<zvq::Tag>(*result, input, positions, zvq_seq_map_##name##_next);                 \
    }
#define ZVQ_STAMP_MAP_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_map_##name##_next(zvq_seq_iterator* it) { return zvq::map_next<zvq::Tag>(*it); }

ZVQ_ALL_TYPES(ZVQ_STAMP_MAP_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_MAP)

zvq_seq_status zvq_seq_map_reset(zvq_seq_iterator* it) {
    zvq::state_of<zvq::MapState>(*it).map_pos = 0;
    return zvq_seq_reset_binary_iterator(it);
}

}  // extern "C"
