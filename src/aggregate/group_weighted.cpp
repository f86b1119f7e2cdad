// group_agg_weighted_avg on (weights, values, keys): sum(w * v) / sum(w) per
// group of adjacent equal keys, on the group loop of group.hpp. Both sums
// run over the whole group, in double, signed values read as signed.
#include "aggregate/group_rules.hpp"

namespace zvq {

// Weight w, value v; the accumulator is the sum of weights, the squares'
// place holds the weighted sum.
template <class T>
struct WeightedAvg : RuleBase<T> {
    using In = value_t<T>;
    using Out = Double;
    using Acc = double;
    static void seed(double& weights, double& weighted, In w, In v, uint8_t n) {
        weights = 0.0;
        weighted = 0.0;
        fold(weights, weighted, w, v, n);
    }
    static void fold(double& weights, double& weighted, In w, In v, uint8_t n) {
        const double k = n;
        weights += static_cast<double>(w) * k;
        weighted += static_cast<double>(w) * static_cast<double>(v) * k;
    }
    static double result(double weights, double weighted, uint64_t) { return weighted / weights; }
};

}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_WEIGHTED_AVG_NEXT(name, Tag)                                                     \
    zvq_seq_status zvq_seq_group_agg_weighted_avg_##name##_next(zvq_seq_iterator* it) {           \
        return zvq::group_next<zvq::FoldGroup<zvq::WeightedAvg<zvq::Tag>, 2>>(*it);                \
    }
#define ZVQ_STAMP_WEIGHTED_AVG_MAKE(name, Tag)                                                                  \
    zvq_seq_status zvq_seq_group_agg_weighted_avg_##name(zvq_seq_iterator* result, zvq_seq_iterator* weights, \
                                                         zvq_seq_iterator* values, zvq_seq_iterator* keys) {    \
        return zvq::group_make<zvq::Tag, zvq::Double>(*result, weights, values, keys,                          \
                                                      zvq_seq_group_agg_weighted_avg_##name##_next);           \
    }
#define ZVQ_GROUP_WEIGHTED_AVG(name, Tag, ctype) \
    ZVQ_STAMP_WEIGHTED_AVG_NEXT(name, Tag)       \
    ZVQ_STAMP_WEIGHTED_AVG_MAKE(name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_GROUP_WEIGHTED_AVG)

}  // extern "C"
