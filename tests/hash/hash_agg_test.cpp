// Hash aggregates: the folds per key over runs cut differently, the
// arithmetic of each family, the walk and its cursors, merges in parts, and
// failures at every allocation.
#include <cmath>
#include <csignal>
#include <limits>
#include <type_traits>

#include "aggregate/whole.hpp"
#include "pair_support.hpp"

namespace zvq::test {
namespace {

using PairCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*,
                                    uint64_t);

// The groups of one pair over int4 keys.
template <class A, class VTag>
std::map<int32_t, A> aggregate(PairCtor ctor, const std::vector<Chunk<value_t<VTag>>>& values,
                               const std::vector<Chunk<int32_t>>& keys) {
    Script v = Script::of<VTag>(values), k = Script::of<Int4>(keys);
    PairRecs p;
    EXPECT_EQ(ctor(&p.agg, &p.grp, v.rec(), k.rec(), 0), SEQ_OK);
    return groups_of<int32_t, A>(p);
}

template <class T>
class HashAggTyped : public ::testing::Test {};
TYPED_TEST_SUITE(HashAggTyped, NumericTags);

// Keys 1 1 2 2 2 2 1 against values 3 3 7 7 7 7 5: the key run of 4 meets
// value runs of 3 and 1, and a key returns after another.
TYPED_TEST(HashAggTyped, EachFamilyFoldsPerKeyAcrossCutRuns) {
    using T = TypeParam;
    using V = value_t<T>;
    using S = value_t<wide_tag_t<T>>;
    using A = std::conditional_t<T::kind == Kind::Datetime, uint64_t, double>;
    const std::vector<Chunk<V>> values = {{{3, 1}, {3, 1}, {7, 3}}, {{7, 1}, {5, 1}}};
    const std::vector<Chunk<int32_t>> keys = {{{1, 2}, {2, 4}}, {{1, 1}}};
    EXPECT_EQ((aggregate<V, T>(Api<T>::hash_agg_max, values, keys)), (std::map<int32_t, V>{{1, 5}, {2, 7}}));
    EXPECT_EQ((aggregate<V, T>(Api<T>::hash_agg_min, values, keys)), (std::map<int32_t, V>{{1, 3}, {2, 7}}));
    EXPECT_EQ((aggregate<S, T>(Api<T>::hash_agg_sum, values, keys)), (std::map<int32_t, S>{{1, 11}, {2, 28}}));
    EXPECT_EQ((aggregate<A, T>(Api<T>::hash_agg_avg, values, keys)), (std::map<int32_t, A>{{1, A(11) / A(3)}, {2, 7}}));
}

TEST(HashAgg, ArithmeticOfEachFamily) {
    using M = std::map<int32_t, double>;
    // A 4-byte value widens before it multiplies: 2^30 x 4 does not wrap.
    EXPECT_EQ((aggregate<int64_t, Int4>(zvq_seq_hash_agg_sum_int4, {{{1 << 30, 4}}}, {{{1, 4}}})),
              (std::map<int32_t, int64_t>{{1, int64_t{1} << 32}}));
    EXPECT_EQ((aggregate<uint64_t, Uint8>(zvq_seq_hash_agg_sum_uint8, {{{uint64_t{1} << 63, 2}, {5, 1}}}, {{{1, 3}}})),
              (std::map<int32_t, uint64_t>{{1, 5}}));
    // A signed product turns into a double as an unsigned number.
    EXPECT_EQ((aggregate<double, Int1>(zvq_seq_hash_agg_avg_int1, {{{-1, 1}}}, {{{1, 1}}})),
              (M{{1, 18446744073709551616.0}}));
    EXPECT_EQ((aggregate<double, Float>(zvq_seq_hash_agg_sum_float, {{{0.1f, 3}}}, {{{1, 3}}})),
              (M{{1, static_cast<double>(0.1f * 3.0f)}}));
    EXPECT_EQ((aggregate<uint64_t, Datetime>(zvq_seq_hash_agg_avg_datetime, {{{1, 1}, {2, 1}}}, {{{1, 2}}})),
              (std::map<int32_t, uint64_t>{{1, 1}}));
    // A key run of 200 against value runs of 150 and 50: two folds, 200 elements.
    EXPECT_EQ((aggregate<int64_t, Int4>(zvq_seq_hash_agg_sum_int4, {{{1, 150}, {2, 50}}}, {{{7, 200}}})),
              (std::map<int32_t, int64_t>{{7, 250}}));
    EXPECT_EQ((aggregate<double, Int4>(zvq_seq_hash_agg_avg_int4, {{{1, 150}, {2, 50}}}, {{{7, 200}}})),
              (M{{7, 1.25}}));
    // A NaN that opens a group stays; a later one is ignored.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (PairCtor ctor : {zvq_seq_hash_agg_max_double, zvq_seq_hash_agg_min_double}) {
        const M got = aggregate<double, Double>(ctor, {{{nan, 1}, {2, 1}, {2, 1}, {nan, 1}}}, {{{1, 2}, {2, 2}}});
        EXPECT_TRUE(std::isnan(got.at(1)));
        EXPECT_EQ(got.at(2), 2.0);
    }
}

