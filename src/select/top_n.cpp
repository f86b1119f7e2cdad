// top_n_max, top_n_min: the n best elements, repeats counted, best first,
// with their merges; top_n_pos_max, top_n_pos_min: the element positions of
// those elements.
//
// The list is a tally: distinct values (with their first position, for the
// position forms) and how many elements each stands for, best first, at most
// n elements in all. A run goes in with its repeat byte as a count, so it
// costs one binary search whatever its length; a full list refuses most runs
// with one comparison. NaN is never selected. Values equal under == share one
// entry, so -0.0 and 0.0 count together and come out with the sign of the
// first one seen.
#include <algorithm>
#include <cstring>

#include "core/record.hpp"
#include "select/top.hpp"

namespace zvq {
namespace {

inline constexpr uint32_t kTopNLimit = capacity<Uint8>;

struct TopNState {
    uint64_t top_n;
};

// Entries [0, size), best first. With `starts` set an entry is a stretch of
// consecutive element positions of one value, and equal values stay apart,
// earliest first; without it equal values share one entry.
template <class V, class Rule>
struct Tally {
    V* values;
    uint32_t* counts;
    uint64_t* starts;
    uint32_t limit;
    uint32_t size = 0;
    uint32_t total = 0;

    bool full() const { return total == limit; }
    V worst() const { return values[size - 1]; }

    // r elements of value x from position `pos` on. The arrays hold limit + 1
    // entries: one more than the list keeps, for the moment before the trim.
    void add(V x, uint64_t pos, uint32_t r) {
        if (r == 0 || (full() && !Rule::beats(x, worst()))) return;
        uint32_t lo = 0, hi = size;
        while (lo < hi) {
            const uint32_t mid = (lo + hi) / 2;
            if (Rule::beats(x, values[mid]))
                hi = mid;
            else
                lo = mid + 1;
        }
        // lo stands behind every entry that x does not beat: the equal ones too.
        const bool joins = lo != 0 && values[lo - 1] == x &&
                           (starts == nullptr || starts[lo - 1] + counts[lo - 1] == pos);
        if (joins) {
            counts[lo - 1] += r;
        } else {
            const uint32_t moved = size - lo;
            std::memmove(values + lo + 1, values + lo, moved * sizeof(V));
            std::memmove(counts + lo + 1, counts + lo, moved * sizeof(uint32_t));
            if (starts != nullptr) std::memmove(starts + lo + 1, starts + lo, moved * sizeof(uint64_t));
            values[lo] = x;
            counts[lo] = r;
            if (starts != nullptr) starts[lo] = pos;
            ++size;
        }
        total += r;
        while (total > limit) {
            const uint32_t excess = total - limit;
            if (counts[size - 1] <= excess) {
                total -= counts[size - 1];
                --size;
            } else {
                counts[size - 1] -= excess;
                total = limit;
            }
        }
    }
};

// The arrays of a tally, on the stack of the caller.
template <class V, class Rule>
struct TallySpace {
    V values[kTopNLimit + 1];
    uint32_t counts[kTopNLimit + 1];
    uint64_t starts[kTopNLimit + 1];

