// Positions of true flags: filter_pos and filter_search stream them,
// filter_first_pos gathers at most N into one chunk and merges pieces, and
// get_first_pos finds where a tree of operators starts.
//
// A position sequence is uint8 with every repeat byte 1; a position counts
// elements of the input with runs expanded.
#include <algorithm>
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

struct FilterPosState {
    uint64_t start_pos;  // where a reset returns to
    uint64_t scan_pos;   // position of the next flag to examine
};

zvq_seq_status filter_pos_next(Rec& r) {
    Rec& in = *r.operand[0];
    FilterPosState& st = state_of<FilterPosState>(r);
    uint32_t count = 0;
    while (count < kPositionCapacity) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(in, count, closes)) return s;
        if (closes) break;
        if (current<uint8_t>(in) == 0) {
            // A false run costs one step, whatever its length.
            st.scan_pos += current_repeat(in);
            next_run(in);
            continue;
        }
        // A true run gives one position per element, as one-by-one reading
        // takes it, and may end the chunk inside it.
        const uint32_t k = std::min(stepwise_remainder(in), kPositionCapacity - count);
        for (uint32_t j = 0; j < k; ++j) set_value<uint64_t>(r, count + j, st.scan_pos + j);
        st.scan_pos += k;
        count += k;
        take_stepwise(in, k);
    }
    publish_singles(r, count);
    return SEQ_OK;
}

// ---- filter_first_pos ----------------------------------------------------

// The base climbs while the operand's cursor stays where it was: a true flag
// there yields base, base + 1, ... up to N positions; a false one keeps the
// call in the loop for good. That is this operator's defined behaviour. The
// flag is read as volatile on every turn, which is what the loop does, and
// which keeps an endless loop a defined one.
zvq_seq_status first_pos_next(Rec& r) {
    zvq_seq_status s;
    if (settled_aggregate(r, s)) return s;
    uint64_t base = zvq_seq_get_first_pos(&r);
    const uint64_t n = r.last_pos;
    if (n == 0) {
        r.next_pos = 0;
        r.chunk_count = 0;
        return SEQ_END;
    }
    Rec& in = *r.operand[0];
    uint32_t i = in.chunk_pos;
    uint32_t count = 0;
    for (;;) {
        if (i >= in.chunk_count) {
            bool closes;
            if ((s = close_at_end(pull(in), count, closes))) return s;
            if (closes) {
                publish_singles(r, count);
                return SEQ_OK;
            }
            i = 0;
        }
        const volatile uint8_t* flag = in.chunk + i;
        if (*flag != 0) {
            set_value<uint64_t>(r, count, base);
            if (++count == n) {
                publish_singles(r, count);
                return SEQ_OK;
            }
        }
        ++base;
    }
}

// Folds other's sorted list into self's, at most N = self's last_pos. The
// pieces are taken to cover disjoint ranges: other's list goes in as one
// block. When the two exceed N, self's tail is cut first, then other's.
zvq_seq_status first_pos_merge(Rec& self, const Rec& other) {
    const uint64_t n = self.last_pos;
    const uint32_t have = self.chunk_count;
    const uint32_t more = other.chunk_count;
    const uint64_t first = value_at<uint64_t>(other, 0);
    uint32_t lo = 0, hi = have;
    do {
        const uint32_t mid = (lo + hi) / 2;
        if (first > value_at<uint64_t>(self, mid))
            lo = mid + 1;
        else
            hi = mid;
    } while (lo < hi);
    // An empty self still compares once with slot 0; whatever stands there
    // must not move the insertion point past the list.
    lo = std::min(lo, have);
    const uint64_t take = n < uint64_t{lo} + more ? n - lo : more;
    if (take == 0) return SEQ_OK;
    const uint64_t rest = have - lo;
    const uint64_t keep = n < lo + take + rest ? n - lo - take : rest;
    uint8_t* at = self.chunk + size_t{lo} * 8;
    zvq_memmove(at + take * 8, at, keep * 8);
    std::memcpy(at, other.chunk, take * 8);
    self.next_pos = 0;  // the merged list is the result, whatever self held
    publish_singles(self, static_cast<uint32_t>(lo + take + keep));
    return SEQ_OK;
}

// ---- get_first_pos -------------------------------------------------------

// The records above this one on the current path. A tee's twins name each
// other as operands, so the walk skips a record it is already inside.
struct Path {
    const Rec* rec;
    const Path* up;
};

uint64_t greatest_first_pos(const Rec& r, const Path* up) {
    for (const Path* p = up; p != nullptr; p = p->up)
        if (p->rec == &r) return 0;
    const Path here{&r, up};
    uint64_t best = r.first_pos;
    for (const Rec* op : r.operand)
        if (op != nullptr) best = std::max(best, greatest_first_pos(*op, &here));
    return best;
}

zvq_seq_status filter_pos_make(Rec& r, Rec* input) {
    if (zvq_seq_status s = open_operands<Uint1>(input)) return s;
    init_record(r, shape_of<Uint8>, {zvq_seq_filter_pos_next, zvq_seq_filter_pos_reset}, {input});
    state_of<FilterPosState>(r) = {0, 0};
    return SEQ_OK;
}

// The operand is tested but not bound: pieces of one condition can be read
// by several of these. The reset rewinds the operand and the record.
zvq_seq_status first_pos_make(Rec& r, Rec* input, uint64_t n) {
    if (!has_type<Uint1>(input)) return SEQ_TYPE_MISMATCH;
    if (checks_on() && input->bound) return SEQ_ALREADY_BOUND;
    if (n > kPositionCapacity) return SEQ_BAD_ARGUMENT;
    init_record(r, shape_of<Uint8>,
                {zvq_seq_filter_first_pos_next, zvq_seq_reset_unary_iterator, zvq_seq_prepare_aggregate,
                 zvq_seq_filter_first_pos_merge},
                {input});
    r.last_pos = n;
    r.prepared = 0;
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_filter_pos(zvq_seq_iterator* result, zvq_seq_iterator* input) {
    return zvq::filter_pos_make(*result, input);
}

zvq_seq_status zvq_seq_filter_pos_next(zvq_seq_iterator* it) { return zvq::filter_pos_next(*it); }

zvq_seq_status zvq_seq_filter_pos_reset(zvq_seq_iterator* it) {
    auto& st = zvq::state_of<zvq::FilterPosState>(*it);
    st.scan_pos = st.start_pos;
    return zvq_seq_reset_unary_iterator(it);
}

// Positions count from the source's first_pos, so that a condition over a
// part of a sequence reports places in the whole. The state is written
// whatever filter_pos answered.
zvq_seq_status zvq_seq_filter_search(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* source) {
    const zvq_seq_status s = zvq::filter_pos_make(*result, input);
    zvq::state_of<zvq::FilterPosState>(*result) = {source->first_pos, source->first_pos};
    return s;
}

zvq_seq_status zvq_seq_filter_first_pos(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n) {
    return zvq::first_pos_make(*result, input, n);
}

zvq_seq_status zvq_seq_filter_first_pos_next(zvq_seq_iterator* it) { return zvq::first_pos_next(*it); }

zvq_seq_status zvq_seq_filter_first_pos_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) {
    return zvq::first_pos_merge(*destination, *source);
}

uint64_t zvq_seq_get_first_pos(zvq_seq_iterator* iterator) { return zvq::greatest_first_pos(*iterator, nullptr); }

}  // extern "C"
