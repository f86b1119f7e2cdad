// Sources and plumbing: const, unget, get and next round trip over every
// type; join, thin, repeat, limit, tee, concat, rle_decode and skip_nan as
// runs in, runs out.
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

using R4 = std::vector<Run<int32_t>>;

template <class Tag>
class RoundTrip : public ::testing::Test {};
TYPED_TEST_SUITE(RoundTrip, NumericTags);

// unget serves capacity-sized chunks of runs of 1, get reads them back across
// the chunk boundary, next reads one, const fills a chunk of runs of 255 once.
TYPED_TEST(RoundTrip, UngetGetNextConst) {
    using V = value_t<TypeParam>;
    using A = Api<TypeParam>;
    const uint32_t cap = capacity<TypeParam>;
    std::vector<V> data(cap + 2);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<V>(i % 100);
    zvq_seq_iterator u{};
    ASSERT_EQ(A::unget(&u, data.data(), data.size()), SEQ_OK);
    EXPECT_EQ(u.last_pos, cap + 1u);
    EXPECT_EQ(u.reset, zvq_seq_unget_reset);
    std::vector<V> out(cap + 5);
    uint64_t n = 3;
    ASSERT_EQ(A::get(&u, out.data(), &n), SEQ_OK);
    n = cap + 5 - 3;
    ASSERT_EQ(A::get(&u, out.data() + 3, &n), SEQ_OK);
    EXPECT_EQ(n, cap - 1u);
    EXPECT_EQ(std::vector<V>(out.begin(), out.begin() + cap + 2), data);
    EXPECT_EQ(A::get(&u, out.data(), &n), SEQ_END);
    ASSERT_EQ(u.reset(&u), SEQ_OK);
    V one{};
    ASSERT_EQ(A::next(&u, &one), SEQ_OK);
    EXPECT_EQ(one, data[0]);

    ASSERT_EQ(A::unget(&u, nullptr, 0), SEQ_OK);
    EXPECT_EQ(u.last_pos, kAllOnes);
    EXPECT_EQ(u.next(&u), SEQ_END);

    zvq_seq_iterator c{};
    ASSERT_EQ(A::const_(&c, V(7)), SEQ_OK);
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(c.chunk_count, cap);
    EXPECT_EQ(c.next_pos, cap * 255u);
    EXPECT_EQ((test::Run<V>{value_at<V>(c, cap - 1), repeat_at(c, cap - 1)}), (test::Run<V>{V(7), 255}));
    set_value<V>(c, 0, V(9));  // a refill does not rewrite the chunk...
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(value_at<V>(c, 0), V(9));
    EXPECT_EQ(c.next_pos, 2 * cap * 255u);
    ASSERT_EQ(c.reset(&c), SEQ_OK);  // ...until a reset
    ASSERT_EQ(c.next(&c), SEQ_OK);
    EXPECT_EQ(value_at<V>(c, 0), V(7));
}

