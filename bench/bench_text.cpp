// parse_double over a text of 10^6 numbers against a hand loop of strtod over
// the same text: full-precision doubles and prices in cents. The library's
// chunks are drained as an operator above would read them.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench_util.hpp"
#include "core/chunk.hpp"
#include "zvq/seq.h"

namespace {

using zvq::bench::measure;

std::string make_text(size_t n, const char* format) {
    std::string text = "{";
    uint64_t x = 0x9E3779B97F4A7C15ull;
    char buf[64];
    for (size_t i = 0; i < n; ++i) {
        x ^= x << 13, x ^= x >> 7, x ^= x << 17;
        std::snprintf(buf, sizeof buf, format, static_cast<double>(x % 100000000) / 128.0);
        text += buf;
        text += i + 1 < n ? "," : "}";
    }
    return text;
}

[[gnu::noinline]] double drain(zvq_seq_iterator& r) {
    double sum = 0;
    while (r.next(&r) == SEQ_OK)
        for (uint32_t i = 0; i < r.chunk_count; ++i) sum += zvq::value_at<double>(r, i);
    return sum;
}

[[gnu::noinline]] size_t hand_loop(const char* p, double* out) {
    size_t k = 0;
    if (*p == '{') ++p;
    while (*p != '\0' && *p != '}') {
        char* end;
        out[k++] = std::strtod(p, &end);
        p = end;
        if (*p == ',') ++p;
    }
    return k;
}

void run(benchmark::State& state, const char* format) {
    const auto n = static_cast<size_t>(state.range(0));
    const std::string text = make_text(n, format);
    std::vector<double> out(n);
    static zvq_seq_iterator r;
    measure(
        state, n,
        [&] {
            zvq_seq_parse_double(&r, text.c_str());
            benchmark::DoNotOptimize(drain(r));
        },
        [&] {
            benchmark::DoNotOptimize(hand_loop(text.c_str(), out.data()));
            benchmark::ClobberMemory();
        });
}

void BM_parse_double_full(benchmark::State& state) { run(state, "%.17g"); }
void BM_parse_double_cents(benchmark::State& state) { run(state, "%.2f"); }

BENCHMARK(BM_parse_double_full)->Name("parse_double/full")->Arg(1'000'000)->ArgName("n")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_parse_double_cents)->Name("parse_double/cents")->Arg(1'000'000)->ArgName("n")->Unit(benchmark::kMillisecond);

}  // namespace
