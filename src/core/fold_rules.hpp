// The fold rules that several families share, and how a run of n copies of
// a value enters a sum. A rule is a struct of static functions that never
// sees a chunk:
//
//   using Tag = operand type tag;     using In  = its value type;
//   using Out = result type tag;      using Acc = partial_value type;
//   seed(Acc&, double& q, In v, uint8_t r)   first run
//   fold(Acc&, double& q, In v, uint8_t r)   every further run, at once
//   merge(Acc&, Acc)                         a partial value of another part
//   result(Acc, double q, uint64_t n)        the published value
//
// Two run terms coexist and must not be mixed: run_product multiplies in the
// operand's own arithmetic (the whole-sequence, cumulative and window sums),
// wide_product widens to 64 bits first (the group, paired and hash sums), and
// unsigned_reading is the averaging sums' double of the latter.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/arith.hpp"
#include "core/types.hpp"

namespace zvq {

// The 64-bit type of sums and products: int8 for signed operands, uint8 for
// unsigned ones, datetime stays datetime, floats widen to double.
template <class Tag>
using wide_tag_t =
    std::conditional_t<is_signed_int<Tag>, Int8,
                       std::conditional_t<is_floating<Tag>, Double,
                                          std::conditional_t<Tag::kind == Kind::Datetime, Datetime, Uint8>>>;
template <class Tag>
using wide_t = value_t<wide_tag_t<Tag>>;

// P(v, r): a run of r copies of v, multiplied in the operand's own
// arithmetic before widening. The wrap of a 4- or 8-byte product is part of
// the result, and a float run stays single precision until widened.
template <class Tag>
inline wide_t<Tag> run_product(value_t<Tag> v, uint8_t r) {
    using V = value_t<Tag>;
    using W = wide_t<Tag>;
    if constexpr (std::is_same_v<V, float>) {
        const float p = v * static_cast<float>(r);
        return static_cast<double>(p);
    } else if constexpr (is_floating<Tag>) {
        return v * static_cast<double>(r);
    } else if constexpr (sizeof(V) < 4) {
        return static_cast<W>(static_cast<int32_t>(v) * static_cast<int32_t>(r));
    } else {
        return static_cast<W>(wrap_mul<V>(v, static_cast<V>(r)));
    }
}

// v * v * r in double, in this order, for every operand type.
template <class V>
inline double run_squares(V v, uint8_t r) {
    const double d = static_cast<double>(v);
    return d * d * static_cast<double>(r);
}

// ---- run terms of the group, paired and hash sums -------------------------
//
// Integers are widened to 64 bits before they are multiplied, so a 4-byte
// run never wraps, and the averaging sums read the 64-bit product as unsigned.

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

template <class T>
struct RuleBase {
    using Tag = T;
};

// ---- extremes: comparisons with NaN are false, so a NaN seed stays --------

// The value that wins, v > a for Max and v < a for Min, replaces the held one.
template <class T, bool kMax>
struct Extreme : RuleBase<T> {
    using In = value_t<T>;
    using Out = T;
    using Acc = In;
    static bool wins(In v, Acc a) {
        if constexpr (kMax)
            return v > a;
        else
            return v < a;
    }
    static void seed(Acc& a, double&, In v, uint8_t) { a = v; }
    static void fold(Acc& a, double&, In v, uint8_t) {
        if (wins(v, a)) a = v;
    }
    static void merge(Acc& a, Acc b) {
        if (wins(b, a)) a = b;
    }
    static Acc result(Acc a, double, uint64_t) { return a; }
};

template <class T>
struct Max : Extreme<T, true> {};

template <class T>
struct Min : Extreme<T, false> {};

// ---- sum: integers add in 64 bits and wrap, floats add in double ----------

template <class T>
struct Sum : RuleBase<T> {
    using In = value_t<T>;
    using Out = wide_tag_t<T>;
    using Acc = value_t<Out>;
    static Acc add(Acc a, Acc b) {
        if constexpr (is_floating<Out>)
            return a + b;
        else
            return wrap_add<Acc>(a, b);
    }
    static void seed(Acc& a, double&, In v, uint8_t r) { a = run_product<T>(v, r); }
    static void fold(Acc& a, double&, In v, uint8_t r) { a = add(a, run_product<T>(v, r)); }
    static void merge(Acc& a, Acc b) { a = add(a, b); }
    static Acc result(Acc a, double, uint64_t) { return a; }
};

// ---- average: double sum, except datetime which stays an integer ----------

template <class T>
struct Avg : RuleBase<T> {
    using In = value_t<T>;
    static constexpr bool kDatetime = T::kind == Kind::Datetime;
    using Out = std::conditional_t<kDatetime, Datetime, Double>;
    using Acc = value_t<Out>;
    static Acc widen(In v, uint8_t r) { return static_cast<Acc>(run_product<T>(v, r)); }
    static Acc add(Acc a, Acc b) {
        if constexpr (kDatetime)
            return wrap_add<Acc>(a, b);
        else
            return a + b;
    }
    static void seed(Acc& a, double&, In v, uint8_t r) { a = widen(v, r); }
    static void fold(Acc& a, double&, In v, uint8_t r) { a = add(a, widen(v, r)); }
    static void merge(Acc& a, Acc b) { a = add(a, b); }
    static Acc result(Acc a, double, uint64_t n) {
        if constexpr (kDatetime) {
            if (n == 0) raise_fpe();  // only a merge of two empty parts gets here
            return a / n;
        } else {
            return a / static_cast<double>(n);
        }
    }
};

}  // namespace zvq