// The count reads no value: without values it counts key repeats, with
// values it only stops where they end.
TEST(HashAgg, CountTakesRepeatsAndStopsWithTheShorterOperand) {
    Script keys = Script::of<Int4>({{{1, 255}, {2, 3}, {1, 2}}});
    PairRecs p;
    ASSERT_EQ(zvq_seq_hash_agg_count(&p.agg, &p.grp, keys.rec(), 0), SEQ_OK);
    EXPECT_EQ((groups_of<int32_t, uint64_t>(p)), (std::map<int32_t, uint64_t>{{1, 257}, {2, 3}}));
    Script k = Script::of<Int4>({{{1, 10}, {2, 5}}}), v = Script::of<Uint8>({{{99, 4}}});
    PairRecs q;
    ASSERT_EQ(zvq_seq_hash_agg_count_uint8(&q.agg, &q.grp, v.rec(), k.rec(), 0), SEQ_OK);
    EXPECT_EQ((groups_of<int32_t, uint64_t>(q)), (std::map<int32_t, uint64_t>{{1, 4}}));
    EXPECT_EQ(k.pulls(), 1u);
    Script empty = Script::of<Int4>({});
    PairRecs e;
    ASSERT_EQ(zvq_seq_hash_agg_count(&e.agg, &e.grp, empty.rec(), 0), SEQ_OK);
    EXPECT_EQ(e.agg.next(&e.agg), SEQ_END);
    EXPECT_EQ(e.table()->count, 0u);
    EXPECT_EQ(e.grp.next(&e.grp), SEQ_END);
}

// 455 groups of 8-byte results and keys fill one chunk of each, then the
// end comes with chunk_count 0. Each iterator walks with its own cursors,
// the i-th key goes with the i-th aggregate, and a reset replays the table.
TEST(HashAgg, WalkFillsChunksWithACursorPerIterator) {
    Chunk<int64_t> keys, values;
    for (int64_t i = 0; i < 455; ++i) {
        keys.push_back({i * 7919, 2});
        values.push_back({i, 2});
    }
    Script k = Script::of<Int8>({keys}), v = Script::of<Int8>({values});
    PairRecs p;
    ASSERT_EQ(zvq_seq_hash_agg_sum_int8(&p.agg, &p.grp, v.rec(), k.rec(), 0), SEQ_OK);
    for (int round = 0; round < 2; ++round) {
        const auto key_chunks = drain_chunks<int64_t>(p.grp);
        EXPECT_EQ(p.grp.chunk_count, 0);
        EXPECT_EQ(p.grp.next_pos, 455u);
        const auto sum_chunks = drain_chunks<int64_t>(p.agg);
        ASSERT_EQ(key_chunks.size(), 1u);
        ASSERT_EQ(sum_chunks.size(), 1u);
        ASSERT_EQ(sum_chunks[0].size(), 455u);
        for (size_t i = 0; i < 455; ++i) EXPECT_EQ(key_chunks[0][i].value, sum_chunks[0][i].value / 2 * 7919);
        for (zvq_seq_iterator* r : {&p.agg, &p.grp}) EXPECT_EQ(r->reset(r), SEQ_OK);
    }
    EXPECT_EQ(k.pulls() + v.pulls(), 3u) << "replayed without reading the operands again";
}

// Wide keys group by all their bytes, those after a zero byte too.
TEST(HashAgg, WideKeysGroupByAllTheirBytes) {
    const std::string ab("ab", 2), abx("ab\0x", 4);
    Script k = Script::of_char(12, {{{ab, 2}, {abx, 1}, {ab, 1}}});
    Script v = Script::of<Int4>({{{1, 2}, {2, 1}, {4, 1}}});
    PairRecs p;
    ASSERT_EQ(zvq_seq_hash_agg_sum_int4(&p.agg, &p.grp, v.rec(), k.rec(), 0), SEQ_OK);
    EXPECT_EQ(p.grp.elem_size, 12);
    EXPECT_EQ(char_groups_of<int64_t>(p),
              (std::map<std::string, int64_t>{{std::string("ab\0\0\0\0\0\0\0\0\0\0", 12), 6},
                                              {std::string("ab\0x\0\0\0\0\0\0\0\0", 12), 2}}));
}

