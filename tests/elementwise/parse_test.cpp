// The text parsers: numbers of one type, char items, and items handed to a
// caller's function; and the number scanner against sscanf itself.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "elementwise/scan.hpp"
#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

using Parse = zvq_seq_status (*)(zvq_seq_iterator*, const char*);

template <class Tag>
class ParseOf : public ::testing::Test {};
TYPED_TEST_SUITE(ParseOf, NumericTags);

// Equal neighbours share a run, but only the last run's repeat byte is
// written and next_pos counts runs. A malformed item fails the refill and
// leaves the cursor where the refill began.
TYPED_TEST(ParseOf, RunsOnlyTheLastRepeatWrittenNextPosByRuns) {
    using V = value_t<TypeParam>;
    zvq_seq_iterator r{};
    std::memset(r.chunk, 0xAB, sizeof r.chunk);
    ASSERT_EQ(Api<TypeParam>::parse(&r, "{1,1,2}"), SEQ_OK);
    EXPECT_EQ(r.reset, &zvq_seq_reset_parse_iterator);
    for (int pass = 0; pass < 2; ++pass) {
        ASSERT_EQ(r.next(&r), SEQ_OK);
        EXPECT_EQ(r.chunk_count, 2);
        EXPECT_EQ(r.next_pos, 2u);
        EXPECT_EQ(value_at<V>(r, 0), V(1));
        EXPECT_EQ(value_at<V>(r, 1), V(2));
        EXPECT_EQ(repeat_at(r, 0), 0xAB);
        EXPECT_EQ(repeat_at(r, 1), 1);
        EXPECT_EQ(r.next(&r), SEQ_END);
        ASSERT_EQ(r.reset(&r), SEQ_OK);
    }
    for (const char* empty : {"", "}", "{}", "{"}) {
        ASSERT_EQ(Api<TypeParam>::parse(&r, empty), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_END) << empty;
    }
    ASSERT_EQ(Api<TypeParam>::parse(&r, "{7,x,8}"), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    ASSERT_EQ(Api<TypeParam>::parse(&r, "{7 ,8}"), SEQ_OK);  // space before the comma
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
}

// Each member reads as its scan format does: prefixes for signed members
// only, low bits of an int or unsigned, whitespace before a number skipped.
TEST(Parse, EachMemberReadsByItsFormat) {
    auto values = [](Parse parse, const char* text, auto zero) {
        using V = decltype(zero);
        zvq_seq_iterator r{};
        EXPECT_EQ(parse(&r, text), SEQ_OK);
        std::vector<V> out;
        EXPECT_EQ(r.next(&r), SEQ_OK) << text;
        for (uint32_t i = 0; i < r.chunk_count; ++i) out.push_back(value_at<V>(r, i));
        return out;
    };
    EXPECT_EQ(values(zvq_seq_parse_int4, "{0x1F, 010,-7,+3,\n9}", int32_t{}), (std::vector<int32_t>{31, 8, -7, 3, 9}));
    EXPECT_EQ(values(zvq_seq_parse_int1, "{300,-129}", int8_t{}), (std::vector<int8_t>{44, 127}));
    EXPECT_EQ(values(zvq_seq_parse_uint4, "{-1,010}", uint32_t{}), (std::vector<uint32_t>{4294967295u, 10}));
    EXPECT_EQ(values(zvq_seq_parse_uint2, "{70000}", uint16_t{}), std::vector<uint16_t>{4464});
    EXPECT_EQ(values(zvq_seq_parse_int8, "{-9223372036854775808}", int64_t{}), std::vector<int64_t>{INT64_MIN});
    EXPECT_EQ(values(zvq_seq_parse_datetime, "{18446744073709551615}", uint64_t{}), std::vector<uint64_t>{~0ull});
    EXPECT_EQ(values(zvq_seq_parse_float, "{0.1,1e39}", float{}), (std::vector<float>{0.1f, INFINITY}));
    EXPECT_EQ(values(zvq_seq_parse_double, "{1e,0x1p-2,-inf}", double{}), (std::vector<double>{1, 0.25, -INFINITY}));
    // Compared as read, before narrowing: two spellings of one double share
    // a run; two doubles that narrow to one float do not, nor do 256 and 0
    // in int1 although both store 0; NaN never equals.
    EXPECT_EQ(values(zvq_seq_parse_float, "{0.1,0.10}", float{}).size(), 1u);
    EXPECT_EQ(values(zvq_seq_parse_float, "{0.1,0.1000000000000001}", float{}), (std::vector<float>{0.1f, 0.1f}));
    EXPECT_EQ(values(zvq_seq_parse_int1, "{256,0}", int8_t{}), (std::vector<int8_t>{0, 0}));
    EXPECT_EQ(values(zvq_seq_parse_double, "{nan,nan}", double{}).size(), 2u);
}

TEST(Parse, RunsStopAt255AndTheChunkAtItsCapacity) {
    std::string text = "{";
    for (int j = 0; j < 300; ++j) text += "5,";
    for (int j = 0; j < 456; ++j) text += std::to_string(j) + ",";
    text += "}";
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_parse_double(&r, text.c_str()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 455);  // 5 x 255, 5 x 45 (then 0..452 as distinct runs)
    EXPECT_EQ(value_at<double>(r, 1), 5.0);
    EXPECT_EQ(value_at<double>(r, 2), 0.0);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 3);  // the cursor stayed on 453
    EXPECT_EQ(value_at<double>(r, 0), 453.0);
    EXPECT_EQ(repeat_at(r, 2), 1);
    EXPECT_EQ(r.next_pos, 458u);
}

