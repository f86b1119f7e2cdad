// A caller's function applied to runs: func and cond on one operand (the
// unary kernel), func2 on two (the binary kernel), each with a _ctx form that
// hands the caller's context pointer back as the last argument. The function
// is called once per run, not per element, so it sees a value once however
// often it repeats; it cannot fail.
//
// Numeric members pass values; char members pass pointers and the width.
#include <type_traits>

#include "elementwise/binary.hpp"
#include "core/unary.hpp"

namespace zvq {
namespace {

using AnyFn = void (*)();

struct CallbackState {
    AnyFn fn;
    void* ctx;
};

// Calls the caller's function through its own signature: the arguments, then
// the context in the _ctx families.
template <bool Ctx, class R, class... A>
R call(const CallbackState& st, A... args) {
    if constexpr (Ctx)
        return reinterpret_cast<R (*)(A..., void*)>(st.fn)(args..., st.ctx);
    else
        return reinterpret_cast<R (*)(A...)>(st.fn)(args...);
}

// func maps a value to one of its type, cond tests it into a boolean.
enum class Form { Map, Test };

template <class Tag, Form F>
using callback_out_t = std::conditional_t<F == Form::Test, Uint1, Tag>;

template <class Tag, Form F, bool Ctx>
struct CallbackCell {
    using OutTag = callback_out_t<Tag, F>;

    static uint32_t bound(const Rec& r) { return capacity_of<OutTag>(r); }

    static void put(const CallbackState& st, Rec& r, uint32_t i, const Rec& op, uint32_t from) {
        if constexpr (is_char<Tag>) {
            const auto* in = reinterpret_cast<const char*>(slot_ptr(op, from));
            const uint64_t width = op.elem_size;
            if constexpr (F == Form::Test)
                set_value<uint8_t>(r, i, call<Ctx, uint8_t>(st, in, width));
            else
                call<Ctx, void>(st, reinterpret_cast<char*>(slot_ptr(r, i)), in, width);
        } else {
            using V = value_t<Tag>;
            const V v = value_at<V>(op, from);
            if constexpr (F == Form::Test)
                set_value<uint8_t>(r, i, call<Ctx, uint8_t>(st, v));
            else
                set_value<V>(r, i, call<Ctx, V>(st, v));
        }
    }

    static void put_many(Rec& r, uint32_t i, const Rec& op, uint32_t from, uint32_t n) {
        const CallbackState st = state_of<CallbackState>(r);
        for (uint32_t j = 0; j < n; ++j) put(st, r, i + j, op, from + j);
    }
};

template <class Tag, bool Ctx>
struct Callback2Cell {
    static uint32_t bound(const Rec& r) { return capacity_of<Tag>(r); }

    static void put(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp) {
        const CallbackState& st = state_of<CallbackState>(r);
        if constexpr (is_char<Tag>) {
            call<Ctx, void>(st, reinterpret_cast<char*>(slot_ptr(r, i)),
                            reinterpret_cast<const char*>(slot_ptr(left, lp)),
                            reinterpret_cast<const char*>(slot_ptr(right, rp)), uint64_t{r.elem_size});
        } else {
            using V = value_t<Tag>;
            set_value<V>(r, i, call<Ctx, V>(st, value_at<V>(left, lp), value_at<V>(right, rp)));
        }
    }

    static void put_many(Rec& r, uint32_t i, const Rec& left, uint32_t lp, const Rec& right, uint32_t rp,
                         uint32_t n) {
        for (uint32_t j = 0; j < n; ++j) put(r, i + j, left, lp + j, right, rp + j);
    }
};

template <class Tag, Form F, bool Ctx>
zvq_seq_status callback_next(Rec& r) {
    return unary_cell_next<CallbackCell<Tag, F, Ctx>>(r);
}

template <class Tag, bool Ctx>
zvq_seq_status callback2_next(Rec& r) {
    return binary_next<Callback2Cell<Tag, Ctx>>(r);
}

template <class Fn>
void keep_callback(Rec& r, Fn fn, void* ctx) {
    state_of<CallbackState>(r) = {reinterpret_cast<AnyFn>(fn), ctx};
}

template <class Tag, Form F, class Fn>
zvq_seq_status callback_make(Rec& r, Rec* op, zvq_seq_next_fn next, Fn fn, void* ctx) {
    if (zvq_seq_status s = open_operands<Tag>(op)) return s;
    if (fn == nullptr) return SEQ_BAD_ARGUMENT;
    init_record(r, shape_like<callback_out_t<Tag, F>>(*op), {next, zvq_seq_reset_unary_iterator}, {op});
    keep_callback(r, fn, ctx);
    return SEQ_OK;
}

// char operands must have one width, which the result takes.
template <class Tag, class Fn>
zvq_seq_status callback2_make(Rec& r, Rec* left, Rec* right, zvq_seq_next_fn next, Fn fn, void* ctx) {
    const bool typed = has_type<Tag>(left) && has_type<Tag>(right) && same_width<Tag>(*left, *right);
    if (zvq_seq_status s = open_operands(typed, {left, right})) return s;
    if (fn == nullptr) return SEQ_BAD_ARGUMENT;
    init_record(r, shape_like<Tag>(*left), {next, zvq_seq_reset_binary_iterator}, {left, right});
    keep_callback(r, fn, ctx);
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

#define ZVQ_STAMP_CALLBACK_NEXT(name, Tag, ctype)                                                          \
    zvq_seq_status zvq_seq_func_##name##_next(zvq_seq_iterator* it) {                                      \
        return zvq::callback_next<zvq::Tag, zvq::Form::Map, false>(*it);                                   \
    }                                                                                                      \
    zvq_seq_status zvq_seq_func_ctx_##name##_next(zvq_seq_iterator* it) {                                  \
        return zvq::callback_next<zvq::Tag, zvq::Form::Map, true>(*it);                                    \
    }                                                                                                      \
    zvq_seq_status zvq_seq_cond_##name##_next(zvq_seq_iterator* it) {                                      \
        return zvq::callback_next<zvq::Tag, zvq::Form::Test, false>(*it);                                  \
    }                                                                                                      \
    zvq_seq_status zvq_seq_cond_ctx_##name##_next(zvq_seq_iterator* it) {                                  \
        return zvq::callback_next<zvq::Tag, zvq::Form::Test, true>(*it);                                   \
    }                                                                                                      \
    zvq_seq_status zvq_seq_func2_##name##_next(zvq_seq_iterator* it) {                                     \
        return zvq::callback2_next<zvq::Tag, false>(*it);                                                  \
    }                                                                                                      \
    zvq_seq_status zvq_seq_func2_ctx_##name##_next(zvq_seq_iterator* it) {                                 \
        return zvq::callback2_next<zvq::Tag, true>(*it);                                                   \
    }

