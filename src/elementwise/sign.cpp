// abs, neg and the logical not: unary rules that keep the element type.
#include <bit>

#include "core/arith.hpp"
#include "core/unary.hpp"

namespace zvq {
namespace {

// The floating sign flip, done on the bits so that 0 and NaN flip too.
template <class F>
F flip_sign(F v) {
    using Bits = std::conditional_t<sizeof(F) == 4, uint32_t, uint64_t>;
    constexpr Bits sign = Bits{1} << (sizeof(F) * 8 - 1);
    return std::bit_cast<F>(static_cast<Bits>(std::bit_cast<Bits>(v) ^ sign));
}

// Signed: wraps, so the smallest value is its own absolute value. Unsigned
// and datetime: unchanged. Floating: only values below 0 flip, which keeps
// -0 and a negative NaN as they are.
template <class Tag>
struct Abs {
    using V = value_t<Tag>;
    static V apply(V v) {
        if constexpr (is_signed_int<Tag>)
            return v < 0 ? wrap_neg(v) : v;
        else if constexpr (is_floating<Tag>)
            return V(0) > v ? flip_sign(v) : v;
        else
            return v;
    }
};

// Negation of an unsigned type is the identity; datetime is the exception
// below.
template <class Tag>
struct Neg {
    using V = value_t<Tag>;
    static V apply(V v) {
        if constexpr (is_signed_int<Tag>)
            return wrap_neg(v);
        else if constexpr (is_floating<Tag>)
            return flip_sign(v);
        else
            return v;
    }
};

// datetime negates its 64 bits where uint8, the same C type, stays as it is.
template <>
struct Neg<Datetime> {
    static uint64_t apply(uint64_t v) { return wrap_neg(v); }
};

struct Not {
    static uint8_t apply(uint8_t v) { return v == 0 ? 1 : 0; }
};

template <class Tag>
zvq_seq_status abs_next(Rec& r) {
    return unary_next<Tag, Tag, Abs<Tag>>(r);
}

template <class Tag>
zvq_seq_status neg_next(Rec& r) {
    return unary_next<Tag, Tag, Neg<Tag>>(r);
}

zvq_seq_status not_next(Rec& r) { return unary_next<Uint1, Uint1, Not>(r); }

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_not_next(zvq_seq_iterator* it) { return zvq::not_next(*it); }
zvq_seq_status zvq_seq_not(zvq_seq_iterator* result, zvq_seq_iterator* operand) {
    return zvq::unary_make<zvq::Uint1, zvq::Uint1>(*result, operand, zvq_seq_not_next);
}

#define ZVQ_STAMP_ABS_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_abs_##name##_next(zvq_seq_iterator* it) { return zvq::abs_next<zvq::Tag>(*it); }
#define ZVQ_STAMP_ABS(name, Tag, ctype)                                                     \
    zvq_seq_status zvq_seq_abs_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) { \
        return zvq::unary_make<zvq::Tag, zvq::Tag>(*result, operand, zvq_seq_abs_##name##_next); \
    }
#define ZVQ_STAMP_NEG_NEXT(name, Tag, ctype) \
    zvq_seq_status zvq_seq_neg_##name##_next(zvq_seq_iterator* it) { return zvq::neg_next<zvq::Tag>(*it); }
#define ZVQ_STAMP_NEG(name, Tag, ctype)                                                     \
    zvq_seq_status zvq_seq_neg_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) { \
        return zvq::unary_make<zvq::Tag, zvq::Tag>(*result, operand, zvq_seq_neg_##name##_next); \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_ABS_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_ABS)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_NEG_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_NEG)

}  // extern "C"
