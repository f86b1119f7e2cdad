// Integer arithmetic without undefined behaviour, and the processor's
// truncating float-to-integer conversion.
#pragma once

#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <type_traits>

// Hot loops (the whole-sequence fold, the hashing of many slots) are built
// twice on x86-64 with GCC, once for AVX2, and the loader picks one: the
// baseline has no 32-bit lane multiply and no lane sign extension, which the
// integer run products and the hash need.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define ZVQ_FOLD_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define ZVQ_FOLD_CLONES
#endif

namespace zvq {

// Unsigned type at least as wide as T and as int, so that small operands are
// not promoted to signed int before the arithmetic.
template <class T>
using wide_unsigned_t = std::conditional_t<(sizeof(T) < sizeof(unsigned)), unsigned, std::make_unsigned_t<T>>;

template <class T>
inline T wrap_add(T a, T b) {
    using U = wide_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
}
template <class T>
inline T wrap_sub(T a, T b) {
    using U = wide_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) - static_cast<U>(b));
}
template <class T>
inline T wrap_mul(T a, T b) {
    using U = wide_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(a) * static_cast<U>(b));
}
template <class T>
inline T wrap_neg(T a) {
    using U = wide_unsigned_t<T>;
    return static_cast<T>(U{0} - static_cast<U>(a));
}

// Where the processor would fault (integer division by zero), fault
// explicitly instead of leaving it to the compiler.
[[noreturn]] inline void raise_fpe() {
    std::raise(SIGFPE);
    std::abort();  // a handler that returns gets no result either
}

// cvttsd2si: NaN and out-of-range values give the indefinite value, the
// smallest value of the 32- or 64-bit target.
inline int32_t trunc_to_i32(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0)) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(d);
}

inline int64_t trunc_to_i64(double d) {
    if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0)) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(d);
}

// The unsigned 64-bit conversion as compiled for x86-64: below 2^63 signed,
// otherwise 2^63 off, truncated, top bit set. NaN takes the second branch
// and yields 2^63.
inline uint64_t trunc_to_u64(double d) {
    constexpr double two63 = 9223372036854775808.0;
    if (d < two63) return static_cast<uint64_t>(trunc_to_i64(d));
    return static_cast<uint64_t>(trunc_to_i64(d - two63)) | (uint64_t{1} << 63);
}

// Floating value to any integer type, by the rules of the type system's casts
// on this processor: narrow and int4 through 32 bits, uint4 and int8 through
// 64 bits signed, uint8 through the unsigned sequence.
template <class I>
inline I float_to_int(double d) {
    static_assert(std::is_integral_v<I>);
    if constexpr (sizeof(I) < 4 || std::is_same_v<I, int32_t>) {
        return static_cast<I>(trunc_to_i32(d));
    } else if constexpr (std::is_same_v<I, uint32_t> || std::is_same_v<I, int64_t>) {
        return static_cast<I>(trunc_to_i64(d));
    } else {
        return static_cast<I>(trunc_to_u64(d));
    }
}

}  // namespace zvq