#define ZVQ_STAMP_CALLBACK(name, Tag, ctype)                                                                   \
    zvq_seq_status zvq_seq_func_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand,                    \
                                       ctype (*fn)(ctype value)) {                                             \
        return zvq::callback_make<zvq::Tag, zvq::Form::Map>(*result, operand, zvq_seq_func_##name##_next, fn,  \
                                                            nullptr);                                          \
    }                                                                                                          \
    zvq_seq_status zvq_seq_func_ctx_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand,                \
                                           ctype (*fn)(ctype value, void* ctx), void* ctx) {                   \
        return zvq::callback_make<zvq::Tag, zvq::Form::Map>(*result, operand, zvq_seq_func_ctx_##name##_next, \
                                                            fn, ctx);                                          \
    }                                                                                                          \
    zvq_seq_status zvq_seq_cond_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand,                    \
                                       uint8_t (*fn)(ctype value)) {                                           \
        return zvq::callback_make<zvq::Tag, zvq::Form::Test>(*result, operand, zvq_seq_cond_##name##_next, fn, \
                                                             nullptr);                                         \
    }                                                                                                          \
    zvq_seq_status zvq_seq_cond_ctx_##name(zvq_seq_iterator* result, zvq_seq_iterator* operand,                \
                                           uint8_t (*fn)(ctype value, void* ctx), void* ctx) {                 \
        return zvq::callback_make<zvq::Tag, zvq::Form::Test>(*result, operand,                                 \
                                                             zvq_seq_cond_ctx_##name##_next, fn, ctx);         \
    }                                                                                                          \
    zvq_seq_status zvq_seq_func2_##name(zvq_seq_iterator* result, zvq_seq_iterator* left,                      \
                                        zvq_seq_iterator* right, ctype (*fn)(ctype left, ctype right)) {       \
        return zvq::callback2_make<zvq::Tag>(*result, left, right, zvq_seq_func2_##name##_next, fn, nullptr); \
    }                                                                                                          \
    zvq_seq_status zvq_seq_func2_ctx_##name(zvq_seq_iterator* result, zvq_seq_iterator* left,                  \
                                            zvq_seq_iterator* right,                                           \
                                            ctype (*fn)(ctype left, ctype right, void* ctx), void* ctx) {      \
        return zvq::callback2_make<zvq::Tag>(*result, left, right, zvq_seq_func2_ctx_##name##_next, fn, ctx); \
    }

ZVQ_ALL_TYPES(ZVQ_STAMP_CALLBACK_NEXT)
ZVQ_NUMERIC_TYPES(ZVQ_STAMP_CALLBACK)

// The char members take pointers and the width.
zvq_seq_status zvq_seq_func_char(zvq_seq_iterator* result, zvq_seq_iterator* operand,
                                 void (*fn)(char* output, const char* input, uint64_t width)) {
    return zvq::callback_make<zvq::Char, zvq::Form::Map>(*result, operand, zvq_seq_func_char_next, fn, nullptr);
}
zvq_seq_status zvq_seq_func_ctx_char(zvq_seq_iterator* result, zvq_seq_iterator* operand,
                                     void (*fn)(char* output, const char* input, uint64_t width, void* ctx),
                                     void* ctx) {
    return zvq::callback_make<zvq::Char, zvq::Form::Map>(*result, operand, zvq_seq_func_ctx_char_next, fn, ctx);
}
zvq_seq_status zvq_seq_cond_char(zvq_seq_iterator* result, zvq_seq_iterator* operand,
                                 uint8_t (*fn)(const char* input, uint64_t width)) {
    return zvq::callback_make<zvq::Char, zvq::Form::Test>(*result, operand, zvq_seq_cond_char_next, fn, nullptr);
}
zvq_seq_status zvq_seq_cond_ctx_char(zvq_seq_iterator* result, zvq_seq_iterator* operand,
                                     uint8_t (*fn)(const char* input, uint64_t width, void* ctx), void* ctx) {
    return zvq::callback_make<zvq::Char, zvq::Form::Test>(*result, operand, zvq_seq_cond_ctx_char_next, fn, ctx);
}
zvq_seq_status zvq_seq_func2_char(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right,
                                  void (*fn)(char* output, const char* left, const char* right, uint64_t width)) {
    return zvq::callback2_make<zvq::Char>(*result, left, right, zvq_seq_func2_char_next, fn, nullptr);
}
zvq_seq_status zvq_seq_func2_ctx_char(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right,
                                      void (*fn)(char* output, const char* left, const char* right, uint64_t width,
                                                 void* ctx),
                                      void* ctx) {
    return zvq::callback2_make<zvq::Char>(*result, left, right, zvq_seq_func2_ctx_char_next, fn, ctx);
}

}  // extern "C"
