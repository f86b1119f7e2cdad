// reverse: one chunk mirrored with its runs, longer input expanded into a
// buffer that the reset releases.
#include <string>

#include "support/scripted_source.hpp"

namespace zvq::test {
namespace {


template <class Tag>
class Reverse : public ::testing::Test {};
TYPED_TEST_SUITE(Reverse, NumericTags);

TYPED_TEST(Reverse, OneChunkKeepsItsRunsLongerInputIsExpandedIntoABuffer) {
    using V = value_t<TypeParam>;
    const std::vector<Chunk<V>> one = {{{V(1), 3}, {V(2), 255}, {V(3), 1}}};
    const std::vector<Chunk<V>> two = {{{V(1), 100}, {V(2), 1}}, {{V(3), 199}}};  // runs straddle chunks
    Script s[] = {Script::of<TypeParam>(one), Script::of<TypeParam>({}), Script::of<TypeParam>(two),
                  Script::of<TypeParam>(two), Script::of<TypeParam>(two)};
    zvq_seq_iterator r[5] = {};
    for (int i = 0; i < 5; ++i) ASSERT_EQ(Api<TypeParam>::reverse(&r[i], s[i].rec()), SEQ_OK);
    CountingAllocator alloc;
    BindingChecks on(1);  // the short way reads no bound record directly
    EXPECT_EQ(drain_chunks<V>(r[0]), (std::vector<Chunk<V>>{{{V(3), 1}, {V(2), 255}, {V(1), 3}}}));
    EXPECT_EQ(r[0].next_pos, 259u);
    EXPECT_EQ(alloc.allocations(), 0u);
    EXPECT_EQ(r[1].next(&r[1]), SEQ_END);
    // The long way reads its own bound operand a second time.
    EXPECT_EQ(r[2].next(&r[2]), SEQ_ALREADY_BOUND);
    zvq_seq_free_buffer(&r[2]);

    BindingChecks off(0);
    std::vector<Run<V>> expected(199, {V(3), 1});  // runs expanded
    expected.push_back({V(2), 1});
    expected.insert(expected.end(), 100, {V(1), 1});
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(drain_runs<V>(r[3]), expected);
        EXPECT_EQ(alloc.live_bytes(), int64_t{300} * int64_t{sizeof(V)});
        ASSERT_EQ(r[3].reset(&r[3]), SEQ_OK);
        EXPECT_EQ(alloc.live_blocks(), 0);
    }
    alloc.fail_all();
    EXPECT_EQ(r[4].next(&r[4]), SEQ_NOMEM);
}

TEST(ReverseChar, ElementsWiderThanTheSwapBlock) {
    BindingChecks off(0);
    CountingAllocator alloc;
    const std::string a(300, 'a'), b = std::string(299, 'b') + 'c';  // differ past byte 256 too
    auto s = Script::of_char(300, {{{a, 2}}, {{b, 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_reverse_char(&r, s.rec()), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 3);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(r.chunk), 900), b + a + a);
    EXPECT_EQ(zvq_seq_reverse_char_reset(&r), SEQ_OK);
    EXPECT_EQ(alloc.live_blocks(), 0);
}

}  // namespace
}  // namespace zvq::test
