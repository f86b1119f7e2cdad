// top_n_max, top_n_min and their merges; top_n_pos_max, top_n_pos_min: the
// best elements with repeats counted, against a stable sort of the expanded
// input.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "select_support.hpp"

namespace zvq::test {
namespace {


template <class Tag>
class TopNElements : public ::testing::Test {};
TYPED_TEST_SUITE(TopNElements, NumericTags);

using P = std::vector<uint64_t>;

template <class Tag, class V = value_t<Tag>>
Runs<V> runs_of(Top ctor, const std::vector<Chunk<value_t<Tag>>>& chunks, uint64_t n,
                zvq_seq_status* last = nullptr) {
    auto in = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, in.rec(), n), SEQ_OK);
    return drain_runs<V>(r, last);
}

// The reference: the expanded elements, NaN left out, stably sorted best
// first, the first n; their positions, and their values.
template <class V>
std::pair<P, std::vector<V>> reference(const std::vector<Chunk<V>>& chunks, bool max, uint64_t n) {
    std::vector<V> values, best;
    for (const auto& c : chunks)
        for (const auto& run : c) values.insert(values.end(), run.repeat, run.value);
    P order;
    for (uint64_t i = 0; i < values.size(); ++i)
        if (values[i] == values[i]) order.push_back(i);
    std::stable_sort(order.begin(), order.end(),
                     [&](uint64_t a, uint64_t b) { return max ? values[a] > values[b] : values[a] < values[b]; });
    order.resize(std::min<uint64_t>(n, order.size()));
    for (uint64_t p : order) best.push_back(values[p]);
    return {order, best};
}

// Random runs of few distinct values (many ties), repeats 1 to 255, chunks
// of uneven length so that equal values straddle chunk ends.
template <class V>
std::vector<Chunk<V>> random_runs(uint32_t seed, size_t runs) {
    std::mt19937 rng(seed);
    std::vector<Chunk<V>> out(1);
    size_t limit = 1 + rng() % 100;
    for (size_t i = 0; i < runs; ++i) {
        if (out.back().size() == limit) {
            out.emplace_back();
            limit = 1 + rng() % 100;
        }
        const auto repeat = static_cast<uint8_t>(rng() % 4 == 0 ? 255 : 1 + rng() % 6);
        out.back().push_back({static_cast<V>(rng() % 90), repeat});
    }
    return out;
}

// The wrong answers of the run-counting family, now right.
TEST(TopNElements, RunsCountAsTheirElements) {
    using R = Runs<double>;
    // Top 3 of 5 5 5 3 3 3, given as two runs: 5 5 5, one run.
    EXPECT_EQ((runs_of<Double>(zvq_seq_top_n_max_double, {{{5.0, 3}, {3.0, 3}}}, 3)), (R{{5.0, 3}}));
    EXPECT_EQ((runs_of<Double>(zvq_seq_top_n_max_double, {{{5.0, 3}, {3.0, 3}}}, 4)), (R{{5.0, 3}, {3.0, 1}}));
    EXPECT_EQ((runs_of<Double>(zvq_seq_top_n_min_double, {{{5.0, 3}, {3.0, 3}}}, 5)), (R{{3.0, 3}, {5.0, 2}}));
    // Positions are element positions: 9 9 9 stand at 2, 3, 4, then the 7s
    // at 0, 1 and 5, earliest first.
    const std::vector<Chunk<int32_t>> runs = {{{7, 2}, {9, 3}}, {{7, 1}}};
    EXPECT_EQ((runs_of<Int4, uint64_t>(zvq_seq_top_n_pos_max_int4, runs, 5)),
              (Runs<uint64_t>{{2, 1}, {3, 1}, {4, 1}, {0, 1}, {1, 1}}));
    EXPECT_EQ((runs_of<Int4, uint64_t>(zvq_seq_top_n_pos_min_int4, runs, 4)),
              (Runs<uint64_t>{{0, 1}, {1, 1}, {5, 1}, {2, 1}}));
    // More than 255 equal elements come out as runs of at most 255.
    EXPECT_EQ((runs_of<Int4>(zvq_seq_top_n_max_int4, {{{9, 255}, {9, 255}, {1, 1}}}, 455)),
              (Runs<int32_t>{{9, 255}, {9, 200}}));
}

