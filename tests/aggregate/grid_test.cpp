// Grid aggregates: ten elements by three over every numeric type with the
// real layout of each chunk, cell edges, chunk and call borders, NaN,
// failure and reset, and the folding of stretches against element by element.
#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include "aggregate/running.hpp"
#include "running_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class GridFamilies : public ::testing::Test {};
TYPED_TEST_SUITE(GridFamilies, NumericTags);

TYPED_TEST(GridFamilies, TenByThreeInTheirRealLayouts) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using R = Running<Tag>;
    using W = wide_t<Tag>;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // Cells 1 1 2 | 2 3 3 | 3 4 4 | 4: runs cross cells and chunks.
    const std::vector<Chunk<V>> in = {{{V(1), 2}, {V(2), 2}}, {{V(3), 3}, {V(4), 3}}};
    EXPECT_EQ((run_over<W, Tag>(R::grid_agg_sum, in, 3)), (Stretches<W>{{4, 1}, {8, 1}, {11, 1}, {4, 1}}));
    EXPECT_EQ((run_over<double, Tag>(R::grid_agg_avg, in, 3)),
              (Stretches<double>{{4 / 3., 1}, {8 / 3., 1}, {11 / 3., 1}, {4, 1}}));
    EXPECT_EQ((run_over<V, Tag>(R::grid_agg_min, in, 3)), (Stretches<V>{{V(1), 1}, {V(2), 1}, {V(3), 1}, {V(4), 1}}));
    EXPECT_EQ((run_over<V, Tag>(R::grid_agg_max, in, 3)), (Stretches<V>{{V(2), 1}, {V(3), 1}, {V(4), 2}}));
    // (sum, squares) per cell: (4, 6), (8, 22), (11, 41), (4, 16).
    EXPECT_EQ((run_over<double, Tag>(R::grid_agg_var, in, 3)),
              seq<double>({0.22222222222222232, 0.22222222222222263, 0.22222222222222143, 0}));
    EXPECT_EQ((run_over<double, Tag>(R::grid_agg_dev, in, 3)),
              seq<double>({0.4714045207910318, 0.4714045207910321, 0.47140452079103085, 0}));
    // n - 1 in both divisors, and 0.0 for the cell of one.
    EXPECT_EQ((run_over<double, Tag>(R::grid_agg_var_samp, in, 3)),
              (Stretches<double>{{-1, 1}, {-5, 1}, {-9.75, 1}, {0, 1}}));
    EXPECT_EQ((run_over<double, Tag>(R::grid_agg_dev_samp, in, 3)), (Stretches<double>{{nan, 3}, {0, 1}}));

    // Declared double whatever the layout.
    for (Sized ctor : R::grids)
        EXPECT_EQ(empty_shape<Tag>(ctor, ZVQ_SEQ_TYPE_DOUBLE, 8, 3), zvq_seq_reset_unary_agg_iterator);
}

TEST(GridCells, EdgesOfTheCellCount) {
    const std::tuple<uint64_t, std::vector<Chunk<int32_t>>, Stretches<int64_t>> table[] = {
        {1, {{{5, 3}, {2, 1}}}, {{5, 3}, {2, 1}}},
        {0, {{{5, 3}, {2, 1}}}, {{17, 1}}},  // one cell, closed at the end
        {10, {{{5, 3}, {2, 1}}}, {{17, 1}}},
        {2, {{{5, 3}, {2, 1}}}, {{10, 1}, {7, 1}}},            // no empty cell after an exact multiple
        {100, {{{1, 255}}, {{2, 45}}}, {{100, 2}, {145, 1}}},  // 55 ones stay open across the chunk
        {3, {{{1, 0}}}, {{3, 85}, {1, 1}}},                    // a repeat byte of 0 is 256 elements
    };
    for (const auto& [size, in, want] : table)
        EXPECT_EQ((run_over<int64_t, Int4>(zvq_seq_grid_agg_sum_int4, in, size)), want);
}

TEST(GridCells, ChunksFillToTheCapacityOfTheLayout) {
    std::vector<Chunk<int8_t>> in(2, Chunk<int8_t>(4, {1, 250}));  // 2000 elements
    const auto sizes_of = [](Sized ctor, std::vector<Chunk<int8_t>> chunks, uint64_t cell) {
        auto s = Script::of<Int1>(chunks);
        zvq_seq_iterator r{};
        EXPECT_EQ(ctor(&r, s.rec(), cell), SEQ_OK);
        zvq_seq_status last;
        std::vector<size_t> out;
        while ((last = r.next(&r)) == SEQ_OK) out.push_back(r.chunk_count);
        EXPECT_EQ(last, SEQ_END);
        return out;
    };
    EXPECT_EQ(sizes_of(zvq_seq_grid_agg_min_int1, in, 2), std::vector<size_t>{1000});
    EXPECT_EQ(sizes_of(zvq_seq_grid_agg_sum_int1, in, 2), (std::vector<size_t>{455, 455, 90}));
    // Input ending exactly with a full chunk: the next call answers SEQ_END.
    EXPECT_EQ(sizes_of(zvq_seq_grid_agg_sum_int1, {{{1, 255}, {1, 255}, {1, 255}, {1, 145}}}, 2),
              std::vector<size_t>{455});
}

