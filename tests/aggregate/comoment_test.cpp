// covariance and correlation: signed values, runs of unequal lengths, merges
// over 2 and 4 parts equal to the whole, and bad input.
#include <cmath>
#include <random>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

using PairCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);
using MergeFn = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);


template <class Tag>
double paired(PairCtor ctor, const std::vector<Chunk<value_t<Tag>>>& x, const std::vector<Chunk<value_t<Tag>>>& y) {
    auto sx = Script::of<Tag>(x), sy = Script::of<Tag>(y);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, sx.rec(), sy.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_DOUBLE);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1);
    EXPECT_EQ(r.next(&r), SEQ_END);
    return value_at<double>(r, 0);
}

// Two-pass population covariance and correlation of plain arrays.
struct Reference {
    double cov, corr;
};
template <class V>
Reference two_pass(const std::vector<V>& x, const std::vector<V>& y) {
    const double n = static_cast<double>(x.size());
    double mx = 0, my = 0;
    for (size_t i = 0; i < x.size(); ++i) mx += static_cast<double>(x[i]), my += static_cast<double>(y[i]);
    mx /= n, my /= n;
    double cxy = 0, cxx = 0, cyy = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        const double dx = static_cast<double>(x[i]) - mx, dy = static_cast<double>(y[i]) - my;
        cxy += dx * dy, cxx += dx * dx, cyy += dy * dy;
    }
    return {cxy / n, cxy / std::sqrt(cxx * cyy)};
}

// Elements [from, to) as runs of one, in chunks of up to 400 runs.
template <class V>
std::vector<Chunk<V>> singles(const std::vector<V>& v, size_t from, size_t to) {
    std::vector<Chunk<V>> chunks;
    for (size_t i = from; i < to; ++i) {
        if ((i - from) % 400 == 0) chunks.emplace_back();
        chunks.back().push_back({v[i], 1});
    }
    return chunks;
}

// The whole over `values` and the merge of `parts` equal pieces, through
// prepare and merge as a host does it.
template <class Tag>
std::pair<double, double> whole_and_merged(PairCtor ctor, MergeFn merge, const std::vector<value_t<Tag>>& x,
                                           const std::vector<value_t<Tag>>& y, size_t parts) {
    const double whole = paired<Tag>(ctor, singles(x, 0, x.size()), singles(y, 0, y.size()));
    std::vector<Script> sources;
    std::vector<zvq_seq_iterator> roots(parts);
    const size_t step = x.size() / parts;
    for (size_t p = 0; p < parts; ++p) {
        const size_t to = p + 1 == parts ? x.size() : (p + 1) * step;
        sources.push_back(Script::of<Tag>(singles(x, p * step, to)));
        sources.push_back(Script::of<Tag>(singles(y, p * step, to)));
    }
    for (size_t p = 0; p < parts; ++p) {
        EXPECT_EQ(ctor(&roots[p], sources[2 * p].rec(), sources[2 * p + 1].rec()), SEQ_OK);
        EXPECT_EQ(roots[p].prepare(&roots[p]), SEQ_OK);
    }
    for (size_t p = 1; p < parts; ++p) EXPECT_EQ(merge(&roots[0], &roots[p]), SEQ_OK);
    EXPECT_EQ(roots[0].next(&roots[0]), SEQ_OK);
    EXPECT_EQ(roots[0].next(&roots[0]), SEQ_END);
    return {whole, value_at<double>(roots[0], 0)};
}

TEST(Comoment, NegativeIntegersAreReadAsSigned) {
    // x = -1 -2 -3, y = -2 -4 -6: deviations 1 0 -1 and 2 0 -2.
    const std::vector<Chunk<int32_t>> x = {{{-1, 1}, {-2, 1}, {-3, 1}}}, y = {{{-2, 1}, {-4, 1}, {-6, 1}}};
    EXPECT_DOUBLE_EQ(paired<Int4>(zvq_seq_covariance_int4, x, y), 4.0 / 3);
    EXPECT_DOUBLE_EQ(paired<Int4>(zvq_seq_correlation_int4, x, y), 1.0);
    // Mixed signs in int8 far from zero: y = -x.
    const std::vector<Chunk<int64_t>> a = {{{-4000000000, 2}, {4000000000, 2}}}, b = {{{4000000000, 2}, {-4000000000, 2}}};
    EXPECT_DOUBLE_EQ(paired<Int8>(zvq_seq_covariance_int8, a, b), -16e18);
    EXPECT_DOUBLE_EQ(paired<Int8>(zvq_seq_correlation_int8, a, b), -1.0);
}

template <class Tag>
class ComomentFold : public ::testing::Test {};
TYPED_TEST_SUITE(ComomentFold, NumericTags);

