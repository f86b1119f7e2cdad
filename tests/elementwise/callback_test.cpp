// A caller's function per run: func, cond and func2, each with its _ctx form.
#include <cctype>
#include <string>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

template <class Tag>
struct Callbacks;
#define ZVQ_TEST_CALLBACKS(n, Tag, ctype)                                                              \
    template <>                                                                                        \
    struct Callbacks<Tag> {                                                                            \
        static constexpr auto func = zvq_seq_func_##n, func_ctx = zvq_seq_func_ctx_##n;                \
        static constexpr auto cond = zvq_seq_cond_##n, cond_ctx = zvq_seq_cond_ctx_##n;                \
        static constexpr auto func2 = zvq_seq_func2_##n, func2_ctx = zvq_seq_func2_ctx_##n;            \
    };
ZVQ_NUMERIC_TYPES(ZVQ_TEST_CALLBACKS)
#undef ZVQ_TEST_CALLBACKS

int calls = 0;
int marker = 0;  // the context handed back

template <class V>
V twice(V v) {
    ++calls;
    return static_cast<V>(v + v);
}
template <class V>
V twice_ctx(V v, void* ctx) {
    EXPECT_EQ(ctx, &marker);
    return twice(v);
}
template <class V>
uint8_t above_four(V v) {
    ++calls;
    return v > V(4) ? 7 : 0;  // any byte passes as it is
}
template <class V>
uint8_t above_four_ctx(V v, void* ctx) {
    EXPECT_EQ(ctx, &marker);
    return above_four(v);
}
template <class V>
V minus(V a, V b) {
    ++calls;
    return static_cast<V>(a - b);
}
template <class V>
V minus_ctx(V a, V b, void* ctx) {
    EXPECT_EQ(ctx, &marker);
    return minus(a, b);
}

template <class Tag>
class Callback : public ::testing::Test {};
TYPED_TEST_SUITE(Callback, NumericTags);

// One call per run, also for a run of 255; the repeat bytes pass through.
TYPED_TEST(Callback, OneCallPerRunWithTheContextHandedBack) {
    using V = value_t<TypeParam>;
    using C = Callbacks<TypeParam>;
    auto source = [] { return Script::of<TypeParam>({{{V(3), 255}, {V(5), 1}}, {{V(6), 2}}}); };
    zvq_seq_iterator r{};
    for (bool ctx : {false, true}) {
        Script src = source();
        calls = 0;
        ASSERT_EQ(ctx ? C::func_ctx(&r, src.rec(), twice_ctx<V>, &marker) : C::func(&r, src.rec(), twice<V>), SEQ_OK);
        EXPECT_EQ(drain_runs<V>(r), (Runs<V>{{V(6), 255}, {V(10), 1}, {V(12), 2}}));
        EXPECT_EQ(calls, 3);
        EXPECT_EQ(r.next_pos, 258u);

        Script src2 = source();
        calls = 0;
        ASSERT_EQ(ctx ? C::cond_ctx(&r, src2.rec(), above_four_ctx<V>, &marker) : C::cond(&r, src2.rec(), above_four<V>),
                  SEQ_OK);
        EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_UINT1);
        EXPECT_EQ(drain_runs<uint8_t>(r), (Runs<uint8_t>{{0, 255}, {7, 1}, {7, 2}}));
        EXPECT_EQ(calls, 3);
    }
}

// func2 runs on the overlap kernel: one call per overlap of a left and a
// right run, left before right.
TYPED_TEST(Callback, Func2CallsOncePerOverlap) {
    using V = value_t<TypeParam>;
    using C = Callbacks<TypeParam>;
    for (bool ctx : {false, true}) {
        Script l = Script::of<TypeParam>({{{V(9), 5}, {V(8), 2}}}), r = Script::of<TypeParam>({{{V(1), 3}, {V(2), 4}}});
        zvq_seq_iterator out{};
        calls = 0;
        ASSERT_EQ(ctx ? C::func2_ctx(&out, l.rec(), r.rec(), minus_ctx<V>, &marker)
                      : C::func2(&out, l.rec(), r.rec(), minus<V>),
                  SEQ_OK);
        EXPECT_EQ(drain_runs<V>(out), (Runs<V>{{V(8), 3}, {V(7), 2}, {V(6), 2}}));
        EXPECT_EQ(calls, 3);
    }
}

// The bound is that of the uint1 result: 2048 runs over five int8 chunks.
TEST(Callback, CondFillsTheBooleanCapacity) {
    std::vector<Chunk<int64_t>> in;
    for (int c = 0; c < 6; ++c) in.push_back(singles<int64_t>(455, c * 455));
    Script src = Script::of<Int8>(in);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_cond_int8(&r, src.rec(), above_four<int64_t>), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 2048);
    EXPECT_EQ(src.pulls(), 5u);
    EXPECT_EQ(value_at<uint8_t>(r, 4), 0);
    EXPECT_EQ(value_at<uint8_t>(r, 5), 7);
}

void upper(char* out, const char* in, uint64_t width) {
    for (uint64_t k = 0; k < width; ++k) out[k] = static_cast<char>(std::toupper(static_cast<unsigned char>(in[k])));
}
uint8_t starts_with_b(const char* in, uint64_t width, void* ctx) { return width == 3 && in[0] == *static_cast<char*>(ctx); }
void interleave(char* out, const char* a, const char* b, uint64_t width) {
    for (uint64_t k = 0; k < width; ++k) out[k] = k % 2 ? b[k] : a[k];
}

TEST(Callback, CharMembersPassPointersAndTheWidth) {
    auto text = [](const zvq_seq_iterator& r, uint32_t i) { return std::string(reinterpret_cast<const char*>(slot_ptr(r, i)), r.elem_size); };
    Script src = Script::of_char(3, {{{"abc", 4}, {"bxy", 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_func_char(&r, src.rec(), upper), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.elem_size, 3);
    EXPECT_EQ(text(r, 0) + text(r, 1), "ABCBXY");
    EXPECT_EQ(repeat_at(r, 0), 4);

    Script src2 = Script::of_char(3, {{{"abc", 4}, {"bxy", 1}}});
    char b = 'b';
    ASSERT_EQ(zvq_seq_cond_ctx_char(&r, src2.rec(), starts_with_b, &b), SEQ_OK);
    EXPECT_EQ(drain_runs<uint8_t>(r), (Runs<uint8_t>{{0, 4}, {1, 1}}));

    Script l = Script::of_char(4, {{{"abcd", 2}}}), rt = Script::of_char(4, {{{"wxyz", 2}}}),
           narrow = Script::of_char(3, {});
    ASSERT_EQ(zvq_seq_func2_char(&r, l.rec(), narrow.rec(), interleave), SEQ_TYPE_MISMATCH);  // widths differ
    ASSERT_EQ(zvq_seq_func2_char(&r, l.rec(), rt.rec(), interleave), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(text(r, 0), "axcz");
}

TEST(Callback, ConstructorTestsTypeThenBindingThenTheFunction) {
    zvq_seq_iterator op{}, r{};
    op.elem_type = ZVQ_SEQ_TYPE_UINT8;
    op.bound = 1;
    EXPECT_EQ(zvq_seq_func_datetime(&r, &op, twice<uint64_t>), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(zvq_seq_func_uint8(&r, &op, twice<uint64_t>), SEQ_ALREADY_BOUND);
    op.bound = 0;
    EXPECT_EQ(zvq_seq_func_uint8(&r, &op, nullptr), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(op.bound, 1);  // the operand stays bound
}

}  // namespace