// The scanner gives what sscanf gives: success, value bits and %n.
template <class T>
void expect_like_sscanf(const char* format, const std::string& item,
                        bool (*scanner)(const char*, T&, size_t&) = scan::scan_number<T>) {
    T want{}, got{};
    int n = -1;
    size_t used = 0;
    const bool ok = std::sscanf(item.c_str(), format, &want, &n) == 1;
    ASSERT_EQ(scanner(item.c_str(), got, used), ok) << format << " [" << item << "]";
    if (!ok) return;
    EXPECT_EQ(std::memcmp(&got, &want, sizeof(T)), 0) << format << " [" << item << "]";
    EXPECT_EQ(used, static_cast<size_t>(n)) << format << " [" << item << "]";
}

TEST(Parse, TheScannerReadsAsSscanfDoes) {
    const std::string items[] = {
        "12", "  -7,", "\t\n+5}", "+", "-", "", "  ", "x", "0x1f", "0X", "0x", "-0xg", "09", "0777", "1e5", "1e",
        "1e+", "1e+-2", "1.2.3", ".5", ".", "-.e1", "e5", "nan", "-NaN(1)", "na", "inf", "infinity", "infinit",
        "INFx", "0x1.8p1p", "0x.p1", "0xp1", "99999999999", "-99999999999999999999", "18446744073709551616",
        "4294967296", "1" + std::string(200, '0'), "0." + std::string(150, '0') + "1e150", std::string(130, ' ') + "4",
    };
    for (const std::string& item : items) {
        expect_like_sscanf<int>("%i%n", item);
        expect_like_sscanf<long long>("%lli%n", item);
        expect_like_sscanf<unsigned>("%u%n", item);
        expect_like_sscanf<unsigned long long>("%llu%n", item);
        expect_like_sscanf<double>("%lf%n", item);
        expect_like_sscanf<int>("%d%n", item, scan::scan_decimal);
    }
}

// ---- char ------------------------------------------------------------------

std::string slot_text(const zvq_seq_iterator& r, uint32_t i) {
    return std::string(reinterpret_cast<const char*>(slot_ptr(r, i)), r.elem_size);
}

TEST(ParseChar, QuotesEscapesAndNulls) {
    const char* text = R"({'a\tb',"c,d",e\,f,null,'',"q\"x",\n\0z,"s\\"})";
    zvq_seq_iterator r{};
    std::memset(r.chunk, '#', sizeof r.chunk);
    ASSERT_EQ(zvq_seq_parse_char(&r, text, 4), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 8);
    const std::string want[] = {"a\tb", "c,d", "e,f", "####", "", "q\"x", std::string("\n\0z", 3), "s\\"};
    for (uint32_t i = 0; i < 8; ++i) EXPECT_EQ(slot_text(r, i), (want[i] + std::string(4, '\0')).substr(0, 4)) << i;
    EXPECT_EQ(r.null_bitmap[0], uint64_t{1} << 3);
    EXPECT_EQ(r.null_bitmap[1], 0u);
    EXPECT_EQ(repeat_at(r, 0), '#');  // no repeat byte is written
    EXPECT_EQ(r.next_pos, 8u);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.chunk_count, 0);
}

