// What the top-N families share: the order that ranks values, and the scan
// that skips, eight at a time, the values a full list would refuse.
#pragma once

#include <cstdint>

#include "core/chunk.hpp"

namespace zvq {

// x beats y when y is not at or above x (max) or x is not at or above y
// (min): plain order for numbers, and a NaN on either side beats.
struct TopMax {
    template <class V>
    static bool beats(V x, V y) {
        return !(y >= x);
    }
};
struct TopMin {
    template <class V>
    static bool beats(V x, V y) {
        return !(x >= y);
    }
};

// Index of the first of the values items[i, k) that beats `worst`, or k.
// Eight values are tested at once without a branch: nearly every value of a
// long input fails against a full list.
template <class V, class Rule>
inline uint32_t first_beating(const uint8_t* items, uint32_t i, uint32_t k, V worst) {
    for (; i + 8 <= k; i += 8) {
        bool any = false;
        for (uint32_t e = 0; e < 8; ++e) any |= Rule::beats(load<V>(items + size_t{i + e} * sizeof(V)), worst);
        if (any) break;
    }
    while (i < k && !Rule::beats(load<V>(items + size_t{i} * sizeof(V)), worst)) ++i;
    return i;
}

}  // namespace zvq
