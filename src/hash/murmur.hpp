// The library's hash function and its fixed seed.
#pragma once

#include <cstdint>

namespace zvq {

// Seed of every hash that has no chained seed of its own. Not configurable:
// changing it changes every hash-ordered result.
inline constexpr uint32_t kHashSeed = 377307;

// MurmurHash3, x86 32-bit variant. A negative length hashes no bytes but is
// still mixed in, so that nothing is read before the key.
uint32_t murmur_hash3_32(const void* key, int32_t len, uint32_t seed);

}  // namespace zvq
