// take: values at positions, exact over runs on both sides (the drift of
// map is gone), runs kept where positions repeat or share an input run, the
// order rule and the end of either operand.
#include <numeric>
#include <random>

#include "select_support.hpp"

namespace zvq::test {
namespace {


template <class Tag>
class Take : public ::testing::Test {};
TYPED_TEST_SUITE(Take, NumericTags);

// The runs `take` gives; a reset gives the same again.
template <class Tag, class V = value_t<Tag>>
Runs<V> taken(const std::vector<Chunk<V>>& input, const std::vector<Chunk<uint64_t>>& pos,
              zvq_seq_status* last = nullptr) {
    auto in = Script::of<Tag>(input);
    auto ps = Script::of<Uint8>(pos);
    zvq_seq_iterator r{};
    EXPECT_EQ(Api<Tag>::take(&r, ps.rec(), in.rec()), SEQ_OK);
    auto got = drain_runs<V>(r, last);
    uint64_t total = 0;
    for (const auto& run : got) total += run.repeat;
    EXPECT_EQ(r.next_pos, total);
    EXPECT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(drain_runs<V>(r), got);
    return got;
}

TYPED_TEST(Take, ExactOverRunsWhereMapDrifts) {
    using V = value_t<TypeParam>;
    const V a = V(3), b = V(7);
    // The case: runs 0 x 3, 1 x 3 read at positions 0..5.
    EXPECT_EQ(taken<TypeParam>({{{V(0), 3}, {V(1), 3}}}, {ones<uint64_t>({0, 1, 2, 3, 4, 5})}),
              (Runs<V>{{V(0), 3}, {V(1), 3}}));
    // map's drift case: A x 10, B x 10 at 3, 5, 11 is A, A, B; positions in
    // one input run make one output run.
    EXPECT_EQ(taken<TypeParam>({{{a, 10}, {b, 10}}}, {ones<uint64_t>({3, 5, 11})}), (Runs<V>{{a, 2}, {b, 1}}));
    // A repeated position is one run of its repeats, however long the input
    // run; runs straddling chunks on both sides; 509 extends the run of 255.
    EXPECT_EQ(taken<TypeParam>({{{a, 255}}, {{b, 255}, {a, 1}}},
                               {{{254, 200}, {255, 2}}, {{509, 100}, {510, 1}}}),
              (Runs<V>{{a, 200}, {b, 102}, {a, 1}}));
}

TYPED_TEST(Take, AgainstAPlainLoopOverRandomRuns) {
    using V = value_t<TypeParam>;
    std::mt19937 rng(11);
    std::vector<V> flat;
    std::vector<Chunk<V>> input(1);
    for (int k = 0; k < 700; ++k) {
        const auto rep = static_cast<uint8_t>(1 + rng() % 255);
        const V v = V(rng() % 100);
        if (input.back().size() == 50) input.emplace_back();
        input.back().push_back({v, rep});
        flat.insert(flat.end(), rep, v);
    }
    std::vector<Chunk<uint64_t>> pos(1);
    std::vector<V> want;
    uint64_t p = 0;
    while (p < flat.size()) {
        const auto rep = static_cast<uint8_t>(1 + rng() % 3);
        if (pos.back().size() == 30) pos.emplace_back();
        pos.back().push_back({p, rep});
        want.insert(want.end(), rep, flat[p]);
        p += rng() % 400;
    }
    EXPECT_EQ(expand(taken<TypeParam>(input, pos)), want);
}

TEST(TakeChunks, ResultChunksHoldTheCapacityAndCharTakesItsWidth) {
    // 900 distinct positions over distinct int4 values: 819, then 81.
    std::vector<int32_t> col(900);
    std::iota(col.begin(), col.end(), 100);
    std::vector<uint64_t> all(900);
    std::iota(all.begin(), all.end(), 0);
    auto in = Script::of<Int4>(chunks_of(col, 300));
    auto ps = Script::of<Uint8>(chunks_of(all, 455));
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_take_int4(&r, ps.rec(), in.rec()), SEQ_OK);
    std::vector<size_t> sizes;
    EXPECT_EQ(singles_of<int32_t>(r, nullptr, &sizes), col);
    EXPECT_EQ(sizes, (std::vector<size_t>{819, 81}));

    auto words = Script::of_char(5, {{{"kiwi", 3}, {"fig", 2}}, {{"lime", 1}}});
    auto wp = Script::of<Uint8>({ones<uint64_t>({1, 3, 5})});
    zvq_seq_iterator w{};
    ASSERT_EQ(zvq_seq_take_char(&w, wp.rec(), words.rec()), SEQ_OK);
    ASSERT_EQ(w.next(&w), SEQ_OK);
    EXPECT_EQ(w.elem_size, 5);
    ASSERT_EQ(w.chunk_count, 3);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(w, 0))), "kiwi");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(w, 1))), "fig");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(slot_ptr(w, 2))), "lime");
    EXPECT_EQ(w.next(&w), SEQ_END);
}

TEST(TakeEnds, PastTheEndBadOrderAndFailingOperands) {
    const std::vector<Chunk<int64_t>> col = {{{1, 2}, {2, 2}}};
    zvq_seq_status last;
    // Past the end: what was gathered, then SEQ_END.
    EXPECT_EQ(taken<Int8>(col, {ones<uint64_t>({1, 3, 4, 9})}, &last), (Runs<int64_t>{{1, 1}, {2, 1}}));
    EXPECT_EQ(last, SEQ_END);
    // A smaller position: the runs before it, then SEQ_BAD_ORDER, again.
    auto in = Script::of<Int8>(col);
    auto ps = Script::of<Uint8>({ones<uint64_t>({0, 2, 1, 3})});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_take_int8(&r, ps.rec(), in.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 2);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ORDER);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ORDER);
    // An operand failing mid-stream: its status, the partial chunk dropped.
    auto bad = Script::of<Int8>({{{1, 2}}, {{2, 2}}}).fail_at(1, SEQ_NOMEM);
    auto ps2 = Script::of<Uint8>({ones<uint64_t>({0, 3})});
    zvq_seq_iterator f{};
    ASSERT_EQ(zvq_seq_take_int8(&f, ps2.rec(), bad.rec()), SEQ_OK);
    EXPECT_EQ(f.next(&f), SEQ_NOMEM);
    EXPECT_EQ(f.chunk_count, 0);
    // Empty positions: SEQ_END at once.
    EXPECT_TRUE(taken<Int8>(col, {}, &last).empty());
    EXPECT_EQ(last, SEQ_END);
}

TEST(TakeConstructor, TypesThenBindings) {
    auto in = Script::of<Double>({});
    auto ps = Script::of<Uint8>({});
    auto wrong = Script::of<Int8>({});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_take_double(&r, wrong.rec(), in.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_take_float(&r, ps.rec(), in.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(in.rec()->bound + ps.rec()->bound, 0);
    BindingChecks on(1);
    in.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_take_double(&r, ps.rec(), in.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(ps.rec()->bound, 0);
    in.rec()->bound = 0;
    EXPECT_EQ(zvq_seq_take_double(&r, ps.rec(), in.rec()), SEQ_OK);
    EXPECT_EQ(in.rec()->bound + ps.rec()->bound, 2);
}

}  // namespace
}  // namespace zvq::test
