// Hashing many slots at once: one loop per width, apart from everything
// else, so that it vectorises (on x86-64 with GCC also built for AVX2, which
// has the 32-bit lane multiply).
#include "core/murmur.hpp"

#include <cstddef>

#include "core/arith.hpp"

namespace zvq {
namespace {

template <uint32_t W>
static ZVQ_FOLD_CLONES void hash_fixed(const uint8_t* slots, uint32_t n, uint32_t* out) {
    for (uint32_t i = 0; i < n; ++i) out[i] = murmur_hash3_32(slots + static_cast<size_t>(i) * W, W, kHashSeed);
}

}  // namespace

void murmur_slots(const uint8_t* slots, uint32_t width, uint32_t n, uint32_t* out) {
    switch (width) {
        case 1: return hash_fixed<1>(slots, n, out);
        case 2: return hash_fixed<2>(slots, n, out);
        case 4: return hash_fixed<4>(slots, n, out);
        case 8: return hash_fixed<8>(slots, n, out);
        default:
            for (uint32_t i = 0; i < n; ++i)
                out[i] =
                    murmur_hash3_32(slots + static_cast<size_t>(i) * width, static_cast<int32_t>(width), kHashSeed);
    }
}

}  // namespace zvq
