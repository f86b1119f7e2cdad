// The matcher: the mode a pattern picks, the three matchers on texts of a
// given width, and the way zvq_seq_match_next steps through the value area.
#include <string>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

using Matcher = int (*)(const char* const*, const char*, uint32_t);

// The record's state starts with the pattern, then the chosen matcher.
Matcher matcher_of(const zvq_seq_iterator& r) { return load<Matcher>(r.state.bytes + sizeof(char*)); }

// Builds a matcher over a char operand of the given width and applies it to
// one text, padded with zero bytes to the width as a char value is.
int matches(const char* pattern, std::string text, uint16_t width, uint32_t chunk_pos = 0) {
    zvq_seq_iterator op{}, r{};
    op.elem_type = ZVQ_SEQ_TYPE_CHAR;
    op.elem_size = width;
    EXPECT_EQ(zvq_seq_match(&r, &op, pattern), SEQ_OK);
    text.resize(std::max<size_t>(text.size(), width), '\0');
    return matcher_of(r)(reinterpret_cast<const char* const*>(r.state.bytes), text.data(), chunk_pos);
}

TEST(Match, ThePatternShapePicksTheMode) {
    const struct {
        const char* pattern;
        Matcher mode;
    } cases[] = {
        {"abc", zvq_seq_exact_match},      {"", zvq_seq_exact_match},
        {"a\\%c", zvq_seq_exact_match},    {"%abc%", zvq_seq_match_substring},
        {"%%", zvq_seq_match_substring},   {"a%c", zvq_seq_match_regex},
        {"%a%b%", zvq_seq_match_regex},    {"_abc_", zvq_seq_match_regex},
        {"%abc", zvq_seq_match_regex},     {"%a\\%", zvq_seq_match_regex},
    };
    for (const auto& c : cases) {
        zvq_seq_iterator op{}, r{};
        op.elem_type = ZVQ_SEQ_TYPE_CHAR;
        op.elem_size = 8;
        ASSERT_EQ(zvq_seq_match(&r, &op, c.pattern), SEQ_OK);
        EXPECT_EQ(matcher_of(r), c.mode) << c.pattern;
        EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_UINT1);
        EXPECT_EQ(r.reset, &zvq_seq_reset_unary_iterator);
    }
}

TEST(Match, MatchersOnTextsCutByTheWidth) {
    const struct {
        const char* pattern;
        const char* text;
        uint16_t width;
        int want;
    } cases[] = {
        // exact: up to the first zero byte or the width; backslashes plain
        {"abc", "abc", 8, 1}, {"abc", "ab", 8, 0}, {"abc", "abcd", 8, 0}, {"abc", "abcd", 3, 1},
        {"a\\%c", "a\\%c", 8, 1}, {"a\\%c", "a%c", 8, 0}, {"", "", 0, 1}, {"x", "x", 0, 0},
        // substring
        {"%bc%", "abcd", 8, 1}, {"%cb%", "abcd", 8, 0}, {"%cd%", "abcd", 3, 0}, {"%abcd%", "abc", 8, 0},
        {"%aab%", "aaaab", 8, 1}, {"%b\\%%", "ab\\%c", 8, 1}, {"%b\\%%", "ab%c", 8, 0}, {"%%", "", 8, 1}, {"%%", "xyz", 8, 1},
        // wildcards, backtracking to the last %
        {"a_c", "abc", 8, 1}, {"a_c", "ac", 8, 0}, {"a%c", "ac", 8, 1}, {"a%c", "abc", 8, 1},
        {"a%c", "abbc", 8, 1}, {"a%c", "abcd", 8, 0}, {"%a%b%", "xaxbx", 8, 1}, {"%a%b%", "ba", 8, 0},
        {"a\\%%", "a%bc", 8, 1}, {"a\\%%", "abc", 8, 0}, {"a\\_%", "a_x", 8, 1}, {"a\\_%", "abx", 8, 0},
        {"%b_", "abcbd", 8, 1}, {"%b_", "abcb", 8, 0}, {"a%", "abcd", 2, 1}, {"a%d", "abcd", 3, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(matches(c.pattern, c.text, c.width), c.want) << c.pattern << " on " << c.text << " width " << c.width;
}

// A text never reaches past the chunk it starts in: at chunk byte 4090 only
// six bytes are left, whatever the width.
TEST(Match, TextsAreCutAtTheChunkEnd) {
    const std::string b(64, 'b');
    EXPECT_EQ(matches("bbbbbb", b, 3000, 4090), 1);
    EXPECT_EQ(matches("bbbbbbb", b, 3000, 4090), 0);
    EXPECT_EQ(matches("%bbbbbb%", b, 3000, 4090), 1);
    EXPECT_EQ(matches("%bbbbbbb%", b, 3000, 4090), 0);
    EXPECT_EQ(matches("b%b", b, 3000, 4094), 1);
    EXPECT_EQ(matches("b%_b", b, 3000, 4094), 0);
}

// Inner texts longer than a skip byte can hold still search correctly.
TEST(Match, LongInnerTexts) {
    std::string inner(300, 'a');
    inner[0] = 'x';
    const std::string pattern = "%" + inner + "%";
    EXPECT_EQ(matches(pattern.c_str(), "yy" + inner + "z", 400), 1);
    EXPECT_EQ(matches(pattern.c_str(), "yy" + inner.substr(0, 299) + "z", 400), 0);
    EXPECT_EQ(matches("%ab%", "\xff\xff\xff" "ab", 8), 1);  // byte 255 has no skip of its own
}

// Run i of a refill reads the text at byte i of the value area, not value i:
// with width 4 the second run sees "bcde". Repeat bytes are copied.
TEST(Match, NextStepsOneByteAThroughTheValueArea) {
    Script src = Script::of_char(4, {{{"abcd", 3}, {"efgh", 1}, {"ijkl", 2}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_match(&r, src.rec(), "bcde"), SEQ_OK);
    EXPECT_EQ(drain_runs<uint8_t>(r), (Runs<uint8_t>{{0, 3}, {1, 1}, {0, 2}}));
    EXPECT_EQ(r.next_pos, 6u);
    // Width 1: the value itself.
    Script one = Script::of_char(1, {{{"a", 2}, {"b", 255}, {"c", 1}}});
    ASSERT_EQ(zvq_seq_match(&r, one.rec(), "_"), SEQ_OK);
    EXPECT_EQ(drain_runs<uint8_t>(r), (Runs<uint8_t>{{1, 2}, {1, 255}, {1, 1}}));
}

TEST(Match, ConstructorRefusesOtherTypesAndANullPattern) {
    zvq_seq_iterator op{}, r{};
    op.elem_type = ZVQ_SEQ_TYPE_UINT1;
    EXPECT_EQ(zvq_seq_match(&r, &op, "a"), SEQ_TYPE_MISMATCH);
    op.elem_type = ZVQ_SEQ_TYPE_CHAR;
    EXPECT_EQ(zvq_seq_match(&r, &op, nullptr), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_match(&r, &op, "a"), SEQ_ALREADY_BOUND);
}

}  // namespace
