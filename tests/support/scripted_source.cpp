#include "support/scripted_source.hpp"

#include <algorithm>
#include <cstdlib>

namespace zvq::test {

Script::Script(uint16_t elem_size, uint8_t elem_type) {
    rec_.elem_size = elem_size;
    rec_.elem_type = elem_type;
    bind_record();
}

Script::Script(Script&& o) noexcept
    : rec_(o.rec_),
      chunks_(std::move(o.chunks_)),
      served_(o.served_),
      pulls_(o.pulls_),
      resets_(o.resets_),
      fail_index_(o.fail_index_),
      fail_status_(o.fail_status_) {
    bind_record();
}

Script Script::of_char(uint16_t width, const std::vector<std::vector<std::pair<std::string, uint8_t>>>& chunks) {
    Script sc(width, ZVQ_SEQ_TYPE_CHAR);
    for (const auto& c : chunks) {
        sc.add_chunk();
        for (const auto& [text, repeat] : c) {
            std::string padded = text;
            padded.resize(width, '\0');
            sc.add_run(padded.data(), repeat);
        }
    }
    return sc;
}

void Script::bind_record() {
    rec_.next = &Script::next;
    rec_.reset = &Script::reset;
    rec_.last_pos = kAllOnes;
    Script* self = this;
    std::memcpy(rec_.state.bytes, &self, sizeof self);
}

void Script::add_run(const void* value, uint8_t repeat) {
    Served& c = chunks_.back();
    const auto* p = static_cast<const uint8_t*>(value);
    c.values.insert(c.values.end(), p, p + rec_.elem_size);
    c.repeats.push_back(repeat);
}

Script& Script::fail_at(size_t pull_index, zvq_seq_status status) & {
    fail_index_ = pull_index;
    fail_status_ = status;
    return *this;
}

zvq_seq_status Script::next(zvq_seq_iterator* it) {
    Script* self;
    std::memcpy(&self, it->state.bytes, sizeof self);
    const size_t index = self->pulls_++;
    if (index == self->fail_index_) return self->fail_status_;
    if (self->served_ >= self->chunks_.size()) return SEQ_END;
    const Served& c = self->chunks_[self->served_++];
    const uint32_t n = static_cast<uint32_t>(c.repeats.size());
    std::copy(c.values.begin(), c.values.end(), it->chunk);
    for (uint32_t i = 0; i < n; ++i) set_repeat(*it, i, c.repeats[i]);
    it->chunk_count = static_cast<uint16_t>(n);
    for (uint8_t r : c.repeats) it->next_pos += r;
    return SEQ_OK;
}

zvq_seq_status Script::reset(zvq_seq_iterator* it) {
    Script* self;
    std::memcpy(&self, it->state.bytes, sizeof self);
    ++self->resets_;
    self->served_ = 0;
    return zvq_seq_reset_iterator(it);
}

CountingAllocator* CountingAllocator::active_ = nullptr;

CountingAllocator::CountingAllocator() {
    active_ = this;
    zvq_seq_redefine_allocator(&do_malloc, &do_free);
}

CountingAllocator::~CountingAllocator() {
    zvq_seq_redefine_allocator(zvq_seq_sys_malloc, zvq_seq_sys_free);
    for (auto& [p, size] : blocks_) std::free(p);
    active_ = nullptr;
}

void* CountingAllocator::do_malloc(zvq_seq_iterator*, uint64_t size) {
    CountingAllocator& a = *active_;
    ++a.allocations_;
    if (a.fail_all_ || a.allocations_ == a.fail_on_) return nullptr;
    void* p = std::malloc(size ? size : 1);
    a.blocks_.emplace_back(p, size);
    ++a.live_blocks_;
    a.live_bytes_ += static_cast<int64_t>(size);
    return p;
}

void CountingAllocator::do_free(zvq_seq_iterator*, void* p, uint64_t size) {
    CountingAllocator& a = *active_;
    auto it = std::find_if(a.blocks_.begin(), a.blocks_.end(), [p](const auto& b) { return b.first == p; });
    if (it == a.blocks_.end()) {
        a.size_mismatch_ = true;  // freeing what was not handed out
        return;
    }
    if (it->second != size) a.size_mismatch_ = true;
    --a.live_blocks_;
    a.live_bytes_ -= static_cast<int64_t>(it->second);
    std::free(it->first);
    a.blocks_.erase(it);
}

}  // namespace zvq::test
