// Rolling aggregates: element i is the sum, average, extreme, variance or
// deviation of elements max(0, i - window + 1) .. i, runs expanded.
//
// The window is kept as runs, (value, count) pairs in a ring at the record's
// buffer, so its memory follows the runs it holds and not the window's
// length. The input is taken a stretch at a time: a stretch is as long as
// the output stays the same, or one element where the output moves.
// sum, avg, var and std keep moments of the window that take and give back
// k equal elements at once; min and max keep a monotonic queue of runs.
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "aggregate/running.hpp"
#include "aggregate/whole_rules.hpp"
#include "core/run_writer.hpp"

namespace zvq {
namespace {

inline constexpr uint64_t kMaxWindow = uint64_t{1} << 32;

template <class V>
inline bool same_bits(V a, V b) {
    return std::memcmp(&a, &b, sizeof(V)) == 0;
}

template <class V>
inline bool is_nan(V v) {
    if constexpr (std::is_floating_point_v<V>)
        return std::isnan(v);
    else
        return false;
}

// One ring entry. For the moment families n is how many elements of the
// value the window holds; for the extremes it is the position of the last
// element of the run.
template <class V>
struct Slot {
    V value;
    uint64_t n;
};

struct RingPlace {
    uint64_t head;   // slot of the oldest run
    uint64_t runs;   // runs held
    uint64_t slots;  // a power of two, or 0 before the first run
};

template <class M>
struct RollingState {
    uint64_t window;
    uint64_t held;  // moments: elements in the window; extremes: elements read
    RingPlace ring;
    M moments;
};

// The ring over the record's buffer, its place copied into locals for a
// call and written back by the driver. It doubles when full; a failed
// allocation leaves the old ring, which the record still owns.
template <class V>
class Ring {
   public:
    Ring(Rec& r, const RingPlace& p) : r_(r), p_(p), base_(static_cast<Slot<V>*>(r.buffer)) {
        if (base_ == nullptr) p_ = {};  // released by zvq_seq_free_buffer
    }
    const RingPlace& place() const { return p_; }
    uint64_t runs() const { return p_.runs; }
    Slot<V>& front() { return at(0); }
    Slot<V>& back() { return at(p_.runs - 1); }
    void pop_front() {
        p_.head = (p_.head + 1) & (p_.slots - 1);
        --p_.runs;
    }
    void pop_back() { --p_.runs; }
    // A new run at the back; false when the ring could not grow.
    bool append(V v, uint64_t n) {
        if (p_.runs == p_.slots && !grow()) return false;
        ++p_.runs;
        back() = {v, n};
        return true;
    }
    // n more elements of v: the back run grows when it holds the same value.
    bool push(V v, uint64_t n) {
        if (p_.runs != 0 && same_bits(back().value, v)) {
            back().n += n;
            return true;
        }
        return append(v, n);
    }
    // Room for `more` runs, so that push_reserved cannot fail.
    bool reserve(uint64_t more) {
        while (p_.runs + more > p_.slots)
            if (!grow()) return false;
        return true;
    }
    void push_reserved(V v, uint64_t n) {
        if (p_.runs != 0 && same_bits(back().value, v)) {
            back().n += n;
            return;
        }
        ++p_.runs;
        back() = {v, n};
    }

   private:
    Slot<V>& at(uint64_t i) { return base_[(p_.head + i) & (p_.slots - 1)]; }
    bool grow() {
        const uint64_t slots = p_.slots == 0 ? 16 : p_.slots * 2;
        auto* fresh = static_cast<Slot<V>*>(zvq_seq_malloc(&r_, slots * sizeof(Slot<V>)));
        if (fresh == nullptr) return false;
        for (uint64_t i = 0; i < p_.runs; ++i) fresh[i] = at(i);
        zvq_seq_free_buffer(&r_);
        r_.buffer = fresh;
        r_.buffer_size = slots * sizeof(Slot<V>);
        base_ = fresh;
        p_.head = 0;
        p_.slots = slots;
        return true;
    }
    Rec& r_;
    RingPlace p_;
    Slot<V>* base_;  // the buffer, held apart from the record so that chunk stores do not reload it
};

// Counts of the non-finite elements of a float window, kept apart so that a
// NaN or an infinity leaves the finite sums as they were once it has left.
struct NonFinite {
    uint64_t nan = 0, up = 0, down = 0;

