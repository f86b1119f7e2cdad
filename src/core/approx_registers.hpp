// Approximate distinct counting in 128 one-byte registers over the
// library's 32-bit hash: the register update, the estimator and the hash a
// value contributes. Every approximate count, whole, per hash group or per
// group of adjacent keys, folds through these.
#pragma once

#include <bit>
#include <cstdint>

#include "core/chunk.hpp"
#include "core/murmur.hpp"

namespace zvq {

inline constexpr uint32_t kApproxRegisters = 128;

// The index is the hash's top 7 bits, the rank 1 plus its trailing zeros,
// read from the other end and limited to the 25 bits the index leaves.
inline void approx_update(uint8_t* registers, uint32_t hash) {
    const uint32_t index = hash >> 25;
    const uint32_t low = hash & 0x1FFFFFFu;
    const uint8_t rank = low == 0 ? 26 : static_cast<uint8_t>(std::countr_zero(low) + 1);
    if (rank > registers[index]) registers[index] = rank;
}

// Register-wise maximum: the registers of the union of two sets.
inline void approx_merge(uint8_t* into, const uint8_t* from) {
    for (uint32_t i = 0; i < kApproxRegisters; ++i)
        if (from[i] > into[i]) into[i] = from[i];
}

// The estimate of a register set, with the linear count below 2.5 m and the
// correction near the top of the 32-bit range. Callers keep the low 32 bits.
int64_t approximate_distinct_count(const uint8_t* registers);

inline uint32_t approx_result(const uint8_t* registers) {
    return static_cast<uint32_t>(approximate_distinct_count(registers));
}

// The hash of slot i of a record's chunk: its raw bytes with the library's
// seed, or, for a sequence of ready hashes, the uint4 element itself.
template <bool kPrehashed>
inline uint32_t slot_hash(const Rec& r, uint32_t i) {
    if constexpr (kPrehashed)
        return value_at<uint32_t>(r, i);
    else
        return murmur_hash3_32(slot_ptr(r, i), static_cast<int32_t>(r.elem_size), kHashSeed);
}

}  // namespace zvq
