// Cumulative aggregates: sum, prd, avg, min, max, var, var_samp, dev and
// dev_samp of the sequence from its start through each element, one output
// per element.
//
// next_pos counts every element as it is folded and then the whole chunk once
// more, so it runs ahead of the elements delivered: at the start of output
// chunk i (from 0) of c outputs it stands at 2ci. avg and the variance family
// take it as their element count, which is what defines them; position
// followers reading these records see it run ahead.
#include <cmath>
#include <type_traits>

#include "aggregate/running.hpp"
#include "aggregate/whole_rules.hpp"
#include "core/unary.hpp"

namespace zvq {
namespace {

template <class Acc>
struct CumState {
    Acc cum_acc;
    double cum_sq;
};

// A cumulative rule: Tag, In, Out (result tag), Acc (cum_acc), and
//   seed(Acc& a, double& q, In v) -> value of Out       the first element
//   fold(Acc& a, double& q, In v, uint64_t p) -> value  every further one
// with p the element count as next_pos keeps it.

// A datetime sum is taken in double.
template <class T>
struct CumSum : RuleBase<T> {
    using In = value_t<T>;
    using Out = std::conditional_t<T::kind == Kind::Datetime, Double, wide_tag_t<T>>;
    using Acc = value_t<Out>;
    static Acc seed(Acc& a, double&, In v) { return a = static_cast<Acc>(v); }
    static Acc fold(Acc& a, double&, In v, uint64_t) { return a = add_wrapping<Acc>(a, static_cast<Acc>(v)); }
};

// One multiplication per element, wrapping at 64 bits; no pow here.
template <class T>
struct CumPrd : RuleBase<T> {
    using In = value_t<T>;
    using Out = wide_tag_t<T>;
    using Acc = value_t<Out>;
    static Acc seed(Acc& a, double&, In v) { return a = static_cast<Acc>(v); }
    static Acc fold(Acc& a, double&, In v, uint64_t) {
        if constexpr (std::is_floating_point_v<Acc>)
            return a *= static_cast<Acc>(v);
        else
            return a = wrap_mul<Acc>(a, static_cast<Acc>(v));
    }
};

// The running mean itself, not a sum.
template <class T>
struct CumAvg : RuleBase<T> {
    using In = value_t<T>;
    using Out = Double;
    using Acc = double;
    static double seed(double& a, double&, In v) { return a = static_cast<double>(v); }
    static double fold(double& a, double&, In v, uint64_t p) {
        return a = (static_cast<double>(p) * a + static_cast<double>(v)) / static_cast<double>(p + 1);
    }
};

template <class Pick>
struct CumExtreme : RuleBase<typename Pick::Tag> {
    using In = typename Pick::In;
    using Out = typename Pick::Tag;
    using Acc = In;
    static In seed(In& a, double& q, In v) {
        Pick::seed(a, q, v, 1);
        return a;
    }
    static In fold(In& a, double& q, In v, uint64_t) {
        Pick::fold(a, q, v, 1);
        return a;
    }
};

// Integer operands give an integer sequence: the variance is truncated at
// every element, and its mean-square term is an integer quotient. The sample
// forms differ only in n.
template <class T, bool kSample, bool kRoot>
struct CumSpread : RuleBase<T> {
    using In = value_t<T>;
    using Out = wide_tag_t<T>;
    using Acc = value_t<Out>;
    static Acc seed(Acc& a, double& q, In v) {
        a = static_cast<Acc>(v);
        q = wrapped_square<T>(v);
        return Acc{0};
    }
    static Acc fold(Acc& a, double& q, In v, uint64_t p) {
        a = add_wrapping<Acc>(a, static_cast<Acc>(v));
        q += wrapped_square<T>(v);
        const uint64_t n = kSample ? p : p + 1;
        if constexpr (std::is_floating_point_v<Acc>) {
            const double d = Spread<T>::population(a, q, n);
            return kRoot ? std::sqrt(d) : d;
        } else {
            const double d = integer_variance(a, q, n);
            return float_to_int<Acc>(kRoot ? std::sqrt(d) : d);
        }
    }
};

template <class T>
using CumMax = CumExtreme<Max<T>>;
template <class T>
using CumMin = CumExtreme<Min<T>>;
template <class T>
using CumVar = CumSpread<T, false, false>;
template <class T>
using CumVarSamp = CumSpread<T, true, false>;
template <class T>
using CumDev = CumSpread<T, false, true>;
template <class T>
using CumDevSamp = CumSpread<T, true, true>;

// One call's walk: the accumulators and the element count.
template <class Rule>
struct CumStep {
    using In = typename Rule::In;
    const Rec* op;
    typename Rule::Acc a;
    double q;
    uint64_t p;