    template <class V>
    bool take(V v, uint64_t k, int sign) {
        if constexpr (std::is_floating_point_v<V>) {
            if (std::isfinite(v)) [[likely]]
                return false;
            // Each count by name, not through a reference, so that the
            // counts stay in registers.
            const uint64_t step = sign > 0 ? k : uint64_t{0} - k;
            if (std::isnan(v))
                nan += step;
            else if (v > 0)
                up += step;
            else
                down += step;
            return true;
        } else {
            return false;
        }
    }
    bool any() const { return (nan | up | down) != 0; }
    // What the non-finite elements make of a sum.
    double sum() const {
        if (nan != 0 || (up != 0 && down != 0)) return std::numeric_limits<double>::quiet_NaN();
        return up != 0 ? std::numeric_limits<double>::infinity() : -std::numeric_limits<double>::infinity();
    }
};

// ---- the moment rules --------------------------------------------------------
//
//   State                        trivially copyable, zero is the empty window
//   add(State&, v, k)            k elements of v enter
//   remove(State&, v, k)         k elements of v leave
//   uniform(State&, v, held)     the window now holds only v, held times
//   value(State&, held)          the output
//   steady(v)                    adding v to a window of only v's keeps the output

// Integers add and remove in the wrapping 64-bit type of sums, which is
// exact; floats in double.
template <class T>
struct SumMoments {
    wide_t<T> sum;
    NonFinite odd;
};

template <class T>
struct RollSum : RuleBase<T> {
    using In = value_t<T>;
    using Out = wide_tag_t<T>;
    using Acc = wide_t<T>;
    using State = SumMoments<T>;
    static Acc times(In v, uint64_t k) {
        if constexpr (is_floating<T>)
            return static_cast<double>(v) * static_cast<double>(k);
        else
            return wrap_mul<Acc>(static_cast<Acc>(v), static_cast<Acc>(k));
    }
    static void add(State& s, In v, uint64_t k) {
        if (!s.odd.take(v, k, 1)) s.sum = k == 1 ? add_wrapping<Acc>(s.sum, static_cast<Acc>(v)) : add_wrapping(s.sum, times(v, k));
    }
    static void remove(State& s, In v, uint64_t k) {
        if (!s.odd.take(v, k, -1)) s.sum = k == 1 ? sub_wrapping<Acc>(s.sum, static_cast<Acc>(v)) : sub_wrapping(s.sum, times(v, k));
    }
    // A float sum that has drifted by rounding starts afresh.
    static void uniform(State& s, In v, uint64_t held) {
        if (!s.odd.any()) s.sum = times(v, held);
    }
    static Acc total(const State& s) {
        if constexpr (is_floating<T>)
            if (s.odd.any()) return s.odd.sum();
        return s.sum;
    }
    static Acc value(const State& s, uint64_t) { return total(s); }
    static bool steady(In v) { return v == In{0}; }

    // k steps that each add v and take out u (or nothing, filling) have
    // outputs in closed form, sum + j * (v - u), unless a value is not
    // finite; written at once they need no chain of additions.
    static constexpr bool kClosedForm = true;
    static bool plain(In v, In u) {
        if constexpr (is_floating<T>)
            return std::isfinite(v) && std::isfinite(u);
        else
            return true;
    }
    static Acc step_of(In v, In u) { return sub_wrapping<Acc>(static_cast<Acc>(v), static_cast<Acc>(u)); }
    static Acc after(Acc sum, Acc d, uint64_t j) { return add_wrapping<Acc>(sum, times_acc(d, j)); }
    static Acc times_acc(Acc d, uint64_t j) {
        if constexpr (is_floating<T>)
            return d * static_cast<double>(j);
        else
            return wrap_mul<Acc>(d, static_cast<Acc>(j));
    }
    static Acc of(Acc sum, uint64_t) { return sum; }

