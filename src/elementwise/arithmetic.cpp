// Arithmetic on two sequences: add, sub, mul, div, mod, max, min, for the
// eleven numeric types. The result has the operands' type.
//
// Integer add, sub and mul wrap. Integer division is not guarded: a zero
// divisor, or the smallest int4/int8 over -1, faults as the processor's
// division would. int1 and int2 divide in 32 bits and keep the low bits, so
// they never meet the second fault.
#include <cmath>
#include <limits>

#include "core/arith.hpp"
#include "elementwise/binary.hpp"

namespace zvq {
namespace {

struct Add {
    template <class Tag>
    static value_t<Tag> apply(value_t<Tag> a, value_t<Tag> b) {
        if constexpr (is_integer<Tag>)
            return wrap_add(a, b);
        else
            return a + b;
    }
};

struct Sub {
    template <class Tag>
    static value_t<Tag> apply(value_t<Tag> a, value_t<Tag> b) {
        if constexpr (is_integer<Tag>)
            return wrap_sub(a, b);
        else
            return a - b;
    }
};

struct Mul {
    template <class Tag>
    static value_t<Tag> apply(value_t<Tag> a, value_t<Tag> b) {
        if constexpr (is_integer<Tag>)
            return wrap_mul(a, b);
        else
            return a * b;
    }
};

// The faults of the processor's integer division, for divisions in the full
// width of T.
template <class T>
inline void trap_like_division(T a, T b) {
    if (b == 0) raise_fpe();
    if constexpr (std::is_signed_v<T>)
        if (a == std::numeric_limits<T>::min() && b == T(-1)) raise_fpe();
}

// Narrow integers divide in 32 bits; only a zero divisor faults there.
template <class T>
inline constexpr bool divides_in_32_bits = sizeof(T) < 4;

struct Div {
    template <class Tag>
    static value_t<Tag> apply(value_t<Tag> a, value_t<Tag> b) {
        using T = value_t<Tag>;
        if constexpr (is_floating<Tag>) {
            return a / b;
        } else if constexpr (divides_in_32_bits<T>) {
            if (b == 0) raise_fpe();
            return static_cast<T>(int32_t{a} / int32_t{b});
        } else {
            trap_like_division(a, b);
            return a / b;
        }
    }
};

struct Mod {
    template <class Tag>
    static value_t<Tag> apply(value_t<Tag> a, value_t<Tag> b) {
        using T = value_t<Tag>;
        if constexpr (is_floating<Tag>) {
            return static_cast<T>(std::fmod(static_cast<double>(a), static_cast<double>(b)));
        } else if constexpr (divides_in_32_bits<T>) {
            if (b == 0) raise_fpe();
            return static_cast<T>(int32_t{a} % int32_t{b});
        } else {
            trap_like_division(a, b);
            return a % b;
        }
    }
};

// datetime modulo runs through double, losing low bits above 2^53; a zero
// divisor gives NaN, which converts to 2^63 instead of faulting.
template <>
uint64_t Mod::apply<Datetime>(uint64_t a, uint64_t b) {
    return float_to_int<uint64_t>(std::fmod(static_cast<double>(a), static_cast<double>(b)));
}

// Left if it is strictly greater (smaller), else right: with a NaN on either
// side, and between +0 and -0, the right value wins.
struct Max {
    template <class Tag>
    static value_t<Tag> apply(value_t<Tag> a, value_t<Tag> b) {
        return a > b ? a : b;
    }
};

struct Min {
    template <class Tag>
    static value_t<Tag> apply(value_t<Tag> a, value_t<Tag> b) {
        return a < b ? a : b;
    }
};

template <class Tag, class Op>
zvq_seq_status arith_next(Rec& r) {
    return binary_next<ValueCell<Tag, Tag, Op>>(r);
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_ARITH_NEXT(op, Op, name, Tag)                    \
    zvq_seq_status zvq_seq_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::arith_next<zvq::Tag, zvq::Op>(*it);             \
    }
#define ZVQ_STAMP_ARITH(op, name, Tag)                                                                  \
    zvq_seq_status zvq_seq_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* left,             \
                                         zvq_seq_iterator* right) {                                      \
        return zvq::binary_make<zvq::Tag, zvq::Tag>(*result, left, right, zvq_seq_##op##_##name##_next); \
    }

#define ZVQ_STAMP_ADD(name, Tag, ctype) ZVQ_STAMP_ARITH_NEXT(add, Add, name, Tag) ZVQ_STAMP_ARITH(add, name, Tag)
#define ZVQ_STAMP_SUB(name, Tag, ctype) ZVQ_STAMP_ARITH_NEXT(sub, Sub, name, Tag) ZVQ_STAMP_ARITH(sub, name, Tag)
#define ZVQ_STAMP_MUL(name, Tag, ctype) ZVQ_STAMP_ARITH_NEXT(mul, Mul, name, Tag) ZVQ_STAMP_ARITH(mul, name, Tag)
#define ZVQ_STAMP_DIV(name, Tag, ctype) ZVQ_STAMP_ARITH_NEXT(div, Div, name, Tag) ZVQ_STAMP_ARITH(div, name, Tag)
#define ZVQ_STAMP_MOD(name, Tag, ctype) ZVQ_STAMP_ARITH_NEXT(mod, Mod, name, Tag) ZVQ_STAMP_ARITH(mod, name, Tag)
#define ZVQ_STAMP_MAX(name, Tag, ctype) ZVQ_STAMP_ARITH_NEXT(max, Max, name, Tag) ZVQ_STAMP_ARITH(max, name, Tag)
#define ZVQ_STAMP_MIN(name, Tag, ctype) ZVQ_STAMP_ARITH_NEXT(min, Min, name, Tag) ZVQ_STAMP_ARITH(min, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_ADD)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_SUB)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_MUL)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_DIV)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_MOD)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_MIN)

}  // extern "C"
