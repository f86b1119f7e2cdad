// Sliding-window aggregates: sum, avg, min, max, var, var_samp, dev,
// dev_samp, ema and atr, one output per input element, from a ring of past
// values held in the record's state (no allocation).
//
// This is not a textbook moving window. The ring slot is p mod window_size
// with p the record's next_pos when next is entered, so all the elements of
// one output chunk go through the same slot, each replacing the one before
// it, and the slot moves on once per output chunk. With window_size 3 and the
// input 1, 2, 3, 4, 5 in one chunk, sum gives 1, 2, 3, 4, 5 (slot 0 holds the
// current element, the other two their initial zeros), avg gives each of
// those divided by 3, min gives 0 five times. At the second chunk of 8-byte
// outputs p is 455, the slot 455 mod 3 = 2, and sum gives the last element of
// the first chunk plus the current one. Across chunks the ring holds one
// element per recent chunk. ema and atr use p in the same way: the whole
// first chunk passes through unsmoothed.
#include <cmath>
#include <cstring>
#include <type_traits>

#include "aggregate/running.hpp"
#include "aggregate/whole_rules.hpp"

namespace zvq {
namespace {

// The ring's bytes: the window_size limit is 208 / operand width.
inline constexpr size_t kRingBytes = 208;

template <class In>
inline constexpr uint64_t kRingEntries = kRingBytes / sizeof(In);

template <class Acc, class In>
struct WindowState {
    uint64_t window_size;
    Acc window_acc;
    double window_sq;
    In window_ring[kRingEntries<In>];
};

// What a rule sees of the call it runs in.
template <class In>
struct Window {
    const In* ring;  // with the current element already in its slot
    uint64_t size;
    uint64_t p;    // next_pos at the entry of next
    double width;  // size as a double, converted once per call
};

// A window rule: Tag, In, Out (result tag), Acc (window_acc), kRing (whether
// elements pass through the ring), and
//   step(Acc& a, double& q, In old, In v, const Window<In>&) -> value of Out
// for the element v entering the slot that old leaves.

// window_acc minus the leaving value, then plus the entering one, in the
// accumulator's own type.
template <class Acc, class In>
inline Acc slide(Acc a, In old, In v) {
    return add_wrapping<Acc>(sub_wrapping<Acc>(a, static_cast<Acc>(old)), static_cast<Acc>(v));
}

template <class T>
struct WinSum : RuleBase<T> {
    using In = value_t<T>;
    using Out = wide_tag_t<T>;
    using Acc = value_t<Out>;
    static constexpr bool kRing = true;
    static Acc step(Acc& a, double&, In old, In v, const Window<In>&) { return a = slide(a, old, v); }
};

// Divides by the full window_size, also while the ring still holds zeros.
template <class T>
struct WinAvg : RuleBase<T> {
    using In = value_t<T>;
    using Out = typename Avg<T>::Out;  // datetime stays an integer
    using Acc = value_t<Out>;
    static constexpr bool kRing = true;
    static Acc step(Acc& a, double&, In old, In v, const Window<In>& w) {
        a = slide(a, old, v);
        if constexpr (std::is_floating_point_v<Acc>)
            return a / w.width;
        else
            return a / w.size;
    }
};

// Zero competes as a value until the ring has filled, since both the ring and
// window_acc start at 0; a NaN in ring[0] seeds a rescan and then stays.
template <class Pick>
struct WinExtreme : RuleBase<typename Pick::Tag> {
    using In = typename Pick::In;
    using Out = typename Pick::Tag;
    using Acc = In;
    static constexpr bool kRing = true;
    static In step(Acc& a, double&, In old, In v, const Window<In>& w) {
        if (Pick::wins(v, a)) {
            a = v;
        } else if (old == a) {
            // Without NaN, a is always the ring's extreme: a value replaced
            // by an equal one leaves both as they were, and a stretch costs
            // no rescan per element.
            if constexpr (!is_floating<Out>)
                if (v == old) return a;
            a = w.ring[0];
            for (uint64_t i = 1; i < w.size; ++i)
                if (Pick::wins(w.ring[i], a)) a = w.ring[i];
        }
        return a;
    }
};

template <class T>
using WinMax = WinExtreme<Max<T>>;
template <class T>
using WinMin = WinExtreme<Min<T>>;

// The variance family in double, with no test for window_size 1.
inline double population(double a, double q, uint64_t n) { return Spread<Double>::population(a, q, n); }
inline double sample(double a, double q, uint64_t n) { return Spread<Double>::sample(a, q, n); }
inline double deviation(double a, double q, uint64_t n) { return std::sqrt(population(a, q, n)); }
// The inner divisor stays window_size: this is not the root of sample().
inline double sample_deviation(double a, double q, uint64_t n) {
    const double w = static_cast<double>(n);
    return std::sqrt((q - (a * a) / w) / (w - 1.0));
}

template <class T, double (*Form)(double, double, uint64_t)>
struct WinSpread : RuleBase<T> {
    using In = value_t<T>;
    using Out = Double;
    using Acc = double;
    static constexpr bool kRing = true;
    static double step(double& a, double& q, In old, In v, const Window<In>& w) {
        const double x = static_cast<double>(old), y = static_cast<double>(v);
        a -= x;
        q -= x * x;
        a += y;
        q += y * y;
        return Form(a, q, w.size);
    }
};

// var of datetime: an integer sum, squares that wrap in 64 bits, an integer
// mean-square term, and a datetime result.
struct WinVarDatetime : RuleBase<Datetime> {
    using In = uint64_t;
    using Out = Datetime;
    using Acc = uint64_t;
    static constexpr bool kRing = true;
    static uint64_t step(Acc& a, double& q, In old, In v, const Window<In>& w) {
        a = slide(a, old, v);
        q -= wrapped_square<Datetime>(old);
        q += wrapped_square<Datetime>(v);
        return float_to_int<uint64_t>(integer_variance(a, q, w.size));
    }
};

template <class T>
using WinVar = std::conditional_t<T::kind == Kind::Datetime, WinVarDatetime, WinSpread<T, population>>;
template <class T>
using WinVarSamp = WinSpread<T, sample>;
template <class T>
using WinDev = WinSpread<T, deviation>;
template <class T>
using WinDevSamp = WinSpread<T, sample_deviation>;

// window_size enters only through alpha.
template <class T>
struct WinEma : RuleBase<T> {
    using In = value_t<T>;
    using Out = Double;
    using Acc = double;
    static constexpr bool kRing = false;
    static double step(double& a, double&, In, In v, const Window<In>& w) {
        if (w.p == 0) return a = static_cast<double>(v);
        const double alpha = 2.0 / (w.width + 1.0);
        return a = (1.0 - alpha) * a + static_cast<double>(v) * alpha;
    }
};

// n is 1 through the first chunk and window_size from the second on: no
// gradual warm-up. A window_size of 0 gives n 0 and a division by 0.0.
template <class T>
struct WinAtr : RuleBase<T> {
    using In = value_t<T>;
    using Out = Double;
    using Acc = double;
    static constexpr bool kRing = false;
    static double step(double& a, double&, In, In v, const Window<In>& w) {
        const uint64_t n = w.p < w.size ? w.p + 1 : w.size;
        return a = (static_cast<double>(v) + static_cast<double>(n - 1) * a) / static_cast<double>(n);
    }
};

template <class Rule>
using window_state_t = WindowState<typename Rule::Acc, typename Rule::In>;

template <class Rule>
void clear_window(Rec& r) {
    auto& st = state_of<window_state_t<Rule>>(r);
    st.window_acc = 0;
    st.window_sq = 0.0;
    std::memset(st.window_ring, 0, st.window_size * sizeof(typename Rule::In));
}

// One call's walk: the slot and the value it holds, the accumulators.
template <class Rule>
struct WindowStep {
    using In = typename Rule::In;
    Window<In> w;
    In* slot;  // null for a window_size of 0
    In held;
    typename Rule::Acc a;
    double q;

