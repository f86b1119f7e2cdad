// zvq_seq_from_arrow: each format, offsets, run ends of every width, long
// runs, empty arrays and every refusal.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "arrow/arrow_support.hpp"

namespace zvq::test {
namespace {

template <class V>
std::vector<V> read_all(const Leaf& leaf) {
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, &leaf.array), SEQ_OK);
    return expand(drain_runs<V>(r));
}

TEST(FromArrow, EachPrimitiveFormatWithAnOffset) {
    // Elements 2.. of {0, 1, 2, 3, 3, 4}: the offset skips the first two.
    const std::vector<int64_t> src = {0, 1, 2, 3, 3, 4};
    const struct {
        const char* format;
        uint8_t type;
        uint16_t size;
    } cases[] = {
        {"c", ZVQ_SEQ_TYPE_INT1, 1},  {"C", ZVQ_SEQ_TYPE_UINT1, 1}, {"s", ZVQ_SEQ_TYPE_INT2, 2},
        {"S", ZVQ_SEQ_TYPE_UINT2, 2}, {"i", ZVQ_SEQ_TYPE_INT4, 4},  {"I", ZVQ_SEQ_TYPE_UINT4, 4},
        {"l", ZVQ_SEQ_TYPE_INT8, 8},  {"L", ZVQ_SEQ_TYPE_UINT8, 8}, {"f", ZVQ_SEQ_TYPE_FLOAT, 4},
        {"g", ZVQ_SEQ_TYPE_DOUBLE, 8},
    };
    for (const auto& c : cases) {
        std::vector<uint8_t> bytes(src.size() * c.size);
        for (size_t k = 0; k < src.size(); ++k) {
            if (std::string(c.format) == "f") {
                const float v = static_cast<float>(src[k]);
                std::memcpy(&bytes[k * 4], &v, 4);
            } else if (std::string(c.format) == "g") {
                const double v = static_cast<double>(src[k]);
                std::memcpy(&bytes[k * 8], &v, 8);
            } else {
                std::memcpy(&bytes[k * c.size], &src[k], c.size);  // little-endian low bytes
            }
        }
        Leaf leaf(c.format, bytes.data(), 4, 2);
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, &leaf.array), SEQ_OK) << c.format;
        EXPECT_EQ(r.elem_type, c.type) << c.format;
        EXPECT_EQ(r.elem_size, c.size) << c.format;
        ASSERT_EQ(r.next(&r), SEQ_OK);
        ASSERT_EQ(r.chunk_count, 3) << c.format;  // 2, 3 twice, 4
        EXPECT_EQ(r.next_pos, 4u);
        EXPECT_EQ(std::memcmp(slot_ptr(r, 0), &bytes[2 * c.size], c.size), 0) << c.format;
        EXPECT_EQ(repeat_at(r, 1), 2) << c.format;
        EXPECT_EQ(std::memcmp(slot_ptr(r, 2), &bytes[5 * c.size], c.size), 0) << c.format;
        EXPECT_EQ(r.next(&r), SEQ_END);
    }
}

TEST(FromArrow, BooleansUnpackFromAnyBitOffset) {
    // Bits, least significant first: 1 0 1 1 | 0 0 0 0 | 1 1 1 1 | 1 1 1 1 | 0 1
    const uint8_t bits[] = {0x0D, 0xFF, 0x02};
    Leaf leaf("b", bits, 15, 3);
    EXPECT_EQ(read_all<uint8_t>(leaf), (std::vector<uint8_t>{1, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 0, 1}));
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, &leaf.array), SEQ_OK);
    EXPECT_EQ(drain_runs<uint8_t>(r), (std::vector<zvq::test::Run<uint8_t>>{{1, 1}, {0, 4}, {1, 8}, {0, 1}, {1, 1}}));
}

TEST(FromArrow, TimestampsBecomeNanosecondsSinceTheEpoch) {
    const int64_t raw[] = {-2, 0, 3};
    const struct {
        const char* format;
        uint64_t scale;
    } cases[] = {{"tsn:", 1}, {"tsu:UTC", 1000}, {"tsm:", 1000000}, {"tss:Europe/Paris", 1000000000}};
    for (const auto& c : cases) {
        Leaf leaf(c.format, raw, 3);
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, &leaf.array), SEQ_OK) << c.format;
        EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_DATETIME);
        EXPECT_EQ(expand(drain_runs<uint64_t>(r)),
                  (std::vector<uint64_t>{uint64_t(0) - 2 * c.scale, 0, 3 * c.scale}))
            << c.format;
    }
}