// The host's protocol over two parts {5,5,1} and {5,4}: 5 5 5 for n = 3.
TEST(TopNElements, MergeKeepsEqualElements) {
    auto a = Script::of<Double>({{{5.0, 2}, {1.0, 1}}}), b = Script::of<Double>({{{5.0, 1}, {4.0, 1}}});
    zvq_seq_iterator ra{}, rb{};
    ASSERT_EQ(zvq_seq_top_n_max_double(&ra, a.rec(), 3), SEQ_OK);
    ASSERT_EQ(zvq_seq_top_n_max_double(&rb, b.rec(), 3), SEQ_OK);
    ASSERT_EQ(ra.prepare(&ra), SEQ_OK);
    ASSERT_EQ(rb.prepare(&rb), SEQ_OK);
    ASSERT_EQ(ra.merge(&ra, &rb), SEQ_OK);
    zvq_seq_status last;
    EXPECT_EQ(drain_runs<double>(ra, &last), (Runs<double>{{5.0, 3}}));
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(a.pulls(), 2u);  // the prepared record does not read again
}

TYPED_TEST(TopNElements, AgainstAStableSortOfTheElements) {
    using V = value_t<TypeParam>;
    using S = Api<TypeParam>;
    for (uint32_t seed : {3u, 11u}) {
        const auto chunks = random_runs<V>(seed, 900);
        for (bool max : {true, false})
            for (uint64_t n : {1, 2, 37, 300, 455}) {
                const auto [positions, values] = reference(chunks, max, n);
                EXPECT_EQ(expand(runs_of<TypeParam>(max ? S::top_n_max : S::top_n_min, chunks, n)), values) << seed << max << n;
                EXPECT_EQ(expand(runs_of<TypeParam, uint64_t>(max ? S::top_n_pos_max : S::top_n_pos_min, chunks, n)), positions)
                    << seed << max << n;
            }
    }
}

// Merged parts give the whole's answer, over 2 and 4 parts, whichever part
// is the destination.
TYPED_TEST(TopNElements, MergedPartsEqualTheWhole) {
    using V = value_t<TypeParam>;
    using S = Api<TypeParam>;
    const auto chunks = random_runs<V>(29, 600);
    for (size_t parts : {2u, 4u})
        for (bool max : {true, false})
            for (uint64_t n : {3, 100, 455}) {
                std::vector<Script> sources;
                std::vector<zvq_seq_iterator> recs(parts);
                const size_t per = (chunks.size() + parts - 1) / parts;
                for (size_t p = 0; p < parts; ++p) {
                    std::vector<Chunk<V>> part(chunks.begin() + std::min(p * per, chunks.size()),
                                               chunks.begin() + std::min((p + 1) * per, chunks.size()));
                    sources.push_back(Script::of<TypeParam>(part));
                }
                for (size_t p = 0; p < parts; ++p) {
                    ASSERT_EQ((max ? S::top_n_max : S::top_n_min)(&recs[p], sources[p].rec(), n), SEQ_OK);
                    ASSERT_EQ(recs[p].prepare(&recs[p]), SEQ_OK);
                }
                const size_t dest = parts - 1;
                for (size_t p = 0; p < parts; ++p)
                    if (p != dest) {
                        ASSERT_EQ(recs[dest].merge(&recs[dest], &recs[p]), SEQ_OK);
                    }
                EXPECT_EQ(expand(drain_runs<V>(recs[dest])), reference(chunks, max, n).second)
                    << parts << " " << max << " " << n;
            }
}