    // v enters and u leaves: one addition of their difference, so that the
    // sum's chain of dependent additions is one long per element.
    static void slide(State& s, In v, In u) {
        if (plain(v, u)) [[likely]] {
            s.sum = add_wrapping<Acc>(s.sum, step_of(v, u));
        } else {
            add(s, v, 1);
            remove(s, u, 1);
        }
    }
};

template <class T>
struct RollAvg : RollSum<T> {
    using Out = Double;
    static double value(const typename RollSum<T>::State& s, uint64_t held) {
        return static_cast<double>(RollSum<T>::total(s)) / static_cast<double>(held);
    }
    static bool steady(value_t<T>) { return true; }
    static double of(typename RollSum<T>::Acc sum, uint64_t held) {
        return static_cast<double>(sum) / static_cast<double>(held);
    }
};

// Welford's mean and sum of squared deviations, k equal elements at a time
// by the pairwise formula, so that no sum of squares cancels.
struct Welford {
    uint64_t n;
    double mean;
    double m2;
    NonFinite odd;
};

template <class T, bool kRoot>
struct RollSpread : RuleBase<T> {
    using In = value_t<T>;
    using Out = Double;
    using State = Welford;
    static void add(State& s, In v, uint64_t k) {
        if (s.odd.take(v, k, 1)) return;
        const double x = static_cast<double>(v), kk = static_cast<double>(k);
        const uint64_t n = s.n + k;
        const double d = x - s.mean;
        s.mean += d * kk / static_cast<double>(n);
        s.m2 += d * d * static_cast<double>(s.n) * kk / static_cast<double>(n);
        s.n = n;
    }
    static void remove(State& s, In v, uint64_t k) {
        if (s.odd.take(v, k, -1)) return;
        const uint64_t n = s.n - k;
        if (n == 0) {
            s.n = 0, s.mean = 0.0, s.m2 = 0.0;
            return;
        }
        const double x = static_cast<double>(v), kk = static_cast<double>(k), nn = static_cast<double>(n);
        const double mean = s.mean - kk * (x - s.mean) / nn;
        const double d = x - mean;
        s.m2 = std::max(0.0, s.m2 - d * d * nn * kk / static_cast<double>(s.n));
        s.mean = mean;
        s.n = n;
    }
    static void uniform(State& s, In v, uint64_t) {
        if (!s.odd.any()) s.mean = static_cast<double>(v), s.m2 = 0.0;
    }
    static double value(const State& s, uint64_t) {
        if (s.odd.any()) return std::numeric_limits<double>::quiet_NaN();
        const double var = s.m2 / static_cast<double>(s.n);
        return kRoot ? std::sqrt(var) : var;
    }
    static bool steady(In) { return true; }
    // Each step's output depends on the last: no closed form.
    static constexpr bool kClosedForm = false;
    static bool plain(In, In) { return false; }
    static void slide(State& s, In v, In u) {
        add(s, v, 1);
        remove(s, u, 1);
    }
};

template <class T>
using RollVar = RollSpread<T, false>;
template <class T>
using RollStd = RollSpread<T, true>;

// ---- the drivers ---------------------------------------------------------------

// Whether a non-finite element is in the window: the closed forms then do
// not hold.
template <class M>
inline bool odd_of(const M& m) {
    return m.odd.any();
}

// The outer loop of both drivers: whole input runs (a repeat byte of 0 is
// 256 elements) handed to stretch(v, avail, out), which returns how many it
// took, or 0 when the ring could not grow. A stretch of runs of one may go
// to singles(i, m, out) first, which takes up to m of them from run i and
// returns how many, or kFailed.
inline constexpr uint32_t kFailed = ~uint32_t{0};

struct NoSingles {
    template <class W>
    uint32_t operator()(uint32_t, uint32_t, W&) const {
        return 0;
    }
};

template <class In, class O, class Stretch, class Singles = NoSingles>
zvq_seq_status rolling_pass(Rec& r, Stretch&& stretch, Singles&& singles = {}) {
    Rec& op = *r.operand[0];
    RunWriter<O> out(r);
    while (out.room()) {
        bool closes;
        if (const zvq_seq_status s = refill_or_close(op, out.runs(), closes)) return s;
        if (closes) break;
        if (op.run_pos == 0) {
            const uint32_t i = op.chunk_pos;
            const uint32_t m = single_runs(op, i, std::min<uint32_t>(op.chunk_count, i + out.free_runs()));
            if (m > 1) {
                const uint32_t done = singles(i, m, out);
                if (done == kFailed) return SEQ_NOMEM;
                op.chunk_pos = static_cast<uint16_t>(i + done);
                if (done != 0) continue;
            }
        }
        const uint32_t avail = stepwise_remainder(op);
        const uint32_t used = stretch(current<In>(op), avail, out);
        if (used == 0) return SEQ_NOMEM;
        take_stepwise(op, used);
    }
    out.publish();
    return SEQ_OK;
}

// Cost per input run: one step while the window holds only the run's value
// (and, filling, where the rule is steady), one step per run of the window
// that the input drains with its own value, and one step per element where
// the output moves: filling a window with a changing output, or draining an
// older run of another value.
template <class Rule>
zvq_seq_status moments_next(Rec& r) {
    using In = typename Rule::In;
    using O = value_t<typename Rule::Out>;
    auto& st = state_of<RollingState<typename Rule::State>>(r);
    Ring<In> ring(r, st.ring);
    typename Rule::State m = st.moments;
    uint64_t held = st.held;
    const uint64_t w = st.window;

    const auto stretch = [&](In v, uint32_t avail, RunWriter<O>& out) -> uint32_t {
        uint32_t used = 0;
        while (used < avail && out.room()) {
            const uint64_t left = avail - used;
            const bool uniform = ring.runs() == 0 || (ring.runs() == 1 && same_bits(ring.front().value, v));
            uint64_t k;
            if (held < w) {
                k = std::min(left, w - held);
                if (uniform && Rule::steady(v)) {
                    k = std::min(k, out.free_elements());
                    if (!ring.push(v, k)) return 0;
                    Rule::add(m, v, k);
                    held += k;
                    Rule::uniform(m, v, held);
                    out.put(Rule::value(m, held), k);
                } else {
                    k = std::min<uint64_t>(k, out.free_runs());
                    if (!ring.push(v, k)) return 0;
                    if constexpr (Rule::kClosedForm) {
                        if (Rule::plain(v, In{}) && !odd_of(m)) {
                            const auto sum = m.sum, d = Rule::step_of(v, In{});
                            out.put_each(static_cast<uint32_t>(k), [&](uint32_t j) {
                                return Rule::of(Rule::after(sum, d, j + 1), held + j + 1);
                            });
                            m.sum = Rule::after(sum, d, k);
                            held += k;
                            if (uniform) Rule::uniform(m, v, held);
                            used += static_cast<uint32_t>(k);
                            continue;
                        }
                    }
                    typename Rule::State local = m;
                    for (uint64_t j = 0; j < k; ++j) {
                        Rule::add(local, v, 1);
                        out.put_one(Rule::value(local, ++held));
                    }
                    m = local;
                    if (uniform) Rule::uniform(m, v, held);
                }
            } else if (uniform) {
                // The window slides over v's only: nothing changes but places.
                k = std::min(left, out.free_elements());
                out.put(Rule::value(m, held), k);
            } else {
                Slot<In>& f = ring.front();
                const In u = f.value;
                k = std::min(left, f.n);
                if (same_bits(u, v)) {
                    k = std::min(k, out.free_elements());
                    out.put(Rule::value(m, held), k);
                } else if (k = std::min<uint64_t>(k, out.free_runs()); Rule::kClosedForm && Rule::plain(v, u) && !odd_of(m)) {
                    if constexpr (Rule::kClosedForm) {
                        const auto sum = m.sum, d = Rule::step_of(v, u);
                        out.put_each(static_cast<uint32_t>(k),
                                     [&](uint32_t j) { return Rule::of(Rule::after(sum, d, j + 1), held); });
                        m.sum = Rule::after(sum, d, k);
                    }
                } else {
                    typename Rule::State local = m;
                    for (uint64_t j = 0; j < k; ++j) {
                        Rule::add(local, v, 1);
                        Rule::remove(local, u, 1);
                        out.put_one(Rule::value(local, held));
                    }
                    m = local;
                }
                if ((f.n -= k) == 0) ring.pop_front();
                if (!ring.push(v, k)) return 0;
                if (ring.runs() == 1) Rule::uniform(m, v, held);
            }
            used += static_cast<uint32_t>(k);
        }
        return used;
    };
    // Distinct values through a full window: each enters as a run of one
    // and the oldest element leaves, in one plain loop over the values.
    const auto singles = [&](uint32_t i, uint32_t n, RunWriter<O>& out) -> uint32_t {
        if (held < w) return 0;
        if (!ring.reserve(n)) return kFailed;
        const Rec& op = *r.operand[0];
        typename Rule::State local = m;
        out.put_each(n, [&](uint32_t j) {
            const In v = value_at<In>(op, i + j);
            Slot<In>& f = ring.front();
            Rule::slide(local, v, f.value);
            if (--f.n == 0) ring.pop_front();
            ring.push_reserved(v, 1);
            if (ring.runs() == 1) Rule::uniform(local, v, held);
            return Rule::value(local, held);
        });
        m = local;
        return n;
    };
    const zvq_seq_status s = rolling_pass<In, O>(r, stretch, singles);
    st.ring = ring.place();
    st.moments = m;
    st.held = held;
    return s;
}

// min and max: a queue of runs whose values strictly decrease in the rule's
// order from the front, each with the position of its last element. A new
// run drops the runs behind it that it beats or equals; the front is the
// answer until its last element leaves the window. NaN never enters, so it
// is passed over; a window of NaN alone gives NaN.
template <class Pick>
zvq_seq_status extreme_next(Rec& r) {
    using In = typename Pick::In;
    auto& st = state_of<RollingState<uint64_t>>(r);
    Ring<In> ring(r, st.ring);
    uint64_t seen = st.held;
    const uint64_t w = st.window;

    const auto stretch = [&](In v, uint32_t avail, RunWriter<In>& out) -> uint32_t {
        if (!is_nan(v)) {
            while (ring.runs() != 0 && !Pick::wins(ring.back().value, v)) ring.pop_back();
            if (!ring.append(v, seen + avail - 1)) return 0;
        }
        uint32_t used = 0;
        while (used < avail && out.room()) {
            const uint64_t first = seen + 1 >= w ? seen + 1 - w : 0;
            while (ring.runs() != 0 && ring.front().n < first) ring.pop_front();
            uint64_t k = avail - used;
            In best;
            if (ring.runs() != 0) {
                best = ring.front().value;
                k = std::min(k, ring.front().n + w - seen);
            } else {
                best = std::numeric_limits<In>::quiet_NaN();
            }
            k = std::min(k, out.free_elements());
            out.put(best, k);
            seen += k;
            used += static_cast<uint32_t>(k);
        }
        return used;
    };
    const zvq_seq_status s = rolling_pass<In, In>(r, stretch);
    st.ring = ring.place();
    st.held = seen;
    return s;
}

template <class Rule, class M>
zvq_seq_status rolling_make(Rec& r, Rec* op, uint64_t window, zvq_seq_next_fn next) {
    if (const zvq_seq_status s = open_operands<typename Rule::Tag>(op)) return s;
    if (window == 0 || window > kMaxWindow) return SEQ_BAD_ARGUMENT;
    init_record(r, shape_of<typename Rule::Out>, {next, zvq_seq_rolling_reset}, {op});
    r.buffer = nullptr;
    r.buffer_size = 0;
    auto& st = state_of<RollingState<M>>(r);
    st = {};
    st.window = window;
    return SEQ_OK;
}

template <class T>
using RollMax = Max<T>;
template <class T>
using RollMin = Min<T>;

template <template <class> class Rule, class T>
zvq_seq_status make_moments(Rec& r, Rec* op, uint64_t window, zvq_seq_next_fn next) {
    return rolling_make<Rule<T>, typename Rule<T>::State>(r, op, window, next);
}

template <template <class> class Pick, class T>
zvq_seq_status make_extreme(Rec& r, Rec* op, uint64_t window, zvq_seq_next_fn next) {
    return rolling_make<Pick<T>, uint64_t>(r, op, window, next);
}

}  // namespace
}  // namespace zvq

