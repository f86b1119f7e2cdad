// A caller's function per run: func, cond and func2, each with its _ctx form.
#include <string>

#include "elementwise/support.hpp"

namespace {

using namespace zvq;
using namespace zvq::test;

int calls = 0;
int marker = 0;  // the context handed back

template <class V>
V twice(V v) {
    ++calls;
    return static_cast<V>(v + v);
}
template <class V>
uint8_t above_four(V v) {
    ++calls;
    return v > V(4) ? 7 : 0;  // any byte passes as it is
}
template <class V>
V minus(V a, V b) {
    ++calls;
    return static_cast<V>(a - b);
}
// The _ctx forms: the same, once the context came back.
template <auto Fn, class... A>
auto with_ctx(A... args, void* ctx) {
    EXPECT_EQ(ctx, &marker);
    return Fn(args...);
}

template <class Tag>
class Callback : public ::testing::Test {};
TYPED_TEST_SUITE(Callback, NumericTags);

// One call per run, also for a run of 255; repeat bytes pass through. func2
// calls once per overlap of a left and a right run.
TYPED_TEST(Callback, OneCallPerRunWithTheContextHandedBack) {
    using V = value_t<TypeParam>;
    using O = Api<TypeParam>;
    for (bool ctx : {false, true}) {
        zvq_seq_iterator r{};
        Script src = Script::of<TypeParam>({{{V(3), 255}, {V(5), 1}}, {{V(6), 2}}});
        calls = 0;
        ASSERT_EQ(ctx ? O::func_ctx(&r, src.rec(), with_ctx<twice<V>, V>, &marker) : O::func(&r, src.rec(), twice<V>),
                  SEQ_OK);
        EXPECT_EQ(drain_runs<V>(r), (Runs<V>{{V(6), 255}, {V(10), 1}, {V(12), 2}}));
        EXPECT_EQ(calls, 3);

        Script src2 = Script::of<TypeParam>({{{V(3), 255}, {V(5), 1}}, {{V(6), 2}}});
        ASSERT_EQ(ctx ? O::cond_ctx(&r, src2.rec(), with_ctx<above_four<V>, V>, &marker)
                      : O::cond(&r, src2.rec(), above_four<V>),
                  SEQ_OK);
        EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_UINT1);
        EXPECT_EQ(drain_runs<uint8_t>(r), (Runs<uint8_t>{{0, 255}, {7, 1}, {7, 2}}));
        EXPECT_EQ(calls, 6);

        Script l = Script::of<TypeParam>({{{V(9), 5}, {V(8), 2}}}), rt = Script::of<TypeParam>({{{V(1), 3}, {V(2), 4}}});
        ASSERT_EQ(ctx ? O::func2_ctx(&r, l.rec(), rt.rec(), with_ctx<minus<V>, V, V>, &marker)
                      : O::func2(&r, l.rec(), rt.rec(), minus<V>),
                  SEQ_OK);
        EXPECT_EQ(drain_runs<V>(r), (Runs<V>{{V(8), 3}, {V(7), 2}, {V(6), 2}}));
        EXPECT_EQ(calls, 9);
    }
}

// The bound is that of the uint1 result: 2048 runs over five int8 chunks.
TEST(Callback, CondFillsTheBooleanCapacity) {
    std::vector<Chunk<int64_t>> in(6, singles<int64_t>(455, 0));
    Script src = Script::of<Int8>(in);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_cond_int8(&r, src.rec(), above_four<int64_t>), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 2048);
    EXPECT_EQ(src.pulls(), 5u);
}

void upper(char* out, const char* in, uint64_t width) {
    for (uint64_t k = 0; k < width; ++k) out[k] = static_cast<char>(in[k] - 'a' + 'A');
}
uint8_t starts_with(const char* in, uint64_t width, void* ctx) { return width == 3 && in[0] == *static_cast<char*>(ctx); }
void interleave(char* out, const char* a, const char* b, uint64_t width) {
    for (uint64_t k = 0; k < width; ++k) out[k] = k % 2 ? b[k] : a[k];
}

TEST(Callback, CharMembersPassPointersAndTheWidth) {
    Script src = Script::of_char(3, {{{"abc", 4}, {"bxy", 1}}}), src2 = Script::of_char(3, {{{"abc", 4}, {"bxy", 1}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_func_char(&r, src.rec(), upper), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(r.chunk), 6), "ABCBXY");
    EXPECT_EQ(repeat_at(r, 0), 4);
    char b = 'b';
    ASSERT_EQ(zvq_seq_cond_ctx_char(&r, src2.rec(), starts_with, &b), SEQ_OK);
    EXPECT_EQ(drain_runs<uint8_t>(r), (Runs<uint8_t>{{0, 4}, {1, 1}}));

    Script l = Script::of_char(4, {{{"abcd", 2}}}), rt = Script::of_char(4, {{{"wxyz", 2}}}), narrow = Script::of_char(3, {});
    EXPECT_EQ(zvq_seq_func2_char(&r, l.rec(), narrow.rec(), interleave), SEQ_TYPE_MISMATCH);  // widths differ
    ASSERT_EQ(zvq_seq_func2_char(&r, l.rec(), rt.rec(), interleave), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(r.chunk), 4), "axcz");
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
