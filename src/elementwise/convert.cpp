// The conversion matrix: every pair of numeric types, the identity included.
// zvq_seq_T_from_U is zvq_seq_U_to_T under its other name, so both ends of a
// pair share one next and one reset.
#include "core/arith.hpp"
#include "core/types.hpp"
#include "core/unary.hpp"

namespace zvq {
namespace {

// The language's casts give what is wanted for every pair but one: integer
// narrowing keeps the low bits, widening extends by the source's signedness,
// integers round to nearest into floating types (uint8 and datetime as
// unsigned 64-bit). Floating to integer goes through the processor's
// truncation, whose out-of-range and NaN results a plain cast leaves undefined.
template <class To, class From>
struct Convert {
    static value_t<To> apply(value_t<From> v) {
        if constexpr (is_floating<From> && is_integer<To>)
            return float_to_int<value_t<To>>(v);
        else
            return static_cast<value_t<To>>(v);
    }
};

template <class To, class From>
zvq_seq_status convert_next(Rec& r) {
    return unary_next<To, From, Convert<To, From>>(r);
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_TO_NEXT(from, From, from_c, to, To, to_c)                   \
    zvq_seq_status zvq_seq_##from##_to_##to##_next(zvq_seq_iterator* it) { \
        return zvq::convert_next<zvq::To, zvq::From>(*it);                  \
    }
#define ZVQ_STAMP_TO(from, From, from_c, to, To, to_c)                                               \
    zvq_seq_status zvq_seq_##from##_to_##to(zvq_seq_iterator* result, zvq_seq_iterator* operand) { \
        return zvq::unary_make<zvq::To, zvq::From>(*result, operand, zvq_seq_##from##_to_##to##_next); \
    }
#define ZVQ_STAMP_FROM(from, From, from_c, to, To, to_c)                                               \
    zvq_seq_status zvq_seq_##to##_from_##from(zvq_seq_iterator* result, zvq_seq_iterator* operand) { \
        return zvq_seq_##from##_to_##to(result, operand);                                           \
    }

// One row per source type; the inner list supplies the targets.
#define ZVQ_STAMP_TO_NEXT_ROW(from, From, from_c) ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_TO_NEXT, from, From, from_c)
#define ZVQ_STAMP_TO_ROW(from, From, from_c) ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_TO, from, From, from_c)
#define ZVQ_STAMP_FROM_ROW(from, From, from_c) ZVQ_NUMERIC_TYPES_WITH(ZVQ_STAMP_FROM, from, From, from_c)

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_TO_NEXT_ROW)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_TO_ROW)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_FROM_ROW)

}  // extern "C"
