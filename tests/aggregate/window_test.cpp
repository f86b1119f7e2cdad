// Sliding windows: the worked example over every numeric type, the one slot
// per output chunk, rescans and NaN, ema and atr across chunks, the size
// limits, a window_size of 0, failure and reset.
#include <cmath>
#include <csignal>
#include <limits>

#include "running_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class WindowFamilies : public ::testing::Test {};
TYPED_TEST_SUITE(WindowFamilies, NumericTags);

TYPED_TEST(WindowFamilies, ThreeOverOneToFiveInOneChunk) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using R = Running<Tag>;
    using W = wide_t<Tag>;
    constexpr bool dt = Tag::kind == Kind::Datetime;
    const std::vector<Chunk<V>> in = {{{V(1), 1}, {V(2), 1}, {V(3), 1}, {V(4), 1}, {V(5), 1}}};
    // Each element replaces its predecessor in slot 0; the other slots stay 0.
    EXPECT_EQ((run_over<W, Tag>(R::window_agg_sum, in, 3)), seq<W>({1, 2, 3, 4, 5}));
    if constexpr (dt)
        EXPECT_EQ((run_over<uint64_t, Tag>(R::window_agg_avg, in, 3)), (Stretches<uint64_t>{{0, 2}, {1, 3}}));
    else
        EXPECT_EQ((run_over<double, Tag>(R::window_agg_avg, in, 3)), seq<double>({1 / 3., 2 / 3., 1, 4 / 3., 5 / 3.}));
    EXPECT_EQ((run_over<V, Tag>(R::window_agg_min, in, 3)), (Stretches<V>{{V(0), 5}}));
    EXPECT_EQ((run_over<V, Tag>(R::window_agg_max, in, 3)), seq<V>({1, 2, 3, 4, 5}));
    // An equal value replacing the extreme: integers skip the rescan, floats
    // rescan; both keep 4, and the 2 that replaces it rescans to 2.
    EXPECT_EQ((run_over<V, Tag>(R::window_agg_max, {{{V(4), 3}, {V(2), 1}, {V(4), 2}}}, 3)),
              seq<V>({4, 4, 4, 2, 4, 4}));
    // Each window holds v, 0, 0: sum v, squares v * v.
    // Datetime: the integer mean square v * v / 3, then the truncated quotient.
    if constexpr (dt)
        EXPECT_EQ((run_over<uint64_t, Tag>(R::window_agg_var, in, 3)), seq<uint64_t>({0, 1, 2, 3, 5}));
    else
        EXPECT_EQ((run_over<double, Tag>(R::window_agg_var, in, 3)),
                  seq<double>({0.22222222222222224, 0.888888888888889, 2, 3.555555555555556, 5.5555555555555545}));
    EXPECT_EQ((run_over<double, Tag>(R::window_agg_var_samp, in, 3)), seq<double>({0.25, 1, 2.25, 4, 6.25}));
    EXPECT_EQ((run_over<double, Tag>(R::window_agg_dev, in, 3)),
              seq<double>({0.4714045207910317, 0.9428090415820634, 1.4142135623730951, 1.8856180831641267,
                           2.357022603955158}));
    EXPECT_EQ((run_over<double, Tag>(R::window_agg_dev_samp, in, 3)),
              seq<double>({0.5773502691896258, 1.1547005383792517, 1.7320508075688772, 2.3094010767585034,
                           2.8867513459481287}));
    // One chunk: ema and atr pass the input through.
    EXPECT_EQ((run_over<double, Tag>(R::window_agg_ema, in, 3)), seq<double>({1, 2, 3, 4, 5}));
    EXPECT_EQ((run_over<double, Tag>(R::window_agg_atr, in, 3)), seq<double>({1, 2, 3, 4, 5}));

    const uint8_t d = ZVQ_SEQ_TYPE_DOUBLE, wide = wide_tag_t<Tag>::code, avg = dt ? Tag::code : d;
    const uint8_t types[] = {wide, avg, Tag::code, Tag::code, avg, d, d, d, d, d};
    for (size_t i = 0; i < std::size(types); ++i)  // 8 bytes wide but min and max; a reset of their own
        EXPECT_NE(empty_shape<Tag>(R::windows[i], types[i], i == 2 || i == 3 ? Tag::size : 8, 3),
                  zvq_seq_reset_unary_iterator);
}

