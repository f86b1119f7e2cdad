// Stamping over two type positions.
//
// A macro does not expand inside its own expansion, so ZVQ_NUMERIC_TYPES can't
// be the inner list of itself; and its X gets the three fields of one row
// only, with no room to carry the outer row along. ZVQ_NUMERIC_TYPES_WITH is
// the inner list: the same rows, each X call prefixed with the caller's
// arguments. The static_asserts below keep it equal to the type table, row by
// row, so the table stays the one place a type is added.
#pragma once

#include <algorithm>
#include <string_view>

#include "core/types.hpp"

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

namespace zvq::pairs_check {

#define ZVQ_PAIRS_ROW_OF_TABLE(name, Tag, ctype) std::string_view(#name " " #Tag " " #ctype),
#define ZVQ_PAIRS_ROW_OF_COPY(unused, name, Tag, ctype) std::string_view(#name " " #Tag " " #ctype),
inline constexpr std::string_view kTable[] = {ZVQ_NUMERIC_TYPES(ZVQ_PAIRS_ROW_OF_TABLE)};
inline constexpr std::string_view kCopy[] = {ZVQ_NUMERIC_TYPES_WITH(ZVQ_PAIRS_ROW_OF_COPY, 0)};
#undef ZVQ_PAIRS_ROW_OF_TABLE
#undef ZVQ_PAIRS_ROW_OF_COPY

static_assert(std::size(kTable) == std::size(kCopy) && std::ranges::equal(kTable, kCopy),
              "ZVQ_NUMERIC_TYPES_WITH must list the rows of ZVQ_NUMERIC_TYPES");

}  // namespace zvq::pairs_check
