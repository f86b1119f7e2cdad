// Writing runs into a record's own chunk: an operator whose outputs come as
// stretches of equal values (n elements, n of any size) hands each stretch to
// a RunWriter, which splits it into repeat bytes of at most 255, extends the
// last run when the value is the same, and publishes the chunk at the end.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/record.hpp"

namespace zvq {

template <class V>
class RunWriter {
   public:
    static constexpr uint32_t kCapacity = 4096u / (sizeof(V) + 1u);

    explicit RunWriter(Rec& r) : r_(r) {}

    uint32_t runs() const { return runs_; }
    bool room() const { return runs_ < kCapacity; }
    // Runs still free: a stretch of one element never needs more than one.
    uint32_t free_runs() const { return kCapacity - runs_; }
    // Elements that surely fit, whatever their value.
    uint64_t free_elements() const { return uint64_t{free_runs()} * 255u; }

    // Appends n elements of value v; n must fit (free_elements).
    void put(V v, uint64_t n) {
        elements_ += n;
        if (runs_ != 0 && last_repeat_ < 255 && std::memcmp(&last_, &v, sizeof(V)) == 0) {
            const uint64_t k = std::min<uint64_t>(n, 255u - last_repeat_);
            last_repeat_ = static_cast<uint8_t>(last_repeat_ + k);
            set_repeat(r_, runs_ - 1, last_repeat_);
            n -= k;
        }
        while (n != 0) {
            const uint8_t k = static_cast<uint8_t>(std::min<uint64_t>(n, 255u));
            set_value<V>(r_, runs_, v);
            set_repeat(r_, runs_, k);
            ++runs_;
            last_ = v;
            last_repeat_ = k;
            n -= k;
        }
    }

    // One element in a run of its own: for outputs that move with every
    // element, where looking for an equal neighbour would not pay.
    void put_one(V v) {
        set_value<V>(r_, runs_, v);
        set_repeat(r_, runs_, 1);
        ++runs_;
        ++elements_;
        last_ = v;
        last_repeat_ = 1;
    }

    // n elements each in a run of its own, element j of value at(j): the
    // values in one loop and the repeat bytes in one block, which the
    // compiler vectorises where at(j) allows. n must fit (free_runs).
    template <class At>
    void put_each(uint32_t n, At&& at) {
        if (n == 0) return;
        uint8_t* to = r_.chunk + size_t{runs_} * sizeof(V);
        for (uint32_t j = 0; j < n; ++j) store<V>(to + size_t{j} * sizeof(V), at(j));
        // Eight repeat bytes a store: a memset of a few bytes compiles to a
        // string instruction that costs more than the values.
        uint8_t* rep = repeat_block(r_, runs_, n);
        uint32_t j = 0;
        for (; j + 8 <= n; j += 8) store<uint64_t>(rep + j, 0x0101010101010101u);
        for (; j < n; ++j) rep[j] = 1;
        runs_ += n;
        elements_ += n;
        last_ = value_at<V>(r_, runs_ - 1);
        last_repeat_ = 1;
    }

    // Makes the runs written the record's chunk; next_pos counts elements.
    void publish() {
        r_.chunk_count = static_cast<uint16_t>(runs_);
        r_.next_pos += elements_;
    }

   private:
    Rec& r_;
    uint32_t runs_ = 0;
    uint64_t elements_ = 0;
    V last_{};
    uint8_t last_repeat_ = 0;
};

}  // namespace zvq
