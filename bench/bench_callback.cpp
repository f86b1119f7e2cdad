// A caller's function (func_double) and the aligned selector (iif_double)
// against hand loops over the expanded arrays, on distinct values (runs of 1)
// and on long constant stretches (runs of 255). The hand loop calls the same
// function through a pointer the compiler cannot see through, as the library
// must.
#include <cstring>
#include <vector>

#include "bench_util.hpp"
#include "core/chunk.hpp"
#include "zvq/seq.h"

namespace {

using zvq::bench::expand_stretches;
using zvq::bench::kStretch;
using zvq::bench::make_column;
using zvq::bench::measure;
using zvq::bench::StretchSource;

[[gnu::noinline]] double price_with_tax(double v) { return v * 1.2 + 0.5; }

double (*volatile g_fn)(double) = price_with_tax;

// What a consumer does with a chunk: read every value and repeat. The bits
// are summed as integers, so that the check costs no floating-point latency
// chain that the hand loop does not have.
[[gnu::noinline]] uint64_t drain(zvq_seq_iterator& root) {
    uint64_t touched = 0;
    root.reset(&root);
    while (root.next(&root) == SEQ_OK)
        for (uint32_t i = 0; i < root.chunk_count; ++i)
            touched += zvq::value_at<uint64_t>(root, i) + zvq::repeat_at(root, i);
    return touched;
}

[[gnu::noinline]] void func_loop(const double* a, double* c, size_t n, double (*fn)(double)) {
    for (size_t i = 0; i < n; ++i) c[i] = fn(a[i]);
}

[[gnu::noinline]] void iif_loop(const uint8_t* cond, const double* a, const double* b, double* c, size_t n) {
    for (size_t i = 0; i < n; ++i) c[i] = cond[i] ? a[i] : b[i];
}

void BM_func_double_distinct(benchmark::State& state) {
    const auto n = static_cast<uint64_t>(state.range(0));
    const auto a = make_column<double>(n, 1, 1.0);
    std::vector<double> c(n);
    static zvq_seq_iterator src, root;
    zvq_seq_unget_double(&src, a.data(), n);
    zvq_seq_func_double(&root, &src, g_fn);
    measure(
        state, n, [&] { benchmark::DoNotOptimize(drain(root)); },
        [&] {
            func_loop(a.data(), c.data(), n, g_fn);
            benchmark::ClobberMemory();
        });
}

void BM_func_double_stretches(benchmark::State& state) {
    const uint64_t runs = static_cast<uint64_t>(state.range(0)) / kStretch;
    const auto ra = make_column<double>(runs, 1, 1.0);
    const auto a = expand_stretches(ra);
    std::vector<double> c(a.size());
    static zvq_seq_iterator src, root;
    StretchSource<double>::make(&src, ZVQ_SEQ_TYPE_DOUBLE, ra);
    zvq_seq_func_double(&root, &src, g_fn);
    measure(
        state, a.size(), [&] { benchmark::DoNotOptimize(drain(root)); },
        [&] {
            func_loop(a.data(), c.data(), a.size(), g_fn);
            benchmark::ClobberMemory();
        });
}

void BM_iif_double_distinct(benchmark::State& state) {
    const auto n = static_cast<uint64_t>(state.range(0));
    const auto cond = make_column<uint8_t>(n, 1, 0);
    std::vector<uint8_t> flags(n);
    for (size_t i = 0; i < n; ++i) flags[i] = cond[i] % 2;
    const auto a = make_column<double>(n, 1, 1.0), b = make_column<double>(n, 1, 500.0);
    std::vector<double> c(n);
    static zvq_seq_iterator cs, as, bs, root;
    zvq_seq_unget_uint1(&cs, flags.data(), n);
    zvq_seq_unget_double(&as, a.data(), n);
    zvq_seq_unget_double(&bs, b.data(), n);
    zvq_seq_iif_double(&root, &cs, &as, &bs);
    measure(
        state, n, [&] { benchmark::DoNotOptimize(drain(root)); },
        [&] {
            iif_loop(flags.data(), a.data(), b.data(), c.data(), n);
            benchmark::ClobberMemory();
        });
}

void BM_iif_double_stretches(benchmark::State& state) {
    const uint64_t runs = static_cast<uint64_t>(state.range(0)) / kStretch;
    auto rc = make_column<uint8_t>(runs, 1, 0);
    for (auto& v : rc) v %= 2;
    const auto ra = make_column<double>(runs, 1, 1.0), rb = make_column<double>(runs, 1, 500.0);
    const auto flags = expand_stretches(rc);
    const auto a = expand_stretches(ra), b = expand_stretches(rb);
    std::vector<double> c(a.size());
    static zvq_seq_iterator cs, as, bs, root;
    StretchSource<uint8_t>::make(&cs, ZVQ_SEQ_TYPE_UINT1, rc);
    StretchSource<double>::make(&as, ZVQ_SEQ_TYPE_DOUBLE, ra);
    StretchSource<double>::make(&bs, ZVQ_SEQ_TYPE_DOUBLE, rb);
    zvq_seq_iif_double(&root, &cs, &as, &bs);
    measure(
        state, a.size(), [&] { benchmark::DoNotOptimize(drain(root)); },
        [&] {
            iif_loop(flags.data(), a.data(), b.data(), c.data(), a.size());
            benchmark::ClobberMemory();
        });
}

BENCHMARK(BM_func_double_distinct)->Name("func_double/distinct")->Apply(zvq::bench::sizes);
BENCHMARK(BM_func_double_stretches)->Name("func_double/stretches")->Apply(zvq::bench::sizes);
BENCHMARK(BM_iif_double_distinct)->Name("iif_double/distinct")->Apply(zvq::bench::sizes);
BENCHMARK(BM_iif_double_stretches)->Name("iif_double/stretches")->Apply(zvq::bench::sizes);

}  // namespace