TEST(GridNaN, ExtremesKeepANaNThatOpensACellOthersSpreadInTheirCellOnly) {
    using R = Running<Double>;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<Chunk<double>> in = {{{nan, 1}, {1, 1}, {2, 1}, {nan, 1}, {3, 1}}};
    EXPECT_EQ((run_over<double, Double>(R::grid_agg_max, in, 2)), (Stretches<double>{{nan, 1}, {2, 1}, {3, 1}}));
    EXPECT_EQ((run_over<double, Double>(R::grid_agg_min, in, 2)), (Stretches<double>{{nan, 1}, {2, 1}, {3, 1}}));
    EXPECT_EQ((run_over<double, Double>(R::grid_agg_sum, in, 2)), (Stretches<double>{{nan, 2}, {3, 1}}));
    EXPECT_EQ((run_over<double, Double>(R::grid_agg_var, in, 2)), (Stretches<double>{{nan, 2}, {0, 1}}));
}

TEST(GridFailure, TheOpenCellSurvivesAFailureAndAResetClearsIt) {
    const std::vector<Chunk<int32_t>> in = {{{1, 1}, {2, 1}, {3, 1}, {4, 1}}, {{5, 2}}};
    for (bool reset : {false, true}) {
        auto s = Script::of<Int4>(in).fail_at(1, SEQ_NOMEM);
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_grid_agg_sum_int4(&r, s.rec(), 3), SEQ_OK);
        EXPECT_EQ(r.next(&r), SEQ_NOMEM);
        EXPECT_EQ(r.chunk_count, 0);
        EXPECT_EQ(r.next_pos, 1u);  // the cell 1 2 3 closed, unpublished
        if (reset) {
            ASSERT_EQ(r.reset(&r), SEQ_OK);
            EXPECT_EQ(outputs<int64_t>(r), (Stretches<int64_t>{{6, 1}, {14, 1}}));
        } else {
            EXPECT_EQ(outputs<int64_t>(r), (Stretches<int64_t>{{14, 1}}));  // 4 5 5
        }
    }
}

TEST(GridStretches, FoldAtOnceToTheBitsOfElementByElement) {
    std::mt19937_64 gen(7);
    for (double scale : {1.0, 1 / 64.0, 0.1}) {  // integers, dyadic fractions, decimals that are not dyadic
        std::vector<Chunk<double>> runs(1), singles(1);
        for (int i = 0; i < 600; ++i) {
            const double v = static_cast<double>(gen() % 4000) * scale - 100;
            const auto rep = static_cast<uint8_t>(1 + gen() % 255);
            if (runs.back().size() == 455) runs.emplace_back();
            runs.back().push_back({v, rep});
            for (int j = 0; j < rep; ++j) {
                if (singles.back().size() == 455) singles.emplace_back();
                singles.back().push_back({v, 1});
            }
        }
        using R = Running<Double>;
        for (Sized ctor : {R::grid_agg_sum, R::grid_agg_avg, R::grid_agg_var, R::grid_agg_dev_samp})
            for (uint64_t cell : {1000, 77})
                EXPECT_EQ((run_over<double, Double>(ctor, runs, cell)), (run_over<double, Double>(ctor, singles, cell)))
                    << "scale " << scale << " cell " << cell;
    }
    // Near the edges of exactness: 2^53, mixed signs, subnormals, zeros.
    const double cases[][2] = {{9007199254740990., 1},
                               {-9007199254740990., -1},
                               {1e300, 1e300},
                               {0.5, 0x1p-60},
                               {4.9e-324, 4.9e-324},
                               {-0.0, -0.0},
                               {1e16, -3},
                               {0.1, 0.2},
                               {-7.5, 0.25},
                               {1e306, 1e306}};
    for (const auto& [acc, x] : cases)
        for (uint32_t k : {2u, 100u, 256u}) {
            double loop = acc;
            for (uint32_t j = 0; j < k; ++j) loop += x;
            const double got = repeat_add(acc, x, k);
            EXPECT_EQ(std::memcmp(&got, &loop, 8), 0) << acc << " + " << k << " x " << x;
        }
}

}  // namespace
}  // namespace zvq::test
