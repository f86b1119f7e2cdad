// Group aggregates: the families over every numeric type, the group rule on
// keys of each width, the full chunk, the count, bindings, ends and resets.
#include <cmath>
#include <limits>
#include <string>

#include "agg_support.hpp"

namespace zvq::test {
namespace {

using GroupCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);
using WavgCtor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);

// Every result of a group aggregate, each a run of repeat 1.
template <class Out>
std::vector<Out> results(zvq_seq_iterator& r) {
    std::vector<Out> out;
    for (const auto& run : drain_runs<Out>(r)) {
        EXPECT_EQ(run.repeat, 1);
        out.push_back(run.value);
    }
    return out;
}

template <class Out, class Tag, class KeyTag = Int4>
std::vector<Out> grouped(GroupCtor ctor, const std::vector<Chunk<value_t<Tag>>>& values,
                         const std::vector<Chunk<value_t<KeyTag>>>& keys) {
    auto v = Script::of<Tag>(values);
    auto k = Script::of<KeyTag>(keys);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, v.rec(), k.rec()), SEQ_OK);
    return results<Out>(r);
}

template <class Tag>
class GroupFold : public ::testing::Test {};
TYPED_TEST_SUITE(GroupFold, NumericTags);

TYPED_TEST(GroupFold, EachFamilyOverGroupsOfKeyRuns) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using W = wide_t<Tag>;
    using G = Api<Tag>;
    // Elements 3 3 1 | 5 5 5 | 2 under key runs 1 1 | 2 2 | 1: equal adjacent
    // key runs join, the key that comes back opens a third group.
    const std::vector<Chunk<V>> values = {{{V(3), 2}, {V(1), 1}}, {{V(5), 3}, {V(2), 1}}};
    const std::vector<Chunk<int32_t>> keys = {{{1, 2}, {1, 1}}, {{2, 2}, {2, 1}, {1, 1}}};
    const auto run = [&]<class Out>(GroupCtor ctor, Out) { return grouped<Out, Tag>(ctor, values, keys); };
    EXPECT_EQ(run(G::group_agg_max, V()), (std::vector<V>{V(3), V(5), V(2)}));
    EXPECT_EQ(run(G::group_agg_min, V()), (std::vector<V>{V(1), V(5), V(2)}));
    EXPECT_EQ(run(G::group_agg_first, V()), (std::vector<V>{V(3), V(5), V(2)}));
    EXPECT_EQ(run(G::group_agg_last, V()), (std::vector<V>{V(1), V(5), V(2)}));
    EXPECT_EQ(run(G::group_agg_sum, W()), (std::vector<W>{W(7), W(15), W(2)}));
    if constexpr (Tag::kind == Kind::Datetime)
        EXPECT_EQ(run(G::group_agg_avg, uint64_t()), (std::vector<uint64_t>{2, 5, 2}));
    else
        EXPECT_EQ(run(G::group_agg_avg, 0.0), (std::vector<double>{7.0 / 3.0, 5.0, 2.0}));
    // Sums 7, 15, 2 and squares 19, 75, 4 over counts 3, 3, 1.
    EXPECT_EQ(run(G::group_agg_var, 0.0), (std::vector<double>{0.8888888888888893, 0.0, 0.0}));
    EXPECT_EQ(run(G::group_agg_dev, 0.0), (std::vector<double>{0.9428090415820636, 0.0, 0.0}));
    // n - 1 in both divisors, negative here; a one-element group gives 0.0.
    EXPECT_EQ(run(G::group_agg_var_samp, 0.0), (std::vector<double>{-2.75, -18.75, 0.0}));
    const auto dev_samp = run(G::group_agg_dev_samp, 0.0);
    ASSERT_EQ(dev_samp.size(), 3u);
    EXPECT_TRUE(std::isnan(dev_samp[0]) && std::isnan(dev_samp[1]));
    EXPECT_EQ(dev_samp[2], 0.0);
}