TYPED_TEST(TopNElements, BadInput) {
    using S = Api<TypeParam>;
    const BindingChecks on(1);
    for (Top ctor : {S::top_n_max, S::top_n_min, S::top_n_pos_max, S::top_n_pos_min}) {
        zvq_seq_iterator r{};
        Script other(1, TypeParam::code == ZVQ_SEQ_TYPE_INT1 ? ZVQ_SEQ_TYPE_UINT1 : ZVQ_SEQ_TYPE_INT1);
        EXPECT_EQ(ctor(&r, other.rec(), 3), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(other.rec()->bound, 0);
        for (uint64_t n : {uint64_t{0}, uint64_t{456}}) {
            auto in = Script::of<TypeParam>({});
            EXPECT_EQ(ctor(&r, in.rec(), n), SEQ_BAD_ARGUMENT);
            EXPECT_EQ(in.rec()->bound, 1);  // bound before the argument test
            EXPECT_EQ(ctor(&r, in.rec(), 455), SEQ_ALREADY_BOUND);
        }
    }
}

// NaN is never selected; -0.0 and 0.0 are equal elements.
TEST(TopNElements, NaNAndSignedZeros) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Chunk<double>> data = {{{1.0, 1}, {nan, 3}, {-0.0, 2}}, {{nan, 1}, {0.0, 1}, {-2.0, 1}}};
    EXPECT_EQ(expand(runs_of<Double>(zvq_seq_top_n_max_double, data, 3)), (std::vector<double>{1.0, 0.0, 0.0}));
    EXPECT_EQ(expand(runs_of<Double, uint64_t>(zvq_seq_top_n_pos_max_double, data, 4)), (P{0, 4, 5, 7}));
    EXPECT_EQ(expand(runs_of<Double, uint64_t>(zvq_seq_top_n_pos_min_double, data, 9)), (P{8, 4, 5, 7, 0}));
    // The zeros share one entry, carrying the sign of the first seen.
    const auto zeros = runs_of<Double>(zvq_seq_top_n_min_double, {{{-0.0, 2}, {0.0, 1}}}, 3);
    ASSERT_EQ(zeros.size(), 1u);
    EXPECT_EQ(zeros[0].repeat, 3);
    EXPECT_TRUE(std::signbit(zeros[0].value));
    // NaN only, or nothing: nothing selected, SEQ_END.
    for (const auto& none : {std::vector<Chunk<double>>{{{nan, 9}}}, std::vector<Chunk<double>>{}})
        for (Top ctor : {Top{zvq_seq_top_n_max_double}, Top{zvq_seq_top_n_pos_min_double}}) {
            zvq_seq_status last;
            EXPECT_TRUE(runs_of<Double>(ctor, none, 5, &last).empty());
            EXPECT_EQ(last, SEQ_END);
        }
    auto empty = Script::of<Double>({{{nan, 4}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_top_n_max_double(&r, empty.rec(), 2), SEQ_OK);
    EXPECT_EQ(r.prepare(&r), SEQ_END);  // a prepared empty part
    EXPECT_EQ(r.next(&r), SEQ_END);
}

// An operand failing mid-stream: its status, nothing published; a reset
// then computes afresh.
TEST(TopNElements, OperandFailure) {
    const std::vector<Chunk<int64_t>> data = {{{4, 1}}, {{8, 2}}, {{6, 1}}};
    const std::pair<Top, Runs<uint64_t>> cases[] = {
        {zvq_seq_top_n_max_int8, {{8, 2}}},
        {zvq_seq_top_n_pos_max_int8, {{1, 1}, {2, 1}}},
    };
    for (const auto& [ctor, want] : cases) {
        auto in = Script::of<Int8>(data).fail_at(2, SEQ_BAD_ARGUMENT);
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, in.rec(), 2), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_BAD_ARGUMENT);
        EXPECT_EQ(r.chunk_count, 0);
        EXPECT_EQ(r.next_pos, 0u);
        ASSERT_EQ(r.reset(&r), SEQ_OK);
        EXPECT_EQ(drain_runs<uint64_t>(r), want);  // int8 8 has the bits of uint64 8
    }
}

}  // namespace
}  // namespace zvq::test
