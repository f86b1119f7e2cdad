// top_max, top_min: the N best values, best first, with their merges;
// top_pos_max, top_pos_min: the run ordinals of those values.
//
// The candidate list stays sorted. Once it is full a value that does not get
// in costs one comparison with the worst entry; one that does costs a binary
// search and one block move. A run counts as one value whatever its repeat
// byte, and a position is the run's ordinal.
#include <algorithm>
#include <cstring>

#include "core/record.hpp"
#include "select/top.hpp"

namespace zvq {
namespace {

struct TopState {
    uint64_t top_n;
    uint64_t listed;  // positions kept by a position family, past the first chunk in `buffer`
};

// The sorted list of at most `limit` values at `values` (a chunk's value area
// or a local array), with their positions beside them when `positions` is
// not null. Among equal values the older stays ahead.
template <class V, class Rule>
struct Candidates {
    uint8_t* values;
    uint64_t* positions;
    uint32_t limit;
    uint32_t count = 0;
    V worst{};  // slot limit - 1 once the list is full

    V at(uint32_t i) const { return load<V>(values + size_t{i} * sizeof(V)); }

    uint32_t first_beating(const uint8_t* items, uint32_t i, uint32_t k) const {
        return zvq::first_beating<V, Rule>(items, i, k, worst);
    }

