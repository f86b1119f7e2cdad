// Sources and plumbing: const, unget, join, thin, repeat, limit, tee,
// concat, rle_decode, skip_nan.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

using R4 = Run<int32_t>;
using R8 = Run<double>;

std::vector<int32_t> iota(int n, int from = 0) {
    std::vector<int32_t> v(n);
    std::iota(v.begin(), v.end(), from);
    return v;
}

TEST(Const, FillsOnceAndCountsCapacityTimes255) {
    zvq_seq_iterator c{};
    ASSERT_EQ(zvq_seq_const_int4(&c, -3), SEQ_OK);
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(c.chunk_count, 819);
    EXPECT_EQ(c.next_pos, 208845u);
    EXPECT_EQ(value_at<int32_t>(c, 818), -3);
    EXPECT_EQ(repeat_at(c, 818), 255);
    set_value<int32_t>(c, 0, 99);  // a refill does not rewrite the chunk...
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(c, 0), 99);
    EXPECT_EQ(c.next_pos, 2 * 208845u);
    ASSERT_EQ(c.reset(&c), SEQ_OK);  // ...until a reset
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(c, 0), -3);
}

TEST(Const, CharCopiesTheWidthAndRejectsWhatStateCannotHold) {
    zvq_seq_iterator c{};
    ASSERT_EQ(zvq_seq_const_char(&c, "abc", 3), SEQ_OK);
    EXPECT_EQ(c.elem_size, 3);
    EXPECT_EQ(c.elem_type, ZVQ_SEQ_TYPE_CHAR);
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(c.chunk_count, 1024);
    EXPECT_EQ(std::memcmp(c.chunk + 3 * 1023, "abc", 3), 0);
    char out[3];
    c.chunk_pos = 0;
    ASSERT_EQ(zvq_seq_next_char(&c, out), SEQ_OK);
    EXPECT_EQ(std::memcmp(out, "abc", 3), 0);
    std::string wide(289, 'x');
    EXPECT_EQ(zvq_seq_const_char(&c, wide.data(), wide.size()), SEQ_TYPE_MISMATCH);
}

TEST(Unget, ChunksOfCapacityThenEndAndEmpty) {
    auto data = iota(820);
    zvq_seq_iterator u{};
    ASSERT_EQ(zvq_seq_unget_int4(&u, data.data(), 820), SEQ_OK);
    EXPECT_EQ(u.last_pos, 819u);
    zvq_seq_status last;
    auto chunks = drain_chunks<int32_t>(u, &last);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size(), 819u);
    EXPECT_EQ(chunks[1], (Chunk<int32_t>{{819, 1}}));
    EXPECT_EQ(u.next(&u), SEQ_END);
    EXPECT_EQ(u.reset, zvq_seq_unget_reset);

    ASSERT_EQ(zvq_seq_unget_double(&u, nullptr, 0), SEQ_OK);
    EXPECT_EQ(u.last_pos, kAllOnes);
    double out[4];
    uint64_t n = 4;
    EXPECT_EQ(zvq_seq_get_double(&u, out, &n), SEQ_END);

    const char items[] = "ab\0cd\0ef\0";
    char text[9];
    n = 3;
    ASSERT_EQ(zvq_seq_unget_char(&u, items, 3, 3), SEQ_OK);
    ASSERT_EQ(zvq_seq_get_char(&u, text, &n), SEQ_OK);
    EXPECT_EQ(std::memcmp(text, items, 9), 0) << "char strides by its width";
}

// A provider over a list of scripted inner sequences.
struct Provider {
    zvq_seq_meta_iterator meta{};
    std::vector<std::vector<Chunk<int32_t>>> parts;
    size_t index = 0;
    std::vector<Script> scripts;

