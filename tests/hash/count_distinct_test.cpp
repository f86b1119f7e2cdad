// agg_count_distinct: exact counts against a std::set of the values, floating
// values counted as SQL does, char values by all their bytes, merges that
// union the parts' sets, the life of the set and failures at every
// allocation.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <set>
#include <string>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {

template <class V>
using Runs = std::vector<Run<V>>;  // Run alone is hidden by testing::Test::Run inside a test

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

template <class Tag>
struct Distinct;
#define ZVQ_TEST_DISTINCT(name, Tag, ctype)                                   \
    template <>                                                               \
    struct Distinct<Tag> {                                                    \
        static constexpr Ctor make = zvq_seq_agg_count_distinct_##name;       \
    };
ZVQ_ALL_TYPES(ZVQ_TEST_DISTINCT)
#undef ZVQ_TEST_DISTINCT

// Builds, reads the one result and checks that SEQ_END follows.
uint64_t count_of(Ctor make, Script& in, zvq_seq_status* status = nullptr) {
    zvq_seq_iterator r{};
    EXPECT_EQ(make(&r, in.rec()), SEQ_OK);
    const zvq_seq_status s = r.next(&r);
    if (status) *status = s;
    if (s != SEQ_OK) return 0;
    EXPECT_EQ(r.chunk_count, 1);
    EXPECT_EQ(repeat_at(r, 0), 1);
    const uint64_t count = value_at<uint64_t>(r, 0);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.buffer, nullptr);  // read to its end: the set is gone
    return count;
}

// Random runs of `distinct` possible values, repeats up to 255, chunks of
// uneven length.
template <class V>
std::vector<Chunk<V>> random_runs(uint32_t seed, size_t runs, uint64_t distinct, uint32_t cap) {
    std::mt19937_64 rng(seed);
    std::vector<Chunk<V>> out(1);
    size_t limit = 1 + rng() % cap;
    for (size_t i = 0; i < runs; ++i) {
        if (out.back().size() == limit) {
            out.emplace_back();
            limit = 1 + rng() % cap;
        }
        const auto repeat = static_cast<uint8_t>(rng() % 8 == 0 ? 255 : 1 + rng() % 3);
        out.back().push_back({static_cast<V>(rng() % distinct * 7919), repeat});
    }
    return out;
}

template <class V>
uint64_t reference(const std::vector<Chunk<V>>& chunks) {
    std::set<V> seen;
    for (const auto& c : chunks)
        for (const auto& run : c) seen.insert(run.value);
    return seen.size();
}

template <class Tag>
class CountDistinct : public ::testing::Test {};
TYPED_TEST_SUITE(CountDistinct, NumericTags);

// Few and many distinct values, so that the table grows several times.
TYPED_TEST(CountDistinct, AgainstASet) {
    using V = value_t<TypeParam>;
    for (uint64_t distinct : {1u, 5u, 300u, 20000u}) {
        const auto chunks = random_runs<V>(static_cast<uint32_t>(distinct), 30000, distinct, 400);
        auto in = Script::of<TypeParam>(chunks);
        EXPECT_EQ(count_of(Distinct<TypeParam>::make, in), reference(chunks)) << distinct;
    }
    // An empty input counts 0.
    auto none = Script::of<TypeParam>({});
    zvq_seq_status s;
    EXPECT_EQ(count_of(Distinct<TypeParam>::make, none, &s), 0u);
    EXPECT_EQ(s, SEQ_OK);
}

// Merged parts give the whole's count over 2 and 4 parts, values shared
// between the parts counted once.
TYPED_TEST(CountDistinct, MergedPartsEqualTheWhole) {
    using V = value_t<TypeParam>;
    const auto chunks = random_runs<V>(41, 12000, 3000, 300);
    for (size_t parts : {2u, 4u}) {
        std::vector<Script> sources;
        std::vector<zvq_seq_iterator> recs(parts);
        const size_t per = (chunks.size() + parts - 1) / parts;
        for (size_t p = 0; p < parts; ++p)
            sources.push_back(Script::of<TypeParam>(std::vector<Chunk<V>>(
                chunks.begin() + std::min(p * per, chunks.size()), chunks.begin() + std::min((p + 1) * per, chunks.size()))));
        for (size_t p = 0; p < parts; ++p) {
            ASSERT_EQ(Distinct<TypeParam>::make(&recs[p], sources[p].rec()), SEQ_OK);
            ASSERT_EQ(recs[p].prepare(&recs[p]), SEQ_OK);
        }
        for (size_t p = 1; p < parts; ++p) ASSERT_EQ(recs[0].merge(&recs[0], &recs[p]), SEQ_OK);
        EXPECT_EQ(drain_runs<uint64_t>(recs[0]), (Runs<uint64_t>{{reference(chunks), 1}})) << parts;
        for (auto& r : recs) zvq_seq_free_buffer(&r);
    }
}

