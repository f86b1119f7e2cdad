// What the paired statistics share: two operands folded in step.
#pragma once

#include <array>

#include "core/chunk.hpp"

namespace zvq {

// Reads both operands in step to the end of either, handing fold(x, y, k)
// each stretch of k pairs of equal values. operand[0] is refilled first, so
// at a common end it is the one that ends. Returns SEQ_END or the failure.
template <class In, class Fold>
zvq_seq_status fold_pairs(const std::array<Rec*, 2>& ops, Fold fold) {
    zvq_seq_status s;
    while ((s = refill_each(ops)) == SEQ_OK)
        walk_in_step(ops, [&](const std::array<uint32_t, 2>& at, uint8_t k, bool) {
            fold(value_at<In>(*ops[0], at[0]), value_at<In>(*ops[1], at[1]), k);
            return true;
        });
    return s;
}

}  // namespace zvq
