// Run terms of the group aggregates and the paired statistics: how a run of
// n copies of a value enters a sum. They differ from the whole-sequence run
// product (whole.hpp): integers are widened to 64 bits before they are
// multiplied, so a 4-byte run never wraps, and the averaging sums read the
// 64-bit product as unsigned.
#pragma once

#include <cstdint>

#include "aggregate/whole.hpp"

namespace zvq {

// v times n in the 64-bit type of sums; floats as the whole-sequence run
// product (single precision for float).
template <class Tag>
inline wide_t<Tag> wide_product(value_t<Tag> v, uint8_t n) {
    using W = wide_t<Tag>;
    if constexpr (is_floating<Tag>)
        return run_product<Tag>(v, n);
    else
        return wrap_mul<W>(static_cast<W>(v), static_cast<W>(n));
}

// The same product as a double, integers read as unsigned: a negative value
// contributes about 2^64. The averaging families keep this reading.
template <class Tag>
inline double unsigned_reading(value_t<Tag> v, uint8_t n) {
    if constexpr (is_floating<Tag>)
        return run_product<Tag>(v, n);
    else
        return static_cast<double>(static_cast<uint64_t>(wide_product<Tag>(v, n)));
}

// b x a x n in double, left to right, for a weight a and a value b.
template <class V>
inline double pair_product(V a, V b, uint8_t n) {
    return static_cast<double>(b) * static_cast<double>(a) * static_cast<double>(n);
}

}  // namespace zvq
