// Sources over caller memory that hand out runs, not single elements: an
// array folded into runs of equal neighbours, and run-end encoded runs
// (cumulative ends) cut to at most 255 elements each. The caller's memory is
// read in place; only the chunk is written.
//
// Values are reached through a loader, so the same fill serves typed arrays,
// bit-packed booleans and fixed-width byte strings; run ends through an end
// reader of any integer width.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <iterator>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "core/record.hpp"

namespace zvq {

// Element i of a plain array of V.
template <class V>
struct PlainValues {
    const uint8_t* base;
    V operator()(uint64_t i) const { return load<V>(base + i * sizeof(V)); }
};

// Element i of a bit-packed array, least significant bit first, as 0 or 1.
struct BitValues {
    const uint8_t* base;
    uint64_t first_bit;
    uint8_t operator()(uint64_t i) const {
        const uint64_t b = first_bit + i;
        return static_cast<uint8_t>((base[b >> 3] >> (b & 7)) & 1u);
    }
};

// The bits a value is compared by: runs fold equal bits, so -0.0 and 0.0
// stay apart and a NaN folds with the same NaN.
template <class V>
using bits_t = std::conditional_t<sizeof(V) == 1, uint8_t,
                                  std::conditional_t<sizeof(V) == 2, uint16_t,
                                                     std::conditional_t<sizeof(V) == 4, uint32_t, uint64_t>>>;

template <class V>
inline bits_t<V> bits_of(V v) {
    return std::bit_cast<bits_t<V>>(v);
}

inline constexpr uint32_t kCopyBlock = 256;
inline constexpr uint32_t kCompareBytes = 64;

// Whether any of the 64 / sizeof(V) values from `at` on has the same bits
// as the value behind it (reading one value past the block).
template <class V>
inline bool any_equal_neighbour(const uint8_t* at) {
    constexpr size_t s = sizeof(V);
#if defined(__SSE2__)
    __m128i hits = _mm_setzero_si128();
    for (size_t b = 0; b < kCompareBytes; b += 16) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + b));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + b + s));
        __m128i eq;
        if constexpr (s == 1)
            eq = _mm_cmpeq_epi8(x, y);
        else if constexpr (s == 2)
            eq = _mm_cmpeq_epi16(x, y);
        else if constexpr (s == 4)
            eq = _mm_cmpeq_epi32(x, y);
        else {  // both halves of a 64-bit lane
            const __m128i e = _mm_cmpeq_epi32(x, y);
            eq = _mm_and_si128(e, _mm_shuffle_epi32(e, _MM_SHUFFLE(2, 3, 0, 1)));
        }
        hits = _mm_or_si128(hits, eq);
    }
    return _mm_movemask_epi8(hits) != 0;
#else
    bits_t<V> w[kCompareBytes / s + 1];
    std::memcpy(w, at, sizeof w);
    bool equal = false;
    for (size_t j = 0; j + 1 < std::size(w); ++j) equal |= w[j] == w[j + 1];
    return equal;
#endif
}

// How many of the n steps from slot i on (slot i + k to i + k + 1) join
// values with different bits: 64 bytes of values compared at once, then the
// block with an equal pair one by one.
template <class V>
inline uint32_t distinct_prefix(const Rec& r, uint32_t i, uint32_t n) {
    constexpr uint32_t per_block = kCompareBytes / sizeof(V);
    const uint8_t* at = r.chunk + static_cast<size_t>(i) * sizeof(V);
    uint32_t k = 0;
    while (k + per_block <= n && !any_equal_neighbour<V>(at + static_cast<size_t>(k) * sizeof(V))) k += per_block;
    while (k < n && bits_of(value_at<V>(r, i + k)) != bits_of(value_at<V>(r, i + k + 1))) ++k;
    return k;
}