// Constructor refusals in order: value type, key width, then bindings, the
// values marked before the keys are tested; the pair's allocation last.
TEST(HashAgg, ConstructorRefusals) {
    PairRecs p;
    Script d = Script::of<Double>({}), k = Script::of<Int4>({}), wide(33, ZVQ_SEQ_TYPE_CHAR);
    EXPECT_EQ(zvq_seq_hash_agg_max_int4(&p.agg, &p.grp, d.rec(), k.rec(), 0), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_hash_agg_max_double(&p.agg, &p.grp, d.rec(), wide.rec(), 0), SEQ_TYPE_MISMATCH);
    EXPECT_FALSE(d.rec()->bound);
    k.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_hash_agg_max_double(&p.agg, &p.grp, d.rec(), k.rec(), 0), SEQ_ALREADY_BOUND);
    EXPECT_TRUE(d.rec()->bound);
    CountingAllocator alloc;
    alloc.fail_all();
    BindingChecks off(0);
    EXPECT_EQ(zvq_seq_hash_agg_max_double(&p.agg, &p.grp, d.rec(), k.rec(), 0), SEQ_NOMEM);
}

TEST(HashAggDeathTest, AValueFamilyWithoutValuesFaultsAtTheFirstPull) {
    Script k = Script::of<Int4>({{{1, 1}}});
    PairRecs p;
    ASSERT_EQ(zvq_seq_hash_agg_sum_int4(&p.agg, &p.grp, nullptr, k.rec(), 0), SEQ_OK);
    // The sanitizers would catch the signal; a caller gets the default.
    EXPECT_EXIT((std::signal(SIGSEGV, SIG_DFL), p.agg.next(&p.agg)), ::testing::KilledBySignal(SIGSEGV), "");
}

// Two and four parts give the whole, for every family; key 999 is in the
// last part only.
TEST(HashAgg, MergedPartsGiveTheWhole) {
    const Rows rows = random_rows(42, 4000, 200, 100, 999);
    for (size_t parts : {2u, 4u}) {
        SCOPED_TRACE(parts);
        for (PairCtor ctor : {zvq_seq_hash_agg_max_int4, zvq_seq_hash_agg_min_int4})
            EXPECT_EQ(in_parts<int32_t>(rows, parts, ctor), in_parts<int32_t>(rows, 1, ctor));
        EXPECT_EQ(in_parts<int64_t>(rows, parts, zvq_seq_hash_agg_sum_int4),
                  in_parts<int64_t>(rows, 1, zvq_seq_hash_agg_sum_int4));
        EXPECT_EQ(in_parts<double>(rows, parts, zvq_seq_hash_agg_avg_int4),
                  in_parts<double>(rows, 1, zvq_seq_hash_agg_avg_int4));
        EXPECT_EQ((in_parts<uint64_t, Uint8>(rows, parts, zvq_seq_hash_agg_count_uint8)),
                  (in_parts<uint64_t, Uint8>(rows, 1, zvq_seq_hash_agg_count_uint8)));
    }
    uint64_t total = 0;
    const auto counts = in_parts<uint64_t, Uint8>(rows, 4, zvq_seq_hash_agg_count_uint8);
    for (const auto& [key, count] : counts) total += count;
    EXPECT_EQ(total, 4000u);
    EXPECT_GT(counts.at(999), 0u);
}

// A merge needs two sides, each with a table it built itself by prepare.
TEST(HashAgg, MergeRefusesASideWithoutItsOwnTable) {
    Script k1 = Script::of<Int4>({{{1, 1}}}), k2 = Script::of<Int4>({{{2, 1}}});
    PairRecs p, q;
    ASSERT_EQ(zvq_seq_hash_agg_count(&p.agg, &p.grp, k1.rec(), 0), SEQ_OK);
    ASSERT_EQ(zvq_seq_hash_agg_count(&q.agg, &q.grp, k2.rec(), 0), SEQ_OK);
    ASSERT_EQ(p.grp.next(&p.grp), SEQ_OK);  // built by the key iterator
    ASSERT_EQ(q.agg.prepare(&q.agg), SEQ_OK);
    EXPECT_EQ(q.agg.merge(&q.agg, &p.agg), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(q.agg.merge(&q.agg, &q.agg), SEQ_BAD_ARGUMENT);
}

// 1100 keys of 12 bytes: the pair, the table, two entry blocks, a key block
// and nine growths; then a merge whose destination grows eight times.
TEST(HashAgg, EveryFailingAllocationOfABuildAndAMerge) {
    fail_each_allocation([&](CountingAllocator& alloc, uint64_t k) {
        Script keys = Script::of_char(12, names(1100));
        Script values = Script::of<Double>({{{1.5, 255}, {2.5, 255}}, {{3, 255}, {4, 255}, {5, 255}}});
        return build_failing_at(alloc, k, [&](PairRecs& p) {
            return zvq_seq_hash_agg_avg_double(&p.agg, &p.grp, values.rec(), keys.rec(), 2);
        });
    });
    fail_each_allocation([](CountingAllocator& alloc, uint64_t k) {
        return merge_failing_at(alloc, k, 6, [](PairRecs& p, zvq_seq_iterator*, zvq_seq_iterator* keys) {
            return zvq_seq_hash_agg_count(&p.agg, &p.grp, keys, 2);
        });
    });
}

}  // namespace
}  // namespace zvq::test
