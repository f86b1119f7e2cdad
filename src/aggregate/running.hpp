// What the window, cumulative and grid aggregates share: the driver that
// emits one output per input element, the operand test of their
// constructors, and the arithmetic they have in common.
//
// All three read their operand one element at a time, as the reading rule's
// single-step reader does (a repeat byte of 0 gives 256 elements), but walk a
// run in one inner loop, so that the value and its repeat byte are loaded once
// per run and not per element.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <type_traits>

#include "core/arith.hpp"
#include "core/record.hpp"

namespace zvq {

// Refills the record's chunk with one run of repeat 1 per operand element,
// stepper(v) giving the output for the element v, up to the capacity of Out.
// The stepper is an object holding the accumulators; it is worked on as a
// local copy, which the compiler keeps in registers, and written back on
// every return, failures included. A failure of the operand is returned at
// once and chunk_count and next_pos stay; on SEQ_OK the outputs are
// published as runs of one, next_pos counting them.
template <class Out, class In, class Stepper>
zvq_seq_status emit_per_element(Rec& r, Stepper& stepper) {
    constexpr uint32_t cap = value_capacity<Out>;
    Rec& op = *r.operand[0];
    Stepper step = stepper;
    uint32_t o = 0;
    const auto emit = [&](In v, uint32_t n) {
        for (uint32_t j = 0; j < n; ++j) set_value<Out>(r, o + j, step(v));
        o += n;
    };
    while (o < cap) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, o, closes)) {
            stepper = step;
            return s;
        }
        if (closes) break;
        // Whole runs that fit, with the read position in a local; a stretch
        // of distinct values goes through a plain loop over the values.
        if (op.run_pos == 0) {
            walk_whole_runs(
                op, [&] { return cap - o; },
                [&](uint32_t i, uint32_t m) {
                    const uint8_t* from = op.chunk + size_t{i} * sizeof(In);
                    uint8_t* to = r.chunk + size_t{o} * sizeof(Out);
                    for (size_t j = 0; j < m; ++j)
                        store<Out>(to + j * sizeof(Out), step(load<In>(from + j * sizeof(In))));
                    o += m;
                },
                [&](uint32_t i, uint32_t n) { emit(value_at<In>(op, i), n); });
            if (exhausted(op) || o == cap) continue;
        }
        // A run begun by an earlier call, or one that fills the chunk.
        const uint32_t k = std::min(stepwise_remainder(op), cap - o);
        emit(current<In>(op), k);
        take_stepwise(op, k);
    }
    stepper = step;
    publish_singles(r, o);
    return SEQ_OK;
}

// Addition and subtraction in the accumulator's own type: integers wrap at
// their width.
template <class Acc>
inline Acc add_wrapping(Acc a, Acc b) {
    if constexpr (std::is_floating_point_v<Acc>)
        return a + b;
    else
        return wrap_add<Acc>(a, b);
}

template <class Acc>
inline Acc sub_wrapping(Acc a, Acc b) {
    if constexpr (std::is_floating_point_v<Acc>)
        return a - b;
    else
        return wrap_sub<Acc>(a, b);
}

// The square of an element in the operand's own arithmetic, as a double: a
// float squares in single precision; the narrow types, uint2 among them, in
// 32 bits read as signed; uint4 in 32 bits unsigned; the 8-byte types in 64
// bits with their own sign.
template <class Tag>
inline double wrapped_square(value_t<Tag> v) {
    using V = value_t<Tag>;
    if constexpr (is_floating<Tag>)
        return static_cast<double>(v * v);
    else if constexpr (sizeof(V) == 8 || std::is_same_v<V, uint32_t>)
        return static_cast<double>(wrap_mul<V>(v, v));
    else
        return static_cast<double>(wrap_mul<int32_t>(static_cast<int32_t>(v), static_cast<int32_t>(v)));
}

// The variance of integer accumulators: the mean-square term is the 64-bit
// wrapping square of the sum divided by n as unsigned integers, truncating.
template <class Acc>
inline double integer_variance(Acc sum, double squares, uint64_t n) {
    const uint64_t s = static_cast<uint64_t>(sum);
    const uint64_t m = wrap_mul<uint64_t>(s, s) / n;
    return (squares - static_cast<double>(m)) / static_cast<double>(n);
}

namespace detail {

// A finite nonzero double as ±m * 2^e with m odd; top is the exponent of its
// highest bit.
struct Scaled {
    int64_t m;
    int e;
    int top;
};

inline Scaled scaled(double d) {
    const uint64_t bits = std::bit_cast<uint64_t>(d);
    const int biased = static_cast<int>((bits >> 52) & 0x7FF);
    uint64_t m = bits & ((uint64_t{1} << 52) - 1);
    int e = -1074;
    if (biased != 0) {
        m |= uint64_t{1} << 52;
        e = biased - 1075;
    }
    const int tz = std::countr_zero(m);
    const auto odd = static_cast<int64_t>(m >> tz);
    return {bits >> 63 ? -odd : odd, e + tz, e + static_cast<int>(std::bit_width(m)) - 1};
}

// 2^e for -1074 <= e <= 971, built from its bits.
inline double power_of_two(int e) {
    if (e >= -1022) return std::bit_cast<double>(static_cast<uint64_t>(e + 1023) << 52);
    return std::bit_cast<double>(uint64_t{1} << (e + 1074));
}

}  // namespace detail

// acc + x + x + ... with k additions, bit for bit as that loop rounds it.
// Where every partial sum is exact the loop's result is acc + k * x, which is
// then computed at once: that holds when acc and x are integer multiples of
// one power of two 2^g and acc, x and acc + k * x all stay below 2^53 * 2^g,
// for the partial sums lie between acc and acc + k * x. Otherwise, and for
// zeros, infinities and NaN, the loop runs.
inline double repeat_add(double acc, double x, uint32_t k) {
    if (k > 1 && x != 0.0 && std::isfinite(x) && std::isfinite(acc)) {
        constexpr int64_t limit = int64_t{1} << 53;
        const detail::Scaled sx = detail::scaled(x);
        const detail::Scaled sa = acc == 0.0 ? detail::Scaled{0, sx.e, sx.e} : detail::scaled(acc);
        const int g = std::min(sx.e, sa.e);
        // x and acc as integer multiples of 2^g, each below 2^53.
        if (sx.top - g < 53 && sa.top - g < 53 && g <= 971) {
            const int64_t xi = sx.m * (int64_t{1} << (sx.e - g));
            const int64_t ai = sa.m * (int64_t{1} << (sa.e - g));
            const int64_t si = ai + static_cast<int64_t>(k) * xi;
            if (si > -limit && si < limit) return static_cast<double>(si) * detail::power_of_two(g);
        }
    }
    for (uint32_t j = 0; j < k; ++j) acc += x;
    return acc;
}

}  // namespace zvq
