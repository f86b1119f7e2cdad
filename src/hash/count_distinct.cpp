// agg_count_distinct: the exact number of distinct values of a whole
// sequence, with a merge that unions the sets of two parts.
//
// The set is an open-addressing table with linear probing, a power of two of
// 8-byte slots, at most half full, grown by doubling: its size follows the
// distinct values seen, not the input's length. A value of at most 8 bytes is
// its own slot, zero-extended, with 0 marking an empty slot and the value 0
// kept as a flag beside the table. A wider char value is kept in a key area
// behind the slots, and its slot holds its 32-bit hash and its index + 1.
// Runs are probed one per run, a block of runs at a time: all of a block's
// slots are fetched ahead before the first is probed.
//
// Floating values count as SQL does: -0.0 equals 0.0, and all NaNs are one
// value. char values count by all their bytes.
//
// The table is the record's buffer. It lives from the first next (or
// prepare) until the result has been read to SEQ_END, or until reset or
// zvq_seq_free_buffer, so that a prepared part keeps its set for a merge.
#include <algorithm>
#include <bit>
#include <cstring>

#include "core/record.hpp"
#include "core/murmur.hpp"

namespace zvq {
namespace {

struct DistinctState {
    uint64_t slots;  // a power of two; 0 while no table exists
    uint64_t count;  // values in the table (for narrow keys, those but 0)
    uint32_t width;  // bytes of a value
    uint8_t has_zero;
};

inline constexpr uint64_t kFirstSlots = 64;
inline constexpr uint32_t kBlock = 32;
inline constexpr uint64_t kMix = 0x9E3779B97F4A7C15u;

// Fibonacci hashing: the top bits of the product pick the slot.
inline uint64_t home_of(uint64_t hash, uint64_t slots) {
    return (hash * kMix) >> (64 - std::countr_zero(slots));
}
inline uint64_t mix_narrow(uint64_t key) { return key ^ (key >> 29); }

// Bytes of a table of `slots` slots, with room for the keys it may hold
// before it grows when they are wide.
inline uint64_t table_bytes(uint64_t slots, uint32_t width) {
    return slots * 8 + (width > 8 ? slots / 2 * width : 0);
}

// A value as a narrow key: its bits zero-extended, floating values made
// canonical first.
template <class Tag>
inline uint64_t narrow_key(const uint8_t* p, uint32_t width) {
    using V = value_t<Tag>;
    if constexpr (is_char<Tag>) {
        uint64_t k = 0;
        std::memcpy(&k, p, width);
        return k;
    } else if constexpr (is_floating<Tag>) {
        using U = std::conditional_t<sizeof(V) == 4, uint32_t, uint64_t>;
        V v = load<V>(p);
        if (v != v) return sizeof(V) == 4 ? uint64_t{0x7FC00000u} : uint64_t{0x7FF8000000000000u};
        if (v == V(0)) return 0;
        return std::bit_cast<U>(v);
    } else {
        return static_cast<std::make_unsigned_t<V>>(load<V>(p));
    }
}

class Set {
   public:
    explicit Set(Rec& r) : r_(r), st_(state_of<DistinctState>(r)) {
        // zvq_seq_free_buffer may have taken the table behind our back.
        if (r.buffer == nullptr) {
            st_.slots = 0;
            st_.count = 0;
            st_.has_zero = 0;
        }
    }

    bool wide() const { return st_.width > 8; }
    uint64_t distinct() const { return st_.count + st_.has_zero; }

    // Room for `more` values without passing half the slots.
    zvq_seq_status reserve(uint64_t more) {
        uint64_t want = st_.slots == 0 ? kFirstSlots : st_.slots;
        while ((st_.count + more) * 2 > want) want *= 2;
        return want == st_.slots ? SEQ_OK : grow(want);
    }

    uint64_t* slots() { return static_cast<uint64_t*>(r_.buffer); }
    uint8_t* keys() { return static_cast<uint8_t*>(r_.buffer) + st_.slots * 8; }

    void prefetch(uint64_t hash) { __builtin_prefetch(slots() + home_of(hash, st_.slots)); }

