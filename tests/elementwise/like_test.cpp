// like: a table of patterns and texts over every shape, a brute-force
// reference on random patterns, the text's end (zero byte or width), one
// flag per run, and the constructor's tests.
#include <random>
#include <string>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

// The flags of `like` over texts of `width`, one run each, with repeats.
std::vector<Run<uint8_t>> like_runs(const char* pattern, uint16_t width,
                                     const std::vector<std::vector<std::pair<std::string, uint8_t>>>& chunks,
                                     zvq_seq_status* last = nullptr) {
    auto src = Script::of_char(width, chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_like(&r, src.rec(), pattern), SEQ_OK);
    return drain_runs<uint8_t>(r, last);
}

std::vector<int> flags_of(const char* pattern, uint16_t width, const std::vector<std::string>& texts) {
    std::vector<std::pair<std::string, uint8_t>> chunk;
    for (const auto& t : texts) chunk.emplace_back(t, 1);
    std::vector<int> out;
    for (const auto& run : like_runs(pattern, width, {chunk})) out.push_back(run.value);
    return out;
}

TEST(Like, TheIssuesPrefixCase) {
    // match reads run i at byte i of the value area and gives 1 0 0.
    EXPECT_EQ(flags_of("AB%", 4, {"ABCD", "XXAB", "ABZZ"}), (std::vector<int>{1, 0, 1}));
}

TEST(Like, PatternsOfEveryShape) {
    const struct {
        const char* pattern;
        std::vector<std::string> texts;
        std::vector<int> want;
    } cases[] = {
        {"abc", {"abc", "abcd", "ab", ""}, {1, 0, 0, 0}},
        {"", {"", "a"}, {1, 0}},
        {"%", {"", "xyz"}, {1, 1}},
        {"%%", {"", "q"}, {1, 1}},
        {"ab%", {"ab", "abx", "a", "xab"}, {1, 1, 0, 0}},
        {"%bc", {"abc", "bcx", "bc", "c"}, {1, 0, 1, 0}},
        {"%bc%", {"abcd", "bdc", "bc", "b"}, {1, 0, 1, 0}},
        {"a_c", {"abc", "ac", "abbc", "a_c"}, {1, 0, 0, 1}},
        {"a%c", {"ac", "abc", "abbc", "abcd"}, {1, 1, 1, 0}},
        {"%a%b%", {"xaxbx", "ba", "ab"}, {1, 0, 1}},
        {"_", {"", "x", "xy"}, {0, 1, 0}},
        {"%_%_", {"a", "ab", "abc"}, {0, 1, 1}},
        // A backslash makes the next byte literal; at the end it is itself.
        {"50\\%", {"50%", "50x", "500"}, {1, 0, 0}},
        {"a\\_c", {"a_c", "abc"}, {1, 0}},
        {"\\\\%", {"\\x", "x"}, {1, 0}},
        {"ab\\", {"ab\\", "ab"}, {1, 0}},
        {"%\\%%", {"5%off", "5off"}, {1, 0}},
    };
    for (const auto& c : cases) EXPECT_EQ(flags_of(c.pattern, 8, c.texts), c.want) << c.pattern;
}

TEST(Like, TheTextEndsAtAZeroByteOrTheWidth) {
    // Full width, no zero byte: the text is the 4 bytes.
    EXPECT_EQ(flags_of("ABCD", 4, {"ABCD"}), (std::vector<int>{1}));
    EXPECT_EQ(flags_of("ABCD_", 4, {"ABCD"}), (std::vector<int>{0}));
    EXPECT_EQ(flags_of("%D", 4, {"ABCD"}), (std::vector<int>{1}));
    // Bytes after the first zero byte are not text.
    const std::string gap("ab\0cd", 5);
    EXPECT_EQ(flags_of("ab", 5, {gap}), (std::vector<int>{1}));
    EXPECT_EQ(flags_of("%cd%", 5, {gap}), (std::vector<int>{0}));
    EXPECT_EQ(flags_of("ab%", 5, {gap}), (std::vector<int>{1}));
}