TEST(RoundTrip, CharStridesByItsWidthAndConstRejectsWhatStateCannotHold) {
    const char items[] = "ab\0cd\0ef\0";
    char text[9];
    uint64_t n = 3;
    zvq_seq_iterator u{};
    ASSERT_EQ(zvq_seq_unget_char(&u, items, 3, 3), SEQ_OK);
    ASSERT_EQ(zvq_seq_get_char(&u, text, &n), SEQ_OK);
    EXPECT_EQ(std::memcmp(text, items, 9), 0);
    ASSERT_EQ(zvq_seq_const_char(&u, "abc", 3), SEQ_OK);
    EXPECT_EQ((std::pair{u.elem_size, u.elem_type}), (std::pair<uint16_t, uint8_t>{3, ZVQ_SEQ_TYPE_CHAR}));
    ASSERT_EQ(u.next(&u), SEQ_OK);
    EXPECT_EQ(u.chunk_count, 1024);
    EXPECT_EQ(std::memcmp(u.chunk + 3 * 1023, "abc", 3), 0);
    std::string wide(289, 'x');
    EXPECT_EQ(zvq_seq_const_char(&u, wide.data(), wide.size()), SEQ_TYPE_MISMATCH);
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
    // The inner record serves through the script's callbacks; point the
    // script at the embedded copy.
    static zvq_seq_status load(zvq_seq_meta_iterator* m, size_t i) {
        Provider* p = self(m);
        if (i >= p->parts.size()) return SEQ_END;
        p->index = i;
        p->scripts.clear();
        Script* sp = &p->scripts.emplace_back(Script::of<Int4>(p->parts[i]));
        m->inner = *sp->rec();
        std::memcpy(m->inner.state.bytes, &sp, sizeof sp);
        return SEQ_OK;
    }
    Provider() {
        meta.first_sequence = [](zvq_seq_meta_iterator* m) { return load(m, 0); };
        meta.next_sequence = [](zvq_seq_meta_iterator* m) { return load(m, self(m)->index + 1); };
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
    EXPECT_EQ(Chunk<int32_t>(chunks[0].begin(), chunks[0].begin() + 4), (R4{{1, 3}, {2, 1}, {3, 4}, {0, 2}}));
    EXPECT_EQ((std::pair{chunks[0].size(), chunks[1].size()}), (std::pair<size_t, size_t>{819, 185}));
    EXPECT_EQ(chunks[1].back(), (test::Run<int32_t>{7, 9}));
    EXPECT_EQ(j.next_pos, 2017u);
    EXPECT_EQ(j.next(&j), SEQ_END) << "exhausted stays exhausted";
    ASSERT_EQ(j.reset(&j), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(j).size(), 1004u);
}

// One operator over scripted int4 chunks: the runs it serves, its last
// status and its next_pos at the end.
struct PlumbCase {
    const char* name;
    std::vector<Chunk<int32_t>> in;
    std::function<zvq_seq_status(zvq_seq_iterator*, zvq_seq_iterator*)> make;
    R4 want;
    uint64_t next_pos;
    zvq_seq_status last = SEQ_END;
    size_t fail_at = SIZE_MAX;
};

TEST(Plumbing, RunsInRunsOut) {
    std::vector<Chunk<int32_t>> hundreds, ones, fives = {{{1, 5}, {2, 5}}, {{3, 5}}, {{4, 5}, {5, 5}}};
    for (int c = 0; c < 4; ++c) hundreds.push_back({{c * 2, 100}, {c * 2 + 1, 100}});
    for (int i = 0; i < 100; ++i) ones.push_back({{i, 1}});
    const auto thin = [](uint64_t from, uint64_t step) {
        return [=](zvq_seq_iterator* r, zvq_seq_iterator* a) { return zvq_seq_thin_int4(r, a, from, step); };
    };
    const auto limit = [](uint64_t from, uint64_t to) {
        return [=](zvq_seq_iterator* r, zvq_seq_iterator* a) { return zvq_seq_limit(r, a, from, to); };
    };
    const PlumbCase cases[] = {
        {"thin", {{{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}, {8, 1}, {9, 1}}}, thin(2, 3),
         {{2, 1}, {5, 1}, {8, 1}}, 3},
        // positions 30, 75, ..., 795 inside runs of 100
        {"thin in long runs", hundreds, thin(30, 45),
         {{0, 1}, {0, 1}, {1, 1}, {1, 1}, {2, 1}, {2, 1}, {3, 1}, {3, 1}, {3, 1}, {4, 1}, {4, 1}, {5, 1},
          {5, 1}, {6, 1}, {6, 1}, {7, 1}, {7, 1}, {7, 1}},
         18},
        {"thin over skipped chunks", hundreds, thin(650, 1000), {{6, 1}}, 1},
        {"thin mid-stream failure", {{{1, 3}}, {{2, 3}}}, thin(0, 1), {}, 0, 12345, 1},
        {"repeat of -1 is sign-extended", {{{1, 3}}},
         [](zvq_seq_iterator* r, zvq_seq_iterator* a) { return zvq_seq_repeat_int4(r, a, -1); }, {{1, 253}},
         uint64_t{0} - 3},
        {"limit cuts one run at both ends", {{{1, 100}}}, limit(10, 12), {{1, 3}}, 13},
        {"limit to 0 is not unbounded", fives, limit(0, 0), {{1, 1}}, 1},
        {"limit over chunks", fives, limit(7, 21), {{2, 3}, {3, 5}, {4, 5}, {5, 2}}, 22},
        {"limit from beyond the end", fives, limit(25, 30), {}, 0},
        {"limit from above to", fives, limit(3, 2), {}, 3},
        {"limit mid-stream failure", {{{1, 3}}, {{2, 3}}}, limit(0, 100), {}, 3, 12345, 1},
        {"limit over limit", ones,
         [](zvq_seq_iterator* r, zvq_seq_iterator* a) {
             static zvq_seq_iterator inner;
             inner = {};
             if (zvq_seq_status s = zvq_seq_limit(&inner, a, 10, 89)) return s;
             return zvq_seq_limit(r, &inner, 5, 7);
         },
         {{15, 1}, {16, 1}, {17, 1}}, 8},  // positions of the inner limit
    };
    for (const auto& c : cases) {
        Script src = Script::of<Int4>(c.in);
        if (c.fail_at != SIZE_MAX) src.fail_at(c.fail_at, c.last);
        zvq_seq_iterator r{};
        ASSERT_EQ(c.make(&r, src.rec()), SEQ_OK) << c.name;
        zvq_seq_status last;
        EXPECT_EQ(drain_runs<int32_t>(r, &last), c.want) << c.name;
        EXPECT_EQ(last, c.last) << c.name;
        EXPECT_EQ(r.next_pos, c.next_pos) << c.name;
    }
}

TEST(Plumbing, ThinStepZeroRepeatsTheStartAndRepeatMultipliesInEightBits) {
    auto src = Script::of<Int4>({{{5, 2}, {6, 2}}});
    zvq_seq_iterator t{};
    ASSERT_EQ(zvq_seq_thin_int4(&t, src.rec(), 3, 0), SEQ_OK);
    ASSERT_EQ(t.next(&t), SEQ_OK);
    EXPECT_EQ((std::pair{t.chunk_count, value_at<int32_t>(t, 818)}), (std::pair<uint16_t, int32_t>{819, 6}));
    EXPECT_EQ(t.next_pos, 819u);

    zvq_seq_iterator c{}, r{};
    ASSERT_EQ(zvq_seq_const_int4(&c, 1), SEQ_OK);
    ASSERT_EQ(zvq_seq_repeat_int4(&r, &c, 2), SEQ_OK);
    EXPECT_EQ(r.reset, zvq_seq_reset_repeat_iterator);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ((std::pair{r.chunk_count, repeat_at(r, 0)}), (std::pair<uint16_t, uint8_t>{819, 254}));
    EXPECT_EQ(r.next_pos, 2u * 208845u);
    r.chunk_pos = 0;
    std::vector<int32_t> out(600);
    uint64_t n = 600;
    ASSERT_EQ(zvq_seq_get_int4(&r, out.data(), &n), SEQ_OK);
    EXPECT_EQ((std::pair{r.chunk_pos, r.run_pos}), (std::pair<uint16_t, uint8_t>{2, 600 - 508}))
        << "254 per run, fewer than next_pos promises";
}

TEST(Plumbing, RleDecodeHasAtMost128SlotsAndSkipNanCountsRuns) {
    auto src = Script::of<Int4>({{{9, 200}}});
    zvq_seq_iterator d{};
    d.chunk[4095] = 0xAB;
    ASSERT_EQ(zvq_seq_rle_decode(&d, src.rec()), SEQ_OK);
    ASSERT_EQ(d.next(&d), SEQ_OK);
    EXPECT_EQ(d.chunk_count, 128);
    EXPECT_EQ(d.chunk[4095], 0xAB) << "repeat bytes are not written";
    ASSERT_EQ(d.next(&d), SEQ_OK);
    EXPECT_EQ(d.chunk_count, 72);
    EXPECT_EQ(d.next(&d), SEQ_END);
    auto runs = Script::of<Int4>({{{1, 2}, {2, 3}}});
    ASSERT_EQ(zvq_seq_rle_decode(&d, runs.rec()), SEQ_OK);
    int32_t out[8];
    uint64_t nulls[1], n = 8;
    ASSERT_EQ(zvq_seq_get_nullable_int4(&d, out, &n, nulls), SEQ_OK);
    EXPECT_EQ(std::vector<int32_t>(out, out + n), (std::vector<int32_t>{1, 1, 2, 2, 2}));

    const double nan = std::nan("");
    auto dsrc = Script::of<Double>({{{1.0, 5}, {nan, 9}}, {{2.0, 3}}});
    zvq_seq_iterator s{};
    ASSERT_EQ(zvq_seq_skip_nan_double(&s, dsrc.rec()), SEQ_OK);
    EXPECT_EQ(s.reset, zvq_seq_reset_unary_agg_iterator);
    EXPECT_EQ(drain_runs<double>(s), (std::vector<test::Run<double>>{{1.0, 5}, {2.0, 3}}));
    EXPECT_EQ(s.next_pos, 2u) << "runs, not elements";
}

TEST(Plumbing, TeeBehindReaderJumpsToTheTwinsChunkAndConcatPassesChunks) {
    auto src = Script::of<Int4>({{{1, 1}}, {{2, 1}}, {{3, 1}}});
    zvq_seq_iterator a{}, b{};
    ASSERT_EQ(zvq_seq_tee(&a, &b, src.rec()), SEQ_OK);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    ASSERT_EQ(b.next(&b), SEQ_OK);
    EXPECT_EQ((std::pair{value_at<int32_t>(b, 0), b.next_pos}), (std::pair<int32_t, uint64_t>{2, 2}));
    ASSERT_EQ(b.next(&b), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(b, 0), 3);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(a, 0), 3);
    EXPECT_EQ(a.next(&a), SEQ_END);
    ASSERT_EQ(b.reset(&b), SEQ_OK);  // either branch rewinds both and the source
    EXPECT_EQ(a.next_pos, 0u);
    ASSERT_EQ(a.next(&a), SEQ_OK);
    EXPECT_EQ(value_at<int32_t>(a, 0), 1);

    auto x = Script::of<Int4>({{{1, 1}, {2, 1}, {3, 1}}});
    auto y = Script::of<Int4>({{{4, 1}, {5, 7}}}).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator c{};
    ASSERT_EQ(zvq_seq_concat(&c, x.rec(), y.rec()), SEQ_OK);
    zvq_seq_status last;
    auto chunks = drain_chunks<int32_t>(c, &last);
    EXPECT_EQ(chunks, (std::vector<Chunk<int32_t>>{{{1, 1}, {2, 1}, {3, 1}}, {{4, 1}, {5, 7}}}));
    EXPECT_EQ((std::pair{last, c.next_pos}), (std::pair<zvq_seq_status, uint64_t>{SEQ_NOMEM, 11}));
    EXPECT_EQ(c.chunk_count, 2);
    ASSERT_EQ(c.reset(&c), SEQ_OK);
    EXPECT_EQ(drain_runs<int32_t>(c).size(), 5u);
}

