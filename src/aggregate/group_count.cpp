// group_agg_count: the elements of each stretch of equal adjacent keys. It
// reads only keys, whole runs at a time, and compares every run's key with
// the last one; the last key of 1, 2, 4 or 8 bytes stands in group_acc.
#include "aggregate/group.hpp"

namespace zvq {
namespace {

using CountState = GroupState<uint64_t>;

KeyStore count_keys(Rec& r) {
    CountState& s = state_of<CountState>(r);
    return {reinterpret_cast<uint8_t*>(&s.group_acc), s.group_key, kGroupKeyRoom};
}

// A chunk ends at the 455 counts it holds. The run that opened the next
// group is already counted in pending_count, so the keys' cursor is left
// behind it and nothing is counted twice.
zvq_seq_status count_next(Rec& r) {
    constexpr uint32_t cap = capacity<Uint8>;
    Rec& keys = *r.operand[0];
    GroupKeys key(count_keys(r), keys.elem_size);
    if (!key.fits()) return SEQ_TYPE_MISMATCH;
    uint64_t pending = pending_count(r);
    uint32_t i = 0;
    const auto deliver = [&] {
        set_value<uint64_t>(r, i, pending);
        set_repeat(r, i, 1);
        ++r.next_pos;
        ++i;
    };
    const auto leave = [&](zvq_seq_status s) {
        set_pending_count(r, pending);
        key.save();
        return s;
    };
    // Whole runs: the reader's run_pos is never read.
    for (uint32_t pos = keys.chunk_pos;; ++pos) {
        if (pos >= keys.chunk_count) {
            keys.chunk_pos = keys.chunk_count;
            const zvq_seq_status s = pull(keys);
            if (s == SEQ_END) {
                if (i == 0 && pending == 0) return leave(SEQ_END);
                if (pending != 0) deliver();
                pending = 0;
                r.chunk_count = static_cast<uint16_t>(i);
                return leave(SEQ_OK);
            }
            if (s != SEQ_OK) return leave(s);
            pos = 0;
        }
        const uint8_t repeat = repeat_at(keys, pos);
        // A wide key is compared where it stands.
        const bool differs = key.wide() ? key.differs<true>(keys, pos, pos) : key.differs<false>(keys, pos, pos);
        if (!differs || pending == 0) {
            pending += repeat;
            continue;
        }
        deliver();
        pending = repeat;
        if (i == cap) {
            keys.chunk_pos = static_cast<uint16_t>(pos + 1);
            r.chunk_count = static_cast<uint16_t>(cap);
            return leave(SEQ_OK);
        }
    }
}

zvq_seq_status count_make(Rec& r, Rec* keys) {
    if (zvq_seq_status s = open_operands(key_fits(keys), {keys})) return s;
    init_record(r, shape_of<Uint8>, {zvq_seq_group_agg_count_next, zvq_seq_reset_unary_agg_iterator}, {keys});
    set_pending_count(r, 0);
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_group_agg_count(zvq_seq_iterator* result, zvq_seq_iterator* keys) {
    return zvq::count_make(*result, keys);
}
zvq_seq_status zvq_seq_group_agg_count_next(zvq_seq_iterator* it) { return zvq::count_next(*it); }

}  // extern "C"