    static Provider* self(zvq_seq_meta_iterator* m) {
        return reinterpret_cast<Provider*>(reinterpret_cast<char*>(m) - offsetof(Provider, meta));
    }
    void load() {
        scripts.clear();
        scripts.push_back(Script::of<Int4>(parts[index]));
        meta.inner = *scripts.back().rec();
        // The inner record serves through the script's callbacks; point the
        // script at the embedded copy.
        Script* sp = &scripts.back();
        std::memcpy(meta.inner.state.bytes, &sp, sizeof sp);
    }
    static zvq_seq_status first(zvq_seq_meta_iterator* m) {
        Provider* p = self(m);
        if (p->parts.empty()) return SEQ_END;
        p->index = 0;
        p->load();
        return SEQ_OK;
    }
    static zvq_seq_status next_seq(zvq_seq_meta_iterator* m) {
        Provider* p = self(m);
        if (p->index + 1 >= p->parts.size()) return SEQ_END;
        ++p->index;
        p->load();
        return SEQ_OK;
    }
    Provider() {
        meta.first_sequence = first;
        meta.next_sequence = next_seq;
    }
};

TEST(Join, CopiesRunsAcrossInnerSequencesIntoFullChunks) {
    Provider p;
    Chunk<int32_t> big;
    for (int i = 0; i < 1000; ++i) big.push_back({i, 2});
    p.parts = {{{{1, 3}, {2, 1}}, {{3, 4}}}, {}, {big}, {{{7, 9}}}};
    zvq_seq_iterator j{};
    ASSERT_EQ(zvq_seq_join_int4(&j, &p.meta), SEQ_OK);
    zvq_seq_status last;
    auto chunks = drain_chunks<int32_t>(j, &last);
    EXPECT_EQ(last, SEQ_END);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size(), 819u);
    EXPECT_EQ(chunks[0][0], (R4{1, 3}));
    EXPECT_EQ(chunks[0][2], (R4{3, 4}));
    EXPECT_EQ(chunks[0][3], (R4{0, 2}));
    EXPECT_EQ(chunks[1].size(), 3u + 1000u + 1u - 819u);
    EXPECT_EQ(chunks[1].back(), (R4{7, 9}));
    EXPECT_EQ(j.next_pos, 3u + 1 + 4 + 2000 + 9);
    EXPECT_EQ(j.next(&j), SEQ_END) << "exhausted stays exhausted";
    ASSERT_EQ(j.reset(&j), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(j).size(), 1004u);
}

