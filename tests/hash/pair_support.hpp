// Shared by the hash aggregate tests: the two iterators of a pair, read
// together into (key, aggregate) rows, and the run of a computation in parts.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "hash/hash_agg.hpp"
#include "support/scripted_source.hpp"

namespace zvq::test {

// The records of one pair; the pair is released with them.
struct PairRecs {
    zvq_seq_iterator agg{};
    zvq_seq_iterator grp{};
    PairRecs() = default;
    PairRecs(const PairRecs&) = delete;
    ~PairRecs() { zvq_seq_free_hash(&agg); }
    HashAggState& st(zvq_seq_iterator& r) { return state_of<HashAggState>(r); }
    const HashTable* table() { return st(agg).pair ? st(agg).pair->table : nullptr; }
};

// Every group as key -> aggregate, the key iterator drained first. Checks
// that both deliver one run of repeat 1 per group, in the same number.
template <class K, class A>
std::map<K, A> groups_of(PairRecs& p) {
    const auto keys = drain_runs<K>(p.grp);
    const auto aggs = drain_runs<A>(p.agg);
    EXPECT_EQ(keys.size(), aggs.size());
    std::map<K, A> out;
    for (size_t i = 0; i < keys.size() && i < aggs.size(); ++i) {
        EXPECT_EQ(keys[i].repeat, 1);
        EXPECT_EQ(aggs[i].repeat, 1);
        EXPECT_TRUE(out.emplace(keys[i].value, aggs[i].value).second) << "key delivered twice";
    }
    return out;
}

// The same for char keys of a given width, keys as strings of all their bytes.
template <class A>
std::map<std::string, A> char_groups_of(PairRecs& p) {
    std::map<std::string, A> out;
    std::vector<std::string> keys;
    while (p.grp.next(&p.grp) == SEQ_OK)
        for (uint32_t i = 0; i < p.grp.chunk_count; ++i)
            keys.emplace_back(reinterpret_cast<const char*>(slot_ptr(p.grp, i)), p.grp.elem_size);
    const auto aggs = drain_runs<A>(p.agg);
    EXPECT_EQ(keys.size(), aggs.size());
    for (size_t i = 0; i < keys.size() && i < aggs.size(); ++i) out.emplace(keys[i], aggs[i].value);
    return out;
}

// A computation in parts: the sources of each part, a pair over them built
// by prepare, all merged into part 0.
struct Parts {
    std::deque<Script> sources;  // records stay in place as parts are added
    std::vector<std::unique_ptr<PairRecs>> pairs;

    PairRecs& add() { return *pairs.emplace_back(std::make_unique<PairRecs>()); }
    zvq_seq_iterator* source(Script s) { return sources.emplace_back(std::move(s)).rec(); }

