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

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

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

// Positions (uint8 slots) a chunk holds: the bound of every operator that
// answers with element positions.
inline constexpr uint32_t kPositionCapacity = capacity<Uint8>;

inline bool exhausted(const Rec& r) { return r.chunk_pos >= r.chunk_count; }

// One pull by a reader: next, then chunk_pos to 0 on success.
inline zvq_seq_status pull(Rec& r) {
    zvq_seq_status s = r.next(&r);
    if (s == SEQ_OK) r.chunk_pos = 0;
    return s;
}

// Step 1 of the reading rule: pull only when the chunk is used up.
inline zvq_seq_status refill(Rec& r) { return exhausted(r) ? pull(r) : SEQ_OK; }

// A producer that has written `written` results of its chunk: an operand's
// end then closes the chunk (`closes` set, SEQ_OK returned) rather than end
// the call; any other status but SEQ_OK is the call's.
inline zvq_seq_status close_at_end(zvq_seq_status s, uint64_t written, bool& closes) {
    closes = s == SEQ_END && written != 0;
    return closes ? SEQ_OK : s;
}

// Step 1 for such a producer.
inline zvq_seq_status refill_or_close(Rec& r, uint64_t written, bool& closes) {
    return close_at_end(refill(r), written, closes);
}

template <class V>
inline V current(const Rec& r) {
    return value_at<V>(r, r.chunk_pos);
}
inline uint8_t current_repeat(const Rec& r) { return repeat_at(r, r.chunk_pos); }

// Elements of the current run not yet taken, in 8 bits.
inline uint8_t remainder(const Rec& r) { return static_cast<uint8_t>(current_repeat(r) - r.run_pos); }

// Moves on to the next run, whatever of the current one is left.
inline void next_run(Rec& r) {
    r.run_pos = 0;
    ++r.chunk_pos;
}

// Take k elements of the current run (k at most the remainder, or 1).
inline void take(Rec& r, uint8_t k) {
    r.run_pos = static_cast<uint8_t>(r.run_pos + k);
    if (r.run_pos == current_repeat(r)) next_run(r);
}

// Elements of the current run that a reader taking one at a time gets before
// it moves on: the remainder, except that a repeat byte of 0 wraps run_pos
// through 255 and so gives 256 less what was taken.
inline uint32_t stepwise_remainder(const Rec& r) { return ((current_repeat(r) - r.run_pos - 1u) & 0xFFu) + 1u; }

// Elements of run i for such a reader: its repeat byte, 256 for 0.
inline uint32_t stepwise_repeat(const Rec& r, uint32_t i) { return ((repeat_at(r, i) - 1u) & 0xFFu) + 1u; }

// Runs with repeat byte 1 from run `from` on, stopping before run `to`: the
// distinct values, which a reader can take as plain values. Eight repeat
// bytes are tested at once; run i is the highest byte of the word that ends
// at its repeat byte.
inline uint32_t single_runs(const Rec& r, uint32_t from, uint32_t to) {
    constexpr uint64_t ones = 0x0101010101010101u;
    uint32_t i = from;
    for (; i + 8 <= to; i += 8) {
        const uint64_t differ = load<uint64_t>(repeat_block(r, i, 8)) ^ ones;
        if (differ != 0) return i - from + static_cast<uint32_t>(std::countl_zero(differ)) / 8;
    }
    while (i < to && repeat_at(r, i) == 1) ++i;
    return i - from;
}

// Take k elements one at a time (k at most stepwise_remainder): the positions
// that k calls of take(r, 1) leave, in one step.
inline void take_stepwise(Rec& r, uint32_t k) {
    if (k == stepwise_remainder(r)) {
        next_run(r);
    } else {
        r.run_pos = static_cast<uint8_t>(r.run_pos + k);
    }
}

