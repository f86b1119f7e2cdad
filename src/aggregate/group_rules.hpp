// The fold rules of the group families, in the shape of whole_rules.hpp so
// that FoldGroup serves them all. max and min are the whole-sequence rules
// themselves; the others differ in their run terms (run_terms.hpp) or in
// what they keep, and reuse the whole-sequence results where those agree.
#pragma once

#include <type_traits>

#include "aggregate/group.hpp"
#include "aggregate/run_terms.hpp"
#include "aggregate/whole_rules.hpp"

namespace zvq {

template <class T>
struct First : RuleBase<T> {
    using In = value_t<T>;
    using Out = T;
    using Acc = In;
    static void seed(Acc& a, double&, In v, uint8_t) { a = v; }
    static void fold(Acc&, double&, In, uint8_t) {}
    static Acc result(Acc a, double, uint64_t) { return a; }
};

template <class T>
struct Last : First<T> {
    using In = value_t<T>;
    static void fold(In& a, double&, In v, uint8_t) { a = v; }
};

// Integers sum exactly in 64 bits, wrapping: unlike the whole-sequence sum, a
// 4-byte run is widened before it is multiplied.
template <class T>
struct GroupSum : Sum<T> {
    using typename Sum<T>::Acc;
    using In = value_t<T>;
    static void seed(Acc& a, double&, In v, uint8_t n) { a = wide_product<T>(v, n); }
    static void fold(Acc& a, double&, In v, uint8_t n) { a = Sum<T>::add(a, wide_product<T>(v, n)); }
};

// The integer sum is read as unsigned before it becomes a double, so a
// negative value throws the average far off; datetime stays an integer.
template <class T>
struct GroupAvg : Avg<T> {
    using typename Avg<T>::Acc;
    using In = value_t<T>;
    static Acc term(In v, uint8_t n) {
        if constexpr (Avg<T>::kDatetime)
            return wide_product<T>(v, n);
        else
            return unsigned_reading<T>(v, n);
    }
    static void seed(Acc& a, double&, In v, uint8_t n) { a = term(v, n); }
    static void fold(Acc& a, double&, In v, uint8_t n) { a = Avg<T>::add(a, term(v, n)); }
};

// var, var_samp, dev, dev_samp: the sum as the average reads it (datetime in
// double too), the squares from the value as signed, and the whole-sequence
// results, whose n - 1 in both divisors and unguarded square root are wanted.
template <class R>
struct GroupSpread : R {
    using T = typename R::Tag;
    using In = value_t<T>;
    static void seed(double& a, double& q, In v, uint8_t n) {
        a = unsigned_reading<T>(v, n);
        q = run_squares(v, n);
    }
    static void fold(double& a, double& q, In v, uint8_t n) {
        a += unsigned_reading<T>(v, n);
        q += run_squares(v, n);
    }
};

template <class T>
using GroupVar = GroupSpread<Var<T>>;
template <class T>
using GroupVarSamp = GroupSpread<VarSamp<T>>;
template <class T>
using GroupDev = GroupSpread<Dev<T>>;
template <class T>
using GroupDevSamp = GroupSpread<DevSamp<T>>;

// Weight a, value b. The numerator (in the squares' place) sums over the
// group, but each fold overwrites the divisor: a group's divisor is the
// weight of its last fold alone. Integer results truncate the quotient.
template <class T>
struct GroupWavg : RuleBase<T> {
    using In = value_t<T>;
    using Out = wide_tag_t<T>;
    using Acc = value_t<Out>;
    static void seed(Acc& d, double& num, In a, In b, uint8_t n) {
        num = pair_product(a, b, n);
        d = wide_product<T>(a, n);
    }
    static void fold(Acc& d, double& num, In a, In b, uint8_t n) {
        num += pair_product(a, b, n);
        d = wide_product<T>(a, n);
    }
    static Acc result(Acc d, double num, uint64_t) {
        const double q = num / static_cast<double>(d);
        if constexpr (is_floating<T>)
            return q;
        else
            return float_to_int<Acc>(q);
    }
};

}  // namespace zvq
