// Grid aggregates: sum, avg, min, max, var, var_samp, dev and dev_samp of
// consecutive cells of grid_size elements, one output per cell; the last cell
// may be short. A cell spans any number of input chunks and calls: the open
// cell lives in the state.
//
// Every record declares elem_type double and elem_size 8, whatever its chunk
// holds: sum writes its 8-byte accumulator as it is (int8 for int operands,
// uint8 for uint and datetime, double for float and double), min and max
// write the operand's own values at the operand's width and chunk capacity,
// the others doubles. A caller reads the layout of the family it built;
// docs/reference/aggregate_grid.md shows how.
//
// The rules fold a stretch of equal values at once wherever that gives the
// very bits that folding them one by one gives.
#include <cmath>
#include <type_traits>

#include "aggregate/running.hpp"
#include "aggregate/whole_rules.hpp"

namespace zvq {
namespace {

template <class Acc>
struct GridState {
    uint64_t grid_size;
    uint64_t pending_count;  // elements in the open cell; 0: none open
    Acc grid_acc;
    double grid_sq;
};
ZVQ_ASSERT_PENDING_COUNT(GridState<double>);

// A grid rule: Tag, In, Acc (grid_acc), Cell (the value type in the chunk),
//   seed(Acc& a, double& q, In v)                  first element of a cell
//   fold(Acc& a, double& q, In v, uint32_t k)      k more copies of v
//   result(Acc a, double q, uint64_t u) -> Cell    the cell of u elements

// k integer additions wrap to one multiplication; floating sums go through
// repeat_add, which keeps the rounding of k additions.
template <class T>
struct GridSum : RuleBase<T> {
    using In = value_t<T>;
    using Acc = wide_t<T>;
    using Cell = Acc;
    static void seed(Acc& a, double&, In v) { a = static_cast<Acc>(v); }
    static void fold(Acc& a, double&, In v, uint32_t k) {
        if constexpr (std::is_floating_point_v<Acc>)
            a = repeat_add(a, static_cast<double>(v), k);
        else
            a = wrap_add<Acc>(a, wrap_mul<Acc>(static_cast<Acc>(v), static_cast<Acc>(k)));
    }
    static Acc result(Acc a, double, uint64_t) { return a; }
};

// A double for every operand, datetime included.
template <class T>
struct GridAvg : RuleBase<T> {
    using In = value_t<T>;
    using Acc = double;
    using Cell = double;
    static void seed(double& a, double&, In v) { a = static_cast<double>(v); }
    static void fold(double& a, double&, In v, uint32_t k) { a = repeat_add(a, static_cast<double>(v), k); }
    static double result(double a, double, uint64_t u) { return a / static_cast<double>(u); }
};

// A repeat never wins against itself, so a stretch folds as one value. A NaN
// that opens a cell stays its result.
template <class Pick>
struct GridExtreme : RuleBase<typename Pick::Tag> {
    using In = typename Pick::In;
    using Acc = In;
    using Cell = In;
    static void seed(In& a, double& q, In v) { Pick::seed(a, q, v, 1); }
    static void fold(In& a, double& q, In v, uint32_t) { Pick::fold(a, q, v, 1); }
    static In result(In a, double q, uint64_t u) { return Pick::result(a, q, u); }
};

// Squares in double for every operand; the results of the whole-sequence
// variance family, with their test for a single element.
template <class Whole>
struct GridSpread : RuleBase<typename Whole::Tag> {
    using In = typename Whole::In;
    using Acc = double;
    using Cell = double;
    static void seed(double& a, double& q, In v) {
        const double w = static_cast<double>(v);
        q = w * w;
        a = w;
    }
    static void fold(double& a, double& q, In v, uint32_t k) {
        const double w = static_cast<double>(v);
        q = repeat_add(q, w * w, k);
        a = repeat_add(a, w, k);
    }
    static double result(double a, double q, uint64_t u) { return Whole::result(a, q, u); }
};

template <class T>
using GridMax = GridExtreme<Max<T>>;
template <class T>
using GridMin = GridExtreme<Min<T>>;
template <class T>
using GridVar = GridSpread<Var<T>>;
template <class T>
using GridVarSamp = GridSpread<VarSamp<T>>;
template <class T>
using GridDev = GridSpread<Dev<T>>;
template <class T>
using GridDevSamp = GridSpread<DevSamp<T>>;

// Writes the result of the open cell of u elements as run o.
template <class Rule>
void close_cell(Rec& r, uint32_t o, typename Rule::Acc a, double q, uint64_t u) {
    set_value<typename Rule::Cell>(r, o, Rule::result(a, q, u));
    set_repeat(r, o, 1);
    ++r.next_pos;
}

template <class Rule>
zvq_seq_status grid_next(Rec& r) {
    using In = typename Rule::In;
    using Cell = typename Rule::Cell;
    constexpr uint32_t cap = value_capacity<Cell>;
    auto& st = state_of<GridState<typename Rule::Acc>>(r);
    Rec& op = *r.operand[0];
    const uint64_t size = st.grid_size;
    uint64_t pending = st.pending_count;
    typename Rule::Acc a = st.grid_acc;
    double q = st.grid_sq;
    uint32_t o = 0;
    zvq_seq_status s = SEQ_OK;
    while (o < cap) {
        if ((s = refill(op)) == SEQ_END && pending != 0) {  // the short last cell
            close_cell<Rule>(r, o++, a, q, pending);
            pending = 0;
        }
        bool closes;
        if ((s = close_at_end(s, o, closes)) || closes) break;
        // Whole runs inside the open cell, with the read position in a
        // local, distinct values in a plain loop; the run that reaches the
        // cell's end goes the general way.
        if (pending != 0 && op.run_pos == 0) {
            walk_whole_runs(
                op, [&] { return size == 0 ? kAllOnes : size - pending - 1; },
                [&](uint32_t i, uint32_t m) {
                    for (uint32_t j = 0; j < m; ++j) Rule::fold(a, q, value_at<In>(op, i + j), 1);
                    pending += m;
                },
                [&](uint32_t i, uint32_t n) {
                    Rule::fold(a, q, value_at<In>(op, i), n);
                    pending += n;
                });
            if (exhausted(op)) continue;
        }
        const In v = current<In>(op);
        // A grid_size of 0 never closes a cell: the sequence is one cell.
        const uint64_t room = size == 0 ? kAllOnes : size - pending;
        const auto k = static_cast<uint32_t>(std::min<uint64_t>(stepwise_remainder(op), room));
        if (pending == 0) {
            Rule::seed(a, q, v);
            Rule::fold(a, q, v, k - 1);
        } else {
            Rule::fold(a, q, v, k);
        }
        take_stepwise(op, k);
        pending += k;
        if (pending == size) {
            close_cell<Rule>(r, o++, a, q, pending);
            pending = 0;
        }
    }
    // A failure keeps the open cell; the cells it closed stay counted in
    // next_pos though they are not published.
    st.pending_count = pending;
    st.grid_acc = a;
    st.grid_sq = q;
    if (s == SEQ_OK) r.chunk_count = static_cast<uint16_t>(o);
    return s;
}

template <class Rule>
zvq_seq_status grid_make(Rec& r, Rec* op, uint64_t size, zvq_seq_next_fn next) {
    if (zvq_seq_status s = open_operands<typename Rule::Tag>(op)) return s;
    init_record(r, shape_of<Double>, {next, zvq_seq_reset_unary_agg_iterator}, {op});
    auto& st = state_of<GridState<typename Rule::Acc>>(r);
    st.grid_size = size;
    st.pending_count = 0;
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_GRID(op, Rule, name, Tag)                                                            \
    zvq_seq_status zvq_seq_grid_agg_##op##_##name##_next(zvq_seq_iterator* it) {                       \
        return zvq::grid_next<zvq::Rule<zvq::Tag>>(*it);                                               \
    }                                                                                                  \
    zvq_seq_status zvq_seq_grid_agg_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand, \
                                                  uint64_t grid_size) {                                \
        return zvq::grid_make<zvq::Rule<zvq::Tag>>(*result, operand, grid_size,                        \
                                                   zvq_seq_grid_agg_##op##_##name##_next);             \
    }

#define ZVQ_GRID_SUM(name, Tag, ctype) ZVQ_STAMP_GRID(sum, GridSum, name, Tag)
#define ZVQ_GRID_AVG(name, Tag, ctype) ZVQ_STAMP_GRID(avg, GridAvg, name, Tag)
#define ZVQ_GRID_MIN(name, Tag, ctype) ZVQ_STAMP_GRID(min, GridMin, name, Tag)
#define ZVQ_GRID_MAX(name, Tag, ctype) ZVQ_STAMP_GRID(max, GridMax, name, Tag)
#define ZVQ_GRID_VAR(name, Tag, ctype) ZVQ_STAMP_GRID(var, GridVar, name, Tag)
#define ZVQ_GRID_VAR_SAMP(name, Tag, ctype) ZVQ_STAMP_GRID(var_samp, GridVarSamp, name, Tag)
#define ZVQ_GRID_DEV(name, Tag, ctype) ZVQ_STAMP_GRID(dev, GridDev, name, Tag)
#define ZVQ_GRID_DEV_SAMP(name, Tag, ctype) ZVQ_STAMP_GRID(dev_samp, GridDevSamp, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_GRID_SUM)
ZVQ_NUMERIC_TYPES(ZVQ_GRID_AVG)
ZVQ_NUMERIC_TYPES(ZVQ_GRID_MIN)
ZVQ_NUMERIC_TYPES(ZVQ_GRID_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_GRID_VAR)
ZVQ_NUMERIC_TYPES(ZVQ_GRID_VAR_SAMP)
ZVQ_NUMERIC_TYPES(ZVQ_GRID_DEV)
ZVQ_NUMERIC_TYPES(ZVQ_GRID_DEV_SAMP)

}  // extern "C"
