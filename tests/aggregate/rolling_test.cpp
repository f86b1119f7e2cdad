// Rolling sum, avg, min, max, var and std: literal tables, every type against
// a plain loop over random runs, the shape of the output over long runs, the
// window's memory, and bad input.
#include <cmath>
#include <limits>
#include <random>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

using RollCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, uint64_t);


template <class Out, class Tag>
std::vector<zvq::test::Run<Out>> rolled(RollCtor ctor, const std::vector<Chunk<value_t<Tag>>>& chunks, uint64_t window) {
    auto s = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, s.rec(), window), SEQ_OK);
    zvq_seq_status last;
    auto runs = drain_runs<Out>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(r.next_pos, expand(runs).size());
    zvq_seq_free_buffer(&r);
    return runs;
}

template <class Out, class Tag>
std::vector<Out> rolled_values(RollCtor ctor, const std::vector<Chunk<value_t<Tag>>>& chunks, uint64_t window) {
    return expand(rolled<Out, Tag>(ctor, chunks, window));
}

// ---- literal tables ----------------------------------------------------------

TEST(RollingTable, WindowOfThreeOverOneToFive) {
    const std::vector<Chunk<int32_t>> in = {{{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}}};
    EXPECT_EQ((rolled_values<int64_t, Int4>(zvq_seq_rolling_sum_int4, in, 3)), (std::vector<int64_t>{1, 3, 6, 9, 12}));
    EXPECT_EQ((rolled_values<double, Int4>(zvq_seq_rolling_avg_int4, in, 3)),
              (std::vector<double>{1, 1.5, 2, 3, 4}));
    EXPECT_EQ((rolled_values<int32_t, Int4>(zvq_seq_rolling_min_int4, in, 3)), (std::vector<int32_t>{1, 1, 1, 2, 3}));
    EXPECT_EQ((rolled_values<int32_t, Int4>(zvq_seq_rolling_max_int4, in, 3)), (std::vector<int32_t>{1, 2, 3, 4, 5}));
    EXPECT_EQ((rolled_values<double, Int4>(zvq_seq_rolling_var_int4, in, 3)),
              (std::vector<double>{0, 0.25, 2.0 / 3, 2.0 / 3, 2.0 / 3}));
    const auto dev = rolled_values<double, Int4>(zvq_seq_rolling_std_int4, in, 3);
    ASSERT_EQ(dev.size(), 5u);
    EXPECT_DOUBLE_EQ(dev[1], 0.5);
    EXPECT_DOUBLE_EQ(dev[4], std::sqrt(2.0 / 3));
}

TEST(RollingTable, SignedValuesAndWideSums) {
    // Negative values sum as signed; an int1 window sums past its own range.
    EXPECT_EQ((rolled_values<int64_t, Int1>(zvq_seq_rolling_sum_int1, {{{-100, 2}, {100, 1}, {-128, 2}}}, 2)),
              (std::vector<int64_t>{-100, -200, 0, -28, -256}));
    EXPECT_EQ((rolled_values<uint64_t, Uint1>(zvq_seq_rolling_sum_uint1, {{{200, 3}}}, 2)),
              (std::vector<uint64_t>{200, 400, 400}));
    EXPECT_EQ((rolled_values<double, Int4>(zvq_seq_rolling_avg_int4, {{{-3, 1}, {-6, 1}}}, 5)),
              (std::vector<double>{-3, -4.5}));
    EXPECT_EQ((rolled_values<int8_t, Int1>(zvq_seq_rolling_max_int1, {{{-5, 1}, {-7, 2}, {-1, 1}}}, 2)),
              (std::vector<int8_t>{-5, -5, -7, -1}));
}

TEST(RollingRuns, ARunLongerThanTheWindowIsOneOutputRun) {
    // 5 x 1000 in runs of 255: the window fills element by element, then one
    // value from the 26th element on, in repeat bytes of 255.
    const std::vector<Chunk<int32_t>> in = {{{5, 255}, {5, 255}}, {{5, 255}, {5, 235}}};
    std::vector<zvq::test::Run<int64_t>> want;
    for (int64_t k = 1; k <= 25; ++k) want.push_back({5 * k, 1});
    for (uint8_t n : {255, 255, 255, 210}) want.push_back({130, n});
    EXPECT_EQ((rolled<int64_t, Int4>(zvq_seq_rolling_sum_int4, in, 26)), want);
    // avg, min, max, var: one value from the first element on.
    EXPECT_EQ((rolled<double, Int4>(zvq_seq_rolling_avg_int4, in, 26)),
              (std::vector<zvq::test::Run<double>>{{5, 255}, {5, 255}, {5, 255}, {5, 235}}));
    EXPECT_EQ((rolled<int32_t, Int4>(zvq_seq_rolling_max_int4, in, 26)),
              (std::vector<zvq::test::Run<int32_t>>{{5, 255}, {5, 255}, {5, 255}, {5, 235}}));
    EXPECT_EQ((rolled<double, Int4>(zvq_seq_rolling_var_int4, in, 26)),
              (std::vector<zvq::test::Run<double>>{{0, 255}, {0, 255}, {0, 255}, {0, 235}}));
}