    // prepare on every part, then merge 1..n into 0; the first failing status.
    zvq_seq_status prepare_and_merge() {
        for (auto& p : pairs)
            if (zvq_seq_status s = p->agg.prepare(&p->agg)) return s;
        for (size_t i = 1; i < pairs.size(); ++i)
            if (zvq_seq_status s = pairs[0]->agg.merge(&pairs[0]->agg, &pairs[i]->agg)) return s;
        return SEQ_OK;
    }
};

// Elements as runs of equal neighbours (at most 255 long), in chunks of at
// most per_chunk runs.
template <class V>
std::vector<Chunk<V>> runs_of(const std::vector<V>& elements, size_t per_chunk = 300) {
    std::vector<Chunk<V>> out;
    for (size_t i = 0, j; i < elements.size(); i = j) {
        for (j = i + 1; j < elements.size() && j - i < 255 && elements[j] == elements[i];) ++j;
        if (out.empty() || out.back().size() == per_chunk) out.emplace_back();
        out.back().push_back({elements[i], static_cast<uint8_t>(j - i)});
    }
    return out;
}

// Texts "<stem>0" to "<stem><n-1>", in chunks of 300 runs of repeat 1.
inline std::vector<std::vector<std::pair<std::string, uint8_t>>> names(int n, const std::string& stem = "key") {
    std::vector<std::vector<std::pair<std::string, uint8_t>>> chunks;
    for (int i = 0; i < n; ++i) {
        if (i % 300 == 0) chunks.emplace_back();
        chunks.back().push_back({stem + std::to_string(i), 1});
    }
    return chunks;
}

// Deterministic pseudo-random numbers for generated inputs.
struct Lcg {
    uint64_t x;
    uint32_t operator()(uint32_t bound) {
        x = x * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<uint32_t>(x >> 33) % bound;
    }
};

// Rows of an unsorted table: keys in runs of 1 to 4, values in runs of 1 to
// 6 cut elsewhere.
struct Rows {
    std::vector<int32_t> keys;
    std::vector<int32_t> values;
};

// n rows of keys below key_bound and values below value_bound; the key
// `late` occurs in the last quarter only.
inline Rows random_rows(uint64_t seed, size_t n, uint32_t key_bound, uint32_t value_bound, int32_t late) {
    Lcg rnd{seed};
    Rows r;
    while (r.keys.size() < n) {
        const bool in_last_quarter = r.keys.size() >= n / 4 * 3;
        const int32_t key = in_last_quarter && rnd(9) == 0 ? late : static_cast<int32_t>(rnd(key_bound));
        r.keys.insert(r.keys.end(), 1 + rnd(4), key);
    }
    while (r.values.size() < n) r.values.insert(r.values.end(), 1 + rnd(6), static_cast<int32_t>(rnd(value_bound)));
    r.keys.resize(n);
    r.values.resize(n);
    return r;
}

// The rows in `parts` consecutive slices, a pair over each from
// make(agg, grp, values, keys, size) with values of VTag, prepared and
// merged into the first, whose tables start at 2 buckets so that they grow
// in the merges: the groups of the result.
template <class A, class VTag = Int4, class Make>
std::map<int32_t, A> in_parts(const Rows& rows, size_t parts, Make&& make) {
    Parts w;
    const size_t step = rows.keys.size() / parts;
    for (size_t i = 0; i < parts; ++i) {
        const auto from = static_cast<ptrdiff_t>(i * step), to = static_cast<ptrdiff_t>((i + 1) * step);
        std::vector<value_t<VTag>> v(rows.values.begin() + from, rows.values.begin() + to);
        std::vector<int32_t> k(rows.keys.begin() + from, rows.keys.begin() + to);
        zvq_seq_iterator* values = w.source(Script::of<VTag>(runs_of(v)));
        zvq_seq_iterator* keys = w.source(Script::of<Int4>(runs_of(k)));
        PairRecs& p = w.add();
        EXPECT_EQ(make(&p.agg, &p.grp, values, keys, i == 0 && parts > 1 ? 2 : 0), SEQ_OK);
    }
    EXPECT_EQ(w.prepare_and_merge(), SEQ_OK);
    return groups_of<int32_t, A>(*w.pairs[0]);
}

// Runs attempt(alloc, k) for k = 1, 2, ... until it succeeds; the attempt
// makes allocation k of what it tests fail. Each must answer SEQ_OK or
// SEQ_NOMEM, and once its records are gone nothing may be left allocated or
// have been freed twice.
template <class Attempt>
void fail_each_allocation(Attempt&& attempt) {
    for (uint64_t k = 1; k < 200; ++k) {
        SCOPED_TRACE(k);
        CountingAllocator alloc;
        const zvq_seq_status s = attempt(alloc, k);
        EXPECT_EQ(alloc.live_blocks(), 0);
        EXPECT_FALSE(alloc.size_mismatch());
        if (s == SEQ_OK) return;
        ASSERT_EQ(s, SEQ_NOMEM);
    }
    ADD_FAILURE() << "never succeeded";
}

// A pair made by make(p) whose build meets allocation k failing: the status
// of the constructor or of the first pull. After a failed build nothing is
// published, and the next pull builds again from where the operands stand.
template <class Make>
zvq_seq_status build_failing_at(CountingAllocator& alloc, uint64_t k, Make&& make) {
    alloc.fail_on(k);
    PairRecs p;
    zvq_seq_status s = make(p);
    if (s != SEQ_OK) return s;
    s = p.agg.next(&p.agg);
    if (s == SEQ_NOMEM) {
        EXPECT_EQ(p.table(), nullptr);
        alloc.fail_on(0);
        const zvq_seq_status again = p.agg.next(&p.agg);
        EXPECT_TRUE(again == SEQ_OK || again == SEQ_END) << again;
    }
    return s;
}

// A merge whose allocation k fails. Part 0 is over the first 3 keys of
// names(1100), part 1 over all of them, with texts "v0", "v1", ... of
// value_width bytes as values; each is made by make(p, values, keys) and
// prepared with the allocator working. After a merge that succeeds the
// destination is read once, which gives back what it holds besides its
// table.
template <class Make>
zvq_seq_status merge_failing_at(CountingAllocator& alloc, uint64_t k, uint16_t value_width, Make&& make) {
    Parts w;
    for (int n : {3, 1100}) {
        PairRecs& p = w.add();
        zvq_seq_iterator* values = w.source(Script::of_char(value_width, names(n, "v")));
        EXPECT_EQ(make(p, values, w.source(Script::of_char(12, names(n)))), SEQ_OK);
        EXPECT_EQ(p.agg.prepare(&p.agg), SEQ_OK);
    }
    alloc.fail_on(alloc.allocations() + k);
    const zvq_seq_status s = w.pairs[0]->agg.merge(&w.pairs[0]->agg, &w.pairs[1]->agg);
    if (s == SEQ_OK) {
        EXPECT_EQ(w.pairs[0]->agg.next(&w.pairs[0]->agg), SEQ_OK);
    }
    return s;
}

}  // namespace zvq::test
