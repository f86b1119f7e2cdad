#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hash/murmur.hpp"

namespace zvq {
namespace {

struct Vector {
    std::vector<uint8_t> bytes;
    uint32_t seed;
    uint32_t expected;
};

std::vector<uint8_t> text(const std::string& s) { return {s.begin(), s.end()}; }

uint32_t hash_of(const std::vector<uint8_t>& bytes, uint32_t seed) {
    return murmur_hash3_32(bytes.data(), static_cast<int32_t>(bytes.size()), seed);
}

// Published vectors of MurmurHash3_x86_32: empty input, each tail length,
// whole blocks, a block plus tail, seeds of every kind.
TEST(Murmur, PublishedVectors) {
    const std::vector<Vector> vectors = {
        {{}, 0, 0},
        {{}, 1, 0x514E28B7u},
        {{}, 0xffffffffu, 0x81F16F39u},
        {{0xff, 0xff, 0xff, 0xff}, 0, 0x76293B50u},
        {{0x21, 0x43, 0x65, 0x87}, 0, 0xF55B516Bu},
        {{0x21, 0x43, 0x65, 0x87}, 0x5082EDEEu, 0x2362F9DEu},
        {{0x21, 0x43, 0x65}, 0, 0x7E4A8634u},
        {{0x21, 0x43}, 0, 0xA0F7B07Au},
        {{0x21}, 0, 0x72661CF4u},
        {text("a"), 0x9747b28cu, 0x7FA09EA6u},
        {text("aaaa"), 0x9747b28cu, 0x5A97808Au},
        {text("abc"), 0x9747b28cu, 0xC84A62DDu},
        {text("Hello, world!"), 0x9747b28cu, 0x24884CBAu},
        {text("The quick brown fox jumps over the lazy dog"), 0x9747b28cu, 0x2FA826CDu},
    };
    for (const Vector& v : vectors)
        EXPECT_EQ(hash_of(v.bytes, v.seed), v.expected) << "length " << v.bytes.size() << " seed " << v.seed;
}

// The hash reads exactly len bytes: bytes beyond do not change it, and an
// unaligned start gives the same hash.
TEST(Murmur, ReadsOnlyItsBytesFromAnyAlignment) {
    alignas(4) uint8_t aligned[8] = {0x21, 0x43, 0x65, 0x87, 0x21, 0x43, 0x65, 0x99};
    uint8_t shifted[10] = {0x77, 0x21, 0x43, 0x65, 0x87, 0x21, 0x43, 0x65, 0x99, 0x99};
    const uint32_t seven = murmur_hash3_32(aligned, 7, kHashSeed);
    EXPECT_EQ(murmur_hash3_32(shifted + 1, 7, kHashSeed), seven);
    shifted[8] = 0x11;
    EXPECT_EQ(murmur_hash3_32(shifted + 1, 7, kHashSeed), seven);
    EXPECT_NE(murmur_hash3_32(shifted + 1, 8, kHashSeed), murmur_hash3_32(aligned, 8, kHashSeed));
}

TEST(Murmur, NegativeLengthReadsNothing) {
    const uint8_t byte = 0x21;
    // Same as zero bytes with the length -1 mixed in: independent of the data.
    EXPECT_EQ(murmur_hash3_32(&byte, -1, 5), murmur_hash3_32(nullptr, -1, 5));
}

}  // namespace
}  // namespace zvq
