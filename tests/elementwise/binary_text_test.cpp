// add_char joins texts at their terminators; cat joins raw value bytes of any
// two types. Both make char values of the summed width, at most 32.
#include <gtest/gtest.h>

#include <string>

#include "support/scripted_source.hpp"

namespace {

using zvq::test::Script;

Script texts(uint16_t width, const std::vector<std::pair<std::string, uint8_t>>& runs) {
    return Script::of_char(width, {runs});
}

// Every run of r as (bytes of the value, repeat).
std::vector<std::pair<std::string, int>> drain_texts(zvq_seq_iterator& r, zvq_seq_status* last = nullptr) {
    std::vector<std::pair<std::string, int>> out;
    zvq_seq_status s;
    while ((s = r.next(&r)) == SEQ_OK)
        for (uint32_t i = 0; i < r.chunk_count; ++i)
            out.emplace_back(std::string(reinterpret_cast<const char*>(zvq::slot_ptr(r, i)), r.elem_size),
                             zvq::repeat_at(r, i));
    if (last) *last = s;
    return out;
}

using std::string_literals::operator""s;

TEST(AddChar, JoinsAtTheFirstZeroByteAndPadsAtTheEnd) {
    Script left = texts(4, {{"ab", 3}, {"wxyz", 1}, {"", 2}});
    Script right = texts(2, {{"c", 2}, {"de", 4}});
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_add_char(&out, left.rec(), right.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_type, ZVQ_SEQ_TYPE_CHAR);
    EXPECT_EQ(out.elem_size, 6);
    EXPECT_EQ(out.next, &zvq_seq_add_char_next);
    EXPECT_EQ(out.reset, &zvq_seq_reset_binary_iterator);
    zvq_seq_status last;
    EXPECT_EQ(drain_texts(out, &last), (std::vector<std::pair<std::string, int>>{
                                           {"abc\0\0\0"s, 2}, {"abde\0\0"s, 1}, {"wxyzde"s, 1}, {"de\0\0\0\0"s, 2}}));
    EXPECT_EQ(last, SEQ_END);
}

TEST(AddChar, ATextWithAZeroByteInsideEndsThere) {
    Script left = Script::of_char(4, {{{"a\0b"s, 1}}});
    Script right = Script::of_char(3, {{{"\0xy"s, 1}}});
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_add_char(&out, left.rec(), right.rec()), SEQ_OK);
    EXPECT_EQ(drain_texts(out), (std::vector<std::pair<std::string, int>>{{"a\0\0\0\0\0\0"s, 1}}));
}

TEST(Cat, JoinsTheRawBytesOfAnyTwoTypes) {
    Script left = texts(4, {{"ab", 1}});
    Script right = texts(2, {{"c", 1}});
    zvq_seq_iterator out{};
    ASSERT_EQ(zvq_seq_cat(&out, left.rec(), right.rec()), SEQ_OK);
    EXPECT_EQ(out.next, &zvq_seq_cat_next);
    EXPECT_EQ(drain_texts(out), (std::vector<std::pair<std::string, int>>{{"ab\0\0c\0"s, 1}}));

    // int4 then uint1: the little-endian bytes of the integer, then the byte.
    Script ints = Script::of<zvq::Int4>({{{0x04030201, 2}, {-1, 1}}});
    Script bytes = Script::of<zvq::Uint1>({{{0x00, 1}, {0x7F, 5}}});
    ASSERT_EQ(zvq_seq_cat(&out, ints.rec(), bytes.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_size, 5);
    EXPECT_EQ(out.elem_type, ZVQ_SEQ_TYPE_CHAR);
    EXPECT_EQ(drain_texts(out), (std::vector<std::pair<std::string, int>>{
                                    {"\x01\x02\x03\x04\x00"s, 1}, {"\x01\x02\x03\x04\x7f"s, 1}, {"\xff\xff\xff\xff\x7f"s, 1}}));
}

TEST(TextJoin, WidthsAddUpToAtMost32) {
    zvq_seq_iterator out{};
    Script w16 = texts(16, {{"a", 1}});
    Script w17 = texts(17, {{"b", 1}});
    Script w16b = texts(16, {{"c", 1}});
    EXPECT_EQ(zvq_seq_add_char(&out, w16.rec(), w17.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_cat(&out, w17.rec(), w16.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(w16.rec()->bound, 0);
    EXPECT_EQ(w17.rec()->bound, 0);

    Script i8 = Script::of<zvq::Int8>({});
    Script w25 = texts(25, {{"d", 1}});
    EXPECT_EQ(zvq_seq_cat(&out, i8.rec(), w25.rec()), SEQ_TYPE_MISMATCH);

    ASSERT_EQ(zvq_seq_add_char(&out, w16.rec(), w16b.rec()), SEQ_OK);
    EXPECT_EQ(out.elem_size, 32);
}

TEST(TextJoin, AddCharTakesCharOperandsOnly) {
    zvq_seq_iterator out{};
    Script text = texts(4, {{"a", 1}});
    Script num = Script::of<zvq::Uint4>({});
    EXPECT_EQ(zvq_seq_add_char(&out, text.rec(), num.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_add_char(&out, num.rec(), text.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(text.rec()->bound, 0);
}

// The fill bound follows the result width: 4096 / (6 + 1) = 585 runs.
TEST(TextJoin, CapacityComesFromTheResultWidth) {
    zvq_seq_iterator a{}, b{}, joined{};
    ASSERT_EQ(zvq_seq_const_char(&a, "wxyz", 4), SEQ_OK);
    ASSERT_EQ(zvq_seq_const_char(&b, "v\0", 2), SEQ_OK);
    ASSERT_EQ(zvq_seq_add_char(&joined, &a, &b), SEQ_OK);
    ASSERT_EQ(joined.next(&joined), SEQ_OK);
    EXPECT_EQ(joined.chunk_count, 585);
    EXPECT_EQ(joined.next_pos, 585u * 255u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(zvq::slot_ptr(joined, 584)), 6), "wxyzv\0"s);
    EXPECT_EQ(zvq::repeat_at(joined, 584), 255);

    zvq_seq_iterator n{}, t{}, catted{};
    ASSERT_EQ(zvq_seq_const_int8(&n, 0x4142434445464748), SEQ_OK);
    ASSERT_EQ(zvq_seq_const_char(&t, "ij", 2), SEQ_OK);
    ASSERT_EQ(zvq_seq_cat(&catted, &n, &t), SEQ_OK);
    ASSERT_EQ(catted.next(&catted), SEQ_OK);
    EXPECT_EQ(catted.chunk_count, 4096 / 11);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(zvq::slot_ptr(catted, 371)), 10), "HGFEDCBAij");
}

}  // namespace