TEST(RollingRuns, DrainingARunOfAnotherValueMovesPerElementThenSettles) {
    // 1 x 4 then 3 x 6, window 3: the 1s leave one by one, then 3s only.
    const std::vector<Chunk<int32_t>> in = {{{1, 4}, {3, 6}}};
    EXPECT_EQ((rolled<int64_t, Int4>(zvq_seq_rolling_sum_int4, in, 3)),
              (std::vector<zvq::test::Run<int64_t>>{{1, 1}, {2, 1}, {3, 2}, {5, 1}, {7, 1}, {9, 4}}));
    EXPECT_EQ((rolled<int32_t, Int4>(zvq_seq_rolling_min_int4, in, 3)),
              (std::vector<zvq::test::Run<int32_t>>{{1, 6}, {3, 4}}));
    EXPECT_EQ((rolled<int32_t, Int4>(zvq_seq_rolling_max_int4, in, 3)),
              (std::vector<zvq::test::Run<int32_t>>{{1, 4}, {3, 6}}));
}

TEST(RollingRuns, ARepeatByteOfZeroIs256Elements) {
    EXPECT_EQ((rolled<int64_t, Int4>(zvq_seq_rolling_sum_int4, {{{2, 0}}}, 1)),
              (std::vector<zvq::test::Run<int64_t>>{{2, 255}, {2, 1}}));
}

TEST(RollingFloat, NonFiniteValuesLeaveTheWindowWithTheirElement) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const auto sums = rolled_values<double, Double>(zvq_seq_rolling_sum_double,
                                                    {{{1, 1}, {nan, 1}, {2, 1}, {4, 1}, {inf, 1}, {-inf, 1}, {8, 2}}}, 2);
    ASSERT_EQ(sums.size(), 8u);
    EXPECT_EQ(sums[0], 1);
    EXPECT_TRUE(std::isnan(sums[1]) && std::isnan(sums[2]));
    EXPECT_EQ(sums[3], 6);
    EXPECT_EQ(sums[4], inf);
    EXPECT_TRUE(std::isnan(sums[5]));
    EXPECT_EQ(sums[6], -inf);
    EXPECT_EQ(sums[7], 16);
    // A NaN still in the window while later runs fill it or drain older ones.
    const auto filling =
        rolled_values<double, Double>(zvq_seq_rolling_sum_double, {{{1, 1}, {nan, 1}, {2, 3}, {7, 1}}}, 3);
    ASSERT_EQ(filling.size(), 6u);
    EXPECT_EQ(filling[0], 1);
    for (size_t i = 1; i < 4; ++i) EXPECT_TRUE(std::isnan(filling[i])) << i;
    EXPECT_EQ(filling[4], 6);
    EXPECT_EQ(filling[5], 11);
    // Extremes pass over NaN; a window of NaN alone gives NaN.
    const auto highs =
        rolled_values<double, Double>(zvq_seq_rolling_max_double, {{{3, 1}, {nan, 2}, {1, 1}}}, 2);
    ASSERT_EQ(highs.size(), 4u);
    EXPECT_EQ(highs[0], 3);
    EXPECT_EQ(highs[1], 3);
    EXPECT_TRUE(std::isnan(highs[2]));
    EXPECT_EQ(highs[3], 1);
}

TEST(RollingFloat, VarianceOfLargeCloseValuesKeepsItsDigits) {
    // Sums of squares near 1e18 would lose the spread of 1, 2, 3 entirely.
    const double base = 1e9;
    const auto var = rolled_values<double, Double>(
        zvq_seq_rolling_var_double, {{{base + 1, 1}, {base + 2, 1}, {base + 3, 1}, {base + 1, 1}, {base + 2, 1}}}, 3);
    ASSERT_EQ(var.size(), 5u);
    EXPECT_NEAR(var[2], 2.0 / 3, 1e-6);
    EXPECT_NEAR(var[3], 2.0 / 3, 1e-6);
    EXPECT_NEAR(var[4], 2.0 / 3, 1e-6);
}

// ---- every type against a plain loop ------------------------------------------

template <class V>
struct Expected {
    std::vector<double> sum, avg, var;
    std::vector<V> min, max;
};

