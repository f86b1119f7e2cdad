// custom_parse over arbitrary texts, the first byte choosing the element
// shape; the caller's function checks its item and fails on a "!". The text
// must be as it was after every refill.
#include <cstring>

#include "fuzz_util.hpp"

using namespace zvq::fuzz;

namespace {

const char* g_begin = nullptr;
const char* g_end = nullptr;
uint32_t g_elem_size = 0;
uint32_t g_capacity = 0;

int take_item(const char* item, uint64_t* null_bitmap, uint32_t slot) {
    ZVQ_FUZZ_CHECK(item >= g_begin && item < g_end);
    ZVQ_FUZZ_CHECK(slot < g_capacity);
    const size_t n = std::strlen(item);
    ZVQ_FUZZ_CHECK(std::memchr(item, ',', n) == nullptr);  // cut at the first ","
    auto* chunk = reinterpret_cast<uint8_t*>(null_bitmap + 2);
    std::memset(chunk + size_t{slot} * g_elem_size, static_cast<int>(n), g_elem_size);
    return std::memchr(item, '!', n) == nullptr;
}

struct Shape {
    uint32_t type, size;
};
const Shape kShapes[] = {{ZVQ_SEQ_TYPE_UINT1, 1}, {ZVQ_SEQ_TYPE_INT4, 4},   {ZVQ_SEQ_TYPE_DOUBLE, 8},
                         {ZVQ_SEQ_TYPE_CHAR, 0},  {ZVQ_SEQ_TYPE_CHAR, 3},   {ZVQ_SEQ_TYPE_CHAR, 1500},
                         {ZVQ_SEQ_TYPE_CHAR, 4096}, {ZVQ_SEQ_TYPE_INT4, 8}, {11, 1}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const Shape shape = kShapes[data[0] % std::size(kShapes)];
    std::vector<char> text = text_of(data + 1, size - 1);
    const std::vector<char> original = text;
    g_begin = text.data();
    g_end = text.data() + text.size();
    g_elem_size = shape.size;
    g_capacity = capacity_for(shape.size);
    auto r = record();
    const zvq_seq_status made = zvq_seq_custom_parse(r.get(), text.data(), shape.type, shape.size, take_item);
    if (shape.type == 11 || (shape.type == ZVQ_SEQ_TYPE_INT4 && shape.size != 4)) {
        ZVQ_FUZZ_CHECK(made == SEQ_TYPE_MISMATCH);
        return 0;
    }
    ZVQ_FUZZ_CHECK(made == SEQ_OK);
    // A last item without an end comes back in every refill: a few suffice.
    pull_refills(*r, 6, [&](size_t) {
        ZVQ_FUZZ_CHECK(text == original);
        ZVQ_FUZZ_CHECK(r->chunk_count >= 1 && r->chunk_count <= g_capacity);
        for (uint32_t i = 0; i < r->chunk_count; ++i) ZVQ_FUZZ_CHECK(r->chunk[4095 - i] == 1);
    });
    ZVQ_FUZZ_CHECK(text == original);
    return 0;
}