TEST(FromArrow, FixedSizeBinaryIsCharOfThatWidth) {
    const char bytes[] = "abcabcxyz";
    Leaf leaf("w:3", bytes, 3);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, &leaf.array), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_CHAR);
    EXPECT_EQ(r.elem_size, 3);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 2);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 0), "abc", 3), 0);
    EXPECT_EQ(repeat_at(r, 0), 2);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 1), "xyz", 3), 0);
    Leaf sliced("w:3", bytes, 1, 2);
    ASSERT_EQ(zvq_seq_from_arrow(&r, &sliced.schema, &sliced.array), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 0), "xyz", 3), 0);
}

// Runs of 1,000 serve as 255, 255, 255, 235: per run, never per element.
TEST(FromArrow, RunEndEncodedRunsStayRunsForEveryEndWidth) {
    const double values[] = {1.5, -2.0, 4.0};
    const std::vector<zvq::test::Run<double>> want = {{1.5, 255}, {1.5, 255}, {1.5, 255}, {1.5, 235}, {-2.0, 255},
                                           {-2.0, 255}, {-2.0, 255}, {-2.0, 235}, {4.0, 1}};
    const int16_t e16[] = {1000, 2000, 2001};
    const int32_t e32[] = {1000, 2000, 2001};
    const int64_t e64[] = {1000, 2000, 2001};
    for (auto ree : {RunEnd("s", e16, "g", values, 3, 2001), RunEnd("i", e32, "g", values, 3, 2001),
                     RunEnd("l", e64, "g", values, 3, 2001)}) {
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_from_arrow(&r, &ree.schema, &ree.array), SEQ_OK) << ree.ends.format;
        EXPECT_EQ(r.last_pos, 2000u);
        EXPECT_EQ(drain_runs<double>(r), want) << ree.ends.format;
        EXPECT_EQ(r.next_pos, 2001u);
        ASSERT_EQ(r.reset(&r), SEQ_OK);
        zvq_seq_iterator sum{};
        ASSERT_EQ(zvq_seq_agg_sum_double(&sum, &r), SEQ_OK);
        ASSERT_EQ(sum.next(&sum), SEQ_OK);
        EXPECT_EQ(value_at<double>(sum, 0), 1500.0 - 2000.0 + 4.0);
    }
}

// The parent's offset cuts into runs at both ends; children offsets shift
// the ends and values they index.
TEST(FromArrow, RunEndEncodedOffsetsOfParentAndChildren) {
    const int32_t values[] = {99, 7, 8, 9};
    const int32_t ends[] = {-5, 1000, 2000, 3000};
    RunEnd ree("i", ends + 1, "i", values + 1, 3, 1000, 1500);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_arrow(&r, &ree.schema, &ree.array), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(r), (std::vector<zvq::test::Run<int32_t>>{{8, 255}, {8, 245}, {9, 255}, {9, 245}}));
    // Same slice through child offsets of 1 over the whole buffers.
    RunEnd shifted("i", ends, "i", values, 4, 1000, 1500);
    shifted.ends_array.offset = 1;
    shifted.ends_array.length = 3;
    shifted.values_array.offset = 1;
    shifted.values_array.length = 3;
    ASSERT_EQ(zvq_seq_from_arrow(&r, &shifted.schema, &shifted.array), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(r), (std::vector<zvq::test::Run<int32_t>>{{8, 255}, {8, 245}, {9, 255}, {9, 245}}));
}

TEST(FromArrow, RunEndEncodedBooleansAndBytes) {
    const uint8_t bits[] = {0x02};  // values 0, 1
    const int64_t ends[] = {3, 300};
    RunEnd flags("l", ends, "b", bits, 2, 300);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_arrow(&r, &flags.schema, &flags.array), SEQ_OK);
    EXPECT_EQ(drain_runs<uint8_t>(r), (std::vector<zvq::test::Run<uint8_t>>{{0, 3}, {1, 255}, {1, 42}}));
    const char names[] = "ab" "cd";
    RunEnd text("l", ends, "w:2", names, 2, 299, 1);
    ASSERT_EQ(zvq_seq_from_arrow(&r, &text.schema, &text.array), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 3);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 0), "ab", 2), 0);
    EXPECT_EQ(repeat_at(r, 0), 2);
    EXPECT_EQ(std::memcmp(slot_ptr(r, 2), "cd", 2), 0);
    EXPECT_EQ(repeat_at(r, 2), 42);
}

