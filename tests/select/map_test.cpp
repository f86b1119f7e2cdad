// map: values at positions, exact over runs of one element, the drift over
// longer runs, the order rule and the end of either operand.
#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class Map : public ::testing::Test {};
TYPED_TEST_SUITE(Map, NumericTags);

template <class V>
std::vector<V> mapped(Pair ctor, Script& input, Script& pos, zvq_seq_status* last = nullptr,
                      zvq_seq_iterator* out = nullptr) {
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, input.rec(), pos.rec()), SEQ_OK);
    auto got = drain_runs<V>(r, last);
    for (const auto& run : got) EXPECT_EQ(run.repeat, 1);
    if (out) *out = r;
    return expand(got);
}

TYPED_TEST(Map, ExactOverSingleElementRunsAcrossChunks) {
    using V = value_t<TypeParam>;
    Chunk<V> a, b, c;
    for (int j = 0; j < 5; ++j) a.push_back({V(10 + j), 1});
    for (int j = 0; j < 3; ++j) b.push_back({V(20 + j), 1});
    for (int j = 0; j < 4; ++j) c.push_back({V(30 + j), 1});
    auto input = Script::of<TypeParam>({a, b, c});
    // The same position twice gives the same value twice; whole chunks are
    // passed over; the last position is the last element.
    auto pos = positions({{0, 2, 2, 4}, {5, 11}});
    zvq_seq_iterator r{};
    zvq_seq_status last;
    EXPECT_EQ(mapped<V>(Fns<TypeParam>::map, input, pos, &last, &r),
              (std::vector<V>{V(10), V(12), V(12), V(14), V(20), V(33)}));
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(r.next_pos, 6u);
    EXPECT_EQ(r.state.words[0], 11u);  // map_pos: the last position served
    EXPECT_EQ(r.elem_type, TypeParam::code);
}

TEST(MapDrift, TheCursorKeepsTheDistanceNotTheOffset) {
    // Over A x 10, B x 10 the positions 3, 5, 11 give A, A, A: after 5 the
    // stored offset is 2 and the run seems to reach to 13.
    auto input = Script::of<Int4>({{{'A', 10}, {'B', 10}}});
    auto pos = positions({{3, 5, 11}});
    EXPECT_EQ(mapped<int32_t>(zvq_seq_map_int4, input, pos), (std::vector<int32_t>{'A', 'A', 'A'}));
    // From the start of a run the walk is right: 12 alone is B.
    auto again = Script::of<Int4>({{{'A', 10}, {'B', 10}}});
    auto twelve = positions({{12}});
    EXPECT_EQ(mapped<int32_t>(zvq_seq_map_int4, again, twelve), (std::vector<int32_t>{'B'}));
}

TEST(MapOrder, APositionBehindIsBadOrderAndLeavesTheRecord) {
    Chunk<double> head, tail;
    for (int j = 0; j < 455; ++j) head.push_back({j * 1.0, 1});
    for (int j = 455; j < 460; ++j) tail.push_back({j * 1.0, 1});
    auto input = Script::of<Double>({head, tail});
    std::vector<uint64_t> first(455);
    for (uint64_t p = 0; p < 455; ++p) first[p] = p;
    auto pos = positions({first, {454, 453}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_map_double(&r, input.rec(), pos.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    ASSERT_EQ(r.chunk_count, 455u);
    EXPECT_EQ(value_at<double>(r, 454), 454.0);
    // 454 again is accepted; 453 is behind it.
    EXPECT_EQ(r.next(&r), SEQ_BAD_ORDER);
    EXPECT_EQ(r.chunk_count, 455u);
    EXPECT_EQ(r.next_pos, 455u);
    EXPECT_EQ(r.state.words[0], 454u);
}

TEST(MapEnd, EitherOperandEnding) {
    // The input ends before the positions: SEQ_END, and what this call
    // gathered is dropped.
    auto input = Script::of<Double>({{{1.5, 1}, {2.5, 1}}});
    auto pos = positions({{0, 1, 2}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_map_double(&r, input.rec(), pos.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(r.chunk_count, 0u);

    // No positions: SEQ_END at once; and a reset serves the same again.
    auto input2 = Script::of<Double>({{{1.5, 1}, {2.5, 1}}});
    auto none = positions({});
    zvq_seq_status last;
    EXPECT_TRUE(mapped<double>(zvq_seq_map_double, input2, none, &last).empty());
    EXPECT_EQ(last, SEQ_END);

    auto input3 = Script::of<Double>({{{1.5, 1}, {2.5, 1}, {3.5, 1}}});
    auto pos3 = positions({{1, 2}});
    ASSERT_EQ(zvq_seq_map_double(&r, input3.rec(), pos3.rec()), SEQ_OK);
    EXPECT_EQ(expand(drain_runs<double>(r)), (std::vector<double>{2.5, 3.5}));
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(r.state.words[0], 0u);
    EXPECT_EQ(expand(drain_runs<double>(r)), (std::vector<double>{2.5, 3.5}));
}

TEST(MapCapacity, ManyPositionsFillChunksOfTheResultType) {
    // 2100 positions into a uint1 column: chunks of 2048 and 52.
    std::vector<Chunk<uint8_t>> col(5);
    std::vector<std::vector<uint64_t>> pos_chunks(5);
    for (uint64_t p = 0; p < 2100; ++p) {
        col[p / 455].push_back({static_cast<uint8_t>(p % 7), 1});
        pos_chunks[p / 455].push_back(p);
    }
    auto input = Script::of<Uint1>(col);
    auto pos = positions(pos_chunks);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_map_uint1(&r, input.rec(), pos.rec()), SEQ_OK);
    std::vector<uint32_t> sizes;
    const auto got = drain_slots<uint8_t>(r, &sizes);
    EXPECT_EQ(sizes, (std::vector<uint32_t>{2048, 52}));
    for (uint64_t p = 0; p < 2100; ++p) ASSERT_EQ(got[p], p % 7) << p;
}

TEST(MapConstructor, TypesThenBindings) {
    BindingChecks on(1);
    auto input = Script::of<Double>({});
    auto pos = positions({});
    auto not_positions = Script::of<Int8>({});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_map_double(&r, input.rec(), not_positions.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_map_float(&r, input.rec(), pos.rec()), SEQ_TYPE_MISMATCH);
    ASSERT_EQ(zvq_seq_map_double(&r, input.rec(), pos.rec()), SEQ_OK);
    EXPECT_EQ(r.operand[0], pos.rec());
    EXPECT_EQ(r.operand[1], input.rec());
    EXPECT_EQ(r.reset, zvq_seq_map_reset);
    zvq_seq_iterator again{};
    EXPECT_EQ(zvq_seq_map_double(&again, input.rec(), pos.rec()), SEQ_ALREADY_BOUND);
}

}  // namespace
}  // namespace zvq::test