TEST(CountDistinct, FloatingValuesCountAsSqlDoes) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    auto d = Script::of<Double>({{{0.0, 1}, {-0.0, 3}, {nan, 1}, {-nan, 2}}, {{1.0, 1}, {std::nan("7"), 1}, {0.0, 9}}});
    EXPECT_EQ(count_of(zvq_seq_agg_count_distinct_double, d), 3u);
    const float fnan = std::numeric_limits<float>::quiet_NaN();
    auto f = Script::of<Float>({{{-0.0f, 1}, {fnan, 1}, {-fnan, 1}, {0.0f, 1}, {2.5f, 255}}});
    EXPECT_EQ(count_of(zvq_seq_agg_count_distinct_float, f), 3u);
    // Integers by their bits: 0 is a value like any other.
    auto i = Script::of<Int8>({{{0, 1}, {-1, 1}, {0, 1}, {std::numeric_limits<int64_t>::min(), 1}}});
    EXPECT_EQ(count_of(zvq_seq_agg_count_distinct_int8, i), 3u);
}

// char values count by all their bytes, also those after a zero byte; a
// width above 8 keeps its values beside the table.
TEST(CountDistinct, CharValuesByTheirBytes) {
    auto narrow = Script::of_char(3, {{{"ab", 2}, {"abc", 1}, {std::string("a\0c", 3), 1}}, {{"ab", 1}, {"", 4}}});
    EXPECT_EQ(count_of(zvq_seq_agg_count_distinct_char, narrow), 4u);
    auto wide = Script::of_char(12, {{{"ab", 2}, {"abcdefghijkl", 1}, {std::string("ab\0\0\0\0\0\0\0\0\0z", 12), 1}},
                                     {{"ab", 1}, {"", 4}, {"abcdefghijkl", 1}}});
    EXPECT_EQ(count_of(zvq_seq_agg_count_distinct_char, wide), 4u);
    // Many wide values: the table and the stored values grow together.
    std::vector<std::vector<std::pair<std::string, uint8_t>>> chunks(1);
    std::set<std::string> seen;
    for (int k = 0; k < 20000; ++k) {
        if (chunks.back().size() == 200) chunks.emplace_back();
        std::string text = "value-" + std::to_string(k * 37 % 7001);
        text.resize(16, '\0');
        seen.insert(text);
        chunks.back().push_back({text, static_cast<uint8_t>(1 + k % 255)});
    }
    auto many = Script::of_char(16, chunks);
    EXPECT_EQ(count_of(zvq_seq_agg_count_distinct_char, many), seen.size());
    // Two parts of wide values merged.
    auto a = Script::of_char(10, {{{"north", 1}, {"south", 2}}}), b = Script::of_char(10, {{{"south", 1}, {"east", 1}}});
    zvq_seq_iterator ra{}, rb{};
    ASSERT_EQ(zvq_seq_agg_count_distinct_char(&ra, a.rec()), SEQ_OK);
    ASSERT_EQ(zvq_seq_agg_count_distinct_char(&rb, b.rec()), SEQ_OK);
    ASSERT_EQ(ra.prepare(&ra), SEQ_OK);
    ASSERT_EQ(rb.prepare(&rb), SEQ_OK);
    ASSERT_EQ(ra.merge(&ra, &rb), SEQ_OK);
    EXPECT_EQ(drain_runs<uint64_t>(ra), (Runs<uint64_t>{{3, 1}}));
    // Parts of different widths do not merge.
    auto c = Script::of_char(11, {{{"west", 1}}});
    zvq_seq_iterator rc{};
    ASSERT_EQ(zvq_seq_agg_count_distinct_char(&rc, c.rec()), SEQ_OK);
    ASSERT_EQ(rc.prepare(&rc), SEQ_OK);
    EXPECT_EQ(rb.merge(&rb, &rc), SEQ_TYPE_MISMATCH);
    for (auto* r : {&ra, &rb, &rc}) EXPECT_EQ(r->reset(r), SEQ_OK);
}

