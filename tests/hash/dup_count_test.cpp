// Duplicate and distinct counts per key: the threshold crossed once per
// pair, values compared by their bytes, merges that recount across parts,
// the life of the pair table, and failures at every allocation.
#include "pair_support.hpp"

namespace zvq::test {
namespace {

using Counts = std::map<int32_t, uint64_t>;

template <class VTag>
Counts dup_counts(const std::vector<Chunk<value_t<VTag>>>& values, const std::vector<Chunk<int32_t>>& keys,
                  uint64_t min_count) {
    Script v = Script::of<VTag>(values), k = Script::of<Int4>(keys);
    PairRecs p;
    EXPECT_EQ(zvq_seq_hash_agg_dup_count(&p.agg, &p.grp, v.rec(), k.rec(), 0, 0, min_count), SEQ_OK);
    return groups_of<int32_t, uint64_t>(p);
}

TEST(DupCount, EachPairCrossesTheThresholdOnce) {
    // Values 5 5 7 under one key.
    const std::vector<Chunk<int32_t>> values = {{{5, 1}, {5, 1}, {7, 1}}}, keys = {{{1, 3}}};
    const std::pair<uint64_t, uint64_t> cases[] = {{0, 0}, {1, 2}, {2, 1}, {3, 0}};
    for (const auto& [min_count, count] : cases)
        EXPECT_EQ(dup_counts<Int4>(values, keys, min_count), (Counts{{1, count}})) << min_count;
    // A run of 200 crosses 100 at once under key 1; key 2 has no value that
    // reaches it and is delivered with 0.
    EXPECT_EQ(dup_counts<Int4>({{{9, 200}}}, {{{1, 150}, {2, 50}}}, 100), (Counts{{1, 1}, {2, 0}}));
    EXPECT_EQ(dup_counts<Float>({{{0.0f, 1}, {-0.0f, 1}, {0.0f, 1}}}, {{{3, 3}}}, 1), (Counts{{3, 2}}));
    EXPECT_TRUE(dup_counts<Int4>({}, keys, 1).empty());
}

// Wide values and keys compare by all their bytes, also after a zero byte.
TEST(DupCount, WideValuesAndKeys) {
    Script v = Script::of_char(10, {{{"a", 2}, {"b", 1}, {"a", 1}, {std::string("a\0z", 3), 1}}});
    Script k = Script::of_char(12, {{{"x", 3}, {"y", 2}}});
    PairRecs p;
    ASSERT_EQ(zvq_seq_hash_agg_distinct_count(&p.agg, &p.grp, v.rec(), k.rec(), 0, 0), SEQ_OK);
    EXPECT_EQ(char_groups_of<uint64_t>(p),
              (std::map<std::string, uint64_t>{{std::string("x", 1) + std::string(11, '\0'), 2},
                                               {std::string("y", 1) + std::string(11, '\0'), 2}}));
}

// The duplicate count at min_count 2 of the rows in `parts` merged parts.
Counts dup_in_parts(const Rows& rows, size_t parts) {
    return in_parts<uint64_t>(rows, parts, [](Rec* agg, Rec* grp, Rec* values, Rec* keys, uint64_t size) {
        return zvq_seq_hash_agg_dup_count(agg, grp, values, keys, size, size, 2);
    });
}

// Keys below 60, values below 30; key 77 only in the last quarter, so that it
// reaches the destination from a shell.
TEST(DupCount, MergedPartsGiveThePlainCount) {
    const Rows rows = random_rows(5, 4000, 60, 30, 77);
    std::map<int32_t, std::map<int32_t, uint64_t>> seen;
    for (size_t i = 0; i < rows.keys.size(); ++i) ++seen[rows.keys[i]][rows.values[i]];
    Counts want;
    for (const auto& [key, counts] : seen)
        for (const auto& [value, n] : counts) want[key] += n >= 2 ? 1 : 0;
    ASSERT_TRUE(want.count(77));
    for (size_t parts : {1u, 2u, 4u}) EXPECT_EQ(dup_in_parts(rows, parts), want) << parts;
}

// A value held once by each of two parts reaches min_count 2 only in the
// merge; key 2 is new to the destination.
TEST(DupCount, AValueReachesTheThresholdOnlyAcrossParts) {
    EXPECT_EQ(dup_in_parts({{1, 1, 1, 2}, {5, 6, 5, 8}}, 2), (Counts{{1, 1}, {2, 0}}));
    EXPECT_EQ(dup_in_parts({{1, 2, 1, 2}, {5, 8, 6, 8}}, 2), (Counts{{1, 0}, {2, 1}}));
}

// The duplicate and approximate counts test both bindings before marking
// either; key width comes first.
TEST(DupCount, ConstructorsBindBothOperandsOrNeither) {
    Script v = Script::of<Double>({}), k = Script::of<Int4>({}), wide(33, ZVQ_SEQ_TYPE_CHAR);
    PairRecs p;
    EXPECT_EQ(zvq_seq_hash_agg_distinct_count(&p.agg, &p.grp, v.rec(), wide.rec(), 0, 0), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_hash_agg_approxdc(&p.agg, &p.grp, v.rec(), wide.rec(), 0), SEQ_TYPE_MISMATCH);
    k.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_hash_agg_dup_count(&p.agg, &p.grp, v.rec(), k.rec(), 0, 0, 2), SEQ_ALREADY_BOUND);
    EXPECT_EQ(zvq_seq_hash_agg_approxdc(&p.agg, &p.grp, v.rec(), k.rec(), 0), SEQ_ALREADY_BOUND);
    EXPECT_FALSE(v.rec()->bound);
}

// The pair table lives from the build to the first pull of the iterator that
// built it; the other iterator's pull leaves it.
TEST(DupCount, PairTableGoesWithTheFirstPullOfItsBuilder) {
    CountingAllocator alloc;
    Script v = Script::of<Int4>({{{1, 3}}}), k = Script::of<Int4>({{{1, 3}}});
    PairRecs p;
    ASSERT_EQ(zvq_seq_hash_agg_distinct_count(&p.agg, &p.grp, v.rec(), k.rec(), 0, 0), SEQ_OK);
    ASSERT_EQ(p.agg.prepare(&p.agg), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 7);  // the pair; header, buckets and a block for each table
    EXPECT_EQ(p.grp.next(&p.grp), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 7);
    EXPECT_EQ(p.agg.next(&p.agg), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 4);
    EXPECT_EQ(value_at<uint64_t>(p.agg, 0), 1u);
}

// 1100 keys of 12 bytes with values of 10: both tables grow nine times and
// keep keys and values in key blocks; the merge grows both destination
// tables. A failed merge gives both pair tables back.
TEST(DupCount, EveryFailingAllocationOfABuildAndAMerge) {
    fail_each_allocation([&](CountingAllocator& alloc, uint64_t k) {
        Script keys = Script::of_char(12, names(1100)), values = Script::of_char(10, names(1100, "v"));
        return build_failing_at(alloc, k, [&](PairRecs& p) {
            return zvq_seq_hash_agg_dup_count(&p.agg, &p.grp, values.rec(), keys.rec(), 2, 2, 1);
        });
    });
    fail_each_allocation([](CountingAllocator& alloc, uint64_t k) {
        return merge_failing_at(alloc, k, 10, [](PairRecs& p, zvq_seq_iterator* values, zvq_seq_iterator* keys) {
            return zvq_seq_hash_agg_distinct_count(&p.agg, &p.grp, values, keys, 2, 2);
        });
    });
}

}  // namespace
}  // namespace zvq::test