    // A narrow key; the table has room.
    void insert_narrow(uint64_t key) {
        if (key == 0) {
            st_.has_zero = 1;
            return;
        }
        uint64_t* t = slots();
        const uint64_t mask = st_.slots - 1;
        for (uint64_t i = home_of(mix_narrow(key), st_.slots);; i = (i + 1) & mask) {
            if (t[i] == key) return;
            if (t[i] == 0) {
                t[i] = key;
                ++st_.count;
                return;
            }
        }
    }

    // A wide key with its hash; the table has room. The index shares the
    // slot with the hash, so a set holds fewer than 2^32 wide values.
    void insert_wide(const uint8_t* key, uint32_t hash) {
        uint64_t* t = slots();
        const uint64_t mask = st_.slots - 1;
        const uint32_t w = st_.width;
        for (uint64_t i = home_of(hash, st_.slots);; i = (i + 1) & mask) {
            const uint64_t s = t[i];
            if (s == 0) {
                std::memcpy(keys() + st_.count * w, key, w);
                t[i] = uint64_t{hash} << 32 | (st_.count + 1);
                ++st_.count;
                return;
            }
            if (s >> 32 == hash && std::memcmp(keys() + ((s & 0xFFFFFFFFu) - 1) * w, key, w) == 0) return;
        }
    }

    void release() {
        zvq_seq_free_buffer(&r_);
        st_.slots = 0;
        st_.count = 0;
        st_.has_zero = 0;
    }

   private:
    // Moves the keys into a table of `want` slots. On failure the old table
    // stays as it was, so that nothing is lost or leaked.
    zvq_seq_status grow(uint64_t want) {
        const uint64_t bytes = table_bytes(want, st_.width);
        auto* fresh = static_cast<uint64_t*>(zvq_seq_malloc(&r_, bytes));
        if (fresh == nullptr) return SEQ_NOMEM;
        std::memset(fresh, 0, want * 8);
        const uint64_t old_slots = st_.slots;
        const uint64_t* old = slots();
        const uint64_t mask = want - 1;
        for (uint64_t j = 0; j < old_slots; ++j) {
            const uint64_t s = old[j];
            if (s == 0) continue;
            uint64_t i = home_of(wide() ? s >> 32 : mix_narrow(s), want);
            while (fresh[i] != 0) i = (i + 1) & mask;
            fresh[i] = s;
        }
        if (wide() && st_.count != 0)
            std::memcpy(reinterpret_cast<uint8_t*>(fresh) + want * 8, keys(), st_.count * st_.width);
        zvq_seq_free_buffer(&r_);
        r_.buffer = fresh;
        r_.buffer_size = bytes;
        st_.slots = want;
        return SEQ_OK;
    }

