// cov, corr, wsum and wavg over two operands read in step, with their
// merges. Each overlap of two runs is folded with one set of additions; the
// sums stay in locals and reach the record once, at publication.
#include <array>
#include <cmath>
#include <type_traits>

#include "aggregate/pairs.hpp"
#include "core/fold_rules.hpp"
#include "core/record.hpp"

namespace zvq {
namespace {

// The six fields a merge reads, in this order; families leave the sums they
// do not use at 0.0.
struct Sums {
    double sum_x = 0.0;
    double sum_y = 0.0;
    double sum_xx = 0.0;
    double sum_xy = 0.0;
    double sum_yy = 0.0;
};

struct PairedState {
    Sums sums;
    uint64_t pair_count;
};

template <class T>
struct PairedRule {
    using Tag = T;
    using In = value_t<T>;
};

// x and y as sums: the int types read as unsigned there, as the group
// averages do, while the product of the pair keeps its sign.
template <class T>
struct Cov : PairedRule<T> {
    using In = value_t<T>;
    static void add(Sums& s, In x, In y, uint8_t k) {
        s.sum_x += unsigned_reading<T>(x, k);
        s.sum_y += unsigned_reading<T>(y, k);
        s.sum_xy += pair_product(x, y, k);
    }
    static double centred(const Sums& s, double n) { return s.sum_xy - (s.sum_y * s.sum_x) / n; }
    static double result(const Sums& s, double n) { return centred(s, n) / n; }  // the population form
};

// No test for a zero variance: a constant operand gives NaN or infinity.
template <class T>
struct Corr : Cov<T> {
    using In = value_t<T>;
    static void add(Sums& s, In x, In y, uint8_t k) {
        Cov<T>::add(s, x, y, k);
        s.sum_xx += run_squares(x, k);
        s.sum_yy += run_squares(y, k);
    }
    static double result(const Sums& s, double n) {
        return Cov<T>::centred(s, n) /
               std::sqrt((s.sum_yy - (s.sum_y * s.sum_y) / n) * (s.sum_xx - (s.sum_x * s.sum_x) / n));
    }
};

template <class T>
struct Wsum : PairedRule<T> {
    using In = value_t<T>;
    static void add(Sums& s, In x, In y, uint8_t k) { s.sum_xy += pair_product(x, y, k); }
    static double result(const Sums& s, double) { return s.sum_xy; }
};

// Weight x, value y, multiplied in the operand's own arithmetic first: a
// 32-bit product for the narrow types (sign-extended, uint4 zero-extended),
// 64 bits for the wide ones, single precision for float.
template <class T>
double weighted_term(value_t<T> x, value_t<T> y, uint8_t k) {
    using V = value_t<T>;
    if constexpr (std::is_same_v<V, float>) {
        return static_cast<double>(y * x * static_cast<float>(k));
    } else if constexpr (is_floating<T>) {
        return y * x * static_cast<double>(k);
    } else {
        uint64_t p;
        if constexpr (sizeof(V) == 8)
            p = static_cast<uint64_t>(x) * static_cast<uint64_t>(y);
        else if constexpr (std::is_same_v<V, uint32_t>)
            p = uint32_t{x} * uint32_t{y};
        else  // the narrow types: a 32-bit product, sign-extended
            p = static_cast<uint64_t>(int64_t{wrap_mul<int32_t>(x, y)});
        return static_cast<double>(p * k);
    }
}

template <class T>
struct Wavg : PairedRule<T> {
    using In = value_t<T>;
    static void add(Sums& s, In x, In y, uint8_t k) {
        s.sum_x += unsigned_reading<T>(x, k);
        s.sum_xy += weighted_term<T>(x, y, k);
    }
    static double result(const Sums& s, double) { return s.sum_xy / s.sum_x; }
};

template <class Rule>
zvq_seq_status paired_next(Rec& r) {
    using In = typename Rule::In;
    zvq_seq_status s;
    if (settled_aggregate(r, s)) return s;
    Sums sums;
    uint64_t n = 0;
    s = fold_pairs<In>({r.operand[0], r.operand[1]}, [&](In x, In y, uint8_t k) {
        Rule::add(sums, x, y, k);
        n += k;
    });
    // A failure drops the sums: nothing is published, next_pos stays 0.
    if (s != SEQ_END || n == 0) return s;
    state_of<PairedState>(r) = {sums, n};
    publish_one<double>(r, Rule::result(sums, static_cast<double>(n)));
    return SEQ_OK;
}

// The source's sum of y is added to both sums of the destination, and its
// sum of x is never read: this is the merge of this library, kept for all
// four families. Parts merge to the whole only where each source's two sums
// agree (and always for wsum, whose result is sum_xy).
template <class Rule>
zvq_seq_status paired_merge(Rec& dst, const Rec& src) {
    PairedState& d = state_of<PairedState>(dst);
    const PairedState& s = state_of<PairedState>(src);
    d.pair_count += s.pair_count;
    d.sums.sum_x += s.sums.sum_y;
    d.sums.sum_y += s.sums.sum_y;
    d.sums.sum_xx += s.sums.sum_xx;
    d.sums.sum_xy += s.sums.sum_xy;
    d.sums.sum_yy += s.sums.sum_yy;
    set_value<double>(dst, 0, Rule::result(d.sums, static_cast<double>(d.pair_count)));
    return SEQ_OK;
}

template <class Rule>
zvq_seq_status paired_make(Rec& r, Rec* x, Rec* y, zvq_seq_next_fn next, zvq_seq_merge_fn merge) {
    using Tag = typename Rule::Tag;
    if (zvq_seq_status s = open_operands<Tag, Tag>(x, y)) return s;
    init_record(r, shape_of<Double>, {next, zvq_seq_reset_binary_iterator, zvq_seq_prepare_aggregate, merge}, {x, y});
    r.prepared = 0;
    state_of<PairedState>(r).pair_count = 0;
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_PAIRED(op, Rule, name, Tag)                                                                 \
    zvq_seq_status zvq_seq_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* x, zvq_seq_iterator* y) { \
        return zvq::paired_make<zvq::Rule<zvq::Tag>>(*result, x, y, zvq_seq_##op##_##name##_next,            \
                                                     zvq_seq_##op##_##name##_merge);                          \
    }
#define ZVQ_STAMP_PAIRED_NEXT(op, Rule, name, Tag)                        \
    zvq_seq_status zvq_seq_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::paired_next<zvq::Rule<zvq::Tag>>(*it);              \
    }
#define ZVQ_STAMP_PAIRED_MERGE(op, Rule, name, Tag)                                                            \
    zvq_seq_status zvq_seq_##op##_##name##_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) { \
        return zvq::paired_merge<zvq::Rule<zvq::Tag>>(*destination, *source);                                \
    }

// One family for one type: the three names.
#define ZVQ_STAMP_PAIRED_FAMILY(op, Rule, name, Tag) \
    ZVQ_STAMP_PAIRED_NEXT(op, Rule, name, Tag)       \
    ZVQ_STAMP_PAIRED_MERGE(op, Rule, name, Tag)      \
    ZVQ_STAMP_PAIRED(op, Rule, name, Tag)

#define ZVQ_PAIRED_COV(name, Tag, ctype) ZVQ_STAMP_PAIRED_FAMILY(cov, Cov, name, Tag)
#define ZVQ_PAIRED_CORR(name, Tag, ctype) ZVQ_STAMP_PAIRED_FAMILY(corr, Corr, name, Tag)
#define ZVQ_PAIRED_WSUM(name, Tag, ctype) ZVQ_STAMP_PAIRED_FAMILY(wsum, Wsum, name, Tag)
#define ZVQ_PAIRED_WAVG(name, Tag, ctype) ZVQ_STAMP_PAIRED_FAMILY(wavg, Wavg, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_PAIRED_COV)
ZVQ_NUMERIC_TYPES(ZVQ_PAIRED_CORR)
ZVQ_NUMERIC_TYPES(ZVQ_PAIRED_WSUM)
ZVQ_NUMERIC_TYPES(ZVQ_PAIRED_WAVG)

}  // extern "C"