// Folds elements [pos, end) of `values` into runs of the chunk, at most `cap`
// runs of at most 255 each. Stops with pos on the first element that would
// open run number cap. Returns the runs written; next_pos is the caller's.
template <class V, class Values>
inline uint32_t fold_runs(Rec& r, uint32_t cap, const Values& values, uint64_t& pos, uint64_t end) {
    uint32_t i = 0;
    uint32_t count = 0;
    bits_t<V> cur{};
    uint64_t p = pos;
    uint64_t scalar_until = p;  // after a stretch found early, go one by one for a while
    while (p < end) {
        if constexpr (std::is_same_v<Values, PlainValues<V>>) {
            // Distinct values, the common case of an unsorted column, as unget
            // takes them: a block copied into the slots behind the open single
            // run, then the neighbours compared there; the distinct prefix
            // stays, each run closing with repeat 1.
            if (count == 1 && p >= scalar_until) {
                const uint64_t room = std::min<uint64_t>(cap - 1 - i, end - p);
                const uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(room, kCopyBlock));
                if (n >= kCompareBytes / sizeof(V)) {
                    std::memcpy(r.chunk + (i + 1) * sizeof(V), values.base + p * sizeof(V), n * sizeof(V));
                    const uint32_t m = distinct_prefix<V>(r, i, n);
                    std::memset(repeat_block(r, i, m), 1, m);
                    i += m;
                    p += m;
                    cur = bits_of(value_at<V>(r, i));
                    if (m < n) {
                        // Step m joined equal values: the element at p extends
                        // the open run. Found at once, runs are short here: one
                        // by one for a block rather than copy for nothing.
                        ++count;
                        ++p;
                        if (m < 2 * kCompareBytes / sizeof(V)) scalar_until = p + kCopyBlock;
                    }
                    continue;
                }
            }
        }
        const V v = values(p);
        const bits_t<V> b = bits_of(v);
        if (b == cur && count - 1u < 254u) {  // count in [1, 254]
            ++count;
            ++p;
            continue;
        }
        if (count != 0) {
            set_repeat(r, i, static_cast<uint8_t>(count));
            if (++i == cap) {
                count = 0;
                break;
            }
        }
        set_value<V>(r, i, v);
        cur = b;
        count = 1;
        ++p;
    }
    if (count != 0) set_repeat(r, i++, static_cast<uint8_t>(count));
    pos = p;
    return i;
}

// The same for byte strings of the record's width, compared byte for byte.
inline uint32_t fold_char_runs(Rec& r, uint32_t cap, const uint8_t* values, uint64_t& pos, uint64_t end) {
    const size_t w = r.elem_size;
    uint32_t i = 0;
    uint32_t count = 0;
    const uint8_t* cur = nullptr;
    uint64_t p = pos;
    for (; p < end; ++p) {
        const uint8_t* v = values + p * w;
        if (count != 0 && count < 255 && std::memcmp(v, cur, w) == 0) {
            ++count;
            continue;
        }
        if (count != 0) {
            set_repeat(r, i, static_cast<uint8_t>(count));
            if (++i == cap) {
                count = 0;
                break;
            }
        }
        std::memcpy(slot_ptr(r, i), v, w);
        cur = v;
        count = 1;
    }
    if (count != 0) set_repeat(r, i++, static_cast<uint8_t>(count));
    pos = p;
    return i;
}

// Where a run-end source stands: run `run` of the caller's arrays, at
// logical position `pos`; it ends at logical position `stop`. The start is
// kept for a rewind (a reset clears next_pos, which the next refill sees).
struct RunCursor {
    uint64_t run;
    uint64_t pos;
    uint64_t stop;
    uint64_t start_run;
    uint64_t start_pos;
};

// Emits the runs from the cursor on, each cut into pieces of at most 255,
// up to `cap` pieces. ends(k) is the cumulative end of run k, value(k) its
// value written into slot i. Returns the pieces written.
template <class Ends, class Put>
inline uint32_t emit_runs(Rec& r, uint32_t cap, RunCursor& c, const Ends& ends, const Put& put) {
    uint32_t i = 0;
    uint64_t run = c.run;
    uint64_t pos = c.pos;
    while (pos < c.stop && i < cap) {
        uint64_t end = ends(run);
        if (end > c.stop) end = c.stop;
        uint64_t left = end - pos;
        while (left != 0 && i < cap) {
            const uint8_t n = left > 255 ? uint8_t{255} : static_cast<uint8_t>(left);
            put(i, run);
            set_repeat(r, i, n);
            ++i;
            left -= n;
            pos += n;
        }
        if (left == 0) ++run;
    }
    c.run = run;
    c.pos = pos;
    return i;
}

// Rewinds a cursor after a reset; the record's next_pos is 0 only then.
inline void rewind_if_reset(const Rec& r, RunCursor& c) {
    if (r.next_pos == 0) {
        c.run = c.start_run;
        c.pos = c.start_pos;
    }
}

// The first run whose end lies beyond logical position `at`, by bisection
// over ends that the caller has checked to increase; `runs` if none.
template <class Ends>
inline uint64_t run_at(const Ends& ends, uint64_t runs, uint64_t at) {
    uint64_t lo = 0, hi = runs;
    while (lo < hi) {
        const uint64_t mid = lo + (hi - lo) / 2;
        if (ends(mid) <= at)
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo;
}

}  // namespace zvq