template <class V>
Expected<V> plain_loop(const std::vector<V>& x, uint64_t window) {
    Expected<V> e;
    for (size_t i = 0; i < x.size(); ++i) {
        const size_t from = i + 1 > window ? i + 1 - window : 0;
        double s = 0;
        V lo = x[from], hi = x[from];
        for (size_t j = from; j <= i; ++j) {
            s += static_cast<double>(x[j]);
            lo = std::min(lo, x[j]);
            hi = std::max(hi, x[j]);
        }
        const double n = static_cast<double>(i + 1 - from), mean = s / n;
        double q = 0;
        for (size_t j = from; j <= i; ++j) q += (static_cast<double>(x[j]) - mean) * (static_cast<double>(x[j]) - mean);
        e.sum.push_back(s);
        e.avg.push_back(mean);
        e.var.push_back(q / n);
        e.min.push_back(lo);
        e.max.push_back(hi);
    }
    return e;
}

// Runs of 1 to 300 elements (a run past 255 is served as two) of a few
// values, so that neighbouring runs often share a value, in chunks of 1 to
// 40 runs so that runs straddle chunk boundaries.
template <class V>
std::vector<Chunk<V>> random_runs(std::mt19937_64& rng, size_t elements, std::vector<V>& flat) {
    std::vector<Chunk<V>> chunks(1);
    size_t chunk_runs = 1 + rng() % 40;
    while (flat.size() < elements) {
        const int64_t x = static_cast<int64_t>(rng() % 7) - (std::is_signed_v<V> ? 3 * static_cast<int64_t>(rng() % 2) : 0);
        const V v = static_cast<V>(x);
        size_t n = std::min<size_t>(elements - flat.size(), rng() % 4 == 0 ? 1 + rng() % 300 : 1 + rng() % 3);
        flat.insert(flat.end(), n, v);
        while (n != 0) {
            const uint8_t k = static_cast<uint8_t>(std::min<size_t>(n, 255));
            if (chunks.back().size() == chunk_runs) {
                chunks.emplace_back();
                chunk_runs = 1 + rng() % 40;
            }
            chunks.back().push_back({v, k});
            n -= k;
        }
    }
    return chunks;
}

template <class Tag>
class RollingLoop : public ::testing::Test {};
TYPED_TEST_SUITE(RollingLoop, NumericTags);

TYPED_TEST(RollingLoop, AgreesWithAPlainLoopOverRandomRuns) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using W = wide_t<Tag>;
    using R = Api<Tag>;
    std::mt19937_64 rng(Tag::code * 7919u + 1);
    for (uint64_t window : {uint64_t{1}, uint64_t{2}, uint64_t{26}, uint64_t{1000}, uint64_t{1} << 32}) {
        SCOPED_TRACE(window);
        std::vector<V> flat;
        const auto chunks = random_runs<V>(rng, 3000, flat);
        const Expected<V> e = plain_loop(flat, window);
        const auto sums = rolled_values<W, Tag>(R::rolling_sum, chunks, window);
        ASSERT_EQ(sums.size(), flat.size());
        for (size_t i = 0; i < flat.size(); ++i) ASSERT_EQ(static_cast<double>(sums[i]), e.sum[i]) << i;
        EXPECT_EQ((rolled_values<double, Tag>(R::rolling_avg, chunks, window)), e.avg);
        EXPECT_EQ((rolled_values<V, Tag>(R::rolling_min, chunks, window)), e.min);
        EXPECT_EQ((rolled_values<V, Tag>(R::rolling_max, chunks, window)), e.max);
        const auto var = rolled_values<double, Tag>(R::rolling_var, chunks, window);
        const auto dev = rolled_values<double, Tag>(R::rolling_std, chunks, window);
        ASSERT_EQ(var.size(), flat.size());
        ASSERT_EQ(dev.size(), flat.size());
        for (size_t i = 0; i < flat.size(); ++i) {
            ASSERT_NEAR(var[i], e.var[i], 1e-9 * (1 + e.var[i])) << i;
            ASSERT_NEAR(dev[i], std::sqrt(e.var[i]), 1e-6) << i;
        }
    }
}

TYPED_TEST(RollingLoop, ResetRewindsAndReleasesTheWindow) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    CountingAllocator alloc;
    auto s = Script::of<Tag>({{{V(1), 3}, {V(2), 1}}, {{V(3), 2}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<Tag>::rolling_max(&r, s.rec(), 2), SEQ_OK);
    const std::vector<zvq::test::Run<V>> want = {{V(1), 3}, {V(2), 1}, {V(3), 2}};
    EXPECT_EQ(drain_runs<V>(r), want);
    EXPECT_GT(alloc.live_blocks(), 0);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);
    EXPECT_EQ(s.resets(), 1u);
    EXPECT_EQ(drain_runs<V>(r), want);
    zvq_seq_free_buffer(&r);
    EXPECT_EQ(alloc.live_blocks(), 0);
}

// ---- memory ------------------------------------------------------------------

