// The fold rules of the whole-sequence families that no other family
// shares (Max, Min, Sum and Avg are in core/fold_rules.hpp). Each folds a run
// (v, r) at once; none knows about chunks (the drivers are in whole.hpp).
#pragma once

#include <cmath>
#include <type_traits>

#include "aggregate/whole.hpp"
#include "core/fold_rules.hpp"

namespace zvq {

// ---- product: pow per run, every step back through the truncating
// conversion for integers, so large products lose low digits ---------------

template <class T>
struct Prd : RuleBase<T> {
    using In = value_t<T>;
    using Out = wide_tag_t<T>;
    using Acc = value_t<Out>;
    static Acc narrow(double x) {
        if constexpr (is_floating<Out>)
            return x;
        else
            return float_to_int<Acc>(x);
    }
    static double power(In v, uint8_t r) { return std::pow(static_cast<double>(v), static_cast<double>(r)); }
    static void seed(Acc& a, double&, In v, uint8_t r) { a = narrow(power(v, r)); }
    static void fold(Acc& a, double&, In v, uint8_t r) { a = narrow(power(v, r) * static_cast<double>(a)); }
    static void merge(Acc& a, Acc b) { a = narrow(static_cast<double>(a) * static_cast<double>(b)); }
    static Acc result(Acc a, double, uint64_t) { return a; }
};

// ---- the variance family: plain sum and sum of squares, in double ---------

template <class T>
struct Spread : RuleBase<T> {
    using In = value_t<T>;
    using Out = Double;
    using Acc = double;
    static void seed(Acc& a, double& q, In v, uint8_t r) {
        a = static_cast<double>(run_product<T>(v, r));
        q = run_squares(v, r);
    }
    static void fold(Acc& a, double& q, In v, uint8_t r) {
        a += static_cast<double>(run_product<T>(v, r));
        q += run_squares(v, r);
    }
    static void merge(Acc& a, Acc b) { a += b; }

    // No clamping: cancellation may leave a small negative variance.
    static double population(double a, double q, uint64_t n) {
        const double d = static_cast<double>(n);
        return (q - (a * a) / d) / d;
    }
    // n - 1 in both divisors: this library's sample variance.
    static double sample(double a, double q, uint64_t n) {
        const double d = static_cast<double>(n) - 1.0;
        return (q - (a * a) / d) / d;
    }
};

template <class T>
struct Var : Spread<T> {
    static double result(double a, double q, uint64_t n) { return Spread<T>::population(a, q, n); }
};

template <class T>
struct VarSamp : Spread<T> {
    static double result(double a, double q, uint64_t n) { return n == 1 ? 0.0 : Spread<T>::sample(a, q, n); }
};

template <class T>
struct Dev : Spread<T> {
    static double result(double a, double q, uint64_t n) { return std::sqrt(Spread<T>::population(a, q, n)); }
};

template <class T>
struct DevSamp : Spread<T> {
    static double result(double a, double q, uint64_t n) {
        return n == 1 ? 0.0 : std::sqrt(Spread<T>::sample(a, q, n));
    }
};

}  // namespace zvq
