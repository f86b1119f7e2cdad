// max, min, sum, prd, avg, var, var_samp, dev, dev_samp over a whole
// sequence, with their merges. The rules are in whole_rules.hpp, the loop in
// whole.hpp; this file only stamps the exported names.
#include "aggregate/whole_rules.hpp"

extern "C" {

#define ZVQ_STAMP_AGG(op, Rule, name, Tag)                                                                 \
    zvq_seq_status zvq_seq_agg_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) {        \
        return zvq::whole_make<zvq::Rule<zvq::Tag>>(*result, operand, zvq_seq_agg_##op##_##name##_next,    \
                                                    zvq_seq_agg_##op##_##name##_merge);                    \
    }
#define ZVQ_STAMP_AGG_NEXT(op, Rule, name, Tag)                      \
    zvq_seq_status zvq_seq_agg_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::whole_next<zvq::Rule<zvq::Tag>>(*it);              \
    }
#define ZVQ_STAMP_AGG_MERGE(op, Rule, name, Tag)                                                                 \
    zvq_seq_status zvq_seq_agg_##op##_##name##_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) { \
        return zvq::whole_merge<zvq::Rule<zvq::Tag>>(*destination, *source);                                     \
    }

// One family for one type: the three names.
#define ZVQ_STAMP_FAMILY(op, Rule, name, Tag) \
    ZVQ_STAMP_AGG_NEXT(op, Rule, name, Tag)   \
    ZVQ_STAMP_AGG_MERGE(op, Rule, name, Tag)  \
    ZVQ_STAMP_AGG(op, Rule, name, Tag)

#define ZVQ_AGG_MAX(name, Tag, ctype) ZVQ_STAMP_FAMILY(max, Max, name, Tag)
#define ZVQ_AGG_MIN(name, Tag, ctype) ZVQ_STAMP_FAMILY(min, Min, name, Tag)
#define ZVQ_AGG_SUM(name, Tag, ctype) ZVQ_STAMP_FAMILY(sum, Sum, name, Tag)
#define ZVQ_AGG_PRD(name, Tag, ctype) ZVQ_STAMP_FAMILY(prd, Prd, name, Tag)
#define ZVQ_AGG_AVG(name, Tag, ctype) ZVQ_STAMP_FAMILY(avg, Avg, name, Tag)
#define ZVQ_AGG_VAR(name, Tag, ctype) ZVQ_STAMP_FAMILY(var, Var, name, Tag)
#define ZVQ_AGG_VAR_SAMP(name, Tag, ctype) ZVQ_STAMP_FAMILY(var_samp, VarSamp, name, Tag)
#define ZVQ_AGG_DEV(name, Tag, ctype) ZVQ_STAMP_FAMILY(dev, Dev, name, Tag)
#define ZVQ_AGG_DEV_SAMP(name, Tag, ctype) ZVQ_STAMP_FAMILY(dev_samp, DevSamp, name, Tag)

ZVQ_NUMERIC_TYPES(ZVQ_AGG_MAX)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_MIN)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_SUM)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_PRD)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_AVG)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_VAR)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_VAR_SAMP)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_DEV)
ZVQ_NUMERIC_TYPES(ZVQ_AGG_DEV_SAMP)

}  // extern "C"