// Refill by refill: the status and the items. A text ends at "}" or at an
// item that begins with the digit 0, but not at the zero byte, which makes
// empty items without moving the cursor. Too long an item, or a text that
// ends inside quotes or an escape, fails the refill again and again.
TEST(ParseChar, RefillsItemsAndFailures) {
    std::string many = "{";
    for (int j = 0; j < 130; ++j) many += "x,";
    many += "}";
    const struct {
        std::string text;
        uint64_t width;
        std::vector<std::pair<zvq_seq_status, uint16_t>> refills;
    } cases[] = {
        {R"({'',"abc",'de'})", 0, {{SEQ_OK, 3}, {SEQ_END, 0}}},
        {"{null,'a'}", 0, {{SEQ_BAD_ARGUMENT, 0}, {SEQ_BAD_ARGUMENT, 0}}},
        {"{abc}", 2, {{SEQ_BAD_ARGUMENT, 0}, {SEQ_BAD_ARGUMENT, 0}}},
        {"{x,abc}", 2, {{SEQ_BAD_ARGUMENT, 0}, {SEQ_BAD_ARGUMENT, 0}}},
        {"{'ab", 2, {{SEQ_BAD_ARGUMENT, 0}}},
        {"{\"ab'}", 2, {{SEQ_BAD_ARGUMENT, 0}}},
        {"{ab\\", 2, {{SEQ_BAD_ARGUMENT, 0}}},
        {"{'a\\", 2, {{SEQ_BAD_ARGUMENT, 0}}},
        {"{a,0,b}", 1, {{SEQ_OK, 1}, {SEQ_END, 0}}},
        {"{a", 2, {{SEQ_OK, 128}, {SEQ_OK, 128}}},
        {many, 32, {{SEQ_OK, 128}, {SEQ_OK, 2}, {SEQ_END, 0}}},
        {many, 100, {{SEQ_OK, 40}, {SEQ_OK, 40}, {SEQ_OK, 40}, {SEQ_OK, 10}, {SEQ_END, 0}}},  // 40 fill the chunk
    };
    for (const auto& c : cases) {
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_parse_char(&r, c.text.c_str(), c.width), SEQ_OK);
        for (const auto& [status, count] : c.refills) {
            ASSERT_EQ(r.next(&r), status) << c.text;
            if (status == SEQ_OK) {
                EXPECT_EQ(r.chunk_count, count) << c.text;
            }
        }
        if (c.width == 0 && c.refills[0].first == SEQ_OK) {
            EXPECT_EQ(r.elem_size, 3);  // the first item with a length sets the width
            EXPECT_EQ(slot_text(r, 1) + slot_text(r, 2), std::string("abcde\0", 6));
        }
    }
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_parse_char(&r, "{a}", 4097), SEQ_TYPE_MISMATCH);
}

// ---- custom ----------------------------------------------------------------

const char* g_text = nullptr;

// An int4 per item. The item's end is the text's only zero byte during the
// call, and the chunk stands right behind the null bitmap.
int parse_int(const char* item, uint64_t* bitmap, uint32_t slot) {
    EXPECT_EQ(std::strlen(g_text), std::strlen(item) + (item - g_text));
    char* end = nullptr;
    const long v = std::strtol(item, &end, 10);
    if (end == item || *end != '\0') return 0;
    store<int32_t>(reinterpret_cast<uint8_t*>(bitmap + 2) + slot * 4, static_cast<int32_t>(v));
    return 1;
}

// The text is altered only during a call, also when the caller fails. A last
// item without "," or "}" leaves the cursor on it: every refill reads it again.
TEST(CustomParse, ItemsGoToTheCallerAndTheTextIsRestored) {
    char text[] = "{1,22,333}", bad[] = "{1,x,3}", open[] = "{4,5";
    zvq_seq_iterator r{};
    g_text = text;
    ASSERT_EQ(zvq_seq_custom_parse(&r, text, ZVQ_SEQ_TYPE_INT4, 4, parse_int), SEQ_OK);
    EXPECT_EQ(r.reset, &zvq_seq_reset_custom_parse_iterator);
    EXPECT_NE(&zvq_seq_reset_custom_parse_iterator, &zvq_seq_reset_parse_iterator);
    EXPECT_EQ(drain_runs<int32_t>(r), (Runs<int32_t>{{1, 1}, {22, 1}, {333, 1}}));
    EXPECT_STREQ(text, "{1,22,333}");
    g_text = bad;
    ASSERT_EQ(zvq_seq_custom_parse(&r, bad, ZVQ_SEQ_TYPE_INT4, 4, parse_int), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
    EXPECT_STREQ(bad, "{1,x,3}");
    g_text = open;
    ASSERT_EQ(zvq_seq_custom_parse(&r, open, ZVQ_SEQ_TYPE_INT4, 4, parse_int), SEQ_OK);
    for (uint16_t count : {2, 1, 1}) {
        ASSERT_EQ(r.next(&r), SEQ_OK);
        EXPECT_EQ(r.chunk_count, count);
        EXPECT_EQ(value_at<int32_t>(r, count - 1), 5);
    }
    EXPECT_EQ(r.next_pos, 4u);
}

TEST(CustomParse, TheShapeMustBeAType) {
    char text[] = "{}";
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_custom_parse(&r, text, ZVQ_SEQ_TYPE_INT4, 8, parse_int), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_custom_parse(&r, text, 10, 4, parse_int), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_custom_parse(&r, text, ZVQ_SEQ_TYPE_CHAR, 70000, parse_int), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_custom_parse(&r, text, ZVQ_SEQ_TYPE_CHAR, 5000, parse_int), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);  // capacity 0
}

}  // namespace
