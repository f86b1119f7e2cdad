// Test utilities shared by every test program: a scripted source record that
// serves chosen chunks of runs (or fails at a chosen pull), drains that
// collect runs and elements, and a counting allocator that can fail.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "core/record.hpp"
#include "zvq/seq.h"

namespace zvq::test {

#include "support/api_table.inc"

template <class V>
struct Run {
    V value;
    uint8_t repeat;
    bool operator==(const Run& o) const { return std::memcmp(&value, &o.value, sizeof(V)) == 0 && repeat == o.repeat; }
};

template <class V>
using Chunk = std::vector<Run<V>>;

// A source that serves the given chunks in order, then SEQ_END on every
// further pull. fail_at(k, s) makes pull number k (0-based) return s instead,
// leaving the record's chunk as it was. reset rewinds to the first chunk.
class Script {
   public:
    template <class Tag>
    static Script of(const std::vector<Chunk<value_t<Tag>>>& chunks) {
        Script sc(Tag::size, Tag::code);
        for (const auto& c : chunks) {
            sc.add_chunk();
            for (const auto& run : c) sc.add_run(&run.value, run.repeat);
        }
        return sc;
    }
    // char runs: each value is padded with zero bytes (or cut) to the width.
    static Script of_char(uint16_t width, const std::vector<std::vector<std::pair<std::string, uint8_t>>>& chunks);

    Script(uint16_t elem_size, uint8_t elem_type);
    Script(const Script&) = delete;
    Script(Script&& o) noexcept;

    Script& fail_at(size_t pull_index, zvq_seq_status status) &;
    Script&& fail_at(size_t pull_index, zvq_seq_status status) && { return std::move(fail_at(pull_index, status)); }
    zvq_seq_iterator* rec() { return &rec_; }
    size_t pulls() const { return pulls_; }
    size_t resets() const { return resets_; }

   private:
    void add_chunk() { chunks_.emplace_back(); }
    void add_run(const void* value, uint8_t repeat);
    void bind_record();
    static zvq_seq_status next(zvq_seq_iterator* it);
    static zvq_seq_status reset(zvq_seq_iterator* it);

    struct Served {
        std::vector<uint8_t> values;
        std::vector<uint8_t> repeats;
    };
    zvq_seq_iterator rec_{};
    std::vector<Served> chunks_;
    size_t served_ = 0;
    size_t pulls_ = 0;
    size_t resets_ = 0;
    size_t fail_index_ = SIZE_MAX;
    zvq_seq_status fail_status_ = SEQ_OK;
};

// Pulls r.next until a status other than SEQ_OK and collects every run of
// every chunk as served (the reader's positions are not used).
template <class V>
std::vector<Run<V>> drain_runs(zvq_seq_iterator& r, zvq_seq_status* last = nullptr) {
    std::vector<Run<V>> out;
    zvq_seq_status s;
    while ((s = r.next(&r)) == SEQ_OK) {
        r.chunk_pos = 0;
        for (uint32_t i = 0; i < r.chunk_count; ++i) out.push_back({value_at<V>(r, i), repeat_at(r, i)});
        r.chunk_pos = r.chunk_count;
    }
    if (last) *last = s;
    return out;
}

// The chunks one by one, as runs.
template <class V>
std::vector<Chunk<V>> drain_chunks(zvq_seq_iterator& r, zvq_seq_status* last = nullptr) {
    std::vector<Chunk<V>> out;
    zvq_seq_status s;
    while ((s = r.next(&r)) == SEQ_OK) {
        out.emplace_back();
        for (uint32_t i = 0; i < r.chunk_count; ++i) out.back().push_back({value_at<V>(r, i), repeat_at(r, i)});
    }
    if (last) *last = s;
    return out;
}

template <class V>
std::vector<V> expand(const std::vector<Run<V>>& runs) {
    std::vector<V> out;
    for (const auto& run : runs) out.insert(out.end(), run.repeat, run.value);
    return out;
}

// Every element by the reading rule, one at a time, until a non-OK status.
template <class V>
std::vector<V> drain_values(zvq_seq_iterator& r, zvq_seq_status* last = nullptr) {
    std::vector<V> out;
    zvq_seq_status s = SEQ_OK;
    for (;;) {
        if ((s = refill(r)) != SEQ_OK) break;
        out.push_back(current<V>(r));
        take(r, 1);
    }
    if (last) *last = s;
    return out;
}

// Installs allocator hooks that count live bytes and blocks and fail the
// allocation number fail_on (1-based; 0 never fails). Restores the defaults
// when destroyed.
class CountingAllocator {
   public:
    CountingAllocator();
    ~CountingAllocator();
    void fail_on(uint64_t nth) { fail_on_ = nth; }
    void fail_all() { fail_all_ = true; }
    int64_t live_blocks() const { return live_blocks_; }
    int64_t live_bytes() const { return live_bytes_; }
    uint64_t allocations() const { return allocations_; }
    bool size_mismatch() const { return size_mismatch_; }

   private:
    static void* do_malloc(zvq_seq_iterator*, uint64_t size);
    static void do_free(zvq_seq_iterator*, void* p, uint64_t size);
    static CountingAllocator* active_;
    uint64_t fail_on_ = 0;
    bool fail_all_ = false;
    uint64_t allocations_ = 0;
    int64_t live_blocks_ = 0;
    int64_t live_bytes_ = 0;
    bool size_mismatch_ = false;
    std::vector<std::pair<void*, uint64_t>> blocks_;
};

// Turns binding checks on or off for a scope.
class BindingChecks {
   public:
    explicit BindingChecks(uint32_t on) : former_(zvq_seq_enable_check_bindings(on)) {}
    ~BindingChecks() { zvq_seq_enable_check_bindings(former_); }

   private:
    uint32_t former_;
};

}  // namespace zvq::test
