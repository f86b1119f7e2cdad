// filter: one run per overlap, the shorter operand ends the output, chunk
// capacity, failures; both fast paths against a plain loop over random runs.
#include <random>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class Filter : public ::testing::Test {};
TYPED_TEST_SUITE(Filter, NumericTags);

template <class Tag, class V = value_t<Tag>>
Runs<V> filtered(const std::vector<Chunk<uint8_t>>& cond, const std::vector<Chunk<V>>& input) {
    auto c = Script::of<Uint1>(cond);
    auto in = Script::of<Tag>(input);
    zvq_seq_iterator r{};
    EXPECT_EQ(Api<Tag>::filter(&r, c.rec(), in.rec()), SEQ_OK);
    auto out = drain_runs<V>(r);
    EXPECT_EQ(r.next_pos, expand(out).size());
    return out;
}

TYPED_TEST(Filter, OneRunPerOverlapUnderATrueFlag) {
    using V = value_t<TypeParam>;
    struct Case {
        std::vector<Chunk<uint8_t>> cond;
        std::vector<Chunk<V>> input;
        Runs<V> want;
    };
    const Case cases[] = {
        {{flags({{1, 200}})}, {{{V(4), 100}, {V(4), 100}}}, {{V(4), 100}, {V(4), 100}}},  // never joined
        // Runs straddling chunk boundaries on both sides; false overlaps give
        // nothing, whatever their length.
        {{flags({{1, 3}, {0, 250}}), flags({{1, 5}, {0, 1}, {1, 255}})},
         {{{V(1), 2}, {V(2), 255}}, {{V(3), 1}, {V(5), 255}, {V(6), 7}}},
         {{V(1), 2}, {V(2), 1}, {V(2), 4}, {V(3), 1}, {V(5), 254}, {V(6), 1}}},
        // A false run over several input runs, ending inside the last one.
        {{flags({{0, 7}, {1, 3}})}, {{{V(1), 2}, {V(2), 2}, {V(3), 2}, {V(4), 4}}}, {{V(4), 3}}},
        // The shorter operand ends the output, whichever it is; none is none.
        {{flags({{1, 4}})}, {{{V(7), 9}}}, {{V(7), 4}}},
        {{flags({{1, 9}})}, {{{V(7), 2}}, {{V(8), 1}}}, {{V(7), 2}, {V(8), 1}}},
        {{}, {{{V(7), 2}}}, {}},
        {{flags({{1, 3}})}, {}, {}},
    };
    for (const Case& c : cases) EXPECT_EQ(filtered<TypeParam>(c.cond, c.input), c.want);
    // Single runs under one true stretch fill a chunk of the type's capacity.
    constexpr uint32_t cap = capacity<TypeParam>;
    auto c = Script::of<Uint1>({Chunk<uint8_t>(9, {1, 255})});
    auto in = Script::of<TypeParam>({Chunk<V>(cap, {V(5), 1}), Chunk<V>(3, {V(5), 1})});
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::filter(&r, c.rec(), in.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, cap);
}

TEST(FilterFailure, CondReportsFirstTheTypesAreTestedAndCharKeepsItsWidth) {
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
    auto doubles = Script::of<Double>({});
    EXPECT_EQ(zvq_seq_filter_double(&r, doubles.rec(), doubles.rec()), SEQ_TYPE_MISMATCH);  // cond is uint1
    EXPECT_EQ(doubles.rec()->bound, 0);

    auto flags_src = Script::of<Uint1>({flags({{0, 1}, {1, 2}, {0, 3}, {1, 1}})});
    auto words = Script::of_char(6, {{{"apple", 1}, {"pear", 2}, {"plum", 3}, {"fig", 1}}});
    ASSERT_EQ(zvq_seq_filter_char(&r, flags_src.rec(), words.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 2);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(r, 0))), "pear");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(r, 1))), "fig");
}

// Random runs on both sides, aligned (the compacting pass) and not (false
// runs over several input runs), against a plain loop over the expanded
// columns; sparse and dense conditions.
TEST(FilterRandom, MatchesAPlainLoopOverExpandedColumns) {
    std::mt19937 rng(7);
    for (int density : {1, 50, 99}) {
        for (bool aligned : {true, false}) {
            std::vector<uint8_t> flat_flags;
            std::vector<double> flat_values;
            std::vector<Chunk<uint8_t>> cond;
            std::vector<Chunk<double>> input;
            for (int run = 0; run < 3000; ++run) {
                const auto rep = static_cast<uint8_t>(aligned ? 1 + rng() % 3 : 1 + rng() % 5);
                const auto flag = static_cast<uint8_t>(int(rng() % 100) < density ? 1 + rng() % 200 : 0);
                const uint8_t vrep = aligned ? rep : static_cast<uint8_t>(1 + rng() % 4);
                if (run % 700 == 0) cond.emplace_back();
                if (run % 455 == 0) input.emplace_back();
                cond.back().push_back({flag, rep});
                input.back().push_back({run * 0.5, vrep});
                flat_flags.insert(flat_flags.end(), rep, flag);
                flat_values.insert(flat_values.end(), vrep, run * 0.5);
            }
            std::vector<double> want;
            for (size_t i = 0; i < std::min(flat_flags.size(), flat_values.size()); ++i)
                if (flat_flags[i]) want.push_back(flat_values[i]);
            EXPECT_EQ(expand(filtered<Double>(cond, input)), want) << density << aligned;
        }
    }
}

}  // namespace
}  // namespace zvq::test
