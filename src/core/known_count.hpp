// Sources that know their element count, so that a count need not read them.
// A family registers its reset function with the count it answers; counting
// operators ask here rather than know the family. A record is recognised by
// its reset pointer, which every record of such a source carries.
#pragma once

#include <cstdint>

#include "core/chunk.hpp"

namespace zvq {

// Returns the operand's element count; may pull it (a hash aggregate builds
// its table on the first pull).
using KnownCountFn = uint64_t (*)(Rec& op);

// For a namespace-scope initializer beside the reset function, so that a
// program holding such records has registered it. Returns true.
bool register_known_count(zvq_seq_next_fn reset, KnownCountFn count);

// Whether the operand's count is known without reading it: such a count
// cannot be summed over parts.
bool counts_itself(const Rec& op);

// The short way: false when the operand must be read.
bool known_count(Rec& op, uint64_t& count);

// What the operand's chunks add up to, per_chunk(op) for each chunk, asked
// instead where known. A failing operand ends the count, not the answer.
template <class PerChunk>
inline uint64_t count_chunks(Rec& op, PerChunk per_chunk) {
    uint64_t count = 0;
    if (!known_count(op, count))
        while (pull(op) == SEQ_OK) count += per_chunk(op);
    return count;
}

// Elements, by repeat bytes.
inline uint64_t count_elements(Rec& op) {
    return count_chunks(op, [](const Rec& o) { return repeat_sum(o, o.chunk_count); });
}

}  // namespace zvq
