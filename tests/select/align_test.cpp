// stretch, stretch0 and asof_join: one behaviour over every (key, value)
// member, then the cases that need a particular member or operand.
#include <bit>
#include <limits>

#include "select_support.hpp"

namespace zvq::test {
namespace {

using Ctor3 = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);

template <class K, class V>
struct Pair {
    using Key = K;
    using Value = V;
};

template <class K, class V>
struct AlignFns;
#define ZVQ_TEST_ALIGN(k, K, k_c, v, V, v_c)                            \
    template <>                                                         \
    struct AlignFns<K, V> {                                             \
        static constexpr auto stretch = zvq_seq_stretch_##k##_##v;      \
        static constexpr auto stretch0 = zvq_seq_stretch0_##k##_##v;    \
        static constexpr Ctor3 asof_join = zvq_seq_asof_join_##k##_##v; \
    };
#define ZVQ_TEST_ALIGN_ROW(k, K, k_c) ZVQ_NUMERIC_TYPES_WITH(ZVQ_TEST_ALIGN, k, K, k_c)
ZVQ_TIME_KEY_TYPES(ZVQ_TEST_ALIGN_ROW)
#undef ZVQ_TEST_ALIGN_ROW
#undef ZVQ_TEST_ALIGN

// The 33 members as one type list: each row adds ", Pair<K, V>" after a
// leading void that is dropped.
template <class... T>
struct DropFirst;
template <class F, class... T>
struct DropFirst<F, T...> {
    using type = ::testing::Types<T...>;
};
#define ZVQ_TEST_PAIR(k, K, k_c, v, V, v_c) , Pair<K, V>
#define ZVQ_TEST_PAIR_ROW(k, K, k_c) ZVQ_NUMERIC_TYPES_WITH(ZVQ_TEST_PAIR, k, K, k_c)
using AllPairs = DropFirst<void ZVQ_TIME_KEY_TYPES(ZVQ_TEST_PAIR_ROW)>::type;
#undef ZVQ_TEST_PAIR_ROW
#undef ZVQ_TEST_PAIR

enum class Op { Stretch, Stretch0, Asof };

// A tree over three scripted operands, keys in one chunk. The result record
// is zero-filled, so values never written before read as 0.
template <class P>
struct Tree {
    using K = value_t<typename P::Key>;
    using V = value_t<typename P::Value>;
    Script ts1, ts2, values;
    zvq_seq_iterator r{};
    zvq_seq_status made;