TEST(FromArrow, EmptyArraysEndAtOnce) {
    Leaf plain("g", nullptr, 0);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_arrow(&r, &plain.schema, &plain.array), SEQ_OK);
    EXPECT_EQ(r.last_pos, UINT64_MAX);
    EXPECT_EQ(r.next(&r), SEQ_END);
    const int64_t ends[] = {5};
    const double v[] = {1.0};
    RunEnd ree("l", ends, "g", v, 1, 0, 5);
    ASSERT_EQ(zvq_seq_from_arrow(&r, &ree.schema, &ree.array), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
    RunEnd none("l", nullptr, "g", nullptr, 0, 0);
    ASSERT_EQ(zvq_seq_from_arrow(&r, &none.schema, &none.array), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
}

// Every refusal leaves the result record as it was.
TEST(FromArrow, RefusalsBindNothing) {
    const int32_t data[] = {1, 2, 3};
    const int32_t ends[] = {2, 4};
    const int32_t flat[] = {2, 2};
    const int32_t falling[] = {4, 2};
    struct Case {
        const char* what;
        zvq_seq_status want;
        std::function<void(RunEnd&)> spoil;
    };
    const Case cases[] = {
        {"fine", SEQ_OK, [](RunEnd&) {}},
        {"released", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.array.release = nullptr; }},
        {"released schema", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.schema.release = nullptr; }},
        {"nulls", SEQ_NOT_SUPPORTED, [](RunEnd& x) { x.values_array.null_count = 1; }},
        {"dictionary", SEQ_NOT_SUPPORTED, [](RunEnd& x) { x.values.dictionary = &x.values; }},
        {"values format", SEQ_NOT_SUPPORTED, [](RunEnd& x) { x.values.format = "u"; }},
        {"ends format", SEQ_NOT_SUPPORTED, [](RunEnd& x) { x.ends.format = "L"; }},
        {"buffers", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.values_array.n_buffers = 3; }},
        {"parent buffers", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.array.n_buffers = 1; }},
        {"children", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.array.n_children = 1; }},
        {"schema children", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.schema.n_children = 3; }},
        {"flat ends", SEQ_BAD_ARGUMENT, [&](RunEnd& x) { x.ends_array.buffers[1] = flat; }},
        {"falling ends", SEQ_BAD_ARGUMENT, [&](RunEnd& x) { x.ends_array.buffers[1] = falling; }},
        {"beyond the ends", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.array.length = 4; x.array.offset = 1; }},
        {"fewer values", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.values_array.length = 1; }},
        {"negative length", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.array.length = -1; }},
        {"no data", SEQ_BAD_ARGUMENT, [](RunEnd& x) { x.values_array.buffers[1] = nullptr; }},
    };
    for (const auto& c : cases) {
        RunEnd ree("i", ends, "i", data, 2, 4);
        c.spoil(ree);
        zvq_seq_iterator r{};
        EXPECT_EQ(zvq_seq_from_arrow(&r, &ree.schema, &ree.array), c.want) << c.what;
        if (c.want != SEQ_OK) {
            EXPECT_EQ(r.next, nullptr) << c.what;
        }
    }
    Leaf leaf("i", data, 3);
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_from_arrow(&r, nullptr, &leaf.array), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, nullptr), SEQ_BAD_ARGUMENT);
    leaf.array.null_count = -1;  // unknown, but no validity buffer: no nulls
    EXPECT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, &leaf.array), SEQ_OK);
    for (const char* format : {"w:0", "w:4096", "w:x", "tsx:", "+s", "z", ""}) {
        leaf.schema.format = format;
        EXPECT_EQ(zvq_seq_from_arrow(&r, &leaf.schema, &leaf.array), SEQ_NOT_SUPPORTED) << format;
    }
}

}  // namespace
}  // namespace zvq::test