    auto operator()(In v) {
        In old{};
        if constexpr (Rule::kRing) {
            if (slot == nullptr) raise_fpe();  // p mod 0, as the processor's division faults
            old = held;
            held = v;
            *slot = v;
        }
        return Rule::step(a, q, old, v, w);
    }
};

template <class Rule>
zvq_seq_status window_next(Rec& r) {
    using In = typename Rule::In;
    auto& st = state_of<window_state_t<Rule>>(r);
    const uint64_t size = st.window_size;
    WindowStep<Rule> step{
        {st.window_ring, size, r.next_pos, static_cast<double>(size)}, nullptr, In{}, st.window_acc, st.window_sq};
    if constexpr (Rule::kRing) {
        if (step.w.size != 0) {
            step.slot = &st.window_ring[step.w.p % step.w.size];
            step.held = *step.slot;
        }
    }
    const zvq_seq_status s = emit_per_element<value_t<typename Rule::Out>, In>(r, step);
    // The ring and the accumulators have moved even where a failure drops
    // this call's outputs.
    st.window_acc = step.a;
    st.window_sq = step.q;
    return s;
}

template <class Rule>
zvq_seq_status window_reset(Rec& r) {
    clear_window<Rule>(r);
    return zvq_seq_reset_unary_iterator(&r);
}

template <class Rule>
zvq_seq_status window_make(Rec& r, Rec* op, uint64_t size, zvq_seq_next_fn next, zvq_seq_next_fn reset) {
    if (zvq_seq_status s = open_operands<typename Rule::Tag>(op)) return s;
    // After binding: a refused size leaves the operand bound.
    if (size > kRingEntries<typename Rule::In>) return SEQ_BAD_ARGUMENT;
    init_record(r, shape_of<typename Rule::Out>, {next, reset}, {op});
    state_of<window_state_t<Rule>>(r).window_size = size;
    clear_window<Rule>(r);
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_WINDOW_NEXT(op, Rule, name, Tag)                                 \
    zvq_seq_status zvq_seq_window_agg_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::window_next<zvq::Rule<zvq::Tag>>(*it);                         \
    }
#define ZVQ_STAMP_WINDOW_RESET(op, Rule, name, Tag)                                 \
    zvq_seq_status zvq_seq_window_agg_##op##_##name##_reset(zvq_seq_iterator* it) { \
        return zvq::window_reset<zvq::Rule<zvq::Tag>>(*it);                         \
    }
#define ZVQ_STAMP_WINDOW_MAKE(op, Rule, name, Tag)                                                       \
    zvq_seq_status zvq_seq_window_agg_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand, \
                                                    uint64_t window_size) {                              \
        return zvq::window_make<zvq::Rule<zvq::Tag>>(*result, operand, window_size,                      \
                                                     zvq_seq_window_agg_##op##_##name##_next,            \
                                                     zvq_seq_window_agg_##op##_##name##_reset);          \
    }

// One family for one type: the three names.
#define ZVQ_STAMP_WINDOW(op, Rule, name, Tag)   \
    ZVQ_STAMP_WINDOW_NEXT(op, Rule, name, Tag)  \
    ZVQ_STAMP_WINDOW_RESET(op, Rule, name, Tag) \
    ZVQ_STAMP_WINDOW_MAKE(op, Rule, name, Tag)

#define ZVQ_WINDOW_SUM(name, Tag, ctype) ZVQ_STAMP_WINDOW(sum, WinSum, name, Tag)
#define ZVQ_WINDOW_AVG(name, Tag, ctype) ZVQ_STAMP_WINDOW(avg, WinAvg, name, Tag)
#define ZVQ_WINDOW_MIN(name, Tag, ctype) ZVQ_STAMP_WINDOW(min, WinMin, name, Tag)
#define ZVQ_WINDOW_MAX(name, Tag, ctype) ZVQ_STAMP_WINDOW(max, WinMax, name, Tag)
#define ZVQ_WINDOW_VAR(name, Tag, ctype) ZVQ_STAMP_WINDOW(var, WinVar, name, Tag)
#define ZVQ_WINDOW_VAR_SAMP(name, Tag, ctype) ZVQ_STAMP_WINDOW(var_samp, WinVarSamp, name, Tag)
#define ZVQ_WINDOW_DEV(name, Tag, ctype) ZVQ_STAMP_WINDOW(dev, WinDev, name, Tag)
#define ZVQ_WINDOW_DEV_SAMP(name, Tag, ctype) ZVQ_STAMP_WINDOW(dev_samp, WinDevSamp, name, Tag)
#define ZVQ_WINDOW_EMA(name, Tag, ctype) ZVQ_STAMP_WINDOW(ema, WinEma, name, Tag)
#define ZVQ_WINDOW_ATR(name, Tag, ctype) ZVQ_STAMP_WINDOW(atr, WinAtr, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_SUM)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_AVG)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_MIN)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_VAR)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_VAR_SAMP)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_DEV)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_DEV_SAMP)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_EMA)
ZVQ_NUMERIC_TYPES(ZVQ_WINDOW_ATR)

}  // extern "C"
