// zvq_seq_from_arrow over arrays built from the input: formats, lengths,
// offsets, buffer and child counts, null counts and run ends all chosen by
// the bytes. Every buffer is a heap block of exactly the size its array's
// offset and length promise, so AddressSanitizer sees any read beyond what
// a well-formed array holds. An accepted array must serve exactly its length.
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_util.hpp"

namespace {

using namespace zvq::fuzz;

struct Input {
    const uint8_t* p;
    size_t left;
    uint8_t byte() {
        if (left == 0) return 0;
        --left;
        return *p++;
    }
    uint64_t word(uint64_t below) { return below == 0 ? 0 : (byte() | uint64_t{byte()} << 8) % below; }
};

const char* const kLeafFormats[] = {"c", "C", "s", "S", "i", "I", "l", "L", "f", "g", "b",
                                    "tss:", "tsn:UTC", "w:3", "w:0", "u", "ts"};
const char* const kEndFormats[] = {"s", "i", "l", "L"};

// Bytes per value of a leaf format; 0 for bits.
size_t width_of(const std::string& f) {
    if (f == "b") return 0;
    if (f == "c" || f == "C") return 1;
    if (f == "s" || f == "S") return 2;
    if (f == "i" || f == "I" || f == "f") return 4;
    if (f == "w:3") return 3;
    return 8;
}

void ignore(ArrowSchema*) {}
void ignore_array(ArrowArray*) {}

// A leaf whose data holds exactly offset + length values, filled from input.
struct Leaf {
    ArrowSchema schema{};
    ArrowArray array{};
    const void* buffers[3] = {nullptr, nullptr, nullptr};
    std::vector<uint8_t> data;

    void build(Input& in, const char* format, int64_t length, int64_t offset) {
        const size_t w = width_of(format);
        const uint64_t n = static_cast<uint64_t>(length + offset);
        data.resize(w == 0 ? (n + 7) / 8 : n * w);
        for (auto& b : data) b = in.byte();
        schema = {format, "", nullptr, 0, 0, nullptr, nullptr, ignore, nullptr};
        array = {length, 0, offset, 2, 0, buffers, nullptr, nullptr, ignore_array, nullptr};
        buffers[1] = data.empty() ? nullptr : data.data();
        const uint8_t spoil = in.byte();
        if (spoil == 1) array.null_count = 1;
        if (spoil == 2) array.n_buffers = 3;
        if (spoil == 3) array.null_count = -1;
    }
};

// Run ends as rising steps (a step of 0 now and then), written at the
// width of the format.
void fill_ends(Input& in, Leaf& ends, const char* format, int64_t runs, int64_t offset, int64_t& last) {
    ends.build(in, format, runs, offset);
    const size_t w = width_of(format);
    int64_t e = 0;
    for (int64_t k = 0; k < runs + offset; ++k) {
        e += static_cast<int64_t>(in.word(700));
        if (w == 2) {
            const int16_t v = static_cast<int16_t>(e);
            std::memcpy(&ends.data[k * 2], &v, 2);
        } else if (w == 4) {
            const int32_t v = static_cast<int32_t>(e);
            std::memcpy(&ends.data[k * 4], &v, 4);
        } else {
            std::memcpy(&ends.data[k * 8], &e, 8);
        }
    }
    last = e;
}

void drain(zvq_seq_iterator& r, int64_t length) {
    uint64_t elements = 0;
    zvq_seq_status s;
    while ((s = r.next(&r)) == SEQ_OK) {
        ZVQ_FUZZ_CHECK(r.chunk_count != 0);
        for (uint32_t i = 0; i < r.chunk_count; ++i) {
            const uint8_t rep = r.chunk[4095 - i];
            ZVQ_FUZZ_CHECK(rep != 0);
            elements += rep;
        }
        ZVQ_FUZZ_CHECK(r.next_pos == elements);
    }
    ZVQ_FUZZ_CHECK(s == SEQ_END);
    ZVQ_FUZZ_CHECK(elements == static_cast<uint64_t>(length));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    auto r = record();
    const uint8_t shape = in.byte();
    const char* leaf_format = kLeafFormats[in.byte() % std::size(kLeafFormats)];
    if (shape % 2 == 0) {
        Leaf leaf;
        const int64_t length = static_cast<int64_t>(in.word(600));
        leaf.build(in, leaf_format, length, static_cast<int64_t>(in.word(20)));
        if (zvq_seq_from_arrow(r.get(), &leaf.schema, &leaf.array) == SEQ_OK) drain(*r, length);
        return 0;
    }
    const char* end_format = kEndFormats[in.byte() % std::size(kEndFormats)];
    const int64_t runs = static_cast<int64_t>(in.word(40));
    Leaf ends, values;
    int64_t last = 0;
    fill_ends(in, ends, end_format, runs, static_cast<int64_t>(in.word(4)), last);
    values.build(in, leaf_format, runs, static_cast<int64_t>(in.word(4)));
    if (in.byte() == 7 && values.array.length > 0) --values.array.length;  // fewer values than runs
    ArrowSchema schema{"+r", "", nullptr, 0, 2, nullptr, nullptr, ignore, nullptr};
    ArrowSchema* schema_children[2] = {&ends.schema, &values.schema};
    ArrowArray* array_children[2] = {&ends.array, &values.array};
    schema.children = schema_children;
    const int64_t span = last + 10;
    const int64_t offset = static_cast<int64_t>(in.word(static_cast<uint64_t>(span)));
    const int64_t length = static_cast<int64_t>(in.word(static_cast<uint64_t>(span)));
    ArrowArray array{length, 0, offset, 0, 2, nullptr, array_children, nullptr, ignore_array, nullptr};
    const uint8_t spoil = in.byte();
    if (spoil == 1) array.n_children = 1;
    if (spoil == 2) schema.n_children = 3;
    if (spoil == 3) array.n_buffers = 1;
    if (zvq_seq_from_arrow(r.get(), &schema, &array) == SEQ_OK) drain(*r, length);
    return 0;
}
