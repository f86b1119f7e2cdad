// sort: a permutation of indices that orders a plain array of values. One
// function per numeric type, each with its own pivot seed; the algorithm is
// in sort.hpp.
#include "select/sort.hpp"

extern "C" {

#define ZVQ_STAMP_SORT(name, Tag, ctype)                                                                      \
    zvq_seq_status zvq_seq_sort_##name(const ctype* values, uint64_t* permutation, uint64_t n, uint32_t order) { \
        return zvq::sort_values<zvq::Tag>(values, permutation, n, order);                                    \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_SORT)

}  // extern "C"
