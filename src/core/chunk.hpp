// The chunk protocol, in one place.
//
// Value i of a chunk stands at byte i * elem_size, its repeat byte at byte
// 4095 - i. Values are loaded and stored through memcpy, which compiles to a
// plain move and keeps strict aliasing intact.
//
// The reading rule: a reader finding chunk_pos >= chunk_count calls next and
// sets chunk_pos to 0 on SEQ_OK; it takes k elements of the current run by
// adding k to run_pos in 8 bits, and moves to the next run when run_pos
// reaches the repeat byte. A repeat byte of 0 (from repeat) is legal input:
// take(1) then wraps 256 times, take(remainder) moves on at once.
#pragma once

#include <cstdint>
#include <cstring>

#include "core/types.hpp"

namespace zvq {

using Rec = zvq_seq_iterator;

inline constexpr uint64_t kAllOnes = ~uint64_t{0};

template <class V>
inline V load(const uint8_t* p) {
    V v;
    std::memcpy(&v, p, sizeof(V));
    return v;
}

template <class V>
inline void store(uint8_t* p, V v) {
    std::memcpy(p, &v, sizeof(V));
}

// Typed access to slot i of a record's chunk.
template <class V>
inline V value_at(const Rec& r, uint32_t i) {
    return load<V>(r.chunk + static_cast<size_t>(i) * sizeof(V));
}

template <class V>
inline void set_value(Rec& r, uint32_t i, V v) {
    store<V>(r.chunk + static_cast<size_t>(i) * sizeof(V), v);
}

inline const uint8_t* slot_ptr(const Rec& r, uint32_t i) { return r.chunk + static_cast<size_t>(i) * r.elem_size; }
inline uint8_t* slot_ptr(Rec& r, uint32_t i) { return r.chunk + static_cast<size_t>(i) * r.elem_size; }

inline uint8_t repeat_at(const Rec& r, uint32_t i) { return r.chunk[4095u - i]; }
inline void set_repeat(Rec& r, uint32_t i, uint8_t n) { r.chunk[4095u - i] = n; }

// The repeat bytes of runs [from, from + n) are one block of n bytes, run
// from + n - 1 at its lowest address.
inline uint8_t* repeat_block(Rec& r, uint32_t from, uint32_t n) { return r.chunk + 4096u - from - n; }
inline const uint8_t* repeat_block(const Rec& r, uint32_t from, uint32_t n) { return r.chunk + 4096u - from - n; }

// The repeat area of runs [0, n): the n bytes ending at byte 4095.
inline uint8_t* repeat_area(Rec& r, uint32_t n) { return repeat_block(r, 0, n); }
inline const uint8_t* repeat_area(const Rec& r, uint32_t n) { return repeat_block(r, 0, n); }

// Runs a chunk of this record holds: a constant for the fixed-size types,
// from elem_size for char.
template <class Tag>
inline uint32_t capacity_of(const Rec& r) {
    if constexpr (is_char<Tag>)
        return char_capacity(r.elem_size);
    else
        return capacity<Tag>;
}

inline bool exhausted(const Rec& r) { return r.chunk_pos >= r.chunk_count; }

// One pull by a reader: next, then chunk_pos to 0 on success.
inline zvq_seq_status pull(Rec& r) {
    zvq_seq_status s = r.next(&r);
    if (s == SEQ_OK) r.chunk_pos = 0;
    return s;
}

// Step 1 of the reading rule: pull only when the chunk is used up.
inline zvq_seq_status refill(Rec& r) { return exhausted(r) ? pull(r) : SEQ_OK; }

template <class V>
inline V current(const Rec& r) {
    return value_at<V>(r, r.chunk_pos);
}
inline uint8_t current_repeat(const Rec& r) { return repeat_at(r, r.chunk_pos); }

// Elements of the current run not yet taken, in 8 bits.
inline uint8_t remainder(const Rec& r) { return static_cast<uint8_t>(current_repeat(r) - r.run_pos); }

// Take k elements of the current run (k at most the remainder, or 1).
inline void take(Rec& r, uint8_t k) {
    r.run_pos = static_cast<uint8_t>(r.run_pos + k);
    if (r.run_pos == current_repeat(r)) {
        r.run_pos = 0;
        ++r.chunk_pos;
    }
}

// A reader's place in a record held in locals, for a loop that takes many
// small steps through the chunk in hand: the same reading rule as take and
// remainder, without a store to the record per step. store() writes the
// place back; the loop must do so before it pulls or returns.
class Cursor {
   public:
    explicit Cursor(Rec& r) : r_(r), count_(r.chunk_count), pos_(r.chunk_pos), run_pos_(r.run_pos) {}
    bool exhausted() const { return pos_ >= count_; }
    const Rec& rec() const { return r_; }
    uint32_t pos() const { return pos_; }
    uint8_t run_pos() const { return run_pos_; }
    uint32_t runs_left() const { return count_ - pos_; }
    uint8_t remainder() const { return static_cast<uint8_t>(repeat_at(r_, pos_) - run_pos_); }
    void take(uint8_t k) {
        run_pos_ = static_cast<uint8_t>(run_pos_ + k);
        if (run_pos_ == repeat_at(r_, pos_)) {
            run_pos_ = 0;
            ++pos_;
        }
    }
    // Whole runs, from a run's start.
    void skip_runs(uint32_t m) { pos_ += m; }
    void store() const {
        r_.chunk_pos = static_cast<uint16_t>(pos_);
        r_.run_pos = run_pos_;
    }

   private:
    Rec& r_;
    uint32_t count_;
    uint32_t pos_;
    uint8_t run_pos_;
};

// Copy n runs (values and repeat bytes) of src starting at run `from` to dst
// starting at run `to`, in two blocks.
inline void copy_runs(Rec& dst, uint32_t to, const Rec& src, uint32_t from, uint32_t n) {
    std::memcpy(dst.chunk + static_cast<size_t>(to) * dst.elem_size,
                src.chunk + static_cast<size_t>(from) * src.elem_size, static_cast<size_t>(n) * src.elem_size);
    std::memcpy(repeat_block(dst, to, n), repeat_block(src, from, n), n);
}

// Sum of the repeat bytes of runs [from, to).
inline uint64_t repeat_sum(const Rec& r, uint32_t from, uint32_t to) {
    const uint8_t* p = repeat_block(r, from, to - from);
    uint64_t total = 0;
    for (uint32_t i = 0; i < to - from; ++i) total += p[i];
    return total;
}

// Sum of the repeat bytes of runs [0, n).
inline uint64_t repeat_sum(const Rec& r, uint32_t n) { return repeat_sum(r, 0, n); }

}  // namespace zvq