TEST(Constructors, TypeTestBeforeBindingTest) {
    BindingChecks on(1);
    auto f = Script::of<Float>({});
    f.rec()->bound = 1;
    auto i4 = Script::of<Int4>({});
    zvq_seq_iterator r{}, twin{};
    EXPECT_EQ(zvq_seq_thin_int4(&r, f.rec(), 0, 1), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_repeat_double(&r, f.rec(), 1), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_skip_nan_double(&r, f.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_concat(&r, i4.rec(), f.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(i4.rec()->bound, 0);
    EXPECT_EQ(zvq_seq_skip_nan_float(&r, f.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(zvq_seq_rle_decode(&r, f.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_FLOAT) << "rle_decode writes the type before the test";
    f.rec()->bound = 0;
    twin.bound = 1;  // only the source of a tee is tested
    ASSERT_EQ(zvq_seq_tee(&r, &twin, f.rec()), SEQ_OK);
    EXPECT_EQ(zvq_seq_tee(&r, &twin, f.rec()), SEQ_ALREADY_BOUND);
}

// Every constructor with an operand refuses a bound one while checks are on,
// leaves the other operand free, and binds a free one.
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
        auto bound = Script::of<Int4>({}), other = Script::of<Int4>({});
        auto free_src = Script::of<Int4>({}), free_other = Script::of<Int4>({});
        bound.rec()->bound = 1;
        zvq_seq_iterator r{}, twin{};
        EXPECT_EQ(makers[k](&r, bound.rec(), k == 4 ? other.rec() : &twin), SEQ_ALREADY_BOUND) << k;
        EXPECT_EQ(other.rec()->bound, 0) << k;
        EXPECT_EQ(makers[k](&r, free_src.rec(), k == 4 ? free_other.rec() : &twin), SEQ_OK) << k;
        EXPECT_EQ((std::pair{free_src.rec()->bound, r.bound}), (std::pair<uint8_t, uint8_t>{1, 0})) << k;
        EXPECT_EQ(r.last_pos, k == 2 ? 1u : kAllOnes) << k;
    }
}

}  // namespace
}  // namespace zvq::test
