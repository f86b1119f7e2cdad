// agg_min_max: both extremes in one pass, by runs. It does not take part in
// the merge protocol, so it has no partial state and ignores prepared.
#include <type_traits>

#include "core/record.hpp"

namespace zvq {
namespace {

// Datetimes are compared and delivered as doubles.
template <class Tag>
using min_max_tag_t = std::conditional_t<Tag::kind == Kind::Datetime, Double, Tag>;

template <class Tag>
struct MinMax {
    using In = value_t<Tag>;
    using C = value_t<min_max_tag_t<Tag>>;

    // A value below the minimum never tests the maximum.
    static void scan(const Rec& op, uint32_t from, C& lo, C& hi) {
        C a = lo, b = hi;
        for (uint32_t i = from; i < op.chunk_count; ++i) {
            const C v = static_cast<C>(value_at<In>(op, i));
            if (v < a)
                a = v;
            else if (v > b)
                b = v;
        }
        lo = a;
        hi = b;
    }

    static zvq_seq_status next(Rec& r) {
        if (r.next_pos != 0) return SEQ_END;
        Rec& op = *r.operand[0];
        zvq_seq_status s = pull(op);
        if (s != SEQ_OK) return s;
        C lo = static_cast<C>(value_at<In>(op, 0));
        C hi = lo;
        uint64_t runs = op.chunk_count;
        scan(op, 1, lo, hi);
        while ((s = pull(op)) == SEQ_OK) {
            scan(op, 0, lo, hi);
            runs += op.chunk_count;
        }
        if (s != SEQ_END || runs == 0) return s;
        set_value<C>(r, 0, lo);
        set_value<C>(r, 1, hi);
        set_repeat(r, 0, 1);
        set_repeat(r, 1, 1);
        r.chunk_count = 2;
        r.next_pos = 2;
        return SEQ_OK;
    }

    static zvq_seq_status make(Rec& r, Rec* op, zvq_seq_next_fn next) {
        if (zvq_seq_status s = open_operands<Tag>(op)) return s;
        init_record(r, shape_of<min_max_tag_t<Tag>>, {next, zvq_seq_reset_unary_iterator}, {op});
        return SEQ_OK;
    }
};

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_MIN_MAX(name, Tag, ctype)                                                         \
    zvq_seq_status zvq_seq_agg_min_max_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand) { \
        return zvq::MinMax<zvq::Tag>::make(*result, operand, zvq_seq_agg_min_max_##name##_next);     \
    }
#define ZVQ_STAMP_MIN_MAX_NEXT(name, Tag, ctype)                                \
    zvq_seq_status zvq_seq_agg_min_max_##name##_next(zvq_seq_iterator* it) { \
        return zvq::MinMax<zvq::Tag>::next(*it);                             \
    }

ZVQ_NUMERIC_TYPES(ZVQ_STAMP_MIN_MAX_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_MIN_MAX)

}  // extern "C"