    auto operator()(In v) {
        const uint64_t at = p++;
        // The first element seeds from run 0 of the operand's chunk.
        if (at == 0) return Rule::seed(a, q, value_at<In>(*op, 0));
        return Rule::fold(a, q, v, at);
    }
};

template <class Rule>
zvq_seq_status cum_next(Rec& r) {
    auto& st = state_of<CumState<typename Rule::Acc>>(r);
    const uint64_t entry = r.next_pos;
    CumStep<Rule> step{r.operand[0], st.cum_acc, st.cum_sq, entry};
    const zvq_seq_status s = emit_per_element<value_t<typename Rule::Out>, typename Rule::In>(r, step);
    // The count and the accumulators have moved even where a failure drops
    // this call's outputs; a delivered chunk, counted when published, is
    // counted here once more per element.
    st.cum_acc = step.a;
    st.cum_sq = step.q;
    r.next_pos += step.p - entry;
    return s;
}

}  // namespace
}  // namespace zvq

extern "C" {

// The constructor is the unary operators': type, binding, the host's unary
// reset; the first element seeds the state, so none is written here.
#define ZVQ_STAMP_CUM(op, Rule, name, Tag)                                                                \
    zvq_seq_status zvq_seq_cum_agg_##op##_##name##_next(zvq_seq_iterator* it) {                           \
        return zvq::cum_next<zvq::Rule<zvq::Tag>>(*it);                                                   \
    }                                                                                                     \
    zvq_seq_status zvq_seq_cum_agg_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) {   \
        return zvq::unary_make<zvq::Rule<zvq::Tag>::Out, zvq::Tag>(*result, operand,                      \
                                                                   zvq_seq_cum_agg_##op##_##name##_next); \
    }

#define ZVQ_CUM_SUM(name, Tag, ctype) ZVQ_STAMP_CUM(sum, CumSum, name, Tag)
#define ZVQ_CUM_PRD(name, Tag, ctype) ZVQ_STAMP_CUM(prd, CumPrd, name, Tag)
#define ZVQ_CUM_AVG(name, Tag, ctype) ZVQ_STAMP_CUM(avg, CumAvg, name, Tag)
#define ZVQ_CUM_MIN(name, Tag, ctype) ZVQ_STAMP_CUM(min, CumMin, name, Tag)
#define ZVQ_CUM_MAX(name, Tag, ctype) ZVQ_STAMP_CUM(max, CumMax, name, Tag)
#define ZVQ_CUM_VAR(name, Tag, ctype) ZVQ_STAMP_CUM(var, CumVar, name, Tag)
#define ZVQ_CUM_VAR_SAMP(name, Tag, ctype) ZVQ_STAMP_CUM(var_samp, CumVarSamp, name, Tag)
#define ZVQ_CUM_DEV(name, Tag, ctype) ZVQ_STAMP_CUM(dev, CumDev, name, Tag)
#define ZVQ_CUM_DEV_SAMP(name, Tag, ctype) ZVQ_STAMP_CUM(dev_samp, CumDevSamp, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_CUM_SUM)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_PRD)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_AVG)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_MIN)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_VAR)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_VAR_SAMP)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_DEV)
ZVQ_NUMERIC_TYPES(ZVQ_CUM_DEV_SAMP)

}  // extern "C"