// Brute force: does pattern[p..] match text[t..]?
bool reference(const std::string& pat, size_t p, const std::string& text, size_t t) {
    if (p == pat.size()) return t == text.size();
    if (pat[p] == '%') return reference(pat, p + 1, text, t) || (t < text.size() && reference(pat, p, text, t + 1));
    if (t == text.size()) return false;
    if (pat[p] == '_') return reference(pat, p + 1, text, t + 1);
    if (pat[p] == '\\' && p + 1 < pat.size()) return pat[p + 1] == text[t] && reference(pat, p + 2, text, t + 1);
    return pat[p] == text[t] && reference(pat, p + 1, text, t + 1);
}

TEST(Like, AgreesWithBruteForceOnRandomPatterns) {
    std::mt19937 rng(3);
    const char pattern_bytes[] = "ab%_\\";
    std::vector<std::pair<std::string, uint8_t>> texts;
    for (int k = 0; k < 200; ++k) {
        std::string t;
        for (size_t n = rng() % 9; n > 0; --n) t += "ab%_\\"[rng() % 5];
        texts.emplace_back(t, static_cast<uint8_t>(1 + rng() % 255));
    }
    for (int k = 0; k < 300; ++k) {
        std::string pat;
        for (size_t n = rng() % 7; n > 0; --n) pat += pattern_bytes[rng() % 5];
        const auto runs = like_runs(pat.c_str(), 8, {texts});
        ASSERT_EQ(runs.size(), texts.size());
        for (size_t i = 0; i < texts.size(); ++i) {
            EXPECT_EQ(runs[i].value, reference(pat, 0, texts[i].first, 0)) << pat << " on " << texts[i].first;
            EXPECT_EQ(runs[i].repeat, texts[i].second);
        }
    }
}

TEST(Like, NoExponentialBacktracking) {
    // A naive backtracking matcher takes about 60^4 steps per text here.
    const std::string many_a(60, 'a');
    std::vector<std::vector<std::pair<std::string, uint8_t>>> chunks(10, {50, {many_a, 1}});
    chunks.push_back({{many_a + "b", 1}});  // a chunk of width 64 holds 63 runs
    const auto runs = like_runs("%a%a%a%a%b", 64, chunks);
    ASSERT_EQ(runs.size(), 501u);
    EXPECT_EQ(runs[0].value, 0);
    EXPECT_EQ(runs[500].value, 1);
}

TEST(Like, OneFlagPerRunAcrossChunksAndAFailingOperand) {
    // Runs of 255 and runs straddling operand chunks keep their repeats; the
    // result chunk gathers operand chunks up to its own capacity.
    zvq_seq_status last;
    EXPECT_EQ(like_runs("%an%", 6, {{{"banana", 255}, {"kiwi", 3}}, {{"mango", 200}}}, &last),
              (std::vector<zvq::test::Run<uint8_t>>{{1, 255}, {0, 3}, {1, 200}}));
    EXPECT_EQ(last, SEQ_END);
    auto src = Script::of_char(4, {{{"ab", 2}}, {{"ab", 2}}}).fail_at(1, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_like(&r, src.rec(), "a%"), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
}

TEST(Like, ConstructorTestsTypeThenBindingThenPattern) {
    auto numbers = Script::of<Int4>({});
    auto texts = Script::of_char(4, {});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_like(&r, numbers.rec(), "a"), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(numbers.rec()->bound, 0);
    BindingChecks on(1);
    texts.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_like(&r, texts.rec(), nullptr), SEQ_ALREADY_BOUND);
    texts.rec()->bound = 0;
    EXPECT_EQ(zvq_seq_like(&r, texts.rec(), nullptr), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(texts.rec()->bound, 1);
}

}  // namespace
