// The folds of the hash aggregate families: max, min, sum and avg of a value
// per key, and the count of elements per key. Max and min are the shared
// rules themselves; sum and avg widen before they multiply (wide_product).
#pragma once

#include <cstring>

#include "core/fold_rules.hpp"
#include "hash/hash_agg.hpp"

namespace zvq {

template <class T>
struct HashSum : Sum<T> {
    using typename Sum<T>::In;
    using typename Sum<T>::Acc;
    static void seed(Acc& a, double&, In v, uint8_t n) { a = wide_product<T>(v, n); }
    static void fold(Acc& a, double&, In v, uint8_t n) { a = Sum<T>::add(a, wide_product<T>(v, n)); }
};

// A signed product becomes a double as an unsigned number (unsigned_reading),
// so a negative value adds about 2^64: that is this family's average, kept
// so. Datetime sums stay integers.
template <class T>
struct HashAvg : Avg<T> {
    using typename Avg<T>::In;
    using typename Avg<T>::Acc;
    static Acc widen(In v, uint8_t n) {
        if constexpr (Avg<T>::kDatetime)
            return wide_product<T>(v, n);
        else
            return unsigned_reading<T>(v, n);
    }
    static void seed(Acc& a, double&, In v, uint8_t n) { a = widen(v, n); }
    static void fold(Acc& a, double&, In v, uint8_t n) { a = Avg<T>::add(a, widen(v, n)); }
};

// A fold rule of the whole-sequence kind applied to an entry: the
// accumulator lives at the low end of the agg word, count counts elements.
// No hash family keeps squares, so the rule's squares are a discarded local.
template <class Rule>
struct ValueFold {
    using In = typename Rule::In;
    using Acc = typename Rule::Acc;
    using OutTag = typename Rule::Out;
    static constexpr bool kReadsValues = true;
    static constexpr bool kValuesFirst = false;

    static Acc acc(const HashEntry& e) {
        Acc a;
        std::memcpy(&a, &e.agg, sizeof a);
        return a;
    }
    static void set_acc(HashEntry& e, Acc a) { std::memcpy(&e.agg, &a, sizeof a); }

    static zvq_seq_status first(TableBuilder&, HashEntry& e, const Rec* values, uint32_t slot, uint8_t n) {
        Acc a{};
        double squares = 0.0;
        Rule::seed(a, squares, value_at<In>(*values, slot), n);
        set_acc(e, a);
        e.count = n;
        return SEQ_OK;
    }
    static zvq_seq_status fold(HashEntry& e, const Rec* values, uint32_t slot, uint8_t n) {
        Acc a = acc(e);
        double squares = 0.0;
        Rule::fold(a, squares, value_at<In>(*values, slot), n);
        set_acc(e, a);
        e.count += n;
        return SEQ_OK;
    }
    static void combine(HashEntry& into, const HashEntry& from) {
        Acc a = acc(into);
        Rule::merge(a, acc(from));
        set_acc(into, a);
        into.count += from.count;
    }
    static value_t<OutTag> result(const HashEntry& e) { return Rule::result(acc(e), 0.0, e.count); }
};

// Elements per key. The value operand, if any, only cuts the runs and ends
// the build; its values are never read.
struct CountFold {
    using OutTag = Uint8;
    static constexpr bool kReadsValues = false;
    static constexpr bool kValuesFirst = false;
    static zvq_seq_status first(TableBuilder&, HashEntry& e, const Rec*, uint32_t, uint8_t n) {
        e.count = n;
        return SEQ_OK;
    }
    static zvq_seq_status fold(HashEntry& e, const Rec*, uint32_t, uint8_t n) {
        e.count += n;
        return SEQ_OK;
    }
    static void combine(HashEntry& into, const HashEntry& from) { into.count += from.count; }
    static uint64_t result(const HashEntry& e) { return e.count; }
};

}  // namespace zvq
