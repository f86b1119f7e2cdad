// The constructor protocol and the operator state, shared by every operator.
//
// A constructor tests operand types (all of them), then bindings, marks the
// operands bound, runs its own argument tests, fills the record and finally
// its state. init_record does the fill so that no constructor repeats it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <type_traits>

#include "core/chunk.hpp"

namespace zvq {

// Operator state lives in the record's 288 state bytes.
template <class S>
inline S& state_of(Rec& r) {
    static_assert(sizeof(S) <= ZVQ_SEQ_STATE_SIZE && alignof(S) <= 8, "state does not fit the record");
    static_assert(std::is_trivially_copyable_v<S> && std::is_standard_layout_v<S>);
    return *std::launder(reinterpret_cast<S*>(r.state.bytes));
}

template <class S>
inline const S& state_of(const Rec& r) {
    return state_of<S>(const_cast<Rec&>(r));
}

// The second u64 of state is pending_count in every operator whose reset is
// one of the *_agg_iterator resets; those resets clear it.
inline constexpr size_t kPendingCountOffset = 8;

inline void set_pending_count(Rec& r, uint64_t v) { store<uint64_t>(r.state.bytes + kPendingCountOffset, v); }
inline uint64_t pending_count(const Rec& r) { return load<uint64_t>(r.state.bytes + kPendingCountOffset); }

// Checks that a state struct keeps pending_count in its shared place.
#define ZVQ_ASSERT_PENDING_COUNT(S) \
    static_assert(offsetof(S, pending_count) == ::zvq::kPendingCountOffset, #S ": pending_count must be the second u64")

inline bool checks_on() { return zvq_seq_check_bindings != 0; }

template <class Tag>
inline bool has_type(const Rec* r) {
    return r->elem_type == Tag::code;
}

// Steps 2 and 3: refuse if any operand is bound (checks on), else mark all.
// Nothing is marked unless every operand passes.
inline zvq_seq_status bind(std::initializer_list<Rec*> operands) {
    if (checks_on())
        for (const Rec* op : operands)
            if (op->bound) return SEQ_ALREADY_BOUND;
    for (Rec* op : operands) op->bound = 1;
    return SEQ_OK;
}

// Steps 1 to 3 in one: the type tests (all of them, folded into `typed`),
// then the bindings. A constructor that tests more than element types
// (a key width, char widths that must agree) passes the whole test here.
inline zvq_seq_status open_operands(bool typed, std::initializer_list<Rec*> operands) {
    if (!typed) return SEQ_TYPE_MISMATCH;
    return bind(operands);
}

// Two char operands whose values are read side by side must be of one width.
template <class Tag>
inline bool same_width(const Rec& a, const Rec& b) {
    return !is_char<Tag> || a.elem_size == b.elem_size;
}

// The same for operands of types Tags, one each, in order.
template <class... Tags, class... Ops>
inline zvq_seq_status open_operands(Ops*... operands) {
    static_assert(sizeof...(Tags) == sizeof...(Ops), "one type per operand");
    return open_operands((has_type<Tags>(operands) && ...), {operands...});
}

struct Shape {
    uint16_t elem_size;
    uint8_t elem_type;
};

template <class Tag>
inline constexpr Shape shape_of = {Tag::size, Tag::code};

inline Shape shape_of_record(const Rec& r) { return {r.elem_size, r.elem_type}; }
inline Shape char_shape(uint32_t width) { return {static_cast<uint16_t>(width), ZVQ_SEQ_TYPE_CHAR}; }

// A width a source of char values can serve: 0 holds nothing, and above 4095
// a chunk has room for no run.
inline zvq_seq_status char_width_status(uint32_t width) {
    if (width >= ZVQ_SEQ_CHUNK_SIZE) return SEQ_TYPE_MISMATCH;
    return width == 0 ? SEQ_BAD_ARGUMENT : SEQ_OK;
}

// The shape of a Tag result that carries values of `input`: for char the
// width is the input's.
template <class Tag>
inline Shape shape_like(const Rec& input) {
    if constexpr (is_char<Tag>)
        return char_shape(input.elem_size);
    else
        return shape_of<Tag>;
}

struct Fns {
    zvq_seq_next_fn next;
    zvq_seq_next_fn reset;
    zvq_seq_next_fn prepare = nullptr;
    zvq_seq_merge_fn merge = nullptr;
};

// Step 5: writes only the operand slots given, so that a zero-filled record
// keeps null in the others.
inline void init_record(Rec& r, Shape shape, const Fns& fns, std::initializer_list<Rec*> operands = {}) {
    r.elem_size = shape.elem_size;
    r.elem_type = shape.elem_type;
    r.next = fns.next;
    r.bound = 0;
    r.chunk_count = 0;
    r.chunk_pos = 0;
    r.run_pos = 0;
    size_t i = 0;
    for (Rec* op : operands) r.operand[i++] = op;
    r.first_pos = 0;
    r.next_pos = 0;
    r.last_pos = kAllOnes;
    r.reset = fns.reset;
    r.prepare = fns.prepare;
    r.merge = fns.merge;
}

// The first steps of an aggregate's next under the merge protocol. A
// prepared record hands out the result its prepare left in the chunk, once
// (SEQ_END when the part was empty); a published record has delivered.
// Returns true with the status to answer, or false to go on and pull.
inline bool settled_aggregate(Rec& r, zvq_seq_status& status) {
    if (r.prepared) {
        if (r.next_pos == 0) {
            status = SEQ_END;
            return true;
        }
        r.prepared = 0;
        status = SEQ_OK;
        return true;
    }
    status = SEQ_END;
    return r.next_pos != 0;
}

// The one-value result that aggregates publish: run 0 with repeat 1.
template <class V>
inline void publish_one(Rec& r, V value) {
    set_value<V>(r, 0, value);
    set_repeat(r, 0, 1);
    r.chunk_count = 1;
    r.next_pos = 1;
}

// Publishes the first n slots of the chunk as runs of one element each, the
// shape of every operator whose output ignores its input's repeats.
inline void publish_singles(Rec& r, uint32_t n) {
    std::memset(repeat_area(r, n), 1, n);
    r.chunk_count = static_cast<uint16_t>(n);
    r.next_pos += n;
}

}  // namespace zvq