TEST(RollingMemory, TheWindowHoldsRunsNotItsLength) {
    // A window of 2^32 over 1,000 distinct values keeps 1,000 runs: a ring of
    // 1,024 slots of 16 bytes.
    std::vector<Chunk<double>> distinct(3);
    for (int i = 0; i < 1000; ++i) distinct[i / 400].push_back({static_cast<double>(i % 2 ? i : -i), 1});
    for (RollCtor ctor : {zvq_seq_rolling_sum_double, zvq_seq_rolling_var_double, zvq_seq_rolling_min_double}) {
        CountingAllocator alloc;
        auto s = Script::of<Double>(distinct);
        zvq_seq_iterator r{};
        ASSERT_EQ(ctor(&r, s.rec(), uint64_t{1} << 32), SEQ_OK);
        EXPECT_EQ(expand(drain_runs<double>(r)).size(), 1000u);
        EXPECT_LE(alloc.live_bytes(), 1024 * 16);
        EXPECT_EQ(alloc.live_blocks(), 1);
        zvq_seq_free_buffer(&r);
        EXPECT_EQ(alloc.live_bytes(), 0);
        EXPECT_FALSE(alloc.size_mismatch());
    }
    // A constant column needs one slot, however long the window.
    CountingAllocator alloc;
    auto s = Script::of<Int4>({{{7, 255}, {7, 255}, {7, 255}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_rolling_avg_int4(&r, s.rec(), 500), SEQ_OK);
    drain_runs<double>(r);
    EXPECT_EQ(alloc.allocations(), 1u);
    zvq_seq_free_buffer(&r);
}

TEST(RollingMemory, EveryFailedAllocationIsNomemAndLeaksNothing) {
    Chunk<int64_t> distinct;
    for (int i = 0; i < 300; ++i) distinct.push_back({1000 - i, 1});
    // The sum's ring grows to 512 slots in six allocations; the max's queue
    // of a falling column holds every run too.
    for (RollCtor ctor : {zvq_seq_rolling_sum_int8, zvq_seq_rolling_max_int8}) {
        uint64_t k = 1, made = 0;
        for (;; ++k) {
            SCOPED_TRACE(k);
            CountingAllocator alloc;
            alloc.fail_on(k);
            auto s = Script::of<Int8>({distinct});
            zvq_seq_iterator r{};
            ASSERT_EQ(ctor(&r, s.rec(), 1000), SEQ_OK);
            zvq_seq_status last;
            const auto runs = drain_runs<int64_t>(r, &last);
            zvq_seq_free_buffer(&r);
            EXPECT_EQ(alloc.live_blocks(), 0);
            EXPECT_FALSE(alloc.size_mismatch());
            if (last == SEQ_END) {
                made = alloc.allocations();
                EXPECT_EQ(expand(runs).size(), 300u);
                break;
            }
            ASSERT_EQ(last, SEQ_NOMEM);
        }
        EXPECT_EQ(made, 6u);
        EXPECT_EQ(k, made + 1);
    }
}

// ---- bad input ---------------------------------------------------------------

TEST(RollingInput, TypesBindingsWindowsAndFailures) {
    auto d = Script::of<Double>({{{1.0, 1}}});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_rolling_sum_int4(&r, d.rec(), 3), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(d.rec()->bound, 0);
    EXPECT_EQ(zvq_seq_rolling_avg_double(&r, d.rec(), 0), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(d.rec()->bound, 1);
    {
        BindingChecks on(1);
        EXPECT_EQ(zvq_seq_rolling_avg_double(&r, d.rec(), 3), SEQ_ALREADY_BOUND);
    }
    auto e = Script::of<Double>({{{1.0, 1}}});
    EXPECT_EQ(zvq_seq_rolling_std_double(&r, e.rec(), (uint64_t{1} << 32) + 1), SEQ_BAD_ARGUMENT);
    auto f = Script::of<Double>({{{1.0, 1}}});
    EXPECT_EQ(zvq_seq_rolling_std_double(&r, f.rec(), uint64_t{1} << 32), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_DOUBLE);
    EXPECT_EQ(r.prepare, nullptr);
    EXPECT_EQ(r.reset, zvq_seq_rolling_reset);

    // An operand failing at its second pull: the status comes up unchanged.
    auto g = Script::of<Int2>({{{1, 10}}, {{2, 10}}}).fail_at(1, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator q{};
    ASSERT_EQ(zvq_seq_rolling_min_int2(&q, g.rec(), 4), SEQ_OK);
    EXPECT_EQ(q.elem_type, ZVQ_SEQ_TYPE_INT2);
    zvq_seq_status last;
    EXPECT_TRUE(drain_runs<int16_t>(q, &last).empty());
    EXPECT_EQ(last, SEQ_BAD_ARGUMENT);
    zvq_seq_free_buffer(&q);
}

}  // namespace
}  // namespace zvq::test
