// Element types: the one table of the library. Everything that is stamped per
// type (the exported names, the generated header) comes from these lists.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "zvq/seq.h"

// X(name, Tag, public C value type). The order is the order of the codes.
#define ZVQ_NUMERIC_TYPES(X)          \
    X(uint1, Uint1, uint8_t)          \
    X(uint2, Uint2, uint16_t)         \
    X(uint4, Uint4, uint32_t)         \
    X(uint8, Uint8, uint64_t)         \
    X(int1, Int1, int8_t)             \
    X(int2, Int2, int16_t)            \
    X(int4, Int4, int32_t)            \
    X(int8, Int8, int64_t)            \
    X(float, Float, float)            \
    X(double, Double, double)         \
    X(datetime, Datetime, zvq_seq_datetime)

#define ZVQ_CHAR_TYPE(X) X(char, Char, char)

// The inner list for stamping over two type positions: a macro does not
// expand inside its own expansion, so ZVQ_NUMERIC_TYPES cannot nest in
// itself. Same rows, each X call prefixed with the caller's arguments; the
// static_assert below keeps the two lists equal row by row.
#define ZVQ_NUMERIC_TYPES_WITH(X, ...)               \
    X(__VA_ARGS__, uint1, Uint1, uint8_t)            \
    X(__VA_ARGS__, uint2, Uint2, uint16_t)           \
    X(__VA_ARGS__, uint4, Uint4, uint32_t)           \
    X(__VA_ARGS__, uint8, Uint8, uint64_t)           \
    X(__VA_ARGS__, int1, Int1, int8_t)               \
    X(__VA_ARGS__, int2, Int2, int16_t)              \
    X(__VA_ARGS__, int4, Int4, int32_t)              \
    X(__VA_ARGS__, int8, Int8, int64_t)              \
    X(__VA_ARGS__, float, Float, float)              \
    X(__VA_ARGS__, double, Double, double)           \
    X(__VA_ARGS__, datetime, Datetime, zvq_seq_datetime)

// The floating members, for the few families that exist only for them.
#define ZVQ_FLOAT_TYPES(X) X(float, Float, float) X(double, Double, double)

// Further subsets, rows of ZVQ_NUMERIC_TYPES (checked at the end of the
// file), for families whose members differ by kind.
#define ZVQ_UNSIGNED_INT_TYPES(X) \
    X(uint1, Uint1, uint8_t) X(uint2, Uint2, uint16_t) X(uint4, Uint4, uint32_t) X(uint8, Uint8, uint64_t)
#define ZVQ_SIGNED_INT_TYPES(X) \
    X(int1, Int1, int8_t) X(int2, Int2, int16_t) X(int4, Int4, int32_t) X(int8, Int8, int64_t)
#define ZVQ_DATETIME_TYPE(X) X(datetime, Datetime, zvq_seq_datetime)
// Timestamp keys: unsigned, compared and subtracted at their own width.
#define ZVQ_TIME_KEY_TYPES(X) \
    X(uint4, Uint4, uint32_t) X(uint8, Uint8, uint64_t) X(datetime, Datetime, zvq_seq_datetime)

#define ZVQ_ALL_TYPES(X) ZVQ_NUMERIC_TYPES(X) ZVQ_CHAR_TYPE(X)

