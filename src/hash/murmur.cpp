// MurmurHash3 x86_32, written from the published algorithm.
#include "hash/murmur.hpp"

#include <bit>

namespace zvq {
namespace {

constexpr uint32_t kC1 = 0xcc9e2d51u;
constexpr uint32_t kC2 = 0x1b873593u;

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

}  // namespace

uint32_t murmur_hash3_32(const void* key, int32_t len, uint32_t seed) {
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

}  // namespace zvq
