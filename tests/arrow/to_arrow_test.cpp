// zvq_seq_to_arrow: plain and run-end encoded arrays of every type, owned by
// the caller, read back by zvq_seq_from_arrow; failures keep nothing.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "arrow/arrow_support.hpp"

namespace zvq::test {
namespace {

struct Exported {
    ArrowSchema schema{};
    ArrowArray array{};
    ~Exported() {
        if (schema.release) schema.release(&schema);
        if (array.release) array.release(&array);
    }
};

template <class V>
std::vector<V> buffer_values(const ArrowArray& a) {
    const auto* p = static_cast<const V*>(a.buffers[1]);
    return std::vector<V>(p, p + a.length);
}

bool aligned(const void* p) { return reinterpret_cast<uintptr_t>(p) % 64 == 0; }

TEST(ToArrow, PlainDoublesFromRunsOwnedByTheCaller) {
    CountingAllocator alloc;
    const double values[] = {1.0, 2.5};
    const uint64_t ends[] = {300, 302};
    zvq_seq_iterator src{};
    ASSERT_EQ(zvq_seq_unget_runs_double(&src, values, ends, 2), SEQ_OK);
    {
        Exported out;
        ASSERT_EQ(zvq_seq_to_arrow(&src, &out.schema, &out.array, 0), SEQ_OK);
        EXPECT_STREQ(out.schema.format, "g");
        EXPECT_EQ(out.schema.n_children, 0);
        EXPECT_EQ(out.array.length, 302);
        EXPECT_EQ(out.array.null_count, 0);
        EXPECT_EQ(out.array.offset, 0);
        ASSERT_EQ(out.array.n_buffers, 2);
        EXPECT_EQ(out.array.buffers[0], nullptr);
        EXPECT_TRUE(aligned(out.array.buffers[1]));
        std::vector<double> want(300, 1.0);
        want.insert(want.end(), 2, 2.5);
        EXPECT_EQ(buffer_values<double>(out.array), want);
        EXPECT_GT(alloc.live_blocks(), 0);
    }
    EXPECT_EQ(alloc.live_blocks(), 0);  // both releases freed everything
    EXPECT_FALSE(alloc.size_mismatch());
}

// Pieces of one long run, and equal neighbouring runs, merge into one run.
TEST(ToArrow, RunEndEncodedMergesEqualNeighbours) {
    CountingAllocator alloc;
    std::vector<int32_t> data(600, 4);
    data.insert(data.end(), {5, 5, 4});
    zvq_seq_iterator src{};
    ASSERT_EQ(zvq_seq_encode_int4(&src, data.data(), data.size()), SEQ_OK);
    {
        Exported out;
        ASSERT_EQ(zvq_seq_to_arrow(&src, &out.schema, &out.array, ZVQ_SEQ_ARROW_RUN_END), SEQ_OK);
        EXPECT_STREQ(out.schema.format, "+r");
        ASSERT_EQ(out.schema.n_children, 2);
        EXPECT_STREQ(out.schema.children[0]->format, "l");
        EXPECT_STREQ(out.schema.children[0]->name, "run_ends");
        EXPECT_STREQ(out.schema.children[1]->format, "i");
        EXPECT_STREQ(out.schema.children[1]->name, "values");
        EXPECT_EQ(out.array.length, 603);
        EXPECT_EQ(out.array.n_buffers, 0);
        ASSERT_EQ(out.array.n_children, 2);
        EXPECT_EQ(buffer_values<int64_t>(*out.array.children[0]), (std::vector<int64_t>{600, 602, 603}));
        EXPECT_EQ(buffer_values<int32_t>(*out.array.children[1]), (std::vector<int32_t>{4, 5, 4}));
        EXPECT_TRUE(aligned(out.array.children[0]->buffers[1]));
        EXPECT_TRUE(aligned(out.array.children[1]->buffers[1]));
        // Back in: the runs come back cut at 255.
        zvq_seq_iterator back{};
        ASSERT_EQ(zvq_seq_from_arrow(&back, &out.schema, &out.array), SEQ_OK);
        EXPECT_EQ(drain_runs<int32_t>(back),
                  (std::vector<zvq::test::Run<int32_t>>{{4, 255}, {4, 255}, {4, 90}, {5, 2}, {4, 1}}));
    }
    EXPECT_EQ(alloc.live_blocks(), 0);
}

// A child moved out of its parent lives on after the parent's release.
TEST(ToArrow, ChildrenReleaseApartFromTheirParent) {
    CountingAllocator alloc;
    const double v[] = {3.0};
    const uint64_t end[] = {10};
    zvq_seq_iterator src{};
    ASSERT_EQ(zvq_seq_unget_runs_double(&src, v, end, 1), SEQ_OK);
    ArrowSchema schema;
    ArrowArray array;
    ASSERT_EQ(zvq_seq_to_arrow(&src, &schema, &array, ZVQ_SEQ_ARROW_RUN_END), SEQ_OK);
    ArrowArray values = *array.children[1];
    array.children[1]->release = nullptr;
    array.release(&array);
    schema.release(&schema);
    EXPECT_EQ(array.release, nullptr);
    EXPECT_EQ(buffer_values<double>(values), (std::vector<double>{3.0}));
    values.release(&values);
    EXPECT_EQ(alloc.live_blocks(), 0);
}

TEST(ToArrow, FormatsOfEveryTypeReadBack) {
    const struct {
        const char* format;
        uint8_t type;
        uint16_t size;
    } cases[] = {
        {"C", ZVQ_SEQ_TYPE_UINT1, 1}, {"S", ZVQ_SEQ_TYPE_UINT2, 2}, {"I", ZVQ_SEQ_TYPE_UINT4, 4},
        {"L", ZVQ_SEQ_TYPE_UINT8, 8}, {"c", ZVQ_SEQ_TYPE_INT1, 1},  {"s", ZVQ_SEQ_TYPE_INT2, 2},
        {"i", ZVQ_SEQ_TYPE_INT4, 4},  {"l", ZVQ_SEQ_TYPE_INT8, 8},  {"f", ZVQ_SEQ_TYPE_FLOAT, 4},
        {"g", ZVQ_SEQ_TYPE_DOUBLE, 8}, {"tsn:", ZVQ_SEQ_TYPE_DATETIME, 8}, {"w:3", ZVQ_SEQ_TYPE_CHAR, 3},
    };
    const uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, 5, 6, 7, 8, 9, 9, 9, 9, 9, 9, 9, 9};
    for (const auto& c : cases) {
        // Three elements: the first two equal.
        std::vector<uint8_t> items(bytes, bytes + c.size);
        items.insert(items.end(), bytes, bytes + c.size);
        items.insert(items.end(), bytes + 16, bytes + 16 + c.size);
        for (uint32_t flags : {0u, ZVQ_SEQ_ARROW_RUN_END}) {
            zvq_seq_iterator src{};
            ASSERT_EQ(zvq_seq_encode_char(&src, reinterpret_cast<const char*>(items.data()), 3, c.size), SEQ_OK);
            src.elem_type = c.type;  // the same bytes as any type of this width
            Exported out;
            ASSERT_EQ(zvq_seq_to_arrow(&src, &out.schema, &out.array, flags), SEQ_OK) << c.format;
            const ArrowSchema& leaf = flags ? *out.schema.children[1] : out.schema;
            EXPECT_STREQ(leaf.format, c.format);
            zvq_seq_iterator back{};
            ASSERT_EQ(zvq_seq_from_arrow(&back, &out.schema, &out.array), SEQ_OK) << c.format;
            EXPECT_EQ(back.elem_type, c.type);
            EXPECT_EQ(back.elem_size, c.size);
            ASSERT_EQ(back.next(&back), SEQ_OK);
            ASSERT_EQ(back.chunk_count, 2) << c.format;
            EXPECT_EQ(repeat_at(back, 0), 2);
            EXPECT_EQ(std::memcmp(slot_ptr(back, 0), items.data(), c.size), 0) << c.format;
            EXPECT_EQ(std::memcmp(slot_ptr(back, 1), items.data() + 2 * c.size, c.size), 0) << c.format;
        }
    }
}

// The reader's place is honoured: what was taken is not written.
TEST(ToArrow, StartsWhereTheReaderStandsAndEmptyHasABuffer) {
    const int32_t data[] = {1, 2, 2, 2, 3};
    zvq_seq_iterator src{};
    ASSERT_EQ(zvq_seq_encode_int4(&src, data, 5), SEQ_OK);
    ASSERT_EQ(refill(src), SEQ_OK);
    take(src, 1);
    take(src, 1);  // 1 and the first 2
    Exported out;
    ASSERT_EQ(zvq_seq_to_arrow(&src, &out.schema, &out.array, 0), SEQ_OK);
    EXPECT_EQ(buffer_values<int32_t>(out.array), (std::vector<int32_t>{2, 2, 3}));
    Exported empty;
    zvq_seq_iterator none{};
    ASSERT_EQ(zvq_seq_encode_int4(&none, nullptr, 0), SEQ_OK);
    ASSERT_EQ(zvq_seq_to_arrow(&none, &empty.schema, &empty.array, 0), SEQ_OK);
    EXPECT_EQ(empty.array.length, 0);
    EXPECT_NE(empty.array.buffers[1], nullptr);
}

// Every allocation in turn fails: SEQ_NOMEM, both releases null, nothing
// kept. The loop ends at the first run without a failure.
TEST(ToArrow, EachFailedAllocationReleasesEverything) {
    std::vector<double> data(5000);
    for (size_t k = 0; k < data.size(); ++k) data[k] = static_cast<double>(k / 3);
    for (uint32_t flags : {0u, ZVQ_SEQ_ARROW_RUN_END}) {
        bool done = false;
        for (uint64_t nth = 1; nth < 64 && !done; ++nth) {
            CountingAllocator alloc;
            alloc.fail_on(nth);
            zvq_seq_iterator src{}, neg{};
            ASSERT_EQ(zvq_seq_encode_double(&src, data.data(), data.size()), SEQ_OK);
            ASSERT_EQ(zvq_seq_neg_double(&neg, &src), SEQ_OK);  // unbounded: the buffers grow
            ArrowSchema schema;
            ArrowArray array;
            const zvq_seq_status s = zvq_seq_to_arrow(&neg, &schema, &array, flags);
            if (s == SEQ_OK) {
                EXPECT_GT(nth, 3u);  // several blocks were needed
                EXPECT_EQ(array.length, 5000);
                array.release(&array);
                schema.release(&schema);
                done = true;
            } else {
                EXPECT_EQ(s, SEQ_NOMEM) << nth;
                EXPECT_EQ(schema.release, nullptr);
                EXPECT_EQ(array.release, nullptr);
            }
            EXPECT_EQ(alloc.live_blocks(), 0) << nth;
        }
        EXPECT_TRUE(done);
    }
}

TEST(ToArrow, TreeFailuresBindingAndTypes) {
    CountingAllocator alloc;
    Script failing = Script::of<Double>({{{1.0, 255}}, {{2.0, 3}}}).fail_at(1, SEQ_NOMEM + 1000);
    ArrowSchema schema;
    ArrowArray array;
    EXPECT_EQ(zvq_seq_to_arrow(failing.rec(), &schema, &array, 0), SEQ_NOMEM + 1000);
    EXPECT_EQ(array.release, nullptr);
    EXPECT_EQ(alloc.live_blocks(), 0);

    BindingChecks on(1);
    zvq_seq_iterator src{}, neg{};
    const double v[] = {1.0};
    ASSERT_EQ(zvq_seq_encode_double(&src, v, 1), SEQ_OK);
    ASSERT_EQ(zvq_seq_neg_double(&neg, &src), SEQ_OK);
    EXPECT_EQ(zvq_seq_to_arrow(&src, &schema, &array, 0), SEQ_ALREADY_BOUND);
    src.elem_type = 11;  // unassigned
    EXPECT_EQ(zvq_seq_to_arrow(&src, &schema, &array, 0), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(alloc.live_blocks(), 0);
}

}  // namespace
}  // namespace zvq::test
