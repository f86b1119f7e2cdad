// Text lists that read back element for element, and where a malformed item
// stands.
#include <string>
#include <vector>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;


template <class Tag>
class FromTextOf : public ::testing::Test {};
TYPED_TEST_SUITE(FromTextOf, NumericTags);

// The parse family's {1,1,2} writes one repeat byte and counts runs; this
// one writes both and counts elements, with or without braces and spaces.
TYPED_TEST(FromTextOf, OneOneTwoReadsBackWithEveryRepeatWritten) {
    using V = value_t<TypeParam>;
    for (const char* text : {"{1,1,2}", "1,1,2", " { 1 , 1,2 } ", "{1,1,2,}"}) {
        zvq_seq_iterator r{};
        std::memset(r.chunk, 0xAB, sizeof r.chunk);
        ASSERT_EQ(Api<TypeParam>::from_text(&r, text), SEQ_OK) << text;
        EXPECT_EQ(drain_chunks<V>(r), (std::vector<Chunk<V>>{{{V(1), 2}, {V(2), 1}}})) << text;
        EXPECT_EQ(r.next_pos, 3u);
        EXPECT_EQ(r.next(&r), SEQ_END);
        ASSERT_EQ(r.reset(&r), SEQ_OK);
        EXPECT_EQ(drain_values<V>(r), (std::vector<V>{V(1), V(1), V(2)}));
    }
}

TYPED_TEST(FromTextOf, LongStretchesAndChunkEdgesReadBack) {
    using V = value_t<TypeParam>;
    std::string text = "{";
    std::vector<V> want;
    const uint32_t distinct = capacity<TypeParam> - 1;  // the stretch closes the first chunk
    for (uint32_t k = 0; k < distinct; ++k) {
        const V v = static_cast<V>(k % 50 + 10);
        text += std::to_string(k % 50 + 10) + ",";
        want.push_back(v);
    }
    for (int k = 0; k < 600; ++k) {
        text += "7,";
        want.push_back(V(7));
    }
    text += "8}";
    want.push_back(V(8));
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::from_text(&r, text.c_str()), SEQ_OK);
    const auto chunks = drain_chunks<V>(r);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size(), capacity<TypeParam>);
    EXPECT_EQ(chunks[0].back(), (Run<V>{V(7), 255}));
    EXPECT_EQ(chunks[1], (Chunk<V>{{V(7), 255}, {V(7), 90}, {V(8), 1}}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(drain_values<V>(r), want);
}

TEST(FromText, ThreeHalvesSumAsTheyRead) {
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_text_double(&r, "{1.5,2.5,3.5}"), SEQ_OK);
    double out[8];
    uint64_t n = 8;
    ASSERT_EQ(zvq_seq_get_double(&r, out, &n), SEQ_OK);
    ASSERT_EQ(n, 3u);
    EXPECT_EQ(out[0] + out[1] + out[2], 7.5);
    zvq_seq_iterator sum{};
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_sum_double(&sum, &r), SEQ_OK);
    ASSERT_EQ(sum.next(&sum), SEQ_OK);
    EXPECT_EQ(value_at<double>(sum, 0), 7.5);
}

TEST(FromText, EmptyListsEnd) {
    for (const char* text : {"", "{}", " { } ", "}"}) {
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_from_text_int4(&r, text), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_END) << text;
        EXPECT_EQ(zvq_seq_text_error_offset(&r), UINT64_MAX);
    }
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_from_text_int4(&r, nullptr), SEQ_BAD_ARGUMENT);
}