    // x goes in; when the list was full the worst value goes out.
    void insert(V x, uint64_t pos) {
        uint32_t lo = 0, hi = count;
        while (lo < hi) {
            const uint32_t mid = (lo + hi) / 2;
            if (Rule::beats(x, at(mid)))
                hi = mid;
            else
                lo = mid + 1;
        }
        if (count < limit) ++count;
        if (const uint32_t moved = count - lo - 1; moved != 0) {
            zvq_memmove(values + size_t{lo + 1} * sizeof(V), values + size_t{lo} * sizeof(V), moved * sizeof(V));
            if (positions != nullptr) zvq_memmove(positions + lo + 1, positions + lo, moved * sizeof(uint64_t));
        }
        store<V>(values + size_t{lo} * sizeof(V), x);
        if (positions != nullptr) positions[lo] = pos;
        worst = at(count - 1);
    }
};

// Offers every run of each chunk of `op` until a status other than SEQ_OK.
// The operand's read positions are neither read nor moved. A list of 0
// takes nothing but still reads the whole input.
template <class V, class List>
zvq_seq_status scan_runs(Rec& op, List& list) {
    uint64_t run_index = 0;
    zvq_seq_status s;
    while ((s = pull(op)) == SEQ_OK) {
        const uint32_t k = op.chunk_count;
        for (uint32_t i = 0; i < k && list.limit != 0; ++i) {
            if (list.count == list.limit && (i = list.first_beating(op.chunk, i, k)) == k) break;
            list.insert(value_at<V>(op, i), run_index + i);
        }
        run_index += k;
    }
    return s;
}

// ---- value families ------------------------------------------------------

template <class Tag, class Rule>
zvq_seq_status top_next(Rec& r) {
    using V = value_t<Tag>;
    zvq_seq_status s;
    if (settled_aggregate(r, s)) return s;
    Candidates<V, Rule> list{r.chunk, nullptr, static_cast<uint32_t>(state_of<TopState>(r).top_n)};
    s = scan_runs<V>(*r.operand[0], list);
    // A failure loses the list: nothing is published.
    if (list.count == 0 || s != SEQ_END) return s;
    publish_singles(r, list.count);
    return SEQ_OK;
}

// Folds other's sorted list into self's, at most self's N. Of two equal
// values only one is kept here, while next keeps both; that asymmetry is
// this merge's defined result. Both lists are expected to hold something;
// an empty one is taken as it is.
template <class Tag, class Rule>
zvq_seq_status top_merge(Rec& self, const Rec& other) {
    using V = value_t<Tag>;
    constexpr size_t w = sizeof(V);
    const uint32_t n = static_cast<uint32_t>(state_of<TopState>(self).top_n);
    const uint32_t m = other.chunk_count;
    uint32_t c = self.chunk_count;
    uint32_t i = 0, j = 0;
    if (c == 0) {
        c = std::min(n, m);
        std::memcpy(self.chunk, other.chunk, c * w);
    } else {
        while (m != 0) {
            const V a = value_at<V>(self, i), b = value_at<V>(other, j);
            if (Rule::beats(b, a)) {
                if (c < n) ++c;
                ++j;
                zvq_memmove(self.chunk + (i + 1) * w, self.chunk + i * w, (c - i - 1) * w);
                set_value<V>(self, i, b);
                if (c == i + 1 || j == m) break;
            } else {
                if (a == b && ++j == m) break;
                if (c == i + 1) {
                    // self is used up: other's rest fills the free slots.
                    const uint32_t t = std::min(n - c, m - j);
                    std::memcpy(self.chunk + c * w, other.chunk + j * w, t * w);
                    c += t;
                    break;
                }
            }
            ++i;
        }
    }
    self.next_pos = 0;
    publish_singles(self, c);
    return SEQ_OK;
}

// ---- position families ---------------------------------------------------

// Hands out the positions kept past the first chunk, then SEQ_END. The
// buffer goes back as soon as its last chunk is out.
zvq_seq_status top_pos_rest(Rec& r) {
    const uint64_t listed = state_of<TopState>(r).listed;
    if (r.next_pos >= listed || r.buffer == nullptr) {
        r.chunk_count = 0;
        return SEQ_END;
    }
    const auto k = static_cast<uint32_t>(std::min<uint64_t>(kPositionCapacity, listed - r.next_pos));
    std::memcpy(r.chunk, static_cast<const uint64_t*>(r.buffer) + r.next_pos, size_t{k} * 8);
    publish_singles(r, k);
    if (r.next_pos == listed) zvq_seq_free_buffer(&r);
    return SEQ_OK;
}

// The list is published on a failure too. One that does not fit a chunk
// (N above 455 for narrow types) is kept in the record's buffer and
// delivered over several chunks.
template <class Tag>
zvq_seq_status top_pos_publish(Rec& r, const uint64_t* positions, uint32_t count, zvq_seq_status s) {
    const uint32_t first = std::min(count, kPositionCapacity);
    if constexpr (capacity<Tag> > kPositionCapacity) {
        if (count > first) {
            void* kept = zvq_seq_alloc_buffer(&r, uint64_t{count} * 8);
            if (kept == nullptr) return SEQ_NOMEM;
            std::memcpy(kept, positions, size_t{count} * 8);
        }
    }
    state_of<TopState>(r).listed = count;
    std::memcpy(r.chunk, positions, size_t{first} * 8);
    publish_singles(r, first);
    return count == 0 || s != SEQ_END ? s : SEQ_OK;
}

// The values stand on the stack beside the positions, capacity(T) of each.
template <class Tag, class Rule>
zvq_seq_status top_pos_next(Rec& r) {
    using V = value_t<Tag>;
    if (r.next_pos != 0) return top_pos_rest(r);
    uint8_t values[capacity<Tag> * sizeof(V)];
    uint64_t positions[capacity<Tag>];
    Candidates<V, Rule> list{values, positions, static_cast<uint32_t>(state_of<TopState>(r).top_n)};
    const zvq_seq_status s = scan_runs<V>(*r.operand[0], list);
    return top_pos_publish<Tag>(r, positions, list.count, s);
}

// The limit of N is the capacity of T, for the position families too.
template <class Tag>
zvq_seq_status top_make(Rec& r, Rec* input, uint64_t n, Shape shape, const Fns& fns) {
    if (zvq_seq_status s = open_operands<Tag>(input)) return s;
    if (n > capacity<Tag>) return SEQ_BAD_ARGUMENT;
    init_record(r, shape, fns, {input});
    state_of<TopState>(r) = {n, 0};
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status top_value_make(Rec& r, Rec* input, uint64_t n, zvq_seq_next_fn next, zvq_seq_merge_fn merge) {
    const zvq_seq_status s =
        top_make<Tag>(r, input, n, shape_of<Tag>, {next, zvq_seq_reset_unary_iterator, zvq_seq_prepare_aggregate, merge});
    if (s == SEQ_OK) r.prepared = 0;
    return s;
}

// A list longer than a chunk owns a buffer, which its reset gives back.
template <class Tag>
zvq_seq_status top_pos_make(Rec& r, Rec* input, uint64_t n, zvq_seq_next_fn next) {
    const bool long_list = n > kPositionCapacity;
    const zvq_seq_status s = top_make<Tag>(
        r, input, n, shape_of<Uint8>, {next, long_list ? zvq_seq_top_pos_reset : zvq_seq_reset_unary_iterator});
    if (s == SEQ_OK && long_list) r.buffer = nullptr;
    return s;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_TOP(op, Rule, name, Tag)                                                                       \
    zvq_seq_status zvq_seq_top_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n) {  \
        return zvq::top_value_make<zvq::Tag>(*result, input, n, zvq_seq_top_##op##_##name##_next,              \
                                             zvq_seq_top_##op##_##name##_merge);                                \
    }
#define ZVQ_STAMP_TOP_NEXT(op, Rule, name, Tag)                                  \
    zvq_seq_status zvq_seq_top_##op##_##name##_next(zvq_seq_iterator* it) {    \
        return zvq::top_next<zvq::Tag, zvq::Rule>(*it);                          \
    }
#define ZVQ_STAMP_TOP_MERGE(op, Rule, name, Tag)                                                                    \
    zvq_seq_status zvq_seq_top_##op##_##name##_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) {  \
        return zvq::top_merge<zvq::Tag, zvq::Rule>(*destination, *source);                                        \
    }
#define ZVQ_STAMP_TOP_POS(op, Rule, name, Tag)                                                                       \
    zvq_seq_status zvq_seq_top_pos_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n) {  \
        return zvq::top_pos_make<zvq::Tag>(*result, input, n, zvq_seq_top_pos_##op##_##name##_next);               \
    }
#define ZVQ_STAMP_TOP_POS_NEXT(op, Rule, name, Tag)                               \
    zvq_seq_status zvq_seq_top_pos_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::top_pos_next<zvq::Tag, zvq::Rule>(*it);                       \
    }

// The five names of one direction for one type.
#define ZVQ_STAMP_TOP_FAMILY(op, Rule, name, Tag) \
    ZVQ_STAMP_TOP_NEXT(op, Rule, name, Tag)       \
    ZVQ_STAMP_TOP_MERGE(op, Rule, name, Tag)      \
    ZVQ_STAMP_TOP(op, Rule, name, Tag)            \
    ZVQ_STAMP_TOP_POS_NEXT(op, Rule, name, Tag)   \
    ZVQ_STAMP_TOP_POS(op, Rule, name, Tag)

#define ZVQ_TOP_MAX(name, Tag, ctype) ZVQ_STAMP_TOP_FAMILY(max, TopMax, name, Tag)
#define ZVQ_TOP_MIN(name, Tag, ctype) ZVQ_STAMP_TOP_FAMILY(min, TopMin, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_TOP_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_TOP_MIN)

// A long position list lives in the record's buffer, as order_by's input does.
zvq_seq_status zvq_seq_top_pos_reset(zvq_seq_iterator* it) { return zvq_seq_order_by_reset(it); }

}  // extern "C"
