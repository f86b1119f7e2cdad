// The fold rules of the group families, in the shape of whole_rules.hpp so
// that FoldGroup serves them all. max and min are the whole-sequence rules
// themselves; the others differ in their run terms (run_terms.hpp) or in
// what they keep, and reuse the whole-sequence results where those agree.
#pragma once

#include <type_traits>

#include "aggregate/group.hpp"
#include "core/fold_rules.hpp"
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

// ---- families from whole-sequence fold rules --------------------------------

// A fold rule of whole_rules.hpp's shape (seed, fold, result over an
// accumulator and a sum of squares) as a group family over Values value
// operands, its state a GroupState. With one value operand it also folds a
// stretch of whole runs at once, through the whole-sequence fold loop.
template <class Fold, size_t Values = 1>
struct FoldGroup {
    using Tag = typename Fold::Tag;
    using Out = typename Fold::Out;
    using In = typename Fold::In;
    using Acc = typename Fold::Acc;
    using State = GroupState<Acc>;
    static constexpr size_t kValues = Values;

    struct Held {
        Acc acc;
        double sq;
    };
    static Held load(const Rec& r) {
        const State& s = state_of<State>(r);
        return {s.group_acc, s.group_sq};
    }
    static void save(Rec& r, const Held& h) {
        State& s = state_of<State>(r);
        s.group_acc = h.acc;
        s.group_sq = h.sq;
    }
    static KeyStore key_store(Rec& r) {
        State& s = state_of<State>(r);
        return {s.group_key, s.group_key, kGroupKeyRoom};
    }
    template <class... V>
    static void seed(Held& h, uint8_t n, V... v) {
        Fold::seed(h.acc, h.sq, v..., n);
    }
    template <class... V>
    static void fold(Held& h, uint8_t n, V... v) {
        Fold::fold(h.acc, h.sq, v..., n);
    }
    static value_t<Out> result(const Held& h, uint64_t c) { return Fold::result(h.acc, h.sq, c); }

    // Runs [from, to) of the values, each with its repeat byte as n. A run of
    // repeat 0 leaves nothing pending, so the next run seeds again.
    static void fold_runs(Held& h, const Rec& values, uint32_t from, uint32_t to, uint64_t& pending)
        requires(Values == 1)
    {
        for (; from < to && pending == 0; ++from) {
            Fold::seed(h.acc, h.sq, value_at<In>(values, from), repeat_at(values, from));
            pending = repeat_at(values, from);
        }
        if (to - from >= kLongStretch) {
            zvq::fold_runs<Fold>(values, from, to, h.acc, h.sq, pending);
            return;
        }
        // A short stretch costs less folded here than through the vector loop.
        for (; from < to; ++from) {
            Fold::fold(h.acc, h.sq, value_at<In>(values, from), repeat_at(values, from));
            pending += repeat_at(values, from);
        }
    }
    static constexpr uint32_t kLongStretch = 64;
};

}  // namespace zvq