    Rec& r_;
    DistinctState& st_;
};

inline uint32_t wide_hash(const uint8_t* key, uint32_t width) {
    return murmur_hash3_32(key, static_cast<int32_t>(width), kHashSeed);
}

// The runs [from, from + n) of `op`'s chunk, n at most kBlock; a run equal
// to the one before it is not probed again.
template <class Tag>
void insert_block(Set& set, const Rec& op, uint32_t from, uint32_t n, uint32_t width) {
    const uint8_t* base = op.chunk + size_t{from} * width;
    if (set.wide()) {
        uint32_t hashes[kBlock];
        for (uint32_t k = 0; k < n; ++k) {
            hashes[k] = wide_hash(base + size_t{k} * width, width);
            set.prefetch(hashes[k]);
        }
        for (uint32_t k = 0; k < n; ++k) set.insert_wide(base + size_t{k} * width, hashes[k]);
        return;
    }
    uint64_t keys[kBlock] = {};
    for (uint32_t k = 0; k < n; ++k) {
        keys[k] = narrow_key<Tag>(base + size_t{k} * width, width);
        set.prefetch(mix_narrow(keys[k]));
    }
    set.insert_narrow(keys[0]);
    for (uint32_t k = 1; k < n; ++k)
        if (keys[k] != keys[k - 1]) set.insert_narrow(keys[k]);
}

template <class Tag>
zvq_seq_status count_distinct_next(Rec& r) {
    if (r.prepared) {
        if (r.next_pos == 0) return SEQ_END;
        r.prepared = 0;
        return SEQ_OK;
    }
    Set set(r);
    if (r.next_pos != 0) {
        // Delivered and read: the set is no longer wanted.
        set.release();
        return SEQ_END;
    }
    set.release();
    Rec& op = *r.operand[0];
    const uint32_t width = state_of<DistinctState>(r).width;
    zvq_seq_status s;
    while ((s = pull(op)) == SEQ_OK) {
        const uint32_t k = op.chunk_count;
        for (uint32_t i = 0; i < k; i += kBlock) {
            const uint32_t n = std::min(kBlock, k - i);
            if (zvq_seq_status g = set.reserve(n)) {
                set.release();
                return g;
            }
            insert_block<Tag>(set, op, i, n, width);
        }
        op.chunk_pos = op.chunk_count;
    }
    if (s != SEQ_END) {
        set.release();
        return s;
    }
    publish_one<uint64_t>(r, set.distinct());
    return SEQ_OK;
}

// Adds every value of other's set to self's and rewrites self's count.
// other is only read. On SEQ_NOMEM self keeps what it had gathered, and its
// published count stays the one before the merge.
zvq_seq_status count_distinct_merge(Rec& self, Rec& other) {
    Set into(self), from(other);
    const DistinctState& src = state_of<DistinctState>(other);
    if (state_of<DistinctState>(self).width != src.width) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = into.reserve(src.count)) return s;
    if (from.wide()) {
        for (uint64_t i = 0; i < src.count; ++i) {
            const uint8_t* key = from.keys() + i * src.width;
            into.insert_wide(key, wide_hash(key, src.width));
        }
    } else {
        if (src.has_zero) into.insert_narrow(0);
        const uint64_t* t = from.slots();
        for (uint64_t i = 0; i < src.slots; ++i)
            if (t[i] != 0) into.insert_narrow(t[i]);
    }
    publish_one<uint64_t>(self, into.distinct());
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status count_distinct_make(Rec& r, Rec* operand, zvq_seq_next_fn next, zvq_seq_merge_fn merge) {
    if (!has_type<Tag>(operand)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({operand})) return s;
    init_record(r, shape_of<Uint8>, {next, zvq_seq_agg_count_distinct_reset, zvq_seq_prepare_aggregate, merge},
                {operand});
    r.prepared = 0;
    r.buffer = nullptr;
    r.buffer_size = 0;
    state_of<DistinctState>(r) = {0, 0, operand->elem_size, 0};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_COUNT_DISTINCT(name, Tag, ctype)                                                               \
    zvq_seq_status zvq_seq_agg_count_distinct_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) {     \
        return zvq::count_distinct_make<zvq::Tag>(*result, operand, zvq_seq_agg_count_distinct_##name##_next,  \
                                                  zvq_seq_agg_count_distinct_##name##_merge);                   \
    }
#define ZVQ_STAMP_COUNT_DISTINCT_NEXT(name, Tag, ctype)                               \
    zvq_seq_status zvq_seq_agg_count_distinct_##name##_next(zvq_seq_iterator* it) { \
        return zvq::count_distinct_next<zvq::Tag>(*it);                               \
    }
#define ZVQ_STAMP_COUNT_DISTINCT_MERGE(name, Tag, ctype)                                                       \
    zvq_seq_status zvq_seq_agg_count_distinct_##name##_merge(zvq_seq_iterator* destination,                  \
                                                             zvq_seq_iterator* source) {                     \
        return zvq::count_distinct_merge(*destination, *source);                                               \
    }

ZVQ_ALL_TYPES(ZVQ_STAMP_COUNT_DISTINCT_NEXT)
ZVQ_ALL_TYPES(ZVQ_STAMP_COUNT_DISTINCT_MERGE)
ZVQ_ALL_TYPES(ZVQ_STAMP_COUNT_DISTINCT)

// The set goes back to the hooks, and a prepared record computes afresh.
zvq_seq_status zvq_seq_agg_count_distinct_reset(zvq_seq_iterator* it) {
    zvq_seq_free_buffer(it);
    it->prepared = 0;
    return zvq_seq_reset_unary_iterator(it);
}

}  // extern "C"
