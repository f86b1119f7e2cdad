// Approximate distinct counts: the register update, the estimator's ranges,
// the whole-sequence forms with their merge, one register set per group of
// adjacent keys, and one per hash group.
#include "core/approx_registers.hpp"

#include <array>
#include <cmath>
#include <numeric>

#include "pair_support.hpp"

namespace zvq::test {
namespace {

using Registers = std::array<uint8_t, kApproxRegisters>;

Registers filled(uint8_t value, uint32_t zeros = 0) {
    Registers r;
    r.fill(value);
    std::fill_n(r.begin(), zeros, 0);
    return r;
}

TEST(ApproxRegisters, IndexFromTheTopBitsRankFromTheLowEnd) {
    Registers r{};
    approx_update(r.data(), 0xFE000000u | 0b1000);  // index 127, rank 4
    approx_update(r.data(), 0xFE000000u | 0b10);    // rank 2 is below: kept 4
    approx_update(r.data(), 0x02000000u);           // index 1, low 25 bits all zero: 26
    approx_update(r.data(), 0x00000001u);           // index 0, rank 1
    Registers want{};
    want[127] = 4;
    want[1] = 26;
    want[0] = 1;
    EXPECT_EQ(r, want);
}

// Chosen register sets on both sides of each switch: the linear count below
// E = 320 while a register is 0, E itself, and the large-range logarithm,
// which collapses to 0 once E passes 2^32 - 1.
TEST(ApproxRegisters, EstimatorRanges) {
    const std::pair<Registers, int64_t> cases[] = {{filled(0), 0},         {filled(1, 127), 1}, {filled(26, 37), 158},
                                                   {filled(26, 36), 325},  {filled(1), 183},    {filled(20), 96001980},
                                                   {filled(21), 196428025}};
    for (const auto& [registers, want] : cases) EXPECT_EQ(approximate_distinct_count(registers.data()), want);
    EXPECT_EQ(approx_result(filled(26).data()), 0u);
}

// agg_approxdc's one result over an unget source, then the end.
template <class V>
uint32_t estimate(const std::vector<V>& column) {
    zvq_seq_iterator src{}, r{};
    if constexpr (std::is_same_v<V, int64_t>)
        EXPECT_EQ(zvq_seq_unget_int8(&src, column.data(), column.size()), SEQ_OK);
    else
        EXPECT_EQ(zvq_seq_unget_int4(&src, column.data(), column.size()), SEQ_OK);
    EXPECT_EQ(zvq_seq_agg_approxdc(&r, &src), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 1);
    EXPECT_EQ(repeat_at(r, 0), 1);
    EXPECT_EQ(r.next(&r), SEQ_END);
    return value_at<uint32_t>(r, 0);
}

TEST(AggApproxdc, ExactAtZeroAndOneWithinFourStandardErrorsBeyond) {
    EXPECT_EQ(estimate<int64_t>({}), 0u);
    EXPECT_EQ(estimate<int64_t>(std::vector<int64_t>(1000, 42)), 1u);
    for (size_t n : {1000u, 10000u, 100000u, 1000000u}) {
        std::vector<int64_t> column(n);
        std::iota(column.begin(), column.end(), -500);
        EXPECT_NEAR(estimate(column), n, 4 * 1.04 / std::sqrt(128.0) * n);
    }
    // An operand failure is passed up and nothing is published.
    Script failing = Script::of<Int4>({{{1, 1}}}).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_agg_approxdc(&r, failing.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);
}

// Ready hashes from zvq_seq_hash count as the column itself; two halves,
// prepared and merged, count as the whole, and merging a set with an equal
// one changes nothing.
TEST(AggApproxdc, HashFormAndMergesAgreeWithTheWhole) {
    std::vector<int32_t> column(60000);
    for (size_t i = 0; i < column.size(); ++i) column[i] = static_cast<int32_t>(i * 7 % 20011);
    const uint32_t whole = estimate(column);
    zvq_seq_iterator src{}, hashes{}, r{};
    ASSERT_EQ(zvq_seq_unget_int4(&src, column.data(), column.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_hash(&hashes, &src, nullptr), SEQ_OK);
    EXPECT_EQ(zvq_seq_agg_approxdc_hash(&r, &src), SEQ_TYPE_MISMATCH);
    ASSERT_EQ(zvq_seq_agg_approxdc_hash(&r, &hashes), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<uint32_t>(r, 0), whole);
    EXPECT_EQ(r.next(&r), SEQ_END);

    zvq_seq_iterator half[3] = {}, part[3] = {};
    const uint64_t sizes[3] = {30000, 30000, 60000};
    const int32_t* starts[3] = {column.data(), column.data() + 30000, column.data()};
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(zvq_seq_unget_int4(&half[i], starts[i], sizes[i]), SEQ_OK);
        ASSERT_EQ(zvq_seq_agg_approxdc(&part[i], &half[i]), SEQ_OK);
        ASSERT_EQ(part[i].prepare(&part[i]), SEQ_OK);
    }
    EXPECT_EQ(part[0].merge(&part[0], &part[1]), SEQ_OK);
    EXPECT_EQ(part[0].merge(&part[0], &part[2]), SEQ_OK);
    EXPECT_EQ(part[0].next(&part[0]), SEQ_OK);
    EXPECT_EQ(value_at<uint32_t>(part[0], 0), whole);
    EXPECT_EQ(part[0].next(&part[0]), SEQ_END);
}

// ---- per group of adjacent keys ---------------------------------------------

// Every estimate of a group form, each a run of repeat 1.
std::vector<uint32_t> group_estimates(zvq_seq_iterator& r) {
    std::vector<uint32_t> out;
    for (const auto& run : drain_runs<uint32_t>(r)) {
        EXPECT_EQ(run.repeat, 1);
        out.push_back(run.value);
    }
    return out;
}

// 2000 clusters of 1 to 300 rows (more results than the 819 a chunk holds),
// each counted as its own whole sequence would be; the ready-hash form over
// zvq_seq_hash of the values agrees.
TEST(GroupAggApproxdc, EachClusterCountsAsItsOwnSequence) {
    std::vector<int32_t> values, keys;
    std::vector<uint32_t> want;
    uint32_t seed = 12345;
    for (int32_t g = 0; g < 2000; ++g) {
        seed = seed * 1103515245u + 12345u;
        const uint32_t rows = 1 + (seed >> 16) % 300, range = 1 + (seed >> 8) % 200;
        std::vector<int32_t> cluster;
        for (uint32_t i = 0; i < rows; ++i) {
            seed = seed * 1103515245u + 12345u;
            cluster.push_back(static_cast<int32_t>((seed >> 12) % range));
        }
        want.push_back(estimate(cluster));
        values.insert(values.end(), cluster.begin(), cluster.end());
        keys.insert(keys.end(), rows, g % 3);  // neighbours always differ
    }
    zvq_seq_iterator v{}, k{}, r{};
    ASSERT_EQ(zvq_seq_unget_int4(&v, values.data(), values.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_unget_int4(&k, keys.data(), keys.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_group_agg_approxdc(&r, &v, &k), SEQ_OK);
    EXPECT_EQ(group_estimates(r), want);

    zvq_seq_iterator v2{}, k2{}, hashes{}, rh{};
    ASSERT_EQ(zvq_seq_unget_int4(&v2, values.data(), values.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_unget_int4(&k2, keys.data(), keys.size()), SEQ_OK);
    ASSERT_EQ(zvq_seq_hash(&hashes, &v2, nullptr), SEQ_OK);
    ASSERT_EQ(zvq_seq_group_agg_approxdc_hash(&rh, &hashes, &k2), SEQ_OK);
    EXPECT_EQ(group_estimates(rh), want);
}

// Value runs that cross key runs are split between the groups, and a value
// in many runs counts once. The keys fail at their second pull: the group in
// progress keeps its registers and goes on in the next call.
TEST(GroupAggApproxdc, RunsCountOnceAndAFailureKeepsTheRegisters) {
    auto v = Script::of<Int8>({{{7, 200}, {7, 3}, {8, 5}}, {{7, 9}, {9, 4}}});
    auto k = Script::of<Int4>({{{1, 203}}, {{1, 5}, {2, 9}, {3, 4}}}).fail_at(1, SEQ_NOMEM);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_group_agg_approxdc(&r, v.rec(), k.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(pending_count(r), 203u);
    EXPECT_EQ(group_estimates(r), (std::vector<uint32_t>{2, 1, 1}));
}

// The keys are neither tested nor marked; the values are. Keys of other
// widths than 1, 2, 4 and 8: the value form compares them whole at the slot
// of the result count, up to the 40 bytes it keeps; the ready-hash form
// compares their first 8 bytes as one word, at any width.
TEST(GroupAggApproxdc, BindingAndKeysOfOtherWidths) {
    auto hashes = [] { return Script::of<Uint4>({{{1u, 1}, {0x02000001u, 2}, {1u, 1}}}); };
    const std::string stem(39, 'x');
    auto k40 = Script::of_char(40, {{{stem + "a", 2}}, {{stem + "b", 2}}});
    zvq_seq_iterator r{};
    {
        BindingChecks on(1);
        auto h = hashes(), bound = hashes();
        bound.rec()->bound = 1;
        auto i4 = Script::of<Int4>({});
        k40.rec()->bound = 1;
        EXPECT_EQ(zvq_seq_group_agg_approxdc(&r, bound.rec(), k40.rec()), SEQ_ALREADY_BOUND);
        EXPECT_EQ(zvq_seq_group_agg_approxdc_hash(&r, i4.rec(), k40.rec()), SEQ_TYPE_MISMATCH);
        k40.rec()->bound = 0;
        ASSERT_EQ(zvq_seq_group_agg_approxdc(&r, h.rec(), k40.rec()), SEQ_OK);
        EXPECT_EQ(h.rec()->bound, 1);
        EXPECT_EQ(k40.rec()->bound, 0);
        EXPECT_EQ(group_estimates(r), (std::vector<uint32_t>{2, 2}));  // the keys differ at byte 40
    }
    auto k41 = Script::of_char(41, {{{stem + "ab", 1}}});
    auto h = hashes();
    ASSERT_EQ(zvq_seq_group_agg_approxdc(&r, h.rec(), k41.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_TYPE_MISMATCH);

    // Width 12 keys: only the first 8 bytes decide.
    auto k12 = Script::of_char(12, {{{"abcdefgh1111", 1}, {"abcdefgh2222", 2}, {"abcdefgX2222", 1}}});
    auto h12 = hashes();
    ASSERT_EQ(zvq_seq_group_agg_approxdc_hash(&r, h12.rec(), k12.rec()), SEQ_OK);
    EXPECT_EQ(group_estimates(r), (std::vector<uint32_t>{2, 1}));
}

// Each key's estimate is that of its own values over a whole sequence,
// computed whole or in merged parts; key 10 is in the last part only.
TEST(HashAggApproxdc, EachKeyCountsItsOwnValuesWholeOrInParts) {
    const Rows rows = random_rows(7, 30000, 10, 5000, 10);
    std::map<int32_t, std::vector<int32_t>> per_key;
    for (size_t i = 0; i < rows.keys.size(); ++i) per_key[rows.keys[i]].push_back(rows.values[i]);
    std::map<int32_t, uint32_t> want;
    for (const auto& [key, values] : per_key) want[key] = estimate(values);
    for (size_t parts : {1u, 2u, 4u}) EXPECT_EQ(in_parts<uint32_t>(rows, parts, zvq_seq_hash_agg_approxdc), want) << parts;
}

// 1100 keys of 12 bytes, each followed by its 128 registers in the key
// blocks (four of them), two entry blocks, nine growths; then a merge.
TEST(HashAggApproxdc, EveryFailingAllocationOfABuildAndAMerge) {
    fail_each_allocation([&](CountingAllocator& alloc, uint64_t k) {
        Script keys = Script::of_char(12, names(1100)), values = Script::of_char(6, names(1100, "v"));
        return build_failing_at(alloc, k, [&](PairRecs& p) {
            return zvq_seq_hash_agg_approxdc(&p.agg, &p.grp, values.rec(), keys.rec(), 2);
        });
    });
    fail_each_allocation([](CountingAllocator& alloc, uint64_t k) {
        return merge_failing_at(alloc, k, 6, [](PairRecs& p, zvq_seq_iterator* values, zvq_seq_iterator* keys) {
            return zvq_seq_hash_agg_approxdc(&p.agg, &p.grp, values, keys, 2);
        });
    });
}

}  // namespace
}  // namespace zvq::test