TEST(Thin, TakesEveryStepthElement) {
    auto data = iota(10);
    zvq_seq_iterator u{}, t{};
    ASSERT_EQ(zvq_seq_unget_int4(&u, data.data(), data.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_thin_int4(&t, &u, 2, 3), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(t), (std::vector<R4>{{2, 1}, {5, 1}, {8, 1}}));
}

TEST(Thin, WithinLongRunsAndAcrossSkippedChunks) {
    // Runs of 100: positions 0..99 hold 0, 100..199 hold 1, ...
    std::vector<Chunk<int32_t>> chunks;
    for (int c = 0; c < 4; ++c) chunks.push_back({{c * 2, 100}, {c * 2 + 1, 100}});
    auto src = Script::of<Int4>(chunks);
    zvq_seq_iterator t{};
    ASSERT_EQ(zvq_seq_thin_int4(&t, src.rec(), 30, 45), SEQ_OK);
    std::vector<int32_t> want;
    for (uint64_t pos = 30; pos < 800; pos += 45) want.push_back(static_cast<int32_t>(pos / 100));
    EXPECT_EQ(expand(drain_runs<int32_t>(t)), want);

    auto src2 = Script::of<Int4>(chunks);
    zvq_seq_iterator far{};
    ASSERT_EQ(zvq_seq_thin_int4(&far, src2.rec(), 650, 1000), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(far), (std::vector<R4>{{6, 1}}));
}

TEST(Thin, StepZeroRepeatsTheStartElement) {
    auto src = Script::of<Int4>({{{5, 2}, {6, 2}}});
    zvq_seq_iterator t{};
    ASSERT_EQ(zvq_seq_thin_int4(&t, src.rec(), 3, 0), SEQ_OK);
    ASSERT_EQ(t.next(&t), SEQ_OK);
    EXPECT_EQ(t.chunk_count, 819);
    EXPECT_EQ(value_at<int32_t>(t, 818), 6);
    EXPECT_EQ(t.next_pos, 819u);
}

TEST(Repeat, MultipliesRepeatBytesInEightBits) {
    zvq_seq_iterator c{}, r{};
    ASSERT_EQ(zvq_seq_const_int4(&c, 1), SEQ_OK);
    ASSERT_EQ(zvq_seq_repeat_int4(&r, &c, 2), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 819);
    EXPECT_EQ(repeat_at(r, 0), 254);
    EXPECT_EQ(r.next_pos, 2u * 208845u);
    r.chunk_pos = 0;
    std::vector<int32_t> out(600);
    uint64_t n = 600;
    ASSERT_EQ(zvq_seq_get_int4(&r, out.data(), &n), SEQ_OK);
    EXPECT_EQ(r.chunk_pos, 2) << "254 per run, fewer than next_pos promises";
    EXPECT_EQ(r.run_pos, 600 - 508);
    EXPECT_EQ(r.reset, zvq_seq_reset_repeat_iterator);
}

TEST(Repeat, NegativeCountIsSignExtended) {
    auto src = Script::of<Int4>({{{1, 3}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_repeat_int4(&r, src.rec(), -1), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(repeat_at(r, 0), 253);
    EXPECT_EQ(r.next_pos, uint64_t{0} - 3);
}

TEST(Limit, CutsTheFirstAndLastRun) {
    auto src = Script::of<Int4>({{{1, 100}}});
    zvq_seq_iterator l{};
    ASSERT_EQ(zvq_seq_limit(&l, src.rec(), 10, 12), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(l), (std::vector<R4>{{1, 3}}));
    EXPECT_EQ(l.next_pos, 13u);
}

TEST(Limit, RangesOverChunks) {
    struct Case {
        uint64_t from, to;
        std::vector<R4> want;
    } cases[] = {
        {0, 0, {{1, 1}}},                              // to 0 is not the unbounded all ones
        {7, 21, {{2, 3}, {3, 5}, {4, 5}, {5, 2}}},     // first and last run cut, whole runs between
        {25, 30, {}},                                  // from beyond the end
        {3, 2, {}},                                    // from above to: SEQ_END after the skip
    };
    for (const auto& c : cases) {
        auto src = Script::of<Int4>({{{1, 5}, {2, 5}}, {{3, 5}}, {{4, 5}, {5, 5}}});
        zvq_seq_iterator l{};
        ASSERT_EQ(zvq_seq_limit(&l, src.rec(), c.from, c.to), SEQ_OK);
        zvq_seq_status last;
        EXPECT_EQ(drain_runs<int32_t>(l, &last), c.want) << c.from;
        EXPECT_EQ(last, SEQ_END);
    }
}

TEST(Limit, OverAnotherLimitCountsFromItsFirstPosition) {
    auto data = iota(100);
    zvq_seq_iterator u{}, inner{}, outer{};
    ASSERT_EQ(zvq_seq_unget_int4(&u, data.data(), data.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_limit(&inner, &u, 10, 89), SEQ_OK);
    ASSERT_EQ(zvq_seq_limit(&outer, &inner, 5, 7), SEQ_OK);
    EXPECT_EQ(expand(drain_runs<int32_t>(outer)), (std::vector<int32_t>{15, 16, 17}));
}

TEST(Tee, BehindReaderJumpsToTheTwinsChunk) {
    auto src = Script::of<Int4>({{{1, 1}}, {{2, 1}}, {{3, 1}}});
    zvq_seq_iterator a{}, b{};
    ASSERT_EQ(zvq_seq_tee(&a, &b, src.rec()), SEQ_OK);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    ASSERT_EQ(b.next(&b), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(b, 0), 2);
    EXPECT_EQ(b.next_pos, 2u);
    ASSERT_EQ(b.next(&b), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(b, 0), 3);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(a, 0), 3);
    EXPECT_EQ(a.next(&a), SEQ_END);
    // A reset of either branch rewinds both and the source.
    ASSERT_EQ(b.reset(&b), SEQ_OK);
    EXPECT_EQ(a.next_pos, 0u);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(a, 0), 1);
}

TEST(Tee, OnlyTheSourceIsBindingTested) {
    BindingChecks on(1);
    auto src = Script::of<Int4>({});
    zvq_seq_iterator a{}, b{}, c{}, d{};
    a.bound = 1;
    ASSERT_EQ(zvq_seq_tee(&a, &b, src.rec()), SEQ_OK);
    EXPECT_EQ(src.rec()->bound, 1);
    EXPECT_EQ(zvq_seq_tee(&c, &d, src.rec()), SEQ_ALREADY_BOUND);
}

TEST(Concat, ChunksPassAsTheyAre) {
    auto a = Script::of<Int4>({{{1, 1}, {2, 1}, {3, 1}}});
    auto b = Script::of<Int4>({{{4, 1}, {5, 7}}});
    zvq_seq_iterator c{};
    ASSERT_EQ(zvq_seq_concat(&c, a.rec(), b.rec()), SEQ_OK);
    auto chunks = drain_chunks<int32_t>(c);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size(), 3u);
    EXPECT_EQ(chunks[1], (Chunk<int32_t>{{4, 1}, {5, 7}}));
    EXPECT_EQ(c.next_pos, 11u);
    ASSERT_EQ(c.reset(&c), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(c).size(), 5u);
}

TEST(Concat, TypesMustMatchAndFailuresPassUp) {
    auto a = Script::of<Int4>({{{1, 1}}});
    auto f = Script::of<Float>({});
    zvq_seq_iterator c{};
    EXPECT_EQ(zvq_seq_concat(&c, a.rec(), f.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(a.rec()->bound, 0);
    auto b = Script::of<Int4>({{{2, 1}}}).fail_at(0, SEQ_NOMEM);
    ASSERT_EQ(zvq_seq_concat(&c, a.rec(), b.rec()), SEQ_OK);
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(c.next(&c), SEQ_NOMEM);
    EXPECT_EQ(c.chunk_count, 1);
}

TEST(RleDecode, OneSlotPerElementAtMost128) {
    auto src = Script::of<Int4>({{{9, 200}}});
    zvq_seq_iterator d{};
    d.chunk[4095] = 0xAB;
    ASSERT_EQ(zvq_seq_rle_decode(&d, src.rec()), SEQ_OK);
    ASSERT_EQ(d.next(&d), SEQ_OK);
    EXPECT_EQ(d.chunk_count, 128);
    EXPECT_EQ(d.chunk[4095], 0xAB) << "repeat bytes are not written";
    ASSERT_EQ(d.next(&d), SEQ_OK);
    EXPECT_EQ(d.chunk_count, 72);
    EXPECT_EQ(d.next_pos, 200u);
    EXPECT_EQ(d.next(&d), SEQ_END);
}

TEST(RleDecode, FeedsGetNullable) {
    auto src = Script::of<Int4>({{{1, 2}, {2, 3}}});
    zvq_seq_iterator d{};
    ASSERT_EQ(zvq_seq_rle_decode(&d, src.rec()), SEQ_OK);
    int32_t out[8];
    uint64_t nulls[1];
    uint64_t n = 8;
    ASSERT_EQ(zvq_seq_get_nullable_int4(&d, out, &n, nulls), SEQ_OK);
    EXPECT_EQ(std::vector<int32_t>(out, out + n), (std::vector<int32_t>{1, 1, 2, 2, 2}));
}

TEST(SkipNan, DropsNanRunsAndCountsRuns) {
    const double nan = std::nan("");
    auto src = Script::of<Double>({{{1.0, 5}, {nan, 9}}, {{2.0, 3}}});
    zvq_seq_iterator s{};
    ASSERT_EQ(zvq_seq_skip_nan_double(&s, src.rec()), SEQ_OK);
    EXPECT_EQ(drain_runs<double>(s), (std::vector<R8>{{1.0, 5}, {2.0, 3}}));
    EXPECT_EQ(s.next_pos, 2u) << "runs, not elements";
    EXPECT_EQ(s.reset, zvq_seq_reset_unary_agg_iterator);
}

TEST(Constructors, TypeTestComesBeforeTheBindingTest) {
    BindingChecks on(1);
    auto f = Script::of<Float>({});
    f.rec()->bound = 1;
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_thin_int4(&r, f.rec(), 0, 1), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_repeat_double(&r, f.rec(), 1), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_skip_nan_double(&r, f.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_skip_nan_float(&r, f.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(zvq_seq_limit(&r, f.rec(), 0, 1), SEQ_ALREADY_BOUND);
    EXPECT_EQ(zvq_seq_rle_decode(&r, f.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_FLOAT) << "rle_decode writes the type before the test";
    BindingChecks off(0);
    EXPECT_EQ(zvq_seq_thin_float(&r, f.rec(), 0, 1), SEQ_OK);
}

TEST(Plumbing, MidStreamFailuresPassUpUnchanged) {
    auto src = Script::of<Int4>({{{1, 3}}, {{2, 3}}}).fail_at(1, 12345);
    zvq_seq_iterator t{};
    ASSERT_EQ(zvq_seq_thin_int4(&t, src.rec(), 0, 1), SEQ_OK);
    EXPECT_EQ(t.next(&t), 12345u);
    auto src2 = Script::of<Int4>({{{1, 3}}, {{2, 3}}}).fail_at(1, 12345);
    zvq_seq_iterator l{};
    ASSERT_EQ(zvq_seq_limit(&l, src2.rec(), 0, 100), SEQ_OK);
    EXPECT_EQ(l.next(&l), 12345u);
    EXPECT_EQ(l.chunk_count, 0);
}

}  // namespace
}  // namespace zvq::test

namespace zvq::test {
namespace {

// Every constructor with an operand refuses a bound one while checks are on,
// leaves it as it was, and binds a free one.
TEST(Constructors, EveryPlumbingConstructorTestsAndMarksBindings) {
    using Make = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);
    const Make makers[] = {
        [](zvq_seq_iterator* r, zvq_seq_iterator* a, zvq_seq_iterator*) { return zvq_seq_thin_int4(r, a, 0, 1); },
        [](zvq_seq_iterator* r, zvq_seq_iterator* a, zvq_seq_iterator*) { return zvq_seq_repeat_int4(r, a, 2); },
        [](zvq_seq_iterator* r, zvq_seq_iterator* a, zvq_seq_iterator*) { return zvq_seq_limit(r, a, 0, 1); },
        [](zvq_seq_iterator* r, zvq_seq_iterator* a, zvq_seq_iterator* b) { return zvq_seq_tee(r, b, a); },
        [](zvq_seq_iterator* r, zvq_seq_iterator* a, zvq_seq_iterator* b) { return zvq_seq_concat(r, b, a); },
        [](zvq_seq_iterator* r, zvq_seq_iterator* a, zvq_seq_iterator*) { return zvq_seq_rle_decode(r, a); },
    };
    for (size_t k = 0; k < std::size(makers); ++k) {
        BindingChecks on(1);
        auto bound = Script::of<Int4>({});
        auto other = Script::of<Int4>({});
        bound.rec()->bound = 1;
        zvq_seq_iterator r{}, twin{};
        // concat's other operand is free and must stay free on refusal.
        zvq_seq_iterator* second = k == 4 ? other.rec() : &twin;
        EXPECT_EQ(makers[k](&r, bound.rec(), second), SEQ_ALREADY_BOUND) << k;
        EXPECT_EQ(other.rec()->bound, 0) << k;
        auto free_src = Script::of<Int4>({});
        auto free_other = Script::of<Int4>({});
        second = k == 4 ? free_other.rec() : &twin;
        EXPECT_EQ(makers[k](&r, free_src.rec(), second), SEQ_OK) << k;
        EXPECT_EQ(free_src.rec()->bound, 1) << k;
        EXPECT_EQ(r.bound, 0) << k;
        EXPECT_EQ(r.last_pos, k == 2 ? 1u : kAllOnes) << k;
    }
}

}  // namespace
}  // namespace zvq::test
