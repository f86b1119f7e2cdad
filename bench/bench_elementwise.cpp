// Binary element-wise operators against a hand loop over the expanded arrays:
// add_int4 and gt_double on distinct values (runs of 1) and on long constant
// stretches (runs of 255). The library result is drained chunk by chunk, as
// an operator above it would read it.
#include <cstring>
#include <vector>

#include "bench_util.hpp"
#include "core/chunk.hpp"
#include "zvq/seq.h"

namespace {

using zvq::bench::make_column;
using zvq::bench::measure;

using zvq::bench::expand_stretches;
using zvq::bench::kStretch;
using zvq::bench::StretchSource;

// What a consumer does with a chunk: read every value and repeat. Kept out of
// line, like the operator above would be, so that profiles tell it apart.
template <class Out>
[[gnu::noinline]] uint64_t drain(zvq_seq_iterator& root) {
    uint64_t touched = 0;
    root.reset(&root);
    while (root.next(&root) == SEQ_OK) {
        for (uint32_t i = 0; i < root.chunk_count; ++i)
            touched += static_cast<uint64_t>(zvq::value_at<Out>(root, i)) * zvq::repeat_at(root, i);
        root.chunk_pos = root.chunk_count;
    }
    return touched;
}

// The hand loop, out of line for the same reason.
template <class V, class Out, class Op>
[[gnu::noinline]] void hand_loop(const V* a, const V* b, Out* c, size_t n, Op op) {
    for (size_t i = 0; i < n; ++i) c[i] = op(a[i], b[i]);
}

using Ctor = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, zvq_seq_iterator*);
using Unget32 = zvq_seq_status (*)(zvq_seq_iterator*, const int32_t*, uint64_t);

// lib over distinct values served by unget, loop over the same arrays.
template <class V, class Out, class UngetFn, class Loop>
void run_distinct(benchmark::State& state, Ctor ctor, UngetFn unget, Loop op) {
    const auto n = static_cast<uint64_t>(state.range(0));
    const auto a = make_column<V>(n, 1, V(1));
    const auto b = make_column<V>(n, 1, V(500));
    std::vector<Out> c(n);
    static zvq_seq_iterator left, right, root;
    unget(&left, a.data(), a.size());
    unget(&right, b.data(), b.size());
    ctor(&root, &left, &right);
    measure(
        state, n, [&] { benchmark::DoNotOptimize(drain<Out>(root)); },
        [&] {
            hand_loop(a.data(), b.data(), c.data(), n, op);
            benchmark::DoNotOptimize(c.data());
            benchmark::ClobberMemory();
        });
}

template <class V, class Out, class Loop>
void run_stretches(benchmark::State& state, Ctor ctor, uint8_t type, Loop op) {
    const uint64_t runs = static_cast<uint64_t>(state.range(0)) / kStretch;
    const auto ra = make_column<V>(runs, 1, V(1));
    const auto rb = make_column<V>(runs, 1, V(500));
    const auto a = expand_stretches(ra), b = expand_stretches(rb);
    std::vector<Out> c(a.size());
    static zvq_seq_iterator left, right, root;
    StretchSource<V>::make(&left, type, ra);
    StretchSource<V>::make(&right, type, rb);
    ctor(&root, &left, &right);
    measure(
        state, a.size(), [&] { benchmark::DoNotOptimize(drain<Out>(root)); },
        [&] {
            hand_loop(a.data(), b.data(), c.data(), a.size(), op);
            benchmark::DoNotOptimize(c.data());
            benchmark::ClobberMemory();
        });
}

// Lambdas, so that the hand loops inline and vectorise.
constexpr auto add_i4 = [](int32_t x, int32_t y) {
    return static_cast<int32_t>(static_cast<uint32_t>(x) + static_cast<uint32_t>(y));
};
constexpr auto gt_f8 = [](double x, double y) -> uint8_t { return x > y; };

void BM_add_int4_distinct(benchmark::State& state) {
    run_distinct<int32_t, int32_t>(state, zvq_seq_add_int4, zvq_seq_unget_int4, add_i4);
}
void BM_add_int4_stretches(benchmark::State& state) {
    run_stretches<int32_t, int32_t>(state, zvq_seq_add_int4, ZVQ_SEQ_TYPE_INT4, add_i4);
}
void BM_gt_double_distinct(benchmark::State& state) {
    run_distinct<double, uint8_t>(state, zvq_seq_gt_double, zvq_seq_unget_double, gt_f8);
}
void BM_gt_double_stretches(benchmark::State& state) {
    run_stretches<double, uint8_t>(state, zvq_seq_gt_double, ZVQ_SEQ_TYPE_DOUBLE, gt_f8);
}

BENCHMARK(BM_add_int4_distinct)->Name("add_int4/distinct")->Apply(zvq::bench::sizes);
BENCHMARK(BM_add_int4_stretches)->Name("add_int4/stretches")->Apply(zvq::bench::sizes);
BENCHMARK(BM_gt_double_distinct)->Name("gt_double/distinct")->Apply(zvq::bench::sizes);
BENCHMARK(BM_gt_double_stretches)->Name("gt_double/stretches")->Apply(zvq::bench::sizes);

}  // namespace