// The set lives from the build until the result is read to its end, or
// until reset or zvq_seq_free_buffer; a prepared part keeps it for a merge.
TEST(CountDistinct, TheSetsLifetime) {
    CountingAllocator alloc;
    const std::vector<Chunk<int32_t>> data = {{{1, 1}, {2, 255}, {3, 1}}, {{1, 4}}};
    auto in = Script::of<Int4>(data);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_count_distinct_int4(&r, in.rec()), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);  // nothing before the first pull
    ASSERT_EQ(r.prepare(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 1);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(r, 0), 3u);
    EXPECT_EQ(alloc.live_blocks(), 1);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(alloc.live_blocks(), 0);
    // reset releases a prepared set, and the record counts afresh.
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    ASSERT_EQ(r.prepare(&r), SEQ_OK);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_EQ(r.prepared, 0);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<uint64_t>(r, 0), 3u);
    // zvq_seq_free_buffer releases it too; a reset after it frees nothing twice.
    zvq_seq_free_buffer(&r);
    EXPECT_EQ(alloc.live_blocks(), 0);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_FALSE(alloc.size_mismatch());
}

// An allocator that fails at the k-th call, for every k a build or a merge
// makes: SEQ_NOMEM and nothing left allocated once the records are reset.
TEST(CountDistinct, NoMemoryAtEveryAllocation) {
    std::vector<int64_t> values(3000);
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int64_t>(i * 2654435761u);
    std::vector<Chunk<int64_t>> first(1), second(1);
    for (size_t i = 0; i < values.size(); ++i) {
        auto& part = i < 1000 ? first : second;
        if (part.back().size() == 400) part.emplace_back();
        part.back().push_back({values[i], 1});
    }
    bool done = false;
    uint64_t k = 1;
    for (; !done; ++k) {
        CountingAllocator alloc;
        alloc.fail_on(k);
        auto a = Script::of<Int8>(first), b = Script::of<Int8>(second);
        zvq_seq_iterator ra{}, rb{};
        ASSERT_EQ(zvq_seq_agg_count_distinct_int8(&ra, a.rec()), SEQ_OK);
        ASSERT_EQ(zvq_seq_agg_count_distinct_int8(&rb, b.rec()), SEQ_OK);
        zvq_seq_status s = ra.prepare(&ra);
        if (s == SEQ_OK) s = rb.prepare(&rb);
        if (s == SEQ_OK) s = ra.merge(&ra, &rb);
        if (s == SEQ_OK) {
            EXPECT_EQ(alloc.allocations(), k - 1) << "no call failed, so every k was tried";
            EXPECT_EQ(drain_runs<uint64_t>(ra), (Runs<uint64_t>{{3000, 1}}));
            done = true;
        } else {
            EXPECT_EQ(s, SEQ_NOMEM) << k;
        }
        ASSERT_EQ(ra.reset(&ra), SEQ_OK);
        ASSERT_EQ(rb.reset(&rb), SEQ_OK);
        EXPECT_EQ(alloc.live_blocks(), 0) << k;
        EXPECT_FALSE(alloc.size_mismatch()) << k;
    }
    EXPECT_GT(k, 10u);  // the sets grew several times, each a chance to fail
}

TEST(CountDistinct, BadInputAndOperandFailure) {
    const BindingChecks on(1);
    auto wrong = Script::of<Int4>({{{1, 1}}});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_agg_count_distinct_uint4(&r, wrong.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_agg_count_distinct_char(&r, wrong.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(wrong.rec()->bound, 0);
    ASSERT_EQ(zvq_seq_agg_count_distinct_int4(&r, wrong.rec()), SEQ_OK);
    zvq_seq_iterator again{};
    EXPECT_EQ(zvq_seq_agg_count_distinct_int4(&again, wrong.rec()), SEQ_ALREADY_BOUND);

    // A failure mid-stream: its status, no result, the set given back; the
    // next pass after a reset counts everything.
    CountingAllocator alloc;
    auto in = Script::of<Int4>({{{1, 1}, {2, 1}}, {{3, 1}}, {{1, 2}, {4, 1}}}).fail_at(1, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator f{};
    ASSERT_EQ(zvq_seq_agg_count_distinct_int4(&f, in.rec()), SEQ_OK);
    EXPECT_EQ(f.next(&f), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(f.next_pos, 0u);
    EXPECT_EQ(alloc.live_blocks(), 0);
    ASSERT_EQ(f.reset(&f), SEQ_OK);
    EXPECT_EQ(drain_runs<uint64_t>(f), (Runs<uint64_t>{{4, 1}}));
    EXPECT_EQ(alloc.live_blocks(), 0);
}

}  // namespace
}  // namespace zvq::test
