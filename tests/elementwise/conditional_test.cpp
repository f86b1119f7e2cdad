// iif (aligned columns) and if (interleaved streams).
#include <random>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

using Select = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);

template <class Tag>
class Selection : public ::testing::Test {};
TYPED_TEST_SUITE(Selection, NumericTags);

TYPED_TEST(Selection, IifPicksFromAlignedColumnsIfInterleavesStreams) {
    using V = value_t<TypeParam>;
    Script c1 = Script::of<Uint1>({{{1, 1}, {0, 1}, {1, 1}}}), a1 = Script::of<TypeParam>({{{V(10), 1}, {V(20), 1}, {V(30), 1}}}),
           b1 = Script::of<TypeParam>({{{V(40), 1}, {V(50), 1}, {V(60), 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(Api<TypeParam>::iif(&r, c1.rec(), a1.rec(), b1.rec()), SEQ_OK);
    EXPECT_EQ(expand(drain_runs<V>(r)), (std::vector<V>{V(10), V(50), V(30)}));

    // if reads only the chosen stream, but both must have a run ready: once
    // the third is used up the output ends, even where the second is chosen.
    for (bool third_goes_on : {true, false}) {
        Script c2 = Script::of<Uint1>({{{1, 1}, {0, 1}, {1, 1}}}),
               a2 = Script::of<TypeParam>({{{V(10), 1}, {V(20), 1}}}),
               b2 = Script::of<TypeParam>(third_goes_on ? std::vector<Chunk<V>>{{{V(30), 1}, {V(40), 1}}}
                                                        : std::vector<Chunk<V>>{{{V(30), 1}}});
        ASSERT_EQ(Api<TypeParam>::if_(&r, c2.rec(), a2.rec(), b2.rec()), SEQ_OK);
        EXPECT_EQ(expand(drain_runs<V>(r)),
                  third_goes_on ? (std::vector<V>{V(10), V(30), V(20)}) : (std::vector<V>{V(10), V(30)}));
    }
}

// Condition 1 x 3 against 10 x 2, 20 x 2 and 40 x 4. iif steps all three by
// the smallest repeat byte as it stands: 2, then 2 again, so the condition's
// run of 3 serves 4 elements. if steps by remainders and ends with the
// condition.
TEST(Selection, UnalignedRunsGiveIifItsSurplus) {
    for (Select op : {zvq_seq_iif_int4, zvq_seq_if_int4}) {
        Script c = Script::of<Uint1>({{{1, 3}}}), a = Script::of<Int4>({{{10, 2}, {20, 2}}}),
               b = Script::of<Int4>({{{40, 4}}});
        zvq_seq_iterator r{};
        ASSERT_EQ(op(&r, c.rec(), a.rec(), b.rec()), SEQ_OK);
        const bool iif = op == zvq_seq_iif_int4;
        EXPECT_EQ(drain_runs<int32_t>(r), iif ? (Runs<int32_t>{{10, 2}, {20, 2}}) : (Runs<int32_t>{{10, 2}, {20, 1}}));
        EXPECT_EQ(c.rec()->run_pos, iif ? 4 : 0);  // iif went past the repeat byte of 3
    }
}

// Columns with one run layout, cut into chunks at other places: iif is the
// element-wise choice, whether it meets the runs one by one or a stretch of
// equal repeats at once.
TEST(Selection, IifOverAlignedColumnsIsTheElementwiseChoice) {
    std::mt19937 gen(11);
    std::vector<uint8_t> repeats(3000), cond(3000);
    std::vector<double> a(3000), b(3000);
    for (size_t j = 0; j < repeats.size(); ++j) {
        repeats[j] = static_cast<uint8_t>(gen() % 4 == 0 ? 255 : 1 + gen() % 3);
        cond[j] = static_cast<uint8_t>(gen() % 3);  // 2 counts as true
        a[j] = static_cast<double>(j);
        b[j] = -static_cast<double>(j);
    }
    auto chunks = [&](auto values, size_t per) {
        std::vector<Chunk<typename decltype(values)::value_type>> out;
        for (size_t j = 0; j < values.size(); ++j) {
            if (j % per == 0) out.emplace_back();
            out.back().push_back({values[j], repeats[j]});
        }
        return out;
    };
    Script c = Script::of<Uint1>(chunks(cond, 700)), x = Script::of<Double>(chunks(a, 455)),
           y = Script::of<Double>(chunks(b, 300));
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_iif_double(&r, c.rec(), x.rec(), y.rec()), SEQ_OK);
    std::vector<double> want;
    for (size_t j = 0; j < repeats.size(); ++j) want.insert(want.end(), repeats[j], cond[j] ? a[j] : b[j]);
    EXPECT_EQ(expand(drain_runs<double>(r)), want);
}

TEST(Selection, CharMembersResetsAndFailures) {
    Script c = Script::of<Uint1>({{{0, 2}, {1, 1}}}), a = Script::of_char(3, {{{"abc", 3}}}),
           b = Script::of_char(3, {{{"xyz", 3}}}), narrow = Script::of_char(2, {});
    zvq_seq_iterator r{};
    EXPECT_EQ(zvq_seq_iif_char(&r, c.rec(), a.rec(), narrow.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_if_char(&r, a.rec(), a.rec(), b.rec()), SEQ_TYPE_MISMATCH);  // condition must be uint1
    ASSERT_EQ(zvq_seq_iif_char(&r, c.rec(), a.rec(), b.rec()), SEQ_OK);
    EXPECT_EQ(r.reset, &zvq_seq_iif_reset);
    EXPECT_NE(&zvq_seq_iif_reset, &zvq_seq_if_reset);  // resets tell operators apart
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(r.chunk), 6), "xyzabc");
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(c.resets() + a.resets() + b.resets(), 3u);

    Script c2 = Script::of<Uint1>({{{1, 5}}}), a2 = Script::of<Int8>({}), b2 = Script::of<Int8>({{{7, 5}}});
    a2.fail_at(0, SEQ_NOMEM);
    ASSERT_EQ(zvq_seq_if_int8(&r, c2.rec(), a2.rec(), b2.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
}

}  // namespace
