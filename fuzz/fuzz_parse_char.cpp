// parse_char over arbitrary texts, the first byte choosing the width.
#include "fuzz_util.hpp"

using namespace zvq::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    static const uint64_t kWide[] = {100, 1000, 4096, 4097};
    const uint64_t width = data[0] < 240 ? data[0] % 34 : kWide[data[0] % 4];
    std::vector<char> text = text_of(data + 1, size - 1);
    auto r = record();
    const zvq_seq_status made = zvq_seq_parse_char(r.get(), text.data(), width);
    if (width > 4096) {
        ZVQ_FUZZ_CHECK(made == SEQ_TYPE_MISMATCH);
        return 0;
    }
    ZVQ_FUZZ_CHECK(made == SEQ_OK);
    // A text without "}" goes on in empty items: a few refills are enough.
    pull_refills(*r, 6, [&](size_t) {
        const uint32_t n = r->chunk_count;
        ZVQ_FUZZ_CHECK(n >= 1 && n <= 128);
        ZVQ_FUZZ_CHECK(uint64_t{n} * r->elem_size <= 4096);
        ZVQ_FUZZ_CHECK(width == 0 || r->elem_size == width);
        for (uint32_t bit = n; bit < 128; ++bit) ZVQ_FUZZ_CHECK(((r->null_bitmap[bit / 64] >> (bit % 64)) & 1) == 0);
    });
    return 0;
}