    Tally<V, Rule> tally(uint64_t n, bool positions) {
        return {values, counts, positions ? starts : nullptr, static_cast<uint32_t>(n)};
    }
};

template <class Tag, class V>
inline bool is_nan(V x) {
    if constexpr (is_floating<Tag>)
        return x != x;
    else
        return false;
}

// Reads `op` to a status other than SEQ_OK, offering every run with its
// repeat byte and the element position it starts at.
template <class Tag, class Rule>
zvq_seq_status scan_elements(Rec& op, Tally<value_t<Tag>, Rule>& list) {
    using V = value_t<Tag>;
    uint64_t pos = 0;
    zvq_seq_status s;
    while ((s = pull(op)) == SEQ_OK) {
        const uint32_t k = op.chunk_count;
        for (uint32_t i = 0; i < k; ++i) {
            if (list.full()) {
                const uint32_t j = first_beating<V, Rule>(op.chunk, i, k, list.worst());
                if (list.starts != nullptr) pos += repeat_sum(op, i, j);
                if ((i = j) == k) break;
            }
            const V x = value_at<V>(op, i);
            const uint8_t r = repeat_at(op, i);
            if (!is_nan<Tag>(x)) list.add(x, pos, r);
            pos += r;
        }
        op.chunk_pos = op.chunk_count;
    }
    return s;
}

// The tally as runs: an entry of more than 255 elements takes several. At
// most n runs, which a chunk of any type holds.
template <class V, class Rule>
void publish_values(Rec& r, const Tally<V, Rule>& list) {
    uint32_t k = 0;
    for (uint32_t e = 0; e < list.size; ++e)
        for (uint32_t left = list.counts[e]; left != 0; ++k) {
            const uint32_t rep = std::min(left, 255u);
            set_value<V>(r, k, list.values[e]);
            set_repeat(r, k, static_cast<uint8_t>(rep));
            left -= rep;
        }
    r.chunk_count = static_cast<uint16_t>(k);
    r.next_pos = list.total;
}

// ---- value forms -----------------------------------------------------------

template <class Tag, class Rule>
zvq_seq_status top_n_next(Rec& r) {
    zvq_seq_status s;
    if (settled_aggregate(r, s)) return s;
    TallySpace<value_t<Tag>, Rule> space;
    auto list = space.tally(state_of<TopNState>(r).top_n, false);
    s = scan_elements<Tag>(*r.operand[0], list);
    // A failure loses the list; an input of NaN only selects nothing.
    if (s != SEQ_END || list.size == 0) return s;
    publish_values(r, list);
    return SEQ_OK;
}

// Both lists are the best elements of their parts, so the best n of their
// union are the whole's best n: the runs of both go through one tally.
template <class Tag, class Rule>
zvq_seq_status top_n_merge(Rec& self, const Rec& other) {
    using V = value_t<Tag>;
    TallySpace<V, Rule> space;
    auto list = space.tally(state_of<TopNState>(self).top_n, false);
    for (const Rec* part : {static_cast<const Rec*>(&self), &other})
        for (uint32_t i = 0; i < part->chunk_count; ++i) list.add(value_at<V>(*part, i), 0, repeat_at(*part, i));
    publish_values(self, list);
    return SEQ_OK;
}

// ---- position forms ---------------------------------------------------------

// Delivers once. Positions are those of the input the record reads, so a
// part cannot know where it stands in a whole: these forms have no merge.
template <class Tag, class Rule>
zvq_seq_status top_n_pos_next(Rec& r) {
    if (r.next_pos != 0) return SEQ_END;
    TallySpace<value_t<Tag>, Rule> space;
    auto list = space.tally(state_of<TopNState>(r).top_n, true);
    const zvq_seq_status s = scan_elements<Tag>(*r.operand[0], list);
    if (s != SEQ_END || list.size == 0) return s;
    uint32_t k = 0;
    for (uint32_t e = 0; e < list.size; ++e)
        for (uint32_t c = 0; c < list.counts[e]; ++c) set_value<uint64_t>(r, k++, list.starts[e] + c);
    publish_singles(r, k);
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status top_n_make(Rec& r, Rec* input, uint64_t n, Shape shape, const Fns& fns) {
    if (!has_type<Tag>(input)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({input})) return s;
    if (n == 0 || n > kTopNLimit) return SEQ_BAD_ARGUMENT;
    init_record(r, shape, fns, {input});
    r.prepared = 0;
    state_of<TopNState>(r) = {n};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_TOP_N(op, Rule, name, Tag)                                                                      \
    zvq_seq_status zvq_seq_top_n_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n) { \
        return zvq::top_n_make<zvq::Tag>(*result, input, n, zvq::shape_of<zvq::Tag>,                            \
                                         {zvq_seq_top_n_##op##_##name##_next, zvq_seq_reset_unary_iterator,     \
                                          zvq_seq_prepare_aggregate, zvq_seq_top_n_##op##_##name##_merge});     \
    }
#define ZVQ_STAMP_TOP_N_NEXT(op, Rule, name, Tag)                                \
    zvq_seq_status zvq_seq_top_n_##op##_##name##_next(zvq_seq_iterator* it) {  \
        return zvq::top_n_next<zvq::Tag, zvq::Rule>(*it);                        \
    }
#define ZVQ_STAMP_TOP_N_MERGE(op, Rule, name, Tag)                                                                    \
    zvq_seq_status zvq_seq_top_n_##op##_##name##_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) {  \
        return zvq::top_n_merge<zvq::Tag, zvq::Rule>(*destination, *source);                                        \
    }
#define ZVQ_STAMP_TOP_N_POS(op, Rule, name, Tag)                                                                      \
    zvq_seq_status zvq_seq_top_n_pos_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n) { \
        return zvq::top_n_make<zvq::Tag>(*result, input, n, zvq::shape_of<zvq::Uint8>,                              \
                                         {zvq_seq_top_n_pos_##op##_##name##_next, zvq_seq_reset_unary_iterator});   \
    }
#define ZVQ_STAMP_TOP_N_POS_NEXT(op, Rule, name, Tag)                               \
    zvq_seq_status zvq_seq_top_n_pos_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::top_n_pos_next<zvq::Tag, zvq::Rule>(*it);                       \
    }

// The five names of one direction for one type.
#define ZVQ_STAMP_TOP_N_FAMILY(op, Rule, name, Tag) \
    ZVQ_STAMP_TOP_N_NEXT(op, Rule, name, Tag)       \
    ZVQ_STAMP_TOP_N_MERGE(op, Rule, name, Tag)      \
    ZVQ_STAMP_TOP_N(op, Rule, name, Tag)            \
    ZVQ_STAMP_TOP_N_POS_NEXT(op, Rule, name, Tag)   \
    ZVQ_STAMP_TOP_N_POS(op, Rule, name, Tag)

#define ZVQ_TOP_N_MAX(name, Tag, ctype) ZVQ_STAMP_TOP_N_FAMILY(max, TopMax, name, Tag)
#define ZVQ_TOP_N_MIN(name, Tag, ctype) ZVQ_STAMP_TOP_N_FAMILY(min, TopMin, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_TOP_N_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_TOP_N_MIN)

}  // extern "C"
