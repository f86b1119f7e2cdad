// filter over every element type: runs kept per overlap, the shorter operand
// ends the output, chunk capacity, failures; both fast paths against a plain
// loop over random runs.
#include <random>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class Filter : public ::testing::Test {};
TYPED_TEST_SUITE(Filter, NumericTags);

template <class Tag>
Runs<value_t<Tag>> filtered(const std::vector<Chunk<uint8_t>>& cond, const std::vector<Chunk<value_t<Tag>>>& input,
                            uint64_t* next_pos = nullptr) {
    auto c = Script::of<Uint1>(cond);
    auto in = Script::of<Tag>(input);
    zvq_seq_iterator r{};
    EXPECT_EQ(Fns<Tag>::filter(&r, c.rec(), in.rec()), SEQ_OK);
    auto out = drain_runs<value_t<Tag>>(r);
    if (next_pos) *next_pos = r.next_pos;
    return out;
}

TYPED_TEST(Filter, OneRunPerOverlapUnderATrueFlag) {
    using V = value_t<TypeParam>;
    uint64_t delivered = 0;
    // A true run of 200 over input runs of 100 and 100: two runs, never joined.
    EXPECT_EQ(filtered<TypeParam>({flags({{1, 200}})}, {{{V(4), 100}, {V(4), 100}}}), (Runs<V>{{V(4), 100}, {V(4), 100}}));
    // Runs of unequal lengths straddling chunk boundaries on both sides; the
    // false overlaps give nothing, whatever their length.
    const std::vector<Chunk<uint8_t>> cond = {flags({{1, 3}, {0, 250}}), flags({{1, 5}, {0, 1}, {1, 255}})};
    const std::vector<Chunk<V>> input = {{{V(1), 2}, {V(2), 255}}, {{V(3), 1}, {V(5), 255}, {V(6), 7}}};
    EXPECT_EQ(filtered<TypeParam>(cond, input, &delivered),
              (Runs<V>{{V(1), 2}, {V(2), 1}, {V(2), 4}, {V(3), 1}, {V(5), 254}, {V(6), 1}}));
    EXPECT_EQ(delivered, 263u);
    // A false run over several input runs, ending inside the last one.
    EXPECT_EQ(filtered<TypeParam>({flags({{0, 7}, {1, 3}})}, {{{V(1), 2}, {V(2), 2}, {V(3), 2}, {V(4), 4}}}),
              (Runs<V>{{V(4), 3}}));
    // The shorter operand ends the output, whichever it is; none is none.
    EXPECT_EQ(filtered<TypeParam>({flags({{1, 4}})}, {{{V(7), 9}}}), (Runs<V>{{V(7), 4}}));
    EXPECT_EQ(filtered<TypeParam>({flags({{1, 9}})}, {{{V(7), 2}}, {{V(8), 1}}}), (Runs<V>{{V(7), 2}, {V(8), 1}}));
    EXPECT_TRUE(filtered<TypeParam>({}, {{{V(7), 2}}}).empty());
    EXPECT_TRUE(filtered<TypeParam>({flags({{1, 3}})}, {}).empty());

    // Single runs under one true stretch fill chunks of the type's capacity.
    constexpr uint32_t cap = capacity<TypeParam>;
    auto c = Script::of<Uint1>({Chunk<uint8_t>(9, {1, 255})});
    auto in = Script::of<TypeParam>({Chunk<V>(cap + 3, {V(5), 1})});
    zvq_seq_iterator r{};
    ASSERT_EQ(Fns<TypeParam>::filter(&r, c.rec(), in.rec()), SEQ_OK);
    std::vector<uint32_t> sizes;
    drain_slots<V>(r, &sizes);
    EXPECT_EQ(sizes, (std::vector<uint32_t>{cap, 3}));
}

TEST(FilterFailure, CondReportsFirstAndTheTypesAreTested) {
    // cond is pulled first: at a common end its failure is what comes back,
    // and the gathered runs are abandoned while next_pos keeps them.
    auto c = Script::of<Uint1>({flags({{1, 5}})}).fail_at(1, SEQ_NOMEM);
    auto in = Script::of<Int4>({{{7, 5}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_filter_int4(&r, c.rec(), in.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.chunk_count, 0u);
    EXPECT_EQ(r.next_pos, 5u);
    EXPECT_EQ(in.pulls(), 1u);
    // cond must be uint1, whatever the member.
    auto doubles = Script::of<Double>({});
    EXPECT_EQ(zvq_seq_filter_double(&r, doubles.rec(), doubles.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(doubles.rec()->bound, 0);
}

// Random runs on both sides, aligned (the compacting pass) and not (with
// false runs over several input runs), against a plain loop over the
// expanded columns; sparse and dense conditions.
TEST(FilterRandom, MatchesAPlainLoopOverExpandedColumns) {
    std::mt19937 rng(7);
    for (int density : {1, 50, 99}) {
        for (bool aligned : {true, false}) {
            std::vector<Chunk<uint8_t>> cond(1);
            std::vector<Chunk<double>> input(1);
            std::vector<uint8_t> want_flags;
            std::vector<double> want_values;
            for (int run = 0; run < 3000; ++run) {
                const auto rep = static_cast<uint8_t>(aligned ? 1 + rng() % 3 : 1 + rng() % 5);
                const auto flag = static_cast<uint8_t>(int(rng() % 100) < density ? 1 + rng() % 200 : 0);
                const uint8_t vrep = aligned ? rep : static_cast<uint8_t>(1 + rng() % 4);
                if (cond.back().size() == 700) cond.emplace_back();
                if (input.back().size() == 455) input.emplace_back();
                cond.back().push_back({flag, rep});
                input.back().push_back({run * 0.5, vrep});
                want_flags.insert(want_flags.end(), rep, flag);
                want_values.insert(want_values.end(), vrep, run * 0.5);
            }
            std::vector<double> want;
            for (size_t i = 0; i < std::min(want_flags.size(), want_values.size()); ++i)
                if (want_flags[i]) want.push_back(want_values[i]);
            uint64_t delivered = 0;
            EXPECT_EQ(expand(filtered<Double>(cond, input, &delivered)), want) << density << aligned;
            EXPECT_EQ(delivered, want.size());
        }
    }
}

TEST(FilterChar, KeepsTheInputsWidth) {
    auto c = Script::of<Uint1>({flags({{0, 1}, {1, 2}, {0, 3}, {1, 1}})});
    auto in = Script::of_char(6, {{{"apple", 1}, {"pear", 2}, {"plum", 3}, {"fig", 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_filter_char(&r, c.rec(), in.rec()), SEQ_OK);
    EXPECT_EQ(r.elem_size, 6);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 2);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(r, 0))), "pear");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(r, 1))), "fig");
}

}  // namespace
}  // namespace zvq::test
