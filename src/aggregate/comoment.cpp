// covariance and correlation over two operands read in step: population
// covariance and Pearson correlation from the means and co-moments, each
// overlap of k equal pairs folded at once by the pairwise formula, and parts
// merged by the same formula. Signed values are read as signed; no sum of
// squares is formed, so nothing cancels.
#include <array>
#include <cmath>

#include "aggregate/pairs.hpp"
#include "aggregate/whole.hpp"

namespace zvq {
namespace {

// A part's moments, in the record's state after publication for a merge.
struct Comoments {
    uint64_t n;
    double mean_x;
    double mean_y;
    double cxy;  // sum of (x - mean_x)(y - mean_y)
    double mxx;  // sum of (x - mean_x)^2
    double myy;

    // Folds b in (Chan, Golub and LeVeque's combination).
    void merge(const Comoments& b) {
        if (b.n == 0) return;
        if (n == 0) {
            *this = b;
            return;
        }
        const double na = static_cast<double>(n), nb = static_cast<double>(b.n);
        const double total = na + nb;
        const double dx = b.mean_x - mean_x, dy = b.mean_y - mean_y;
        const double f = na * nb / total;
        mean_x += dx * nb / total;
        mean_y += dy * nb / total;
        cxy += b.cxy + dx * dy * f;
        mxx += b.mxx + dx * dx * f;
        myy += b.myy + dy * dy * f;
        n += b.n;
    }
    // k pairs (x, y): a part whose co-moments are zero.
    void add(double x, double y, uint64_t k) { merge({k, x, y, 0.0, 0.0, 0.0}); }
};

template <class T>
struct CoRule {
    using Tag = T;
    using In = value_t<T>;
};

template <class T>
struct Covariance : CoRule<T> {
    static double result(const Comoments& m) { return m.cxy / static_cast<double>(m.n); }
};

// A constant operand has no spread: 0 / 0 gives NaN.
template <class T>
struct Correlation : CoRule<T> {
    static double result(const Comoments& m) { return m.cxy / std::sqrt(m.mxx * m.myy); }
};

template <class Rule>
zvq_seq_status comoment_next(Rec& r) {
    using In = typename Rule::In;
    zvq_seq_status s;
    if (settled_aggregate(r, s)) return s;
    Comoments m{};
    s = fold_pairs<In>({r.operand[0], r.operand[1]},
                       [&](In x, In y, uint8_t k) { m.add(static_cast<double>(x), static_cast<double>(y), k); });
    // A failure drops the moments: nothing is published, next_pos stays 0.
    if (s != SEQ_END || m.n == 0) return s;
    state_of<Comoments>(r) = m;
    publish_one<double>(r, Rule::result(m));
    return SEQ_OK;
}

template <class Rule>
zvq_seq_status comoment_merge(Rec& dst, const Rec& src) {
    Comoments& d = state_of<Comoments>(dst);
    d.merge(state_of<Comoments>(src));
    set_value<double>(dst, 0, Rule::result(d));
    return SEQ_OK;
}

template <class Rule>
zvq_seq_status comoment_make(Rec& r, Rec* x, Rec* y, zvq_seq_next_fn next, zvq_seq_merge_fn merge) {
    using Tag = typename Rule::Tag;
    if (!has_type<Tag>(x) || !has_type<Tag>(y)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({x, y})) return s;
    init_record(r, shape_of<Double>, {next, zvq_seq_reset_binary_iterator, zvq_seq_prepare_aggregate, merge}, {x, y});
    r.prepared = 0;
    state_of<Comoments>(r) = {};
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_COMOMENT_NEXT(op, Rule, name, Tag)                    \
    zvq_seq_status zvq_seq_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::comoment_next<zvq::Rule<zvq::Tag>>(*it);            \
    }
#define ZVQ_STAMP_COMOMENT_MERGE(op, Rule, name, Tag)                                                          \
    zvq_seq_status zvq_seq_##op##_##name##_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) { \
        return zvq::comoment_merge<zvq::Rule<zvq::Tag>>(*destination, *source);                              \
    }
#define ZVQ_STAMP_COMOMENT_MAKE(op, Rule, name, Tag)                                                          \
    zvq_seq_status zvq_seq_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* x, zvq_seq_iterator* y) { \
        return zvq::comoment_make<zvq::Rule<zvq::Tag>>(*result, x, y, zvq_seq_##op##_##name##_next,          \
                                                       zvq_seq_##op##_##name##_merge);                         \
    }

#define ZVQ_STAMP_COMOMENT(op, Rule, name, Tag) \
    ZVQ_STAMP_COMOMENT_NEXT(op, Rule, name, Tag)  \
    ZVQ_STAMP_COMOMENT_MERGE(op, Rule, name, Tag) \
    ZVQ_STAMP_COMOMENT_MAKE(op, Rule, name, Tag)

#define ZVQ_COVARIANCE(name, Tag, ctype) ZVQ_STAMP_COMOMENT(covariance, Covariance, name, Tag)
#define ZVQ_CORRELATION(name, Tag, ctype) ZVQ_STAMP_COMOMENT(correlation, Correlation, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_COVARIANCE)
ZVQ_NUMERIC_TYPES(ZVQ_CORRELATION)

}  // extern "C"
