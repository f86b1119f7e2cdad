// The sort of a permutation by the values it indexes: an introspective
// quicksort with a seeded random pivot and a median of three, insertion sort
// below 51 entries, heap sort when the depth budget runs out. Values are
// never moved; only the permutation is.
//
// Every test is an ordered comparison of the member's own type (signed,
// unsigned, or floating in its own precision), false when a NaN takes part,
// so a NaN never counts as an inversion and stops every scan. The scans and
// walks below test no index bound: the pivot, the median-of-three sentinels
// and the minimum in slot 0 stop them, and that holds with NaN too.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <utility>

#include "core/types.hpp"
#include "zvq/seq.h"

namespace zvq {

inline constexpr uint64_t kInsertionMax = 50;

// One pivot generator per element type, process-wide, never reset. Relaxed
// atomics: threads sorting at once may interleave its steps, which only
// changes pivots (and so the order of equal keys), never the data race rules.
template <class Tag>
inline std::atomic<uint32_t> seed{123456789u};

template <class Tag>
inline uint32_t next_seed() {
    const uint32_t s = seed<Tag>.load(std::memory_order_relaxed) * 69069u + 362437u;
    seed<Tag>.store(s, std::memory_order_relaxed);
    return s;
}

// Identity, or its mirror for order 2 (any other order counts as ascending).
inline void init_permutation(uint64_t* permutation, uint64_t n, uint32_t order) {
    if (order == SEQ_ORDER_DESC)
        for (uint64_t i = 0; i < n; ++i) permutation[i] = n - 1 - i;
    else
        for (uint64_t i = 0; i < n; ++i) permutation[i] = i;
}

// Whether some neighbour pair of values[0, n) passes Step (a < b or a > b of
// the later value against its predecessor). The first pairs are tested one
// by one, as random data fails there; the rest in blocks without a branch,
// which vectorise, so that sorted and reversed input cost one fast pass.
template <class Step, class V>
inline bool any_step(const V* values, uint64_t n) {
    constexpr uint64_t kBlock = 32;
    uint64_t i = 1;
    for (; i < n && i <= kBlock; ++i)
        if (Step::test(values[i], values[i - 1])) return true;
    for (; i + kBlock <= n; i += kBlock) {
        bool any = false;
        for (uint64_t e = 0; e < kBlock; ++e) any |= Step::test(values[i + e], values[i + e - 1]);
        if (any) return true;
    }
    for (; i < n; ++i)
        if (Step::test(values[i], values[i - 1])) return true;
    return false;
}

struct Below {
    template <class V>
    static bool test(V v, V before) {
        return v < before;
    }
};
struct Above {
    template <class V>
    static bool test(V v, V before) {
        return v > before;
    }
};

// A value below its predecessor, NaN never counting.
template <class V>
inline bool has_descent(const V* values, uint64_t n) {
    return any_step<Below>(values, n);
}

template <class V>
inline bool has_ascent(const V* values, uint64_t n) {
    return any_step<Above>(values, n);
}

template <class V>
void insertion_sort(const V* values, uint64_t* slice, uint64_t m) {
    if (m < 2) return;
    if (m == 2) {
        if (values[slice[0]] > values[slice[1]]) std::swap(slice[0], slice[1]);
        return;
    }
    // The smallest value (the first on ties) goes to slot 0 to stop the walks.
    uint64_t least = 1;
    for (uint64_t k = 2; k < m; ++k)
        if (values[slice[k]] < values[slice[least]]) least = k;
    if (values[slice[0]] > values[slice[least]]) std::swap(slice[0], slice[least]);
    for (uint64_t i = 2; i < m; ++i) {
        const uint64_t x = slice[i];
        const V v = values[x];
        if (!(values[slice[i - 1]] > v)) continue;
        uint64_t j = i;
        do {
            slice[j] = slice[j - 1];
            --j;
        } while (values[slice[j - 1]] > v);
        slice[j] = x;
    }
}

// Slot k has the children 2k and 2k + 1: slot 0 is its own left child and
// slot 1 its right one. Sifts the entry at k down within slots 0..bound.
template <class V>
void sift_down(const V* values, uint64_t* slice, uint64_t k, uint64_t bound) {
    const uint64_t x = slice[k];
    const V v = values[x];
    uint64_t hole = k;
    uint64_t c = 2 * k;
    while (c < bound) {
        const uint64_t child = values[slice[c + 1]] > values[slice[c]] ? c + 1 : c;
        // From slot 0 the left child is x itself, which never moves.
        if (!(values[slice[child]] > v)) {
            slice[hole] = x;
            return;
        }
        slice[hole] = slice[child];
        hole = child;
        c = 2 * child;
    }
    if (c == bound && values[slice[bound]] > v) {
        slice[hole] = slice[bound];
        hole = bound;
    }
    slice[hole] = x;
}

template <class V>
void heap_sort(const V* values, uint64_t* slice, uint64_t m) {
    const uint64_t last = m - 1;
    for (uint64_t k = last / 2 + 1; k-- > 0;) sift_down(values, slice, k, last);
    std::swap(slice[0], slice[last]);
    for (uint64_t bound = last - 1; bound >= 1; --bound) {
        sift_down(values, slice, 0, bound);
        std::swap(slice[0], slice[bound]);
    }
}

// Orders slice[0], slice[1] and slice[last] so that slot 0 holds the median
// (the pivot), slot 1 a value not above it and slot last one not below it.
// Greater-than tests only.
template <class V>
void median_of_three(const V* values, uint64_t* slice, uint64_t last) {
    const uint64_t A = slice[0], B = slice[1], C = slice[last];
    const V a = values[A], b = values[B], c = values[C];
    uint64_t first, second, third;
    if (b > a) {
        if (c > a) {
            if (b > c)
                first = C, second = A, third = B;
            else
                first = B, second = A, third = C;
        } else {
            first = A, second = C, third = B;
        }
    } else if (a > c) {
        if (b > c)
            first = B, second = C, third = A;
        else
            first = C, second = B, third = A;
    } else {
        first = A, second = B, third = C;
    }
    slice[0] = first, slice[1] = second, slice[last] = third;
}

// `values` is the base of the whole array; `slice` the count entries to order.
template <class Tag>
void qloop(const value_t<Tag>* values, uint64_t* slice, uint64_t count, uint64_t depth) {
    using V = value_t<Tag>;
    uint64_t m = count;
    if (m > kInsertionMax) {
        uint64_t d = depth - 1;  // wraps to all ones at depth 0: no partition left
        do {
            // The test reads the front of the whole array, not the slice: a
            // slice of m entries is left as it stands whenever the first m
            // values happen to be non-decreasing. That is this sort's
            // defined behaviour.
            if (!has_descent(values, m)) return;
            if (d == ~uint64_t{0}) {
                heap_sort(values, slice, m);
                return;
            }
            const uint64_t last = m - 1;
            std::swap(slice[0], slice[next_seed<Tag>() % last]);
            median_of_three(values, slice, last);
            const V p = values[slice[0]];
            uint64_t i = 1, j = last;
            while (values[slice[i]] < p) ++i;
            while (values[slice[j]] > p) --j;
            while (i < j) {
                std::swap(slice[i], slice[j]);
                do ++i;
                while (values[slice[i]] < p);
                do --j;
                while (values[slice[j]] > p);
            }
            std::swap(slice[0], slice[j]);
            // The right part recurses, the left one loops: each partition on
            // a path spends one unit of the budget, which bounds the stack.
            qloop<Tag>(values, slice + j + 1, last - j, d);
            --d;
            m = j;
        } while (m > kInsertionMax);
    }
    insertion_sort(values, slice, m);
}

// Cannot fail and allocates nothing; the status is always SEQ_OK.
template <class Tag>
zvq_seq_status sort_values(const value_t<Tag>* values, uint64_t* permutation, uint64_t n, uint32_t order) {
    // Sorted and reversed input cost one pass. On non-increasing data any
    // order but 1 keeps the identity; equal values take the first branch.
    if (n < 2 || !has_descent(values, n)) {
        init_permutation(permutation, n, order);
        return SEQ_OK;
    }
    if (!has_ascent(values, n)) {
        init_permutation(permutation, n, order == SEQ_ORDER_ASC ? SEQ_ORDER_DESC : SEQ_ORDER_ASC);
        return SEQ_OK;
    }
    // 2 x (floor(log2 n) + 1): 6 for 4, 8 for 8, 20 for 1000.
    const uint64_t depth = n < 4 ? 4 : 2 * static_cast<uint64_t>(std::bit_width(n));
    init_permutation(permutation, n, SEQ_ORDER_ASC);
    qloop<Tag>(values, permutation, n, depth);
    // Descending is the exact mirror of ascending, equal keys included.
    if (order == SEQ_ORDER_DESC)
        for (uint64_t i = 0, j = n - 1; i < j; ++i, --j) std::swap(permutation[i], permutation[j]);
    return SEQ_OK;
}

}  // namespace zvq