    Tree(Op op, const std::vector<K>& t1, const std::vector<K>& t2, const std::vector<Chunk<V>>& vs, V filler = V(99),
         uint8_t key_repeat = 1)
        : ts1(Script::of<typename P::Key>(chunks_of(t1, 400, key_repeat))),
          ts2(Script::of<typename P::Key>(chunks_of(t2, 400, key_repeat))),
          values(Script::of<typename P::Value>(vs)) {
        using F = AlignFns<typename P::Key, typename P::Value>;
        made = op == Op::Asof       ? F::asof_join(&r, ts1.rec(), ts2.rec(), values.rec())
               : op == Op::Stretch0 ? F::stretch0(&r, ts1.rec(), ts2.rec(), values.rec(), filler)
                                    : F::stretch(&r, ts1.rec(), ts2.rec(), values.rec(), filler);
    }
    // The first n elements of an endless result, by the reading rule.
    std::vector<V> first(size_t n) {
        std::vector<V> out;
        while (out.size() < n && refill(r) == SEQ_OK) {
            out.push_back(current<V>(r));
            take(r, 1);
        }
        return out;
    }
};

template <class P>
class Align : public ::testing::Test {};
TYPED_TEST_SUITE(Align, AllPairs);

TYPED_TEST(Align, WorkedExamplesAndTheEdgesOfTheSeries) {
    using T = Tree<TypeParam>;
    using K = typename T::K;
    using V = typename T::V;
    using Vs = std::vector<V>;
    const auto vs = [](std::initializer_list<int> v, uint8_t repeat = 1) { return chunks_of(vals<V>(v), 400, repeat); };
    constexpr K top = std::numeric_limits<K>::max();
    struct Case {
        Op op;
        std::vector<K> ts1, ts2;
        std::vector<Chunk<V>> values;
        Vs want;  // the first elements; endless results repeat the last
    };
    const Case cases[] = {
        // ts1 stays at its first key: 5 steps through 2, 4, 6 and then repeats.
        {Op::Stretch, {5, 100}, {2, 4, 6, 8}, vs({1, 2, 3, 4}), Vs{1, 2, 3, 3, 3}},
        {Op::Stretch, {1}, {3, 4}, vs({1, 2}), Vs{1, 1, 1}},           // before the first key
        {Op::Stretch, {9}, {3, 4}, vs({1, 2}), Vs{1, 2, 99, 99}},      // past the last
        {Op::Stretch, {4}, {2, 4, 6}, vs({1, 2, 3}), Vs{1, 2, 3, 3}},  // equal: the next value after it
        {Op::Stretch, {4}, {}, vs({1}), Vs{99, 99, 99}},               // ts2 empty
        {Op::Stretch, {top}, {1, 2}, vs({1, 2}), Vs{1, 2, 99}},        // unsigned comparison
        // A values run of 3 serves three keys.
        {Op::Stretch, {7}, {1, 2, 3, 9}, {{{V(5), 3}, {V(6), 1}}}, Vs{5, 5, 5, 6, 6}},
        {Op::Asof, {7}, {2, 6, 9}, vs({1, 2, 3}), Vs{0, 1, 2, 2, 2}},
        {Op::Asof, {8}, {2, 6, 9}, vs({1, 2, 3}), Vs{0, 1, 3, 3, 3}},
        {Op::Asof, {5}, {3, 7}, vs({1, 2}), Vs{0, 1, 1}},     // a tie goes to the earlier key
        {Op::Asof, {7}, {7, 9}, vs({1, 2}), Vs{1, 1, 1}},     // equal: its own value
        {Op::Asof, {9}, {1, 2}, vs({1, 2}), Vs{0, 1, 2, 2}},  // past the last: the last, without end
        {Op::Asof, {1}, {9}, vs({4}), Vs{0, 0}},              // before: key 0 (value 0) is nearer
        {Op::Asof, {6}, {9}, vs({4}), Vs{4, 4}},              // before: the first key is nearer
        // At the key's width t - 0 is above 1 - t: the first key is nearer.
        {Op::Asof, {top}, {1}, vs({4}), Vs{4, 4, 4}},
        {Op::Asof, {7}, {1, 2, 3, 9}, {{{V(5), 3}, {V(6), 1}}}, Vs{0, 5, 5, 6, 6}},
    };
    for (const Case& c : cases) {
        T t(c.op, c.ts1, c.ts2, c.values);
        ASSERT_EQ(t.made, SEQ_OK);
        EXPECT_EQ(t.r.elem_type, TypeParam::Value::code);
        EXPECT_EQ(t.first(c.want.size()), c.want) << "case " << &c - cases;
        // Endless: the rest of the chunk repeats the last, and ts1 was pulled once.
        EXPECT_EQ(t.r.chunk_count, capacity<typename TypeParam::Value>);
        EXPECT_EQ(value_at<V>(t.r, t.r.chunk_count - 1), c.want.back());
        EXPECT_EQ(t.ts1.pulls(), 1u);
    }

    // stretch0 ends by itself; repeats of ts1 and ts2 change nothing.
    const Case merged[] = {
        {Op::Stretch0, {1, 3, 5}, {3, 4}, vs({1, 2}), Vs{99, 1, 2, 99}},
        {Op::Stretch0, {2, 4}, {2, 4}, vs({1, 2}), Vs{1, 2}},
        {Op::Stretch0, {2, 5}, {1, 2, 3}, vs({7}, 3), Vs{7, 7, 7, 99}},
        {Op::Stretch0, {5}, {3}, vs({1}), Vs{1, 99}},  // ts2 ran out with its chunk: a normal end
        {Op::Stretch0, {1, 2}, {}, vs({}), Vs{99, 99}},
        // ts1 ends with keys of ts2 left: values run on to their end, which drops the chunk.
        {Op::Stretch0, {1}, {3, 4}, vs({1, 2}), Vs{}},
        {Op::Stretch0, {}, {3}, vs({1}), Vs{}},
        {Op::Stretch, {}, {3}, vs({1}), Vs{}},
        {Op::Asof, {}, {3}, vs({1}), Vs{}},
        {Op::Asof, {4}, {}, vs({1}), Vs{}},
    };
    for (uint8_t key_repeat : {1, 7}) {
        for (const Case& c : merged) {
            T t(c.op, c.ts1, c.ts2, c.values, V(99), key_repeat);
            zvq_seq_status last;
            EXPECT_EQ(singles_of<V>(t.r, &last), c.want) << "case " << &c - merged;
            EXPECT_EQ(last, SEQ_END);
            // Once both ends are seen no operand is pulled again.
            const size_t pulls = t.ts1.pulls() + t.ts2.pulls() + t.values.pulls();
            EXPECT_EQ(t.r.next(&t.r), SEQ_END);
            if (c.op == Op::Stretch0 && !c.want.empty()) {
                EXPECT_EQ(t.ts1.pulls() + t.ts2.pulls() + t.values.pulls(), pulls);
            }
        }
    }
}

TEST(AlignReset, StepsFromTheStartAgainAndKeepsTheCarriedValues) {
    using T = Tree<Pair<Uint8, Int4>>;
    // asof over t 7: 0, 1, 2, 2, ... leaves prev 2 and next 3 (key 9).
    T a(Op::Asof, {7}, {2, 6, 9}, {ones<int32_t>({1, 2, 3})});
    EXPECT_EQ(a.first(3), (std::vector<int32_t>{0, 1, 2}));
    ASSERT_EQ(a.r.reset(&a.r), SEQ_OK);
    EXPECT_EQ(a.ts1.resets() + a.ts2.resets() + a.values.resets(), 3u);
    // The first step moves the left-over next value (3) into prev_value.
    EXPECT_EQ(a.first(4), (std::vector<int32_t>{3, 1, 2, 2}));

    T s(Op::Stretch, {9}, {3}, {ones<int32_t>({5})});
    EXPECT_EQ(s.first(2), (std::vector<int32_t>{5, 99}));
    ASSERT_EQ(s.r.reset(&s.r), SEQ_OK);
    EXPECT_EQ(s.first(2), (std::vector<int32_t>{5, 99}));

    // A failing reset of values stops at once; one of ts1 still clears
    // next_key (at 8) and ts2_ended (at 16).
    const zvq_seq_next_fn script_reset = s.values.rec()->reset;
    const zvq_seq_next_fn fail = [](zvq_seq_iterator*) -> zvq_seq_status { return SEQ_NOMEM; };
    s.values.rec()->reset = fail;
    EXPECT_EQ(s.r.reset(&s.r), SEQ_NOMEM);
    EXPECT_EQ(s.ts1.resets(), 1u);
    EXPECT_EQ(load<uint32_t>(s.r.state.bytes + 16), 1u);
    s.values.rec()->reset = script_reset;
    s.ts1.rec()->reset = fail;
    EXPECT_EQ(s.r.reset(&s.r), SEQ_NOMEM);
    EXPECT_EQ(load<uint64_t>(s.r.state.bytes + 8) + load<uint32_t>(s.r.state.bytes + 16), 0u);
}

TEST(AlignValues, TypesBindingsFillerAndFailures) {
    BindingChecks on(1);
    Script k = Script::of<Uint8>({}), dt = Script::of<Datetime>({}), v = Script::of<Float>({});
    zvq_seq_iterator r{};
    // uint8 and datetime keys differ in their code alone.
    EXPECT_EQ(zvq_seq_stretch_uint8_float(&r, dt.rec(), k.rec(), v.rec(), 0), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_stretch0_uint8_float(&r, k.rec(), dt.rec(), v.rec(), 0), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_asof_join_uint8_double(&r, k.rec(), k.rec(), v.rec()), SEQ_TYPE_MISMATCH);
    v.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_asof_join_uint8_float(&r, k.rec(), k.rec(), v.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(k.rec()->bound, 0);

    using T = Tree<Pair<Datetime, Double>>;
    const double payload = std::bit_cast<double>(0x7ff8'0000'dead'beefull);
    T s(Op::Stretch, {5}, {}, {}, payload);
    EXPECT_EQ(std::bit_cast<uint64_t>(s.first(1).at(0)), 0x7ff8'0000'dead'beefull);

    // values ends while a key waits for it: 11 at once, the chunk is lost.
    T short_values(Op::Stretch, {5}, {1, 2}, {{{1.5, 1}}});
    short_values.r.chunk_count = 3;
    EXPECT_EQ(short_values.r.next(&short_values.r), SEQ_END);
    EXPECT_EQ(short_values.r.chunk_count, 3);
    EXPECT_EQ(short_values.r.next_pos, 0u);

    // ts2 fails on its second pull: stepping resumes from where it got to.
    Script ts1 = Script::of<Uint4>({{{5, 1}}});
    Script ts2 = Script::of<Uint4>({{{2, 1}}, {{4, 1}}}).fail_at(1, SEQ_NOMEM);
    Script values = Script::of<Uint2>({ones<uint16_t>({10, 20})});
    r = zvq_seq_iterator{};
    ASSERT_EQ(zvq_seq_asof_join_uint4_uint2(&r, ts1.rec(), ts2.rec(), values.rec()), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOMEM);
    EXPECT_EQ(r.next_pos, 0u);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    // prev (2, 10) and next (4, 20), then ts2 ends: the last value without end.
    EXPECT_EQ(value_at<uint16_t>(r, 0), 10);
    EXPECT_EQ(value_at<uint16_t>(r, 1), 20);
    EXPECT_EQ(value_at<uint16_t>(r, 1364), 20);
}

}  // namespace
}  // namespace zvq::test