// The stepwise walk over whole runs, for a reader standing at a run's start:
// runs are taken whole as one-by-one reading takes them (a repeat byte of 0
// is 256 elements), the read position in a local. room() is how many
// elements may still be taken; a stretch of distinct values goes to
// singles(i, m) in one call, any other run to run(i, n), n its length. Stops
// at the chunk's end or before a run longer than room(), and stores the
// read position back.
template <class Room, class Singles, class Run>
[[gnu::always_inline]] inline void walk_whole_runs(Rec& op, Room&& room, Singles&& singles, Run&& run) {
    uint32_t i = op.chunk_pos;
    for (const uint32_t end = op.chunk_count; i < end;) {
        const uint32_t m = single_runs(op, i, i + static_cast<uint32_t>(std::min<uint64_t>(end - i, room())));
        singles(i, m);
        i += m;
        if (i == end) break;
        const uint32_t n = stepwise_repeat(op, i);
        if (n > room()) break;
        run(i, n);
        ++i;
    }
    op.chunk_pos = static_cast<uint16_t>(i);
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

static_assert(std::endian::native == std::endian::little, "equal_repeats reads repeat bytes as words");

// Number of runs, at most m, from run a of x and run b of y on, whose repeat
// bytes are equal pair by pair. Compared 8 at a time: the repeat bytes of
// later runs stand below, so run a's byte is the word's most significant.
inline uint32_t equal_repeats(const Rec& x, uint32_t a, const Rec& y, uint32_t b, uint32_t m) {
    const uint8_t* xtop = x.chunk + 4096u - a;
    const uint8_t* ytop = y.chunk + 4096u - b;
    uint32_t k = 0;
    while (k + 8 <= m) {
        const uint64_t diff = load<uint64_t>(xtop - k - 8) ^ load<uint64_t>(ytop - k - 8);
        if (diff != 0) return k + static_cast<uint32_t>(std::countl_zero(diff) >> 3);
        k += 8;
    }
    while (k < m && *(xtop - k - 1) == *(ytop - k - 1)) ++k;
    return k;
}

// ---- several operands read in step ---------------------------------------
//
// Operators that pair the elements of two or three operands (paired
// statistics, group aggregates) read them overlap by overlap: the overlap of
// the operands' current runs is as long as the shortest remainder.

// Refills the operands whose chunks are used up, in operand order. The first
// status other than SEQ_OK is returned at once, later operands unpulled.
template <size_t N>
inline zvq_seq_status refill_each(const std::array<Rec*, N>& ops) {
    for (Rec* op : ops)
        if (zvq_seq_status s = refill(*op)) return s;
    return SEQ_OK;
}

// Step 1 for a producer reading several operands in step.
template <size_t N>
inline zvq_seq_status refill_or_close(const std::array<Rec*, N>& ops, uint64_t written, bool& closes) {
    return close_at_end(refill_each(ops), written, closes);
}

template <size_t N>
inline bool any_exhausted(const std::array<Rec*, N>& ops) {
    for (const Rec* op : ops)
        if (exhausted(*op)) return true;
    return false;
}

// Runs, at most `room`, over which operands that stand at the start of runs
// with equal repeat bytes pair up run for run: there the run-by-run rule
// takes each run whole in step, so a stretch of them can be taken at once.
// 0 where an operand stands inside a run, or where a record is given twice:
// it reads through one cursor, and only the run-by-run rule keeps its order
// of moves.
template <size_t N>
inline uint32_t aligned_stretch(const std::array<Rec*, N>& ops, uint32_t room) {
    uint32_t m = room;
    for (size_t a = 0; a < N; ++a) {
        if (ops[a]->run_pos != 0) return 0;
        for (size_t b = a + 1; b < N; ++b)
            if (ops[a] == ops[b]) return 0;
        m = std::min(m, uint32_t{ops[a]->chunk_count} - ops[a]->chunk_pos);
    }
    for (size_t k = 1; k < N; ++k) m = equal_repeats(*ops[0], ops[0]->chunk_pos, *ops[k], ops[k]->chunk_pos, m);
    return m;
}

// Moves every operand past k whole runs.
template <size_t N>
inline void advance_runs(const std::array<Rec*, N>& ops, uint32_t k) {
    for (Rec* op : ops) op->chunk_pos = static_cast<uint16_t>(op->chunk_pos + k);
}

// Marks a walk whose aligned runs are visited one by one.
struct EachRun {};

// Walks the overlaps of the operands' runs until a chunk is used up, calling
// visit(at, n, starts) for each: at[k] is the slot operand k stands at, n the
// overlap's length and starts whether the last operand's run begins there.
// visit returns false to stop before the overlap is taken; walk_in_step then
// returns false with no operand moved past it.
//
// Over an aligned stretch of m runs (aligned_stretch) each run is one
// overlap: the same overlaps as the run-by-run rule, walked with local
// indexes. runs(at, m) may take such a stretch at once and return how many
// runs it took (fewer: it stopped); EachRun visits them one by one. With
// Whole false every overlap takes the run-by-run way, for a visit that calls
// out anyway.
//
// Inlined into its caller, so that what visit accumulates stays in registers.
template <size_t N, bool Whole = true, class Visit, class Runs = EachRun>
[[gnu::always_inline]] inline bool walk_in_step(const std::array<Rec*, N>& ops, Visit&& visit, Runs&& runs = {}) {
    for (;;) {
        const uint32_t m = Whole ? aligned_stretch(ops, ~uint32_t{0}) : 0;
        if (m != 0) {
            std::array<uint32_t, N> at;
            for (size_t k = 0; k < N; ++k) at[k] = ops[k]->chunk_pos;
            uint32_t j = 0;
            if constexpr (std::is_same_v<std::remove_cvref_t<Runs>, EachRun>) {
                for (; j < m; ++j) {
                    std::array<uint32_t, N> slot;
                    for (size_t k = 0; k < N; ++k) slot[k] = at[k] + j;
                    if (!visit(slot, repeat_at(*ops[0], slot[0]), true)) break;
                }
            } else {
                j = runs(at, m);
            }
            for (size_t k = 0; k < N; ++k) ops[k]->chunk_pos = static_cast<uint16_t>(at[k] + j);
            if (j < m) return false;
            if (any_exhausted(ops)) return true;
            continue;
        }
        std::array<uint32_t, N> slot;
        uint8_t n = 255;
        for (size_t k = 0; k < N; ++k) {
            slot[k] = ops[k]->chunk_pos;
            n = std::min(n, remainder(*ops[k]));
        }
        if (!visit(slot, n, ops[N - 1]->run_pos == 0)) return false;
        for (Rec* op : ops) take(*op, n);
        if (any_exhausted(ops)) return true;
    }
}

// Bytes of one value: a constant for the fixed-size types, elem_size for char.
template <class Tag>
inline size_t value_width(const Rec& r) {
    if constexpr (is_char<Tag>)
        return r.elem_size;
    else
        return sizeof(value_t<Tag>);
}

// Copies value `from` of src into slot `to` of dst; the repeat byte is the
// caller's.
template <class Tag>
inline void copy_value(Rec& dst, uint32_t to, const Rec& src, uint32_t from) {
    const size_t w = value_width<Tag>(src);
    std::memcpy(dst.chunk + to * w, src.chunk + from * w, w);
}

}  // namespace zvq
