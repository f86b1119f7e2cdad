// cov, corr, wsum and wavg: the sums over runs of unequal lengths on every
// numeric type, the unsigned reading of signed sums, the ends, and merges.
#include <cmath>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

using PairCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);

struct Sums {
    double x, y, xx, xy, yy;
    uint64_t n;
    bool operator==(const Sums&) const = default;
};

// Publishes over (x, y) and returns the result; the state lands in `sums`.
template <class Tag>
double paired(PairCtor ctor, const std::vector<Chunk<value_t<Tag>>>& x, const std::vector<Chunk<value_t<Tag>>>& y,
              Sums* sums = nullptr) {
    auto sx = Script::of<Tag>(x), sy = Script::of<Tag>(y);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, sx.rec(), sy.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_DOUBLE);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(repeat_at(r, 0), 1);
    if (sums) std::memcpy(sums, r.state.bytes, sizeof(Sums));
    EXPECT_EQ(r.next(&r), SEQ_END);
    return value_at<double>(r, 0);
}

template <class Tag>
class PairedFold : public ::testing::Test {};
TYPED_TEST_SUITE(PairedFold, NumericTags);

TYPED_TEST(PairedFold, SumsOverSegmentsOfUnequalRuns) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using P = Api<Tag>;
    // x: 2 x 200, 4 x 55 against y: 1 x 100, 3 x 100, 5 x 55, the y runs
    // split across chunks; the longer y operand's tail is not read.
    const std::vector<Chunk<V>> x = {{{V(2), 200}, {V(4), 55}}};
    const std::vector<Chunk<V>> y = {{{V(1), 100}}, {{V(3), 100}, {V(5), 55}, {V(9), 7}}};
    // 255 pairs: x sums to 620 (squares 1680), y to 675 (2375), x * y to 1900.
    Sums s{};
    EXPECT_EQ(paired<Tag>(P::cov, x, y, &s), 1.0149942329873123);
    EXPECT_EQ(s, (Sums{620, 675, 0, 1900, 0, 255}));
    EXPECT_EQ(paired<Tag>(P::corr, x, y, &s), 0.8124038404635959);
    EXPECT_EQ(s, (Sums{620, 675, 1680, 1900, 2375, 255}));
    EXPECT_EQ(paired<Tag>(P::wsum, x, y, &s), 1900);
    EXPECT_EQ(s, (Sums{0, 0, 0, 1900, 0, 255}));
    EXPECT_EQ(paired<Tag>(P::wavg, x, y, &s), 3.064516129032258);
    EXPECT_EQ(s, (Sums{620, 0, 0, 1900, 0, 255}));
    // One pair: cov 0, corr 0 / 0.
    EXPECT_EQ(paired<Tag>(P::cov, {{{V(3), 1}}}, {{{V(4), 1}}}), 0.0);
    EXPECT_TRUE(std::isnan(paired<Tag>(P::corr, {{{V(3), 1}}}, {{{V(4), 1}}})));
}

TEST(PairedSigns, SignedSumsReadAsUnsignedAndWavgMultipliesInTheOperandsArithmetic) {
    const double huge = 18446744073709551615.0;  // -1 as unsigned
    Sums s{};
    paired<Int4>(zvq_seq_cov_int4, {{{-1, 1}}}, {{{2, 1}}}, &s);
    EXPECT_EQ(s, (Sums{huge, 2, 0, -2, 0, 1}));
    EXPECT_EQ(paired<Int4>(zvq_seq_wsum_int4, {{{-1, 3}}}, {{{2, 3}}}), -6.0);
    // x * y in 32 bits: 65535^2 turns negative and is sign-extended for uint2,
    // zero-extended for uint4; 2^16 squared wraps to 0 in int4, not in int8.
    paired<Uint2>(zvq_seq_wavg_uint2, {{{65535, 1}}}, {{{65535, 1}}}, &s);
    EXPECT_EQ(s.xy, double(uint64_t(int64_t(int32_t(0xFFFE0001u)))));
    paired<Uint4>(zvq_seq_wavg_uint4, {{{65535, 2}}}, {{{65535, 2}}}, &s);
    EXPECT_EQ(s.xy, double(uint64_t{0xFFFE0001u} * 2));
    paired<Int4>(zvq_seq_wavg_int4, {{{65536, 1}}}, {{{65536, 1}}}, &s);
    EXPECT_EQ(s.xy, 0.0);
    paired<Int8>(zvq_seq_wavg_int8, {{{65536, 1}}}, {{{65536, 1}}}, &s);
    EXPECT_EQ(s.xy, 4294967296.0);
    paired<Float>(zvq_seq_wavg_float, {{{0.1f, 3}}}, {{{0.3f, 3}}}, &s);  // y * x * k in single precision
    EXPECT_EQ(s.xy, double(0.3f * 0.1f * 3.0f));
}