namespace zvq {

enum class Kind { Unsigned, Signed, Floating, Datetime, Bytes };

template <class V, uint8_t Code, Kind K>
struct TypeTag {
    using value_type = V;
    static constexpr uint8_t code = Code;
    static constexpr Kind kind = K;
    static constexpr uint16_t size = sizeof(V);
};

struct Uint1 : TypeTag<uint8_t, ZVQ_SEQ_TYPE_UINT1, Kind::Unsigned> {};
struct Uint2 : TypeTag<uint16_t, ZVQ_SEQ_TYPE_UINT2, Kind::Unsigned> {};
struct Uint4 : TypeTag<uint32_t, ZVQ_SEQ_TYPE_UINT4, Kind::Unsigned> {};
struct Uint8 : TypeTag<uint64_t, ZVQ_SEQ_TYPE_UINT8, Kind::Unsigned> {};
struct Int1 : TypeTag<int8_t, ZVQ_SEQ_TYPE_INT1, Kind::Signed> {};
struct Int2 : TypeTag<int16_t, ZVQ_SEQ_TYPE_INT2, Kind::Signed> {};
struct Int4 : TypeTag<int32_t, ZVQ_SEQ_TYPE_INT4, Kind::Signed> {};
struct Int8 : TypeTag<int64_t, ZVQ_SEQ_TYPE_INT8, Kind::Signed> {};
struct Float : TypeTag<float, ZVQ_SEQ_TYPE_FLOAT, Kind::Floating> {};
struct Double : TypeTag<double, ZVQ_SEQ_TYPE_DOUBLE, Kind::Floating> {};
struct Datetime : TypeTag<uint64_t, ZVQ_SEQ_TYPE_DATETIME, Kind::Datetime> {};

// Fixed-width byte strings: the width is per sequence, so value_type is a byte
// and every char operator takes the width from elem_size.
struct Char {
    using value_type = char;
    static constexpr uint8_t code = ZVQ_SEQ_TYPE_CHAR;
    static constexpr Kind kind = Kind::Bytes;
};

template <class Tag>
inline constexpr bool is_char = Tag::kind == Kind::Bytes;
template <class Tag>
inline constexpr bool is_floating = Tag::kind == Kind::Floating;
template <class Tag>
inline constexpr bool is_signed_int = Tag::kind == Kind::Signed;
// Datetime computes as uint8 everywhere unless an operator says otherwise.
template <class Tag>
inline constexpr bool is_unsigned_int = Tag::kind == Kind::Unsigned || Tag::kind == Kind::Datetime;
template <class Tag>
inline constexpr bool is_integer = is_signed_int<Tag> || is_unsigned_int<Tag>;

template <class Tag>
using value_t = typename Tag::value_type;

// Runs a chunk holds for a fixed-size value type, and for an element type.
template <class V>
inline constexpr uint32_t value_capacity = 4096u / (sizeof(V) + 1u);
template <class Tag>
inline constexpr uint32_t capacity = value_capacity<value_t<Tag>>;

inline constexpr uint32_t char_capacity(uint32_t elem_size) { return 4096u / (elem_size + 1u); }

static_assert(capacity<Uint1> == 2048 && capacity<Uint2> == 1365 && capacity<Int4> == 819 &&
              capacity<Double> == 455);

}  // namespace zvq

namespace zvq::pairs_check {

#define ZVQ_PAIRS_ROW_OF_TABLE(name, Tag, ctype) std::string_view(#name " " #Tag " " #ctype),
#define ZVQ_PAIRS_ROW_OF_COPY(unused, name, Tag, ctype) std::string_view(#name " " #Tag " " #ctype),
inline constexpr std::string_view kTable[] = {ZVQ_NUMERIC_TYPES(ZVQ_PAIRS_ROW_OF_TABLE)};
inline constexpr std::string_view kCopy[] = {ZVQ_NUMERIC_TYPES_WITH(ZVQ_PAIRS_ROW_OF_COPY, 0)};
inline constexpr std::string_view kSubsets[] = {
    ZVQ_FLOAT_TYPES(ZVQ_PAIRS_ROW_OF_TABLE) ZVQ_UNSIGNED_INT_TYPES(ZVQ_PAIRS_ROW_OF_TABLE)
        ZVQ_SIGNED_INT_TYPES(ZVQ_PAIRS_ROW_OF_TABLE) ZVQ_DATETIME_TYPE(ZVQ_PAIRS_ROW_OF_TABLE)
            ZVQ_TIME_KEY_TYPES(ZVQ_PAIRS_ROW_OF_TABLE)};
#undef ZVQ_PAIRS_ROW_OF_TABLE
#undef ZVQ_PAIRS_ROW_OF_COPY

static_assert(std::size(kTable) == std::size(kCopy) && std::ranges::equal(kTable, kCopy),
              "ZVQ_NUMERIC_TYPES_WITH must list the rows of ZVQ_NUMERIC_TYPES");
constexpr bool in_table(std::string_view row) { return std::ranges::find(kTable, row) != std::end(kTable); }
static_assert(std::ranges::all_of(kSubsets, in_table), "every row of a subset list must be a row of ZVQ_NUMERIC_TYPES");

}  // namespace zvq::pairs_check