TYPED_TEST(GroupFold, ResultShapesAndFrame) {
    using Tag = TypeParam;
    using G = Api<Tag>;
    constexpr bool dt = Tag::kind == Kind::Datetime;
    const uint8_t d = ZVQ_SEQ_TYPE_DOUBLE;
    const uint8_t wide = wide_tag_t<Tag>::code;
    const std::pair<GroupCtor, uint8_t> table[] = {
        {G::group_agg_max, Tag::code},   {G::group_agg_min, Tag::code}, {G::group_agg_first, Tag::code},
        {G::group_agg_last, Tag::code},  {G::group_agg_sum, wide},      {G::group_agg_avg, dt ? wide : d},
        {G::group_agg_var, d},           {G::group_agg_var_samp, d},    {G::group_agg_dev, d},
        {G::group_agg_dev_samp, d}};
    BindingChecks off(0);
    auto v = Script::of<Tag>({}), k = Script::of<Int4>({});
    for (const auto& [ctor, type] : table) {
        zvq_seq_iterator r{};
        k.rec()->bound = 0;
        set_pending_count(r, 5);
        ASSERT_EQ(ctor(&r, v.rec(), k.rec()), SEQ_OK);
        EXPECT_EQ(r.elem_type, type);
        EXPECT_TRUE(r.reset == zvq_seq_reset_binary_agg_iterator && r.prepare == nullptr && r.merge == nullptr);
        EXPECT_EQ(pending_count(r), 0u);
        // Empty operands: SEQ_END, chunk_count left as it was.
        r.chunk_count = 9;
        EXPECT_EQ(r.next(&r), SEQ_END);
        EXPECT_EQ(r.chunk_count, 9);
    }
    zvq_seq_iterator r{};
    ASSERT_EQ(G::group_agg_wavg(&r, v.rec(), v.rec(), k.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_type, wide);
    EXPECT_EQ(r.reset, zvq_seq_reset_ternary_agg_iterator);
}

TYPED_TEST(GroupFold, WavgDividesByTheLastFoldsWeight) {
    using Tag = TypeParam;
    using V = value_t<Tag>;
    using W = wide_t<Tag>;
    // Folds (a 1, b 10) and (a 3, b 20) in one group: (10 + 60) / 3, truncated
    // for the integer results; a group of one fold (a 2, b 7, n 4) is its
    // weighted mean.
    auto a = Script::of<Tag>({{{V(1), 1}, {V(3), 1}, {V(2), 4}}});
    auto b = Script::of<Tag>({{{V(10), 1}}, {{V(20), 1}, {V(7), 4}}});
    auto keys = Script::of<Int4>({{{1, 2}, {2, 4}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<Tag>::group_agg_wavg(&r, a.rec(), b.rec(), keys.rec()), SEQ_OK);
    const W first = is_floating<Tag> ? W(70.0 / 3.0) : W(23);
    EXPECT_EQ(results<W>(r), (std::vector<W>{first, W(7)}));

    // One record as a and b reads through one cursor, run by run: the take
    // for b moves past the second run, which is never folded.
    BindingChecks off(0);
    auto same = Script::of<Tag>({{{V(1), 2}, {V(3), 2}}});
    auto k2 = Script::of<Int4>({{{1, 2}, {1, 2}}});
    ASSERT_EQ(Api<Tag>::group_agg_wavg(&r, same.rec(), same.rec(), k2.rec()), SEQ_OK);
    EXPECT_EQ(results<W>(r), (std::vector<W>{W(1)}));
}

TEST(GroupRule, KeyRunsAcrossChunksAndValueRunsAcrossKeyRuns) {
    // A key run of 300 served as 255 + 45 is one group; so are equal keys in
    // runs that split a value run.
    EXPECT_EQ((grouped<int64_t, Int4>(zvq_seq_group_agg_sum_int4, {{{2, 100}, {1, 200}}}, {{{7, 255}}, {{7, 45}}})),
              (std::vector<int64_t>{400}));
    // A value run of 7 against key runs of 3 and 4: 3 v and then 4 v.
    EXPECT_EQ((grouped<int64_t, Int4>(zvq_seq_group_agg_sum_int4, {{{5, 7}}}, {{{1, 3}, {2, 4}}})),
              (std::vector<int64_t>{15, 20}));
    // The shorter operand ends the last group: keys here, values below.
    EXPECT_EQ((grouped<int64_t, Int4>(zvq_seq_group_agg_sum_int4, {{{5, 7}}}, {{{1, 3}, {2, 2}}})),
              (std::vector<int64_t>{15, 10}));
    EXPECT_EQ((grouped<int64_t, Int4>(zvq_seq_group_agg_sum_int4, {{{5, 4}}}, {{{1, 3}, {2, 4}}})),
              (std::vector<int64_t>{15, 5}));
}

template <class KeyTag>
std::vector<int64_t> sums_by_keys(const std::vector<value_t<KeyTag>>& key_values) {
    Chunk<value_t<KeyTag>> keys;
    Chunk<int32_t> values;
    for (size_t j = 0; j < key_values.size(); ++j) {
        keys.push_back({key_values[j], 2});
        values.push_back({int32_t(j + 1), 2});
    }
    return grouped<int64_t, Int4, KeyTag>(zvq_seq_group_agg_sum_int4, {values}, {keys});
}

TEST(GroupRule, NarrowKeysCompareAllTheirBits) {
    // Keys that agree in their low byte or low half still differ.
    EXPECT_EQ(sums_by_keys<Int2>({0x100, 0x200, 0x200}), (std::vector<int64_t>{2, 10}));
    EXPECT_EQ(sums_by_keys<Uint8>({uint64_t{1} << 32, uint64_t{2} << 32, 1}), (std::vector<int64_t>{2, 4, 6}));
    EXPECT_EQ(sums_by_keys<Uint1>({9, 9, 8}), (std::vector<int64_t>{6, 6}));
    // Floats by their bits: 0.0 and -0.0 differ, a NaN equals itself.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(sums_by_keys<Double>({0.0, -0.0, nan, nan}), (std::vector<int64_t>{2, 4, 14}));
}

TEST(GroupRule, WideKeysAreReadAtTheSlotOfTheResultCount) {
    auto sum_by_text = [](const std::vector<std::vector<std::pair<std::string, uint8_t>>>& key_chunks,
                          uint16_t width) {
        std::vector<Chunk<int32_t>> values;
        for (const auto& c : key_chunks) {
            values.emplace_back();
            for (const auto& run : c) values.back().push_back({1, run.second});
        }
        auto v = Script::of<Int4>(values);
        auto k = Script::of_char(width, key_chunks);
        zvq_seq_iterator r{};
        EXPECT_EQ(zvq_seq_group_agg_sum_int4(&r, v.rec(), k.rec()), SEQ_OK);
        return results<int64_t>(r);
    };
    // Width 4 compares each key where it stands; width 3 compares slot 0
    // (no result yet) with itself within one chunk, and cuts a group only
    // where a new key chunk changes that slot.
    const std::vector<std::vector<std::pair<std::string, uint8_t>>> one_chunk = {{{"aaa", 2}, {"bbb", 3}, {"ccc", 1}}};
    EXPECT_EQ(sum_by_text(one_chunk, 4), (std::vector<int64_t>{2, 3, 1}));
    EXPECT_EQ(sum_by_text(one_chunk, 3), (std::vector<int64_t>{6}));
    EXPECT_EQ(sum_by_text({{{"aaa", 2}}, {{"bbb", 3}}}, 3), (std::vector<int64_t>{2, 3}));

    // 25 key chunks of 20 equal runs, the key changing with each chunk. At
    // width 200 a key chunk holds 20 slots, so a chunk of results stops at
    // 20 and the slot read stays inside the key chunk.
    std::vector<Chunk<int32_t>> values(25);
    std::vector<std::vector<std::pair<std::string, uint8_t>>> keys(25);
    for (int c = 0; c < 25; ++c)
        for (int j = 0; j < 20; ++j) {
            values[c].push_back({c, 1});
            keys[c].push_back({std::string(200, char('a' + c)), 1});
        }
    auto v = Script::of<Int4>(values);
    auto k = Script::of_char(200, keys);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_group_agg_sum_int4(&r, v.rec(), k.rec()), SEQ_OK);
    const auto chunks = drain_chunks<int64_t>(r);
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[0].size(), 20u);
    ASSERT_EQ(chunks[1].size(), 5u);
    EXPECT_EQ(chunks[1][4].value, 24 * 20);
}

TEST(GroupRule, AChunkFullOnAGroupBoundaryLosesNothing) {
    // 456 groups of 2 elements; the 456th is opened when the chunk is full
    // and read again by the next call. Value runs of 2 meet it at a run
    // start, runs of 3 in the middle of one.
    for (int len : {2, 3}) {
        std::vector<Chunk<double>> values(2);  // a chunk holds 455 doubles
        Chunk<int32_t> keys;
        for (int g = 0; g < 456; ++g) keys.push_back({g % 2, 2});
        for (int e = 0; e < 456 * 2; e += len) values[e < 600].push_back({double(e), uint8_t(len)});
        std::swap(values[0], values[1]);
        auto v = Script::of<Double>(values);
        auto k = Script::of<Int4>({keys});
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_group_agg_sum_double(&r, v.rec(), k.rec()), SEQ_OK);
        const auto chunks = drain_chunks<double>(r);
        ASSERT_EQ(chunks.size(), 2u);
        ASSERT_EQ(chunks[0].size(), 455u);
        ASSERT_EQ(chunks[1].size(), 1u);
        EXPECT_EQ(r.next_pos, 456u);
        // Element e holds len * floor(e / len); group g holds 2g and 2g + 1.
        const auto sum = [len](int g) { return double(len * (2 * g / len) + len * ((2 * g + 1) / len)); };
        for (int g : {0, 1, 454}) EXPECT_EQ(chunks[0][g].value, sum(g)) << g;
        EXPECT_EQ(chunks[1][0].value, sum(455));
    }
}

