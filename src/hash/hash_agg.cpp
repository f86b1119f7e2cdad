// Hash aggregates: max, min, sum and avg of the values per distinct key, and
// the count of elements per key, each delivered by a pair of iterators (the
// aggregates and the keys) around one table. The frame is in hash_agg.hpp,
// the folds in hash_agg_rules.hpp; this file has the frame's out-of-line
// pieces and stamps the exported names.
#include <new>

#include "hash/hash_agg_rules.hpp"
#include "core/murmur.hpp"

namespace zvq {

zvq_seq_status make_pair(Rec& agg, Rec& grp, Rec* values, Rec& keys, uint64_t size, Shape result, const PairFns& fns) {
    void* memory = zvq_seq_malloc(values, sizeof(HashPair));
    if (memory == nullptr) return SEQ_NOMEM;
    const uint64_t table_size = table_size_for(size);
    init_record(agg, result, {fns.next_agg, zvq_seq_hash_agg_reset, fns.prepare, fns.merge}, {values, &keys});
    init_record(grp, shape_of_record(keys), {fns.next_grp, zvq_seq_hash_agg_reset}, {values, &keys});
    HashAggState& a = state_of<HashAggState>(agg);
    HashAggState& g = state_of<HashAggState>(grp);
    // own_table starts null so that a later build can tell a leftover of a
    // failed build from nothing.
    a = g = HashAggState{table_size, 0, nullptr, nullptr, nullptr};
    a.pair = g.pair = new (memory) HashPair{nullptr, &a, &g};
    return SEQ_OK;
}

namespace {

// word_at with the width fixed at compile time where it is 1 to 8 (W 0:
// known only at run time).
template <uint32_t W>
uint64_t key_word_at(const uint8_t* p, uint32_t width) {
    if constexpr (W == 0) {
        return word_at(p, width);
    } else {
        uint64_t word = 0;
        std::memcpy(&word, p, W);
        return word;
    }
}

template <uint32_t W>
void words_and_buckets(const uint8_t* slots, uint32_t width, const BucketOf& bucket, KeyBatch& out) {
    for (uint32_t i = 0; i < out.to - out.from; ++i) {
        out.word[i] = key_word_at<W>(slots + static_cast<size_t>(i) * width, width);
        out.bucket[i] = static_cast<uint32_t>(bucket(out.hash[i]));
    }
}

}  // namespace

void hash_window(const Rec& keys, uint32_t from, const TableBuilder& b, KeyBatch& out) {
    const uint64_t size = b.table()->size;
    const uint32_t width = keys.elem_size;
    const uint8_t* slots = slot_ptr(keys, from);
    out.from = from;
    out.to = from + std::min<uint32_t>(keys.chunk_count - from, KeyBatch::kRuns);
    out.size = size;
    out.far = size * sizeof(HashEntry*) + b.count() * sizeof(HashEntry) >= KeyBatch::kFarBytes;
    murmur_slots(slots, width, out.to - from, out.hash);
    const BucketOf bucket(size);
    switch (width) {
        case 1: return words_and_buckets<1>(slots, width, bucket, out);
        case 2: return words_and_buckets<2>(slots, width, bucket, out);
        case 4: return words_and_buckets<4>(slots, width, bucket, out);
        case 8: return words_and_buckets<8>(slots, width, bucket, out);
        default: return words_and_buckets<0>(slots, width, bucket, out);
    }
}

void drop_unpublished(Rec& it) {
    HashAggState& st = state_of<HashAggState>(it);
    if (st.own_table != nullptr && st.own_table != st.pair->table) free_hash(&it, st.own_table);
    st.own_table = nullptr;
}

zvq_seq_status deliver_keys(Rec& r) {
    const uint32_t width = r.elem_size;
    const uint32_t cap = char_capacity(width);
    if (cap == 0) {
        r.chunk_count = 0;
        return SEQ_END;
    }
    return walk_groups(r, cap, [&r, width](uint32_t i, const HashEntry& e) {
        std::memcpy(slot_ptr(r, i), width <= kInlineKeyWidth ? &e.key : key_bytes(e.key), width);
    });
}

void forget_merged(Rec& source) {
    HashAggState& st = state_of<HashAggState>(source);
    if (st.pair != nullptr && st.pair->table == st.own_table) st.pair->table = nullptr;
    st.own_table = nullptr;
}

}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_HASH_AGG(op, Fold, name, Tag)                                                                      \
    zvq_seq_status zvq_seq_hash_initialize_##op##_##name(zvq_seq_iterator* it) {                                     \
        return zvq::build_groups<Fold>(*it);                                                                         \
    }                                                                                                                \
    zvq_seq_status zvq_seq_hash_merge_##op##_##name(zvq_seq_iterator* destination, zvq_seq_iterator* source) {       \
        return zvq::merge_groups<Fold>(*destination, *source);                                                       \
    }                                                                                                                \
    zvq_seq_status zvq_seq_hash_agg_##op##_##name##_next_agg(zvq_seq_iterator* it) {                                 \
        return zvq::next_aggregates<Fold>(*it);                                                                      \
    }                                                                                                                \
    zvq_seq_status zvq_seq_hash_agg_##op##_##name##_next_grp(zvq_seq_iterator* it) {                                 \
        return zvq::next_keys<Fold>(*it);                                                                            \
    }                                                                                                                \
    zvq_seq_status zvq_seq_hash_agg_##op##_##name(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result,        \
                                                  zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size) { \
        return zvq::hash_agg_make<zvq::Tag, Fold>(                                                                   \
            *agg_result, *grp_result, values, keys, size,                                                            \
            {zvq_seq_hash_agg_##op##_##name##_next_agg, zvq_seq_hash_agg_##op##_##name##_next_grp,                   \
             zvq_seq_hash_initialize_##op##_##name, zvq_seq_hash_merge_##op##_##name});                              \
    }

#define ZVQ_HASH_AGG_MAX(name, Tag, ctype) ZVQ_STAMP_HASH_AGG(max, zvq::ValueFold<zvq::Max<zvq::Tag>>, name, Tag)
#define ZVQ_HASH_AGG_MIN(name, Tag, ctype) ZVQ_STAMP_HASH_AGG(min, zvq::ValueFold<zvq::Min<zvq::Tag>>, name, Tag)
#define ZVQ_HASH_AGG_SUM(name, Tag, ctype) ZVQ_STAMP_HASH_AGG(sum, zvq::ValueFold<zvq::HashSum<zvq::Tag>>, name, Tag)
#define ZVQ_HASH_AGG_AVG(name, Tag, ctype) ZVQ_STAMP_HASH_AGG(avg, zvq::ValueFold<zvq::HashAvg<zvq::Tag>>, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_HASH_AGG_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_HASH_AGG_MIN)
ZVQ_NUMERIC_TYPES(ZVQ_HASH_AGG_SUM)
ZVQ_NUMERIC_TYPES(ZVQ_HASH_AGG_AVG)

// The count exists for uint8 values only, and runs without values too.
ZVQ_STAMP_HASH_AGG(count, zvq::CountFold, uint8, Uint8)

zvq_seq_status zvq_seq_hash_agg_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result,
                                      zvq_seq_iterator* keys, uint64_t size) {
    return zvq_seq_hash_agg_count_uint8(agg_result, grp_result, nullptr, keys, size);
}

}  // extern "C"
