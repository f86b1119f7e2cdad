// group_agg_weighted_avg: sum(w * v) / sum(w) over each whole group, on
// every numeric type, with signed values, runs split by key runs, wide keys.
#include <cmath>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

using WeightedCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);


std::vector<double> results(zvq_seq_iterator& r) {
    std::vector<double> out;
    for (const auto& run : drain_runs<double>(r)) {
        EXPECT_EQ(run.repeat, 1);
        out.push_back(run.value);
    }
    return out;
}

template <class Tag, class KeyTag = Int4>
std::vector<double> weighted(const std::vector<Chunk<value_t<Tag>>>& w, const std::vector<Chunk<value_t<Tag>>>& v,
                             const std::vector<Chunk<value_t<KeyTag>>>& keys) {
    auto sw = Script::of<Tag>(w), sv = Script::of<Tag>(v);
    auto sk = Script::of<KeyTag>(keys);
    zvq_seq_iterator r{};
    EXPECT_EQ(Api<Tag>::group_agg_weighted_avg(&r, sw.rec(), sv.rec(), sk.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_DOUBLE);
    return results(r);
}

template <class Tag>
class WeightedAvg : public ::testing::Test {};
TYPED_TEST_SUITE(WeightedAvg, NumericTags);

TYPED_TEST(WeightedAvg, DividesByTheWholeGroupsWeight) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    // w = {1, 3}, v = {10, 20} in one group: 70 / 4.
    EXPECT_EQ((weighted<Tag>({{{V(1), 1}, {V(3), 1}}}, {{{V(10), 1}, {V(20), 1}}}, {{{1, 2}}})),
              (std::vector<double>{17.5}));
    // Runs of unequal lengths split by key runs across chunks:
    // key 1: w 2 x 3, v 7 x 2 then 9 -> (28 + 18) / 6; key 2: w 2, 5 x 2,
    // v 9, 4 x 2 -> (18 + 40) / 12.
    EXPECT_EQ((weighted<Tag>({{{V(2), 4}}, {{V(5), 2}}}, {{{V(7), 2}, {V(9), 2}}, {{V(4), 2}}},
                             {{{1, 3}}, {{2, 3}}})),
              (std::vector<double>{46.0 / 6, 58.0 / 12}));
}

TEST(WeightedAvgSigns, NegativeWeightsAndValuesAreSigned) {
    // key 1: w 2 2, v -10 20 -> 20 / 4; key 2: w -1 3, v 5 1 -> -2 / 2.
    EXPECT_EQ((weighted<Int4>({{{2, 2}, {-1, 1}, {3, 1}}}, {{{-10, 1}, {20, 1}, {5, 1}, {1, 1}}}, {{{1, 2}, {2, 2}}})),
              (std::vector<double>{5, -1}));
    EXPECT_EQ((weighted<Int8>({{{-4000000000, 3}}}, {{{-2, 3}}}, {{{0, 3}}})), (std::vector<double>{-2}));
    // Zero total weight: 0 / 0.
    const auto zero = weighted<Int2>({{{1, 1}, {-1, 1}}}, {{{5, 2}}}, {{{1, 2}}});
    ASSERT_EQ(zero.size(), 1u);
    EXPECT_TRUE(std::isnan(zero[0]));
}

TEST(WeightedAvgKeys, CharKeysAndManyGroups) {
    // char(2) keys compare by their bytes: "ab", "ab", "cd".
    auto w = Script::of<Double>({{{1.0, 1}, {3.0, 1}, {2.0, 1}}});
    auto v = Script::of<Double>({{{10.0, 1}, {20.0, 1}, {8.0, 1}}});
    auto k = Script::of_char(2, {{{"ab", 2}, {"cd", 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_group_agg_weighted_avg_double(&r, w.rec(), v.rec(), k.rec()), SEQ_OK);
    EXPECT_EQ(results(r), (std::vector<double>{17.5, 8}));

    // 1,000 groups of one element fill more than one output chunk.
    std::vector<Chunk<int32_t>> ws(2), vs(2), ks(2);
    std::vector<double> want;
    for (int32_t i = 0; i < 1000; ++i) {
        ws[i / 500].push_back({i % 5 + 1, 1});
        vs[i / 500].push_back({i, 1});
        ks[i / 500].push_back({i, 1});
        want.push_back(i);
    }
    EXPECT_EQ((weighted<Int4>(ws, vs, ks)), want);
}

TEST(WeightedAvgInput, TypesBindingsAndReset) {
    auto w = Script::of<Int4>({{{1, 1}}});
    auto v = Script::of<Double>({{{1.0, 1}}});
    auto k = Script::of<Int4>({{{1, 1}}});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_group_agg_weighted_avg_int4(&r, w.rec(), v.rec(), k.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(w.rec()->bound, 0);
    BindingChecks on(1);
    auto v2 = Script::of<Int4>({{{5, 2}}});
    k.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_group_agg_weighted_avg_int4(&r, w.rec(), v2.rec(), k.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(w.rec()->bound, 0);
    k.rec()->bound = 0;
    auto w2 = Script::of<Int4>({{{1, 1}, {3, 1}}});
    ASSERT_EQ(zvq_seq_group_agg_weighted_avg_int4(&r, w2.rec(), v2.rec(), k.rec()), SEQ_OK);
    EXPECT_EQ(r.reset, zvq_seq_reset_ternary_agg_iterator);
    EXPECT_EQ(results(r), (std::vector<double>{5}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(results(r), (std::vector<double>{5}));
}

}  // namespace
}  // namespace zvq::test
