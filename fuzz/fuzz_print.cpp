// print_char over arbitrary tuples and formats: the first byte is the
// tuple's width, the second the print width, then the tuple's bytes and the
// format.
#include <cstring>

#include "fuzz_util.hpp"

using namespace zvq::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint32_t tuple_width = data[0] % 64;
    const uint64_t width = data[1] % 40;
    data += 2, size -= 2;
    // Exactly the tuple's bytes (one for width 0), zero-padded if the input
    // is short.
    std::vector<char> tuple(tuple_width != 0 ? tuple_width : 1);
    const size_t have = size < tuple_width ? size : tuple_width;
    std::memcpy(tuple.data(), data, have);
    std::vector<char> format = text_of(data + have, size - have);

    auto src = record();
    auto r = record();
    ZVQ_FUZZ_CHECK(zvq_seq_unget_char(src.get(), tuple.data(), 1, tuple_width) == SEQ_OK);
    const zvq_seq_status made = zvq_seq_print_char(r.get(), src.get(), width, format.data());
    if (width > 32) {
        ZVQ_FUZZ_CHECK(made == SEQ_BAD_ARGUMENT && src->bound == 0);
        return 0;
    }
    ZVQ_FUZZ_CHECK(made == SEQ_OK);
    const uint32_t cap = capacity_for(static_cast<uint32_t>(width));
    pull_refills(*r, 2, [&](size_t) {
        ZVQ_FUZZ_CHECK(r->chunk_count == cap);
        // Each slot's text ends inside the slot.
        if (width != 0)
            for (uint32_t i = 0; i < cap; ++i) ZVQ_FUZZ_CHECK(std::memchr(r->chunk + i * width, 0, width) != nullptr);
    });
    return 0;
}
