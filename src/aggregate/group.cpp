// Group aggregates on (values, keys) and group_agg_wavg on (a, b, keys). The
// rules are in group_rules.hpp, the loop in group.hpp; this file only stamps
// the exported names.
#include "aggregate/group_rules.hpp"

namespace zvq {

template <template <class> class Rule, class Tag, size_t Values = 1>
using group_family_t = FoldGroup<Rule<Tag>, Values>;

}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_GROUP_NEXT(op, Rule, name, Tag, arity)                                 \
    zvq_seq_status zvq_seq_group_agg_##op##_##name##_next(zvq_seq_iterator* it) {         \
        return zvq::group_next<zvq::group_family_t<zvq::Rule, zvq::Tag, arity>>(*it);      \
    }
#define ZVQ_STAMP_GROUP_MAKE(op, Rule, name, Tag)                                                                \
    zvq_seq_status zvq_seq_group_agg_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* values,          \
                                                   zvq_seq_iterator* keys) {                                     \
        return zvq::group_make<zvq::Tag, zvq::Rule<zvq::Tag>::Out>(*result, values, keys,                        \
                                                                    zvq_seq_group_agg_##op##_##name##_next);    \
    }
#define ZVQ_STAMP_GROUP(op, Rule, name, Tag)   \
    ZVQ_STAMP_GROUP_NEXT(op, Rule, name, Tag, 1) \
    ZVQ_STAMP_GROUP_MAKE(op, Rule, name, Tag)

#define ZVQ_GROUP_MAX(name, Tag, ctype) ZVQ_STAMP_GROUP(max, Max, name, Tag)
#define ZVQ_GROUP_MIN(name, Tag, ctype) ZVQ_STAMP_GROUP(min, Min, name, Tag)
#define ZVQ_GROUP_FIRST(name, Tag, ctype) ZVQ_STAMP_GROUP(first, First, name, Tag)
#define ZVQ_GROUP_LAST(name, Tag, ctype) ZVQ_STAMP_GROUP(last, Last, name, Tag)
#define ZVQ_GROUP_SUM(name, Tag, ctype) ZVQ_STAMP_GROUP(sum, GroupSum, name, Tag)
#define ZVQ_GROUP_AVG(name, Tag, ctype) ZVQ_STAMP_GROUP(avg, GroupAvg, name, Tag)
#define ZVQ_GROUP_VAR(name, Tag, ctype) ZVQ_STAMP_GROUP(var, GroupVar, name, Tag)
#define ZVQ_GROUP_VAR_SAMP(name, Tag, ctype) ZVQ_STAMP_GROUP(var_samp, GroupVarSamp, name, Tag)
#define ZVQ_GROUP_DEV(name, Tag, ctype) ZVQ_STAMP_GROUP(dev, GroupDev, name, Tag)
#define ZVQ_GROUP_DEV_SAMP(name, Tag, ctype) ZVQ_STAMP_GROUP(dev_samp, GroupDevSamp, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_GROUP_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_MIN)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_FIRST)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_LAST)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_SUM)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_AVG)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_VAR)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_VAR_SAMP)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_DEV)
ZVQ_NUMERIC_TYPES(ZVQ_GROUP_DEV_SAMP)

#define ZVQ_STAMP_GROUP_WAVG_MAKE(name, Tag)                                                                 \
    zvq_seq_status zvq_seq_group_agg_wavg_##name(zvq_seq_iterator* result, zvq_seq_iterator* a,               \
                                                 zvq_seq_iterator* b, zvq_seq_iterator* keys) {               \
        return zvq::group_make<zvq::Tag, zvq::GroupWavg<zvq::Tag>::Out>(*result, a, b, keys,                   \
                                                                        zvq_seq_group_agg_wavg_##name##_next); \
    }
#define ZVQ_GROUP_WAVG(name, Tag, ctype)                 \
    ZVQ_STAMP_GROUP_NEXT(wavg, GroupWavg, name, Tag, 2) \
    ZVQ_STAMP_GROUP_WAVG_MAKE(name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_GROUP_WAVG)

}  // extern "C"