TYPED_TEST(ComomentFold, RunsOfUnequalLengthsFoldAsTheirElements) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    // x: 2 x 200, 4 x 55 against y: 1 x 100, 3 x 100, 5 x 55 across chunks.
    const std::vector<Chunk<V>> x = {{{V(2), 200}, {V(4), 55}}};
    const std::vector<Chunk<V>> y = {{{V(1), 100}}, {{V(3), 100}, {V(5), 55}, {V(9), 7}}};
    std::vector<V> fx, fy;
    fx.insert(fx.end(), 200, V(2)), fx.insert(fx.end(), 55, V(4));
    fy.insert(fy.end(), 100, V(1)), fy.insert(fy.end(), 100, V(3)), fy.insert(fy.end(), 55, V(5));
    const Reference ref = two_pass(fx, fy);
    EXPECT_NEAR(paired<Tag>(Api<Tag>::covariance, x, y), ref.cov, 1e-12 * std::abs(ref.cov));
    EXPECT_NEAR(paired<Tag>(Api<Tag>::correlation, x, y), ref.corr, 1e-12);
    // One pair: covariance 0, correlation 0 / 0; a constant operand too.
    EXPECT_EQ(paired<Tag>(Api<Tag>::covariance, {{{V(3), 1}}}, {{{V(4), 1}}}), 0.0);
    EXPECT_TRUE(std::isnan(paired<Tag>(Api<Tag>::correlation, {{{V(3), 1}}}, {{{V(4), 1}}})));
    EXPECT_TRUE(std::isnan(paired<Tag>(Api<Tag>::correlation, {{{V(3), 9}}}, {{{V(4), 2}, {V(6), 7}}})));
}

TEST(ComomentMerge, TwoAndFourPartsEqualTheWhole) {
    std::mt19937_64 rng(22);
    std::normal_distribution<double> noise(0.0, 1.0);
    std::vector<double> x(10000), y(10000);
    // A falling relation in the first half and a rising one in the second:
    // halves whose means differ, which a merge of raw sums gets wrong.
    for (size_t i = 0; i < x.size(); ++i) {
        x[i] = 1000.0 + noise(rng) + (i < 5000 ? 0.0 : 50.0);
        y[i] = (i < 5000 ? -2.0 : 0.5) * x[i] + noise(rng);
    }
    const Reference ref = two_pass(x, y);
    for (size_t parts : {2u, 4u}) {
        SCOPED_TRACE(parts);
        const auto [cov, cov_merged] =
            whole_and_merged<Double>(zvq_seq_covariance_double, zvq_seq_covariance_double_merge, x, y, parts);
        EXPECT_NEAR(cov, ref.cov, 1e-12 * std::abs(ref.cov));
        EXPECT_NEAR(cov_merged, cov, 1e-12 * std::abs(cov));
        const auto [corr, corr_merged] =
            whole_and_merged<Double>(zvq_seq_correlation_double, zvq_seq_correlation_double_merge, x, y, parts);
        EXPECT_NEAR(corr, ref.corr, 1e-12 * std::abs(ref.corr));
        EXPECT_NEAR(corr_merged, corr, 1e-12 * std::abs(corr));
    }
    // Integers with negative values merge alike.
    std::vector<int32_t> a(4000), b(4000);
    for (size_t i = 0; i < a.size(); ++i) {
        a[i] = static_cast<int32_t>(rng() % 2001) - 1000;
        b[i] = (i < 2000 ? -3 : 2) * a[i] + static_cast<int32_t>(rng() % 11) - 5;
    }
    const Reference iref = two_pass(a, b);
    for (size_t parts : {2u, 4u}) {
        const auto [corr, merged] =
            whole_and_merged<Int4>(zvq_seq_correlation_int4, zvq_seq_correlation_int4_merge, a, b, parts);
        EXPECT_NEAR(corr, iref.corr, 1e-12);
        EXPECT_NEAR(merged, corr, 1e-12 * std::abs(corr));
    }
}

TEST(ComomentInput, EmptyPartsFailuresTypesAndBindings) {
    // An empty part prepares to SEQ_END and publishes nothing.
    auto ex = Script::of<Int4>({}), ey = Script::of<Int4>({});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_covariance_int4(&r, ex.rec(), ey.rec()), SEQ_OK);
    EXPECT_EQ(r.prepare, zvq_seq_prepare_aggregate);
    EXPECT_EQ(r.merge, zvq_seq_covariance_int4_merge);
    EXPECT_EQ(r.prepare(&r), SEQ_END);
    EXPECT_EQ(r.next(&r), SEQ_END);

    // A failing operand mid-stream: its status, nothing published.
    auto fx = Script::of<Double>({{{1.0, 5}}, {{2.0, 5}}}).fail_at(1, SEQ_NOMEM);
    auto fy = Script::of<Double>({{{1.0, 10}}});
    ASSERT_EQ(zvq_seq_correlation_double(&r, fx.rec(), fy.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);

    auto d = Script::of<Double>({{{1.0, 1}}});
    auto i = Script::of<Int4>({{{1, 1}}});
    EXPECT_EQ(zvq_seq_covariance_double(&r, d.rec(), i.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(d.rec()->bound, 0);
    BindingChecks on(1);
    auto d2 = Script::of<Double>({{{1.0, 1}}});
    d2.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_correlation_double(&r, d.rec(), d2.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(d.rec()->bound, 0);
}

}  // namespace
}  // namespace zvq::test