TYPED_TEST(WindowFamilies, OneSlotPerOutputChunkAndResetStartsAfresh) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using W = wide_t<Tag>;
    // 505 elements then 3: the run of 255 straddles the first output chunk.
    auto s = Script::of<Tag>({{{V(3), 250}, {V(7), 255}}, {{V(9), 2}, {V(4), 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(Running<Tag>::window_agg_sum(&r, s.rec(), 3), SEQ_OK);
    for (int pass = 0; pass < 2; ++pass) {
        const auto chunks = drain_chunks<W>(r);
        ASSERT_EQ(chunks.size(), 2u);
        EXPECT_EQ(chunks[0].size(), 455u);
        std::vector<W> all;
        for (const auto& c : chunks)
            for (const auto& run : c) all.push_back(run.value);
        // From p = 455 on the slot is 2; slot 0 keeps 7, the last element the
        // first chunk placed there.
        EXPECT_EQ(stretches(all), (Stretches<W>{{3, 250}, {7, 205}, {14, 50}, {16, 2}, {11, 1}}));
        EXPECT_EQ(r.next_pos, 508u);
        EXPECT_EQ(r.reset(&r), SEQ_OK);
    }
    EXPECT_EQ(s.resets(), 2u);
}

TYPED_TEST(WindowFamilies, SizeLimitByWidthAfterBinding) {
    using Tag = TypeParam;
    const uint64_t limit = 208 / Tag::size;
    BindingChecks on(1);
    for (Sized ctor : Running<Tag>::windows) {
        auto fits = Script::of<Tag>({}), over = Script::of<Tag>({}), wrong = Script::of_char(Tag::size, {});
        zvq_seq_iterator r{};
        EXPECT_EQ(ctor(&r, fits.rec(), limit), SEQ_OK);
        EXPECT_EQ(ctor(&r, fits.rec(), 1), SEQ_ALREADY_BOUND);
        EXPECT_EQ(ctor(&r, over.rec(), limit + 1), SEQ_BAD_ARGUMENT);
        EXPECT_EQ(over.rec()->bound, 1);
        EXPECT_EQ(ctor(&r, wrong.rec(), 1), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(wrong.rec()->bound, 0);
    }
}

using R8 = Running<Double>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(WindowExtremes, RescanZerosAndNaN) {
    EXPECT_EQ((run_over<int32_t, Int4>(Running<Int4>::window_agg_min, {{{1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}}}, 3)),
              (Stretches<int32_t>{{0, 5}}));
    EXPECT_EQ((run_over<int8_t, Int1>(Running<Int1>::window_agg_max, {{{-1, 1}, {-2, 1}}}, 3)),
              (Stretches<int8_t>{{0, 2}}));
    // A NaN entering slot 0 seeds the rescan and stays for good.
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_max, {{{5, 1}, {nan, 1}, {7, 1}}}, 2)),
              (Stretches<double>{{5, 1}, {nan, 2}}));
    // Third chunk, slot 0: the rescan skips the NaN left in slot 1 by the second.
    const std::vector<Chunk<double>> left = {{{1, 255}, {1, 200}}, {{2, 255}, {2, 199}, {nan, 1}}, {{0, 1}}};
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_max, left, 2)),
              (Stretches<double>{{1, 455}, {2, 454}, {1, 1}, {0, 1}}));
}

