// print_char: every directive of the format, its errors, the width, and the
// operand that is never advanced.
#include <cstring>
#include <string>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

// The raw bytes of values, packed into one tuple.
template <class... V>
std::string pack(V... values) {
    std::string out;
    ((out.append(reinterpret_cast<const char*>(&values), sizeof values)), ...);
    return out;
}

constexpr zvq_seq_status kFails = SEQ_BAD_ARGUMENT;

// The text of slot 0 after one refill, or the refill's failure.
std::string printed(const char* format, const std::string& tuple, uint64_t width, zvq_seq_status* status) {
    Script src = Script::of_char(static_cast<uint16_t>(tuple.size()), {{{tuple, 1}}});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_print_char(&r, src.rec(), width, format), SEQ_OK);
    *status = r.next(&r);
    return *status == SEQ_OK ? std::string(reinterpret_cast<const char*>(r.chunk)) : std::string();
}

TEST(PrintChar, EveryDirective) {
    const struct {
        const char* format;
        std::string tuple;
        const char* want;  // null: the refill fails
    } cases[] = {
        {"a%%b", "", "a%b"},
        {"%.2s%s", std::string("abcd\0", 5), "abcd"},  // the count is taken, the text stops at it
        {"%.3s|%c", std::string("a\0xy", 4), "a|y"},
        {"%c%c", "xy", "xy"},
        {"%d,%i", pack(int32_t{-5}, int32_t{7}), "-5,7"},
        {"%u", pack(uint32_t{4294967295u}), "4294967295"},
        {"%e", pack(1.5f), "1.500000e+00"},
        {"%f", pack(2.25f), "2.250000"},
        {"%s|%s", std::string("ab\0cd\0", 6), "ab|cd"},
        // l and L: the letter behind them is ignored, the next picks the
        // conversion and is copied too.
        {"%lld", pack(int64_t{-9}), "-9d"},
        {"%Lxi", pack(int64_t{-9}), "-9i"},
        {"%llu", pack(uint64_t{18446744073709551615ull}), "18446744073709551615u"},
        {"%lle", pack(0.5), "5.000000e-01e"},
        {"%llf", pack(0.5), "0.500000f"},
        // h: an h two on makes the one-byte form, anything else the two-byte.
        {"%hhd", pack(int16_t{-2}), "-2d"},
        {"%hzu", pack(uint16_t{65535}), "65535u"},
        {"%hxhd", pack(int8_t{-3}), "-3d"},
        {"%hxhu", pack(uint8_t{200}), "200u"},
        // Bytes past the tuple read as zero bytes.
        {"%d|%d", pack(int32_t{5}), "5|0"},
        {"%s", "abcd", "abcd"},
        // Malformed directives.
        {"%", "", nullptr},
        {"%z", "", nullptr},
        {"%ld", pack(int64_t{1}), nullptr},
        {"%l", pack(int64_t{1}), nullptr},
        {"%llq", pack(int64_t{1}), nullptr},
        {"%h", "", nullptr},
        {"%hd", pack(int16_t{1}), nullptr},
        {"%hxq", pack(int16_t{1}), nullptr},
        {"%hxhq", pack(int8_t{1}), nullptr},
        {"%.x", "", nullptr},
        {"%.3x", "abc", nullptr},
        {"%.-1s", "abc", nullptr},
    };
    for (const auto& c : cases) {
        zvq_seq_status s;
        const std::string got = printed(c.format, c.tuple, 32, &s);
        if (c.want == nullptr) {
            EXPECT_EQ(s, kFails) << c.format;
        } else {
            EXPECT_EQ(s, SEQ_OK) << c.format;
            EXPECT_EQ(got, c.want) << c.format;
        }
    }
}

// The text must leave room for its terminator: width - 1 characters at most.
TEST(PrintChar, TheOutputMustStayBelowTheWidth) {
    zvq_seq_status s;
    EXPECT_EQ(printed("abc", "", 4, &s), "abc");
    EXPECT_EQ(printed("abcd", "", 4, &s), "");
    EXPECT_EQ(s, kFails);
    printed("%d", pack(int32_t{12345}), 4, &s);
    EXPECT_EQ(s, kFails);
    printed("", "", 0, &s);  // no step: only the terminator
    EXPECT_EQ(s, SEQ_OK);
    printed("%s", "", 0, &s);  // any step, even an empty one, reaches width 0
    EXPECT_EQ(s, kFails);
    printed("%s", "", 1, &s);
    EXPECT_EQ(s, SEQ_OK);
}

// Every slot formats the operand's value at its chunk_pos, which this
// operator never moves; the chunk is full whatever the operand holds.
TEST(PrintChar, TheOperandIsNeverAdvanced) {
    Script src = Script::of_char(2, {{{"ab", 1}, {"cd", 1}}});
    zvq_seq_iterator r{};
    std::memset(r.chunk, '#', sizeof r.chunk);
    ASSERT_EQ(zvq_seq_print_char(&r, src.rec(), 5, "<%s>"), SEQ_OK);
    for (int refill = 1; refill <= 2; ++refill) {
        ASSERT_EQ(r.next(&r), SEQ_OK);
        ASSERT_EQ(r.chunk_count, 682);
        EXPECT_EQ(r.next_pos, 682u * refill);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(r, 681))), "<ab>");
        EXPECT_EQ(repeat_at(r, 0), '#');  // repeat bytes are not written
    }
    EXPECT_EQ(src.pulls(), 1u);
    EXPECT_EQ(src.rec()->chunk_pos, 0);
}

TEST(PrintChar, ConstructorTestsTypeThenWidthThenBinding) {
    zvq_seq_iterator op{}, r{};
    op.elem_type = ZVQ_SEQ_TYPE_UINT4;
    EXPECT_EQ(zvq_seq_print_char(&r, &op, 8, "%d"), SEQ_TYPE_MISMATCH);
    op.elem_type = ZVQ_SEQ_TYPE_CHAR;
    EXPECT_EQ(zvq_seq_print_char(&r, &op, 33, "%d"), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_print_char(&r, &op, 8, nullptr), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(op.bound, 0);  // refused before binding
    ASSERT_EQ(zvq_seq_print_char(&r, &op, 32, "%d"), SEQ_OK);
    EXPECT_EQ(r.elem_size, 32);
    EXPECT_EQ(r.reset, &zvq_seq_reset_unary_iterator);
    EXPECT_EQ(zvq_seq_print_char(&r, &op, 32, "%d"), SEQ_ALREADY_BOUND);
}

}  // namespace