extern "C" {

// The window leaves with the buffer; every other field but the window's
// length is zero again, as the constructor left it.
zvq_seq_status zvq_seq_rolling_reset(zvq_seq_iterator* it) {
    zvq_seq_free_buffer(it);
    std::memset(it->state.bytes + sizeof(uint64_t), 0, sizeof(it->state.bytes) - sizeof(uint64_t));
    return zvq_seq_reset_unary_iterator(it);
}

#define ZVQ_STAMP_ROLLING_NEXT(op, Driver, Rule, name, Tag)                 \
    zvq_seq_status zvq_seq_rolling_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::Driver<zvq::Rule<zvq::Tag>>(*it);                         \
    }
#define ZVQ_STAMP_ROLLING_MAKE(op, Make, Rule, name, Tag)                                                     \
    zvq_seq_status zvq_seq_rolling_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand,       \
                                                 uint64_t window) {                                          \
        return zvq::Make<zvq::Rule, zvq::Tag>(*result, operand, window, zvq_seq_rolling_##op##_##name##_next); \
    }

#define ZVQ_ROLLING_MOMENTS(op, Rule, name, Tag)                  \
    ZVQ_STAMP_ROLLING_NEXT(op, moments_next, Rule, name, Tag) \
    ZVQ_STAMP_ROLLING_MAKE(op, make_moments, Rule, name, Tag)
#define ZVQ_ROLLING_EXTREME(op, Rule, name, Tag)                  \
    ZVQ_STAMP_ROLLING_NEXT(op, extreme_next, Rule, name, Tag) \
    ZVQ_STAMP_ROLLING_MAKE(op, make_extreme, Rule, name, Tag)

#define ZVQ_ROLLING_SUM(name, Tag, ctype) ZVQ_ROLLING_MOMENTS(sum, RollSum, name, Tag)
#define ZVQ_ROLLING_AVG(name, Tag, ctype) ZVQ_ROLLING_MOMENTS(avg, RollAvg, name, Tag)
#define ZVQ_ROLLING_VAR(name, Tag, ctype) ZVQ_ROLLING_MOMENTS(var, RollVar, name, Tag)
#define ZVQ_ROLLING_STD(name, Tag, ctype) ZVQ_ROLLING_MOMENTS(std, RollStd, name, Tag)
#define ZVQ_ROLLING_MIN(name, Tag, ctype) ZVQ_ROLLING_EXTREME(min, RollMin, name, Tag)
#define ZVQ_ROLLING_MAX(name, Tag, ctype) ZVQ_ROLLING_EXTREME(max, RollMax, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_ROLLING_SUM)
ZVQ_NUMERIC_TYPES(ZVQ_ROLLING_AVG)
ZVQ_NUMERIC_TYPES(ZVQ_ROLLING_VAR)
ZVQ_NUMERIC_TYPES(ZVQ_ROLLING_STD)
ZVQ_NUMERIC_TYPES(ZVQ_ROLLING_MIN)
ZVQ_NUMERIC_TYPES(ZVQ_ROLLING_MAX)

}  // extern "C"
