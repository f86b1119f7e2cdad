// The library's hash function and its fixed seed. MurmurHash3 x86_32,
// written from the published algorithm, inline so that a build that hashes
// keys of a width known at compile time gets the loop unrolled.
#pragma once

#include <bit>
#include <cstdint>

namespace zvq {

// Seed of every hash that has no chained seed of its own. Not configurable:
// changing it changes every hash-ordered result.
inline constexpr uint32_t kHashSeed = 377307;

namespace murmur_detail {

inline constexpr uint32_t kC1 = 0xcc9e2d51u;
inline constexpr uint32_t kC2 = 0x1b873593u;

// Blocks are little-endian whatever the machine.
inline uint32_t load_le32(const uint8_t* p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

inline uint32_t scramble(uint32_t k) { return std::rotl(k * kC1, 15) * kC2; }

inline uint32_t fmix32(uint32_t h) {
    h ^= h >> 16;
    h *= 0x85ebca6bu;
    h ^= h >> 13;
    h *= 0xc2b2ae35u;
    h ^= h >> 16;
    return h;
}

}  // namespace murmur_detail

// A negative length hashes no bytes but is still mixed in, so that nothing
// is read before the key.
inline uint32_t murmur_hash3_32(const void* key, int32_t len, uint32_t seed) {
    using namespace murmur_detail;
    const auto* data = static_cast<const uint8_t*>(key);
    const uint32_t n = len > 0 ? static_cast<uint32_t>(len) : 0u;
    const uint32_t blocks = n / 4;
    uint32_t h = seed;
    for (uint32_t i = 0; i < blocks; ++i) {
        h ^= scramble(load_le32(data + 4 * i));
        h = std::rotl(h, 13) * 5u + 0xe6546b64u;
    }
    const uint8_t* tail = data + 4 * blocks;
    uint32_t k = 0;
    switch (n & 3u) {
        case 3:
            k ^= uint32_t{tail[2]} << 16;
            [[fallthrough]];
        case 2:
            k ^= uint32_t{tail[1]} << 8;
            [[fallthrough]];
        case 1:
            k ^= tail[0];
            h ^= scramble(k);
    }
    h ^= static_cast<uint32_t>(len);
    return fmix32(h);
}

// The hashes of n consecutive slots of `width` bytes, with the hash seed:
// what murmur_hash3_32 gives for each, computed many at a time.
void murmur_slots(const uint8_t* slots, uint32_t width, uint32_t n, uint32_t* out);

}  // namespace zvq