TEST(PairedEnds, TheFirstOperandToEndEndsTheAggregateAndAFailureDropsTheSums) {
    // Empty x: y is never pulled. Empty y: x was pulled once.
    for (bool x_empty : {true, false}) {
        auto full = Script::of<Double>({{{1.0, 4}}}), empty = Script::of<Double>({});
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_wsum_double(&r, (x_empty ? empty : full).rec(), (x_empty ? full : empty).rec()), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(full.pulls(), x_empty ? 0u : 1u);
    }
    auto x = Script::of<Double>({{{1.0, 4}}, {{2.0, 1}}}).fail_at(1, SEQ_NOMEM);
    auto y = Script::of<Double>({{{1.0, 9}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_wsum_double(&r, x.rec(), y.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<double>(r, 0), 2.0);  // only the pair read after the failure
}

struct Parts {
    std::vector<Script> scripts;
    std::vector<zvq_seq_iterator> roots;
};

// Prepares one part per (x, y), merges the others into the first and reads
// it, which hands out the merged result without a pull.
void merge_parts(PairCtor ctor, const std::vector<std::pair<Chunk<int32_t>, Chunk<int32_t>>>& parts, Parts& p) {
    p.roots.resize(parts.size());
    for (const auto& [x, y] : parts) {
        p.scripts.push_back(Script::of<Int4>({x}));
        p.scripts.push_back(Script::of<Int4>({y}));
    }
    for (size_t i = 0; i < parts.size(); ++i) {
        ASSERT_EQ(ctor(&p.roots[i], p.scripts[2 * i].rec(), p.scripts[2 * i + 1].rec()), SEQ_OK);
        ASSERT_EQ(p.roots[i].prepare(&p.roots[i]), SEQ_OK);
    }
    for (size_t i = 1; i < parts.size(); ++i) EXPECT_EQ(p.roots[0].merge(&p.roots[0], &p.roots[i]), SEQ_OK);
    const size_t pulls = p.scripts[0].pulls();
    EXPECT_EQ(p.roots[0].next(&p.roots[0]), SEQ_OK);
    EXPECT_EQ(p.roots[0].next(&p.roots[0]), SEQ_END);
    EXPECT_EQ(p.scripts[0].pulls(), pulls);
}

TEST(PairedMerge, PartsWithEqualSumsMergeIntoTheWholeAndTheYSumFoldsIntoX) {
    // Each part's x and y have equal sums, so every family merges to the
    // whole.
    const Chunk<int32_t> x1 = {{1, 3}, {4, 1}}, y1 = {{4, 1}, {1, 3}}, x2 = {{2, 2}, {6, 1}}, y2 = {{5, 2}, {0, 1}};
    for (PairCtor ctor : {zvq_seq_cov_int4, zvq_seq_corr_int4, zvq_seq_wsum_int4, zvq_seq_wavg_int4}) {
        Parts p;
        merge_parts(ctor, {{x1, y1}, {x2, y2}}, p);
        Sums whole{}, merged{};
        const double w = paired<Int4>(ctor, {x1, x2}, {y1, y2}, &whole);
        std::memcpy(&merged, p.roots[0].state.bytes, sizeof merged);
        if (ctor == zvq_seq_wavg_int4) {
            // wavg keeps no y sum: the weights stay the destination's own.
            EXPECT_EQ(merged.x, 7.0);
            EXPECT_EQ(value_at<double>(p.roots[0], 0), whole.xy / 7.0);
            continue;
        }
        EXPECT_EQ(merged, whole);
        EXPECT_EQ(value_at<double>(p.roots[0], 0), w);
    }
    // Unequal sums: the destination's x sum takes the source's y sum.
    Parts p;
    merge_parts(zvq_seq_cov_int4, {{{{1, 1}}, {{2, 1}}}, {{{10, 1}}, {{20, 1}}}}, p);
    Sums merged{};
    std::memcpy(&merged, p.roots[0].state.bytes, sizeof merged);
    EXPECT_EQ(merged, (Sums{21, 22, 0, 202, 0, 2}));
    EXPECT_EQ(value_at<double>(p.roots[0], 0), (202 - 22.0 * 21 / 2) / 2);
}

}  // namespace
}  // namespace zvq::test
