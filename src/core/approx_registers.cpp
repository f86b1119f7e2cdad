// The estimate of an approximate distinct count from its registers.
#include <cmath>

#include "core/approx_registers.hpp"
#include "core/arith.hpp"

namespace zvq {

int64_t approximate_distinct_count(const uint8_t* registers) {
    double sum = 0.0;
    uint32_t zeros = 0;
    for (uint32_t i = 0; i < kApproxRegisters; ++i) {
        // 1 / 2^r, exact, as the sum of at most 128 such terms is.
        sum += std::ldexp(1.0, -static_cast<int>(registers[i]));
        zeros += registers[i] == 0 ? 1u : 0u;
    }
    const double estimate = 11718.991761634348 / sum;  // alpha m^2 for m = 128
    if (estimate <= 320.0 && zeros > 0) return trunc_to_i64(128.0 * std::log(128.0 / zeros));
    // 2^32 - 1, not 2^32: a set that full takes the logarithm of zero or
    // less, and the truncation of that gives 0 in the low 32 bits.
    if (estimate > 143165576.5) return trunc_to_i64(-4294967295.0 * std::log(1.0 - estimate / 4294967295.0));
    return trunc_to_i64(estimate);
}

}  // namespace zvq
