// Comparisons of two sequences: eq, ne, ge, le, gt, lt, for the eleven
// numeric types and char. The result is a boolean (uint1) sequence, so a
// refill makes up to 2048 runs whatever the operands' width.
//
// Floating members follow IEEE 754: a NaN on either side makes every
// comparison but ne false.
#include "elementwise/binary.hpp"

namespace zvq {
namespace {

struct Eq {
    template <class Tag>
    static uint8_t apply(value_t<Tag> a, value_t<Tag> b) {
        return a == b;
    }
};
struct Ne {
    template <class Tag>
    static uint8_t apply(value_t<Tag> a, value_t<Tag> b) {
        return a != b;
    }
};
struct Ge {
    template <class Tag>
    static uint8_t apply(value_t<Tag> a, value_t<Tag> b) {
        return a >= b;
    }
};
struct Le {
    template <class Tag>
    static uint8_t apply(value_t<Tag> a, value_t<Tag> b) {
        return a <= b;
    }
};
struct Gt {
    template <class Tag>
    static uint8_t apply(value_t<Tag> a, value_t<Tag> b) {
        return a > b;
    }
};
struct Lt {
    template <class Tag>
    static uint8_t apply(value_t<Tag> a, value_t<Tag> b) {
        return a < b;
    }
};

template <class Tag, class Op>
zvq_seq_status compare_next(Rec& r) {
    if constexpr (is_char<Tag>)
        return binary_next<ByteCompareCell<Op>>(r);
    else
        return binary_next<ValueCell<Uint1, Tag, Op>>(r);
}

template <class Tag>
zvq_seq_status compare_make(Rec& r, Rec* left, Rec* right, zvq_seq_next_fn next) {
    if constexpr (is_char<Tag>)
        if (has_type<Char>(left) && has_type<Char>(right) && left->elem_size != right->elem_size)
            return SEQ_TYPE_MISMATCH;
    return binary_make<Tag, Uint1>(r, left, right, next);
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_COMPARE_NEXT(op, Op, name, Tag)                       \
    zvq_seq_status zvq_seq_##op##_##name##_next(zvq_seq_iterator* it) { \
        return zvq::compare_next<zvq::Tag, zvq::Op>(*it);               \
    }
#define ZVQ_STAMP_COMPARE(op, name, Tag)                                                            \
    zvq_seq_status zvq_seq_##op##_##name(zvq_seq_iterator* result, zvq_seq_iterator* left,         \
                                         zvq_seq_iterator* right) {                                  \
        return zvq::compare_make<zvq::Tag>(*result, left, right, zvq_seq_##op##_##name##_next); \
    }

#define ZVQ_STAMP_EQ(name, Tag, ctype) ZVQ_STAMP_COMPARE_NEXT(eq, Eq, name, Tag) ZVQ_STAMP_COMPARE(eq, name, Tag)
#define ZVQ_STAMP_NE(name, Tag, ctype) ZVQ_STAMP_COMPARE_NEXT(ne, Ne, name, Tag) ZVQ_STAMP_COMPARE(ne, name, Tag)
#define ZVQ_STAMP_GE(name, Tag, ctype) ZVQ_STAMP_COMPARE_NEXT(ge, Ge, name, Tag) ZVQ_STAMP_COMPARE(ge, name, Tag)
#define ZVQ_STAMP_LE(name, Tag, ctype) ZVQ_STAMP_COMPARE_NEXT(le, Le, name, Tag) ZVQ_STAMP_COMPARE(le, name, Tag)
#define ZVQ_STAMP_GT(name, Tag, ctype) ZVQ_STAMP_COMPARE_NEXT(gt, Gt, name, Tag) ZVQ_STAMP_COMPARE(gt, name, Tag)
#define ZVQ_STAMP_LT(name, Tag, ctype) ZVQ_STAMP_COMPARE_NEXT(lt, Lt, name, Tag) ZVQ_STAMP_COMPARE(lt, name, Tag)

ZVQ_ALL_TYPES(ZVQ_STAMP_EQ)
ZVQ_ALL_TYPES(ZVQ_STAMP_NE)
ZVQ_ALL_TYPES(ZVQ_STAMP_GE)
ZVQ_ALL_TYPES(ZVQ_STAMP_LE)
ZVQ_ALL_TYPES(ZVQ_STAMP_GT)
ZVQ_ALL_TYPES(ZVQ_STAMP_LT)

}  // extern "C"