// Each malformed item: the refill fails, the offset names the item's first
// byte, and a retry meets the same item again.
TEST(FromText, MalformedItemsAndTheirOffsets) {
    using Make = zvq_seq_status (*)(zvq_seq_iterator*, const char*);
    const struct {
        Make make;
        const char* text;
        uint64_t offset;
    } cases[] = {
        {zvq_seq_from_text_int4, "{1,x,3}", 3},
        {zvq_seq_from_text_int4, "{1, 2.5}", 4},
        {zvq_seq_from_text_int4, "{1 2}", 1},
        {zvq_seq_from_text_int4, "{1,,2}", 3},
        {zvq_seq_from_text_int4, "{2147483648}", 1},
        {zvq_seq_from_text_int1, "{-128,128}", 6},
        {zvq_seq_from_text_uint1, "{255,256}", 5},
        {zvq_seq_from_text_uint4, "{0,-1}", 3},
        {zvq_seq_from_text_int8, "{99999999999999999999}", 1},
        {zvq_seq_from_text_uint8, "{18446744073709551616}", 1},
        {zvq_seq_from_text_float, "{1,1e39}", 3},
        {zvq_seq_from_text_double, "{1e999}", 1},
        {zvq_seq_from_text_datetime, "{0x10}", 1},
    };
    for (const auto& c : cases) {
        zvq_seq_iterator r{};
        ASSERT_EQ(c.make(&r, c.text), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT) << c.text;
        EXPECT_EQ(zvq_seq_text_error_offset(&r), c.offset) << c.text;
        EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT) << c.text;
        EXPECT_EQ(r.next_pos, 0u);
    }
    // In range at the edges, and decimal: a leading zero is no octal prefix.
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_text_int1(&r, "{-128,127,010,-0}"), SEQ_OK);
    EXPECT_EQ(drain_values<int8_t>(r), (std::vector<int8_t>{-128, 127, 10, 0}));
    ASSERT_EQ(zvq_seq_from_text_uint8(&r, "{18446744073709551615}"), SEQ_OK);
    EXPECT_EQ(drain_values<uint64_t>(r), (std::vector<uint64_t>{UINT64_MAX}));
    zvq_seq_iterator parse{};  // a record of another operator has no offset
    ASSERT_EQ(zvq_seq_parse_int4(&parse, "{x}"), SEQ_OK);
    EXPECT_EQ(parse.next(&parse), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_text_error_offset(&parse), UINT64_MAX);
}

std::vector<std::pair<std::string, uint8_t>> char_runs(zvq_seq_iterator& r) {
    std::vector<std::pair<std::string, uint8_t>> out;
    while (r.next(&r) == SEQ_OK)
        for (uint32_t i = 0; i < r.chunk_count; ++i)
            out.emplace_back(std::string(reinterpret_cast<const char*>(slot_ptr(r, i)), r.elem_size),
                             repeat_at(r, i));
    return out;
}

TEST(FromTextChar, QuotedBareEscapedAndFolded) {
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_from_text_char(&r, R"({'a,b', c ,"c",d\te, 'x }' ,a\0,""})", 4), SEQ_OK);
    using P = std::pair<std::string, uint8_t>;
    EXPECT_EQ(char_runs(r), (std::vector<P>{{std::string("a,b\0", 4), 1},
                                            {std::string("c\0\0\0", 4), 2},
                                            {std::string("d\te\0", 4), 1},
                                            {std::string("x }\0", 4), 1},
                                            {std::string("a\0\0\0", 4), 1},
                                            {std::string(4, '\0'), 1}}));
    EXPECT_EQ(r.next_pos, 7u);
}

TEST(FromTextChar, MalformedItemsAndWidths) {
    const struct {
        const char* text;
        uint64_t offset;
    } cases[] = {
        {"{ab,abcde}", 4},      // longer than the width
        {"{ab,'open}", 4},      // the quote never closes
        {"{'ab' x}", 1},        // text behind a quoted item
        {"{ab,cd\\", 4},        // an escape at the text's end
    };
    for (const auto& c : cases) {
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_from_text_char(&r, c.text, 4), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT) << c.text;
        EXPECT_EQ(zvq_seq_text_error_offset(&r), c.offset) << c.text;
    }
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_from_text_char(&r, "{a}", 0), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_from_text_char(&r, "{a}", 4096), SEQ_TYPE_MISMATCH);
    ASSERT_EQ(zvq_seq_from_text_char(&r, "{a}", 4095), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1);
}

}  // namespace
