// map: values at positions, exact over runs of one element, the drift over
// longer runs, the order rule and the end of either operand.
#include <numeric>

#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class Map : public ::testing::Test {};
TYPED_TEST_SUITE(Map, NumericTags);

using P = std::vector<uint64_t>;

// The values at `pos`, served n to a chunk; a reset serves the same again.
template <class Tag, class V = value_t<Tag>>
std::vector<V> mapped(const std::vector<Chunk<V>>& input, const P& pos, size_t n,
                      std::vector<size_t>* sizes = nullptr) {
    auto in = Script::of<Tag>(input);
    auto ps = Script::of<Uint8>(chunks_of(pos, n));
    zvq_seq_iterator r{};
    EXPECT_EQ(Api<Tag>::map(&r, in.rec(), ps.rec()), SEQ_OK);
    auto got = singles_of<V>(r, nullptr, sizes);
    EXPECT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(singles_of<V>(r), got);
    return got;
}

TYPED_TEST(Map, ExactOverSingleElementRunsAndChunksOfTheResultType) {
    using V = value_t<TypeParam>;
    std::vector<V> col;
    for (int p = 0; p < 12; ++p) col.push_back(V(10 + p));
    // The same position twice gives the same value twice; a whole chunk is
    // passed over; the last position is the last element.
    EXPECT_EQ(mapped<TypeParam>(chunks_of(col, 3), {0, 2, 2, 4, 5, 11}, 4),
              (std::vector<V>{V(10), V(12), V(12), V(14), V(15), V(21)}));
    // No positions, or positions past the input: nothing.
    EXPECT_TRUE(mapped<TypeParam>(chunks_of(col, 3), {}, 4).empty());
    EXPECT_TRUE(mapped<TypeParam>(chunks_of(col, 3), {3, 12}, 4).empty());
    // cap + 5 positions fill a chunk of the result type's capacity, then 5.
    constexpr uint32_t cap = capacity<TypeParam>;
    P all(cap + 5);
    std::iota(all.begin(), all.end(), 0);
    col.clear();
    for (uint64_t p : all) col.push_back(static_cast<V>(p % 7));
    std::vector<size_t> sizes;
    EXPECT_EQ(mapped<TypeParam>(chunks_of(col, 300), all, 455, &sizes), col);
    EXPECT_EQ(sizes, (std::vector<size_t>{cap, 5}));
}

TEST(MapDrift, TheCursorKeepsTheDistanceNotTheOffset) {
    // Over A x 10, B x 10 the positions 3, 5, 11 give A, A, A: after 5 the
    // stored offset is 2 and the run seems to reach to 13. From the start of
    // a run the walk is right: 12 alone is B.
    const std::vector<Chunk<int32_t>> ab = {{{'A', 10}, {'B', 10}}};
    EXPECT_EQ(mapped<Int4>(ab, {3, 5, 11}, 4), (std::vector<int32_t>{'A', 'A', 'A'}));
    EXPECT_EQ(mapped<Int4>(ab, {12}, 4), (std::vector<int32_t>{'B'}));
}

TEST(MapOrder, TypesThenAPositionBehindIsBadOrderAndLeavesTheRecord) {
    std::vector<double> col(460);
    P pos(457);
    for (uint64_t p = 0; p < col.size(); ++p) col[p] = p * 1.0;
    for (uint64_t p = 0; p < 455; ++p) pos[p] = p;
    pos[455] = 454;  // accepted: not behind
    pos[456] = 453;
    auto input = Script::of<Double>(chunks_of(col, 455));
    auto ps = Script::of<Uint8>(chunks_of(pos, 455));
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_map_double(&r, input.rec(), input.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_map_float(&r, input.rec(), ps.rec()), SEQ_TYPE_MISMATCH);
    ASSERT_EQ(zvq_seq_map_double(&r, input.rec(), ps.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(value_at<double>(r, 454), 454.0);
    EXPECT_EQ(r.next(&r), SEQ_BAD_ORDER);
    EXPECT_EQ(r.chunk_count, 455u);
    EXPECT_EQ(r.next_pos, 455u);
    EXPECT_EQ(r.state.words[0], 454u);  // map_pos
}

}  // namespace
}  // namespace zvq::test
