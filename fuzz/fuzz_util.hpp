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

}  // namespace zvq::fuzz
