// Boolean logic on two uint1 sequences. The rule is bitwise on the whole
// byte, so inputs other than 0 and 1 give results other than 0 and 1; the
// logical negation lives with the unary operators.
#include "elementwise/binary.hpp"

namespace zvq {
namespace {

struct And {
    template <class Tag>
    static uint8_t apply(uint8_t a, uint8_t b) {
        return a & b;
    }
};
struct Or {
    template <class Tag>
    static uint8_t apply(uint8_t a, uint8_t b) {
        return a | b;
    }
};
struct Xor {
    template <class Tag>
    static uint8_t apply(uint8_t a, uint8_t b) {
        return a ^ b;
    }
};

template <class Op>
zvq_seq_status logic_next(Rec& r) {
    return binary_next<ValueCell<Uint1, Uint1, Op>>(r);
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_LOGIC_NEXT(op, Op) \
    zvq_seq_status zvq_seq_##op##_zvq_seq_bool_next(zvq_seq_iterator* it) { return zvq::logic_next<zvq::Op>(*it); }
#define ZVQ_STAMP_LOGIC(op)                                                                                     \
    zvq_seq_status zvq_seq_##op(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right) { \
        return zvq::binary_make<zvq::Uint1, zvq::Uint1>(*result, left, right, zvq_seq_##op##_zvq_seq_bool_next); \
    }

ZVQ_STAMP_LOGIC_NEXT(and, And)
ZVQ_STAMP_LOGIC_NEXT(or, Or)
ZVQ_STAMP_LOGIC_NEXT(xor, Xor)
ZVQ_STAMP_LOGIC(and)
ZVQ_STAMP_LOGIC(or)
ZVQ_STAMP_LOGIC(xor)

}  // extern "C"