TEST(GroupSigns, AveragesReadTheIntegerSumAsUnsignedWhileSumIsExact) {
    const std::vector<Chunk<int8_t>> values = {{{-1, 1}, {3, 1}}};
    const std::vector<Chunk<int32_t>> keys = {{{1, 2}}};
    EXPECT_EQ((grouped<int64_t, Int1>(zvq_seq_group_agg_sum_int1, values, keys)), (std::vector<int64_t>{2}));
    // The sum 2 read as 2^64 + 2; the squares keep the sign: 1 + 9.
    EXPECT_EQ((grouped<double, Int1>(zvq_seq_group_agg_avg_int1, values, keys)), (std::vector<double>{0x1p63}));
    EXPECT_EQ((grouped<double, Int1>(zvq_seq_group_agg_var_int1, values, keys)), (std::vector<double>{-0x1p126}));
    // A 4-byte run is widened before it is multiplied: no 32-bit wrap.
    EXPECT_EQ((grouped<int64_t, Int4>(zvq_seq_group_agg_sum_int4, {{{10'000'000, 255}}}, {{{1, 255}}})),
              (std::vector<int64_t>{2'550'000'000}));
    EXPECT_EQ((grouped<uint64_t, Uint4>(zvq_seq_group_agg_sum_uint4, {{{4'000'000'000u, 2}}}, keys)),
              (std::vector<uint64_t>{8'000'000'000u}));
}

TEST(GroupBinding, EachShapeTestsAndMarksItsOwnWay) {
    auto v = Script::of<Double>({}), k = Script::of<Int4>({}), wrong = Script::of<Float>({});
    auto wide = Script::of_char(233, {}), widest = Script::of_char(232, {});
    zvq_seq_iterator r{};
    {
        BindingChecks on(1);
        EXPECT_EQ(zvq_seq_group_agg_sum_double(&r, wrong.rec(), k.rec()), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(zvq_seq_group_agg_sum_double(&r, v.rec(), wide.rec()), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(zvq_seq_group_agg_count(&r, wide.rec()), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(zvq_seq_group_agg_wavg_double(&r, v.rec(), v.rec(), wide.rec()), SEQ_TYPE_MISMATCH);
        EXPECT_EQ(v.rec()->bound | wide.rec()->bound, 0);
        // wavg marks all three or none.
        k.rec()->bound = 1;
        auto b = Script::of<Double>({});
        EXPECT_EQ(zvq_seq_group_agg_wavg_double(&r, v.rec(), b.rec(), k.rec()), SEQ_ALREADY_BOUND);
        EXPECT_EQ(v.rec()->bound | b.rec()->bound, 0);
        EXPECT_EQ(zvq_seq_group_agg_count(&r, k.rec()), SEQ_ALREADY_BOUND);
        EXPECT_EQ(zvq_seq_group_agg_sum_double(&r, v.rec(), widest.rec()), SEQ_OK);
    }
    BindingChecks off(0);
    // With checks off, bound keys still refuse, and the values stay marked.
    v.rec()->bound = 0;
    k.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_group_agg_max_double(&r, v.rec(), k.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(v.rec()->bound, 1);
    EXPECT_EQ(zvq_seq_group_agg_count(&r, k.rec()), SEQ_OK);
}

TEST(GroupLifecycle, FailureKeepsTheGroupAndResetStartsOver) {
    // The keys fail at their second pull, before anything was delivered.
    for (bool reset : {false, true}) {
        auto v = Script::of<Int4>({{{4, 3}, {6, 2}}});
        auto k = Script::of<Int4>({{{1, 3}}, {{1, 1}, {2, 1}}}).fail_at(1, SEQ_NOMEM);
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_group_agg_sum_int4(&r, v.rec(), k.rec()), SEQ_OK);
        r.chunk_count = 9;
        EXPECT_EQ(r.next(&r), SEQ_NOMEM);
        EXPECT_EQ(r.chunk_count, 9);
        EXPECT_EQ(pending_count(r), 3u);
        if (reset) {
            EXPECT_EQ(r.reset(&r), SEQ_OK);
            EXPECT_EQ(pending_count(r), 0u);
            EXPECT_EQ(v.resets() + k.resets(), 2u);
        }
        // Either the group in progress is completed, or all is read again.
        EXPECT_EQ(results<int64_t>(r), (std::vector<int64_t>{18, 6}));
    }
}

TEST(GroupCount, CountsWholeRunsPerGroup) {
    auto count = [](auto keys) {
        zvq_seq_iterator r{};
        EXPECT_EQ(zvq_seq_group_agg_count(&r, keys.rec()), SEQ_OK);
        return results<uint64_t>(r);
    };
    EXPECT_EQ(count(Script::of<Int4>({{{1, 2}, {1, 1}}, {{2, 2}, {2, 1}, {1, 1}}})), (std::vector<uint64_t>{3, 3, 1}));
    EXPECT_EQ(count(Script::of<Uint8>({{{uint64_t{1} << 40, 255}}, {{0, 1}}})), (std::vector<uint64_t>{255, 1}));
    // Wide keys are compared where they stand.
    EXPECT_EQ(count(Script::of_char(3, {{{"aaa", 2}, {"bbb", 3}, {"bbb", 1}}})), (std::vector<uint64_t>{2, 4}));
    EXPECT_EQ(count(Script::of<Int4>({})), (std::vector<uint64_t>{}));
}

TEST(GroupCount, StopsAtTheCapacityOfItsResultAndCountsEachRunOnce) {
    Chunk<int16_t> keys;  // 1000 groups of one run of 3
    for (int g = 0; g < 1000; ++g) keys.push_back({int16_t(g), 3});
    auto k = Script::of<Int2>({keys});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_group_agg_count(&r, k.rec()), SEQ_OK);
    const auto chunks = drain_chunks<uint64_t>(r);
    EXPECT_EQ(chunks, (std::vector<Chunk<uint64_t>>{Chunk<uint64_t>(455, {3, 1}), Chunk<uint64_t>(455, {3, 1}),
                                                     Chunk<uint64_t>(90, {3, 1})}));
}

}  // namespace
}  // namespace zvq::test