TEST(WindowSmoothing, EmaAndAtrFromTheSecondChunkNaNAndSizeEdges) {
    const std::vector<Chunk<double>> in = {{{1, 255}, {1, 200}}, {{3, 1}, {5, 1}}};
    // alpha 0.5; atr's n is 3 at once.
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_ema, in, 3)), (Stretches<double>{{1, 455}, {2, 1}, {3.5, 1}}));
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_atr, in, 3)),
              (Stretches<double>{{1, 455}, {1.6666666666666667, 1}, {2.777777777777778, 1}}));
    // Size 0: alpha 2, and atr divides by n = 0.
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_ema, in, 0)), (Stretches<double>{{1, 455}, {5, 2}}));
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_atr, in, 0)), (Stretches<double>{{inf, 457}}));
    // NaN spreads through the sums and atr's factor 0.0; ema's first chunk
    // takes each element as it is.
    const std::vector<Chunk<double>> with_nan = {{{1, 1}, {nan, 1}, {2, 1}}};
    for (Sized ctor :
         {R8::window_agg_sum, R8::window_agg_avg, R8::window_agg_var, R8::window_agg_dev_samp, R8::window_agg_atr}) {
        const auto got = run_over<double, Double>(ctor, with_nan, 3);
        ASSERT_EQ(got.size(), 2u);
        EXPECT_EQ(got[1], (Stretch<double>{nan, 2}));
    }
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_ema, with_nan, 3)),
              (Stretches<double>{{1, 1}, {nan, 1}, {2, 1}}));
    // Size 1: the sample forms divide by 0.
    EXPECT_EQ((run_over<double, Double>(R8::window_agg_var_samp, {{{2, 1}}}, 1)), (Stretches<double>{{-inf, 1}}));
    EXPECT_TRUE(std::isnan(run_over<double, Double>(R8::window_agg_dev_samp, {{{2, 1}}}, 1).at(0).value));
}

TEST(WindowVar, DatetimeSquaresWrapAndTheQuotientIsAnInteger) {
    // (2^32 + 1)^2 wraps to 2^33 + 1; m = that / 2 = 2^32; (2^32 + 1) / 2 truncates.
    const uint64_t v = (uint64_t{1} << 32) + 1;
    EXPECT_EQ((run_over<uint64_t, Datetime>(zvq_seq_window_agg_var_datetime, {{{v, 2}}}, 2)),
              (Stretches<uint64_t>{{2147483648u, 2}}));
    // dev stays in double: half of v, fraction and all.
    EXPECT_EQ((run_over<double, Datetime>(zvq_seq_window_agg_dev_datetime, {{{v, 1}}}, 2)),
              (Stretches<double>{{2147483648.5, 1}}));
}

TEST(WindowFailure, OutputsOfTheCallDroppedPositionsKept) {
    auto s = Script::of<Int4>({{{3, 250}, {7, 205}}, {{5, 1}}, {{6, 1}}}).fail_at(2, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_window_agg_sum_int4(&r, s.rec(), 3), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.chunk_count, 455);
    EXPECT_EQ(r.next_pos, 455u);
    // Slot 2 took 5 in the failed call; 6 replaces it: 7 + 6.
    EXPECT_EQ(outputs<int64_t>(r), (Stretches<int64_t>{{13, 1}}));
}

void fault(Sized ctor) {
    std::signal(SIGFPE, SIG_DFL);  // the sanitizers catch it otherwise
    auto s = Script::of<Int4>({{{4, 1}}});
    zvq_seq_iterator r{};
    ctor(&r, s.rec(), 0);
    r.next(&r);
}

TEST(WindowSizeZeroDeathTest, RingFamiliesFaultAtTheirFirstElement) {
    using R = Running<Int4>;
    for (Sized ctor :
         {R::window_agg_sum, R::window_agg_avg, R::window_agg_min, R::window_agg_max, R::window_agg_var,
          R::window_agg_var_samp, R::window_agg_dev, R::window_agg_dev_samp})
        EXPECT_EXIT(fault(ctor), ::testing::KilledBySignal(SIGFPE), "");
    // No element, no division.
    auto s = Script::of<Int4>({});
    zvq_seq_iterator r{};
    ASSERT_EQ(R::window_agg_sum(&r, s.rec(), 0), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
}

}  // namespace
}  // namespace zvq::test
