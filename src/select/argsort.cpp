// argsort: a stable permutation that orders a plain array of values, by an
// LSD radix sort on keys whose unsigned order is the values' order.
//
// Keys: unsigned values as they are, signed ones with the sign bit flipped,
// floating ones by their bits (negatives inverted, positives with the sign
// bit set), -0.0 first made +0.0 so that the two are one key as == says.
// Descending inverts the key, which keeps equal keys in input order. Every
// NaN takes the all-ones key in both orders, which no other value has, so
// NaNs come last and in input order.
//
// One pass counts all byte digits at once; a digit that is the same in
// every key is skipped. The first pass reads the values, the last writes
// only indices into the permutation, so up to two passes need no scratch
// and the rest ping-pong between two arrays of (key, index) items from the
// allocator hooks. Indices are 32 bits wide when n allows.
#include <bit>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "core/record.hpp"

namespace zvq {
namespace {

template <class Tag>
using sort_key_t = std::make_unsigned_t<
    std::conditional_t<sizeof(value_t<Tag>) == 1, int8_t,
                       std::conditional_t<sizeof(value_t<Tag>) == 2, int16_t,
                                          std::conditional_t<sizeof(value_t<Tag>) == 4, int32_t, int64_t>>>>;

template <class Tag>
inline sort_key_t<Tag> sort_key(value_t<Tag> v, bool descending) {
    using K = sort_key_t<Tag>;
    constexpr K sign = K{1} << (sizeof(K) * 8 - 1);
    K k;
    if constexpr (is_floating<Tag>) {
        if (std::isnan(v)) return static_cast<K>(~K{0});
        if (v == 0) v = 0;  // -0.0 and 0.0: one key
        const K bits = std::bit_cast<K>(v);
        k = (bits & sign) ? static_cast<K>(~bits) : static_cast<K>(bits | sign);
    } else if constexpr (is_signed_int<Tag>) {
        k = static_cast<K>(static_cast<K>(v) ^ sign);
    } else {
        k = static_cast<K>(v);
    }
    return descending ? static_cast<K>(~k) : k;
}

template <class K>
inline uint32_t digit(K k, uint32_t d) {
    return static_cast<uint32_t>(k >> (8 * d)) & 0xFFu;
}

template <class K, class Idx>
struct Item {
    K key;
    Idx idx;
};

// Scratch from the hooks; argsort has no record, so the hooks get none.
class Scratch {
   public:
    Scratch() = default;
    Scratch(const Scratch&) = delete;
    ~Scratch() {
        if (p_ != nullptr) zvq_seq_free(nullptr, p_, size_);
    }
    bool allocate(uint64_t size) {
        size_ = size;
        p_ = zvq_seq_malloc(nullptr, size);
        return p_ != nullptr;
    }
    template <class T>
    T* as() const {
        return static_cast<T*>(p_);
    }

   private:
    void* p_ = nullptr;
    uint64_t size_ = 0;
};

template <class Tag, class Idx>
zvq_seq_status radix_argsort(const value_t<Tag>* values, uint64_t* perm, uint64_t n, bool desc) {
    using K = sort_key_t<Tag>;
    using It = Item<K, Idx>;
    constexpr uint32_t D = sizeof(K);
    Idx count[D][256] = {};
    for (uint64_t i = 0; i < n; ++i) {
        const K k = sort_key<Tag>(values[i], desc);
        for (uint32_t d = 0; d < D; ++d) ++count[d][digit(k, d)];
    }
    // The digits that differ somewhere, lowest first, with their counts
    // turned into starting offsets.
    uint32_t passes[D];
    uint32_t np = 0;
    const K first = sort_key<Tag>(values[0], desc);
    for (uint32_t d = 0; d < D; ++d) {
        if (count[d][digit(first, d)] == n) continue;
        Idx sum = 0;
        for (uint32_t b = 0; b < 256; ++b) {
            const Idx c = count[d][b];
            count[d][b] = sum;
            sum = static_cast<Idx>(sum + c);
        }
        passes[np++] = d;
    }
    if (np == 0) {
        for (uint64_t i = 0; i < n; ++i) perm[i] = i;
        return SEQ_OK;
    }
    if (np == 1) {
        Idx* off = count[passes[0]];
        for (uint64_t i = 0; i < n; ++i) perm[off[digit(sort_key<Tag>(values[i], desc), passes[0])]++] = i;
        return SEQ_OK;
    }
    Scratch a, b;
    if (n > UINT64_MAX / sizeof(It)) return SEQ_NOMEM;
    if (!a.allocate(n * sizeof(It))) return SEQ_NOMEM;
    if (np > 2 && !b.allocate(n * sizeof(It))) return SEQ_NOMEM;
    It* src = a.as<It>();
    It* dst = b.as<It>();
    {
        Idx* off = count[passes[0]];
        for (uint64_t i = 0; i < n; ++i) {
            const K k = sort_key<Tag>(values[i], desc);
            src[off[digit(k, passes[0])]++] = It{k, static_cast<Idx>(i)};
        }
    }
    for (uint32_t p = 1; p + 1 < np; ++p) {
        Idx* off = count[passes[p]];
        const uint32_t d = passes[p];
        for (uint64_t i = 0; i < n; ++i) dst[off[digit(src[i].key, d)]++] = src[i];
        std::swap(src, dst);
    }
    Idx* off = count[passes[np - 1]];
    const uint32_t d = passes[np - 1];
    for (uint64_t i = 0; i < n; ++i) perm[off[digit(src[i].key, d)]++] = src[i].idx;
    return SEQ_OK;
}

template <class Tag>
zvq_seq_status argsort(const value_t<Tag>* values, uint64_t* perm, uint64_t n, uint32_t order) {
    if (order != SEQ_ORDER_ASC && order != SEQ_ORDER_DESC) return SEQ_BAD_ARGUMENT;
    if (n == 0) return SEQ_OK;
    if (values == nullptr || perm == nullptr) return SEQ_BAD_ARGUMENT;
    const bool desc = order == SEQ_ORDER_DESC;
    if (n <= UINT32_MAX) return radix_argsort<Tag, uint32_t>(values, perm, n, desc);
    return radix_argsort<Tag, uint64_t>(values, perm, n, desc);
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_ARGSORT(name, Tag, ctype)                                                                  \
    zvq_seq_status zvq_seq_argsort_##name(const ctype* values, uint64_t* permutation, uint64_t n,            \
                                          uint32_t order) {                                                  \
        return zvq::argsort<zvq::Tag>(values, permutation, n, order);                                        \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_ARGSORT)

}  // extern "C"
