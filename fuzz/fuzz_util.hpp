// Shared by the fuzz targets: inputs as exactly sized heap texts and records
// on the heap, so that AddressSanitizer sees any read past a text's
// terminator or any access past a record; and a check that aborts.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "zvq/seq.h"

namespace zvq::fuzz {

#define ZVQ_FUZZ_CHECK(cond)                                                    \
    do {                                                                        \
        if (!(cond)) {                                                          \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                       \
        }                                                                       \
    } while (0)

// The bytes as a terminated text of exactly their length plus one.
inline std::vector<char> text_of(const uint8_t* data, size_t size) {
    std::vector<char> text(size + 1);
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>(data[i]);
    text[size] = '\0';
    return text;
}

inline std::unique_ptr<zvq_seq_iterator> record() { return std::make_unique<zvq_seq_iterator>(); }

inline uint32_t capacity_for(uint32_t elem_size) { return 4096u / (elem_size + 1u); }

// Pulls r up to `most` times. A refill must grow next_pos by its chunk count
// and pass check(refill); a failure must be SEQ_END or SEQ_BAD_ARGUMENT and
// come again on the next pull, as the cursor stays. Returns whether the
// sequence stopped.
template <class Check>
bool pull_refills(zvq_seq_iterator& r, size_t most, Check&& check) {
    for (size_t refill = 0; refill < most; ++refill) {
        const uint64_t before = r.next_pos;
        const zvq_seq_status s = r.next(&r);
        if (s != SEQ_OK) {
            ZVQ_FUZZ_CHECK(s == SEQ_END || s == SEQ_BAD_ARGUMENT);
            ZVQ_FUZZ_CHECK(r.next(&r) == s);
            return true;
        }
        ZVQ_FUZZ_CHECK(r.next_pos == before + r.chunk_count);
        check(refill);
    }
    return false;
}

}  // namespace zvq::fuzz
