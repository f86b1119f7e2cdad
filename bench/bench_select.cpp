// Selection and ordering against hand loops over the same data: the road of
// one request (average of the values above 100: const, gt, filter, agg_avg),
// filter at two selectivities, sort against std::sort of an index array, and
// top_max against std::partial_sort of indices.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench_util.hpp"
#include "zvq/seq.h"

namespace {

constexpr uint8_t kRun = zvq::bench::kStretch;
constexpr int64_t kTenMillion = 10'000'000;

// Distinct doubles in [0, 200): about half above 100.
std::vector<double> prices(size_t n) {
    std::mt19937_64 rng(42);
    std::vector<double> out(n);
    for (double& v : out) v = static_cast<double>(rng() % 2'000'000) / 10'000.0;
    return out;
}

// ---- the road of one request ---------------------------------------------

// gt and filter each get a reader of the stored column, as a host hands
// them out: a tee's branches would not be read in step here.
struct Road {
    zvq_seq_iterator reader1, reader2, limit, flags, picked, avg;

    void build() {
        zvq_seq_const_double(&limit, 100.0);
        zvq_seq_gt_double(&flags, &reader1, &limit);
        zvq_seq_filter_double(&picked, &flags, &reader2);
        zvq_seq_agg_avg_double(&avg, &picked);
    }
    double read() {
        avg.reset(&avg);
        double out = 0;
        avg.next(&avg);
        std::memcpy(&out, avg.chunk, 8);
        return out;
    }
};

double hand_road(const std::vector<double>& data) {
    double s = 0;
    uint64_t n = 0;
    for (double v : data)
        if (v > 100) {
            s += v;
            ++n;
        }
    return s / static_cast<double>(n);
}

void road(benchmark::State& state, bool stretches) {
    const auto n = static_cast<size_t>(state.range(0)) / kRun * kRun;
    static Road r;
    std::vector<double> runs, expanded;
    if (stretches) {
        runs = prices(n / kRun);
        expanded.reserve(n);
        for (double v : runs) expanded.insert(expanded.end(), kRun, v);
        zvq::bench::StretchSource<double>::make(&r.reader1, ZVQ_SEQ_TYPE_DOUBLE, runs);
        zvq::bench::StretchSource<double>::make(&r.reader2, ZVQ_SEQ_TYPE_DOUBLE, runs);
    } else {
        expanded = prices(n);
        r.reader1 = r.reader2 = zvq_seq_iterator{};
        zvq_seq_unget_double(&r.reader1, expanded.data(), n);
        zvq_seq_unget_double(&r.reader2, expanded.data(), n);
    }
    r.build();
    // Over stretches the library adds v x 255 once per run, the loop 255 times.
    const double lib = r.read(), loop = hand_road(expanded);
    if (std::abs(lib - loop) > 1e-9 * std::abs(loop)) state.SkipWithError("the library and the loop disagree");
    zvq::bench::measure(
        state, n, [&] { benchmark::DoNotOptimize(r.read()); },
        [&] { benchmark::DoNotOptimize(hand_road(expanded)); });
}

// ---- filter ----------------------------------------------------------------

void filter(benchmark::State& state, int percent) {
    const auto n = static_cast<size_t>(state.range(0));
    const std::vector<double> values = prices(n);
    std::vector<uint8_t> flags(n);
    std::mt19937 rng(3);
    for (uint8_t& f : flags) f = static_cast<int>(rng() % 100) < percent;
    static zvq_seq_iterator cond, input, picked;
    std::vector<double> out(n);
    auto lib = [&] {
        cond = input = zvq_seq_iterator{};
        zvq_seq_unget_uint1(&cond, flags.data(), n);
        zvq_seq_unget_double(&input, values.data(), n);
        zvq_seq_filter_double(&picked, &cond, &input);
        uint64_t runs = 0;
        while (picked.next(&picked) == SEQ_OK) runs += picked.chunk_count;
        return runs;
    };
    auto loop = [&] {
        size_t k = 0;
        for (size_t i = 0; i < n; ++i)
            if (flags[i]) out[k++] = values[i];
        return k;
    };
    if (lib() != loop()) state.SkipWithError("the library and the loop disagree");
    zvq::bench::measure(
        state, n, [&] { benchmark::DoNotOptimize(lib()); }, [&] { benchmark::DoNotOptimize(loop()); });
}

// ---- sort ------------------------------------------------------------------

enum class Shape { Random, Sorted, Reversed };

template <class V>
std::vector<V> sort_input(size_t n, Shape shape) {
    std::mt19937_64 rng(9);
    std::vector<V> out(n);
    for (V& v : out) v = static_cast<V>(rng() % 1'000'000'000);
    if (shape == Shape::Sorted) std::sort(out.begin(), out.end());
    if (shape == Shape::Reversed) std::sort(out.begin(), out.end(), [](V a, V b) { return a > b; });
    return out;
}

// Random input against std::sort of an index array with the same comparison;
// sorted and reversed input against a hand loop that tests the order and
// writes the permutation, which is all the library should do there.
template <class V>
void sort(benchmark::State& state, zvq_seq_status (*lib_sort)(const V*, uint64_t*, uint64_t, uint32_t), Shape shape) {
    const auto n = static_cast<size_t>(state.range(0));
    const std::vector<V> values = sort_input<V>(n, shape);
    std::vector<uint64_t> perm(n), index(n);
    auto lib = [&] { lib_sort(values.data(), perm.data(), n, SEQ_ORDER_ASC); };
    auto loop = [&] {
        if (shape == Shape::Random) {
            std::iota(index.begin(), index.end(), 0);
            std::sort(index.begin(), index.end(), [&](uint64_t a, uint64_t b) { return values[a] < values[b]; });
            return;
        }
        // Rising, else falling (each test a full pass when it holds), then the fill.
        const bool rising = std::is_sorted(values.begin(), values.end());
        if (!rising && !std::is_sorted(values.rbegin(), values.rend())) std::abort();
        for (size_t i = 0; i < n; ++i) index[i] = rising ? i : n - 1 - i;
    };
    lib();
    for (size_t i = 1; i < n; ++i)
        if (values[perm[i]] < values[perm[i - 1]]) {
            state.SkipWithError("not sorted");
            break;
        }
    zvq::bench::measure(state, n, lib, loop);
}

// ---- top_max -----------------------------------------------------------------

void top_max(benchmark::State& state) {
    constexpr uint64_t kTop = 100;
    const auto n = static_cast<size_t>(state.range(0));
    const std::vector<double> values = prices(n);
    static zvq_seq_iterator input, top;
    input = zvq_seq_iterator{};
    zvq_seq_unget_double(&input, values.data(), n);
    zvq_seq_top_max_double(&top, &input, kTop);
    std::vector<uint64_t> index(n);
    auto lib = [&] {
        top.reset(&top);
        top.next(&top);
        double best;
        std::memcpy(&best, top.chunk, 8);
        return best;
    };
    auto loop = [&] {
        std::iota(index.begin(), index.end(), 0);
        std::partial_sort(index.begin(), index.begin() + kTop, index.end(),
                          [&](uint64_t a, uint64_t b) { return values[a] > values[b]; });
        return values[index[0]];
    };
    if (lib() != loop()) state.SkipWithError("the library and the loop disagree");
    zvq::bench::measure(
        state, n, [&] { benchmark::DoNotOptimize(lib()); }, [&] { benchmark::DoNotOptimize(loop()); });
}

// 10^7 elements, or the ceiling of a quick run.
void ten_million(benchmark::internal::Benchmark* b) {
    const char* cap = std::getenv("ZVQ_BENCH_MAX_ELEMENTS");
    b->Arg(cap ? std::min(kTenMillion, static_cast<int64_t>(std::atoll(cap))) : kTenMillion);
    b->ArgName("n")->Unit(benchmark::kMillisecond);
}

const bool registered = [] {
    for (bool stretches : {false, true}) {
        const std::string name = std::string("road_avg_above_100") + (stretches ? "/stretches" : "/distinct");
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) { road(st, stretches); })
            ->Apply(zvq::bench::sizes);
    }
    for (int percent : {1, 50}) {
        const std::string name = "filter_double/selectivity_" + std::to_string(percent);
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& st) { filter(st, percent); })
            ->Apply(zvq::bench::sizes);
    }
    const std::pair<const char*, Shape> shapes[] = {
        {"random", Shape::Random}, {"sorted", Shape::Sorted}, {"reversed", Shape::Reversed}};
    for (const auto& [label, shape] : shapes) {
        benchmark::RegisterBenchmark((std::string("sort_double/") + label).c_str(),
                                     [=](benchmark::State& st) { sort<double>(st, zvq_seq_sort_double, shape); })
            ->Apply(ten_million);
        benchmark::RegisterBenchmark((std::string("sort_int4/") + label).c_str(),
                                     [=](benchmark::State& st) { sort<int32_t>(st, zvq_seq_sort_int4, shape); })
            ->Apply(ten_million);
    }
    benchmark::RegisterBenchmark("top_max_double/n_100", top_max)->Apply(ten_million);
    return true;
}();

}  // namespace
