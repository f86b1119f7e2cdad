// split: two readers of one operand that may pull at different rates.
//
// Each reader owns, in its record's buffer, a queue of the chunks the other
// reader pulled ahead of it: a ring of chunk images from the allocator
// hooks that grows by doubling. A reader with a queued chunk takes it;
// otherwise it pulls the operand and queues a copy for its twin. Only the
// reader that is behind can have a queue, so readers that keep in step
// need a ring of a few chunks, allocated once.
//
// The ring is made room for before the operand is pulled, so SEQ_NOMEM
// leaves every cursor where it was and a later pull can try again. A reset
// of either reader rewinds the operand, both readers and gives both queues
// back; zvq_seq_free_buffer on a reader gives its queue back and drops the
// chunks in it.
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

// One queued chunk: where the operand stood after it, and its image (values
// from the start, repeat bytes at the end, as in a chunk).
struct Slot {
    uint64_t next_pos;
    uint16_t chunk_count;
    uint8_t chunk[ZVQ_SEQ_CHUNK_SIZE];
};

struct SplitState {
    uint32_t head;    // slot of the oldest queued chunk
    uint32_t queued;  // chunks queued for this reader
};

uint32_t slots_of(const Rec& r) { return r.buffer == nullptr ? 0 : static_cast<uint32_t>(r.buffer_size / sizeof(Slot)); }

Slot* slot(Rec& r, uint32_t k) { return static_cast<Slot*>(r.buffer) + k % slots_of(r); }

// A queue whose buffer the caller gave back holds nothing.
SplitState& queue_of(Rec& r) {
    SplitState& st = state_of<SplitState>(r);
    if (r.buffer == nullptr) st = {0, 0};
    return st;
}

// Room for one more chunk in r's queue: the ring doubles, oldest first.
zvq_seq_status reserve_one(Rec& r) {
    SplitState& st = queue_of(r);
    const uint32_t have = slots_of(r);
    if (st.queued < have) return SEQ_OK;
    const uint32_t want = have == 0 ? 4 : have * 2;
    auto* fresh = static_cast<Slot*>(zvq_seq_malloc(&r, uint64_t{want} * sizeof(Slot)));
    if (fresh == nullptr) return SEQ_NOMEM;
    for (uint32_t k = 0; k < st.queued; ++k) std::memcpy(&fresh[k], slot(r, st.head + k), sizeof(Slot));
    zvq_seq_free_buffer(&r);
    r.buffer = fresh;
    r.buffer_size = uint64_t{want} * sizeof(Slot);
    st.head = 0;
    return SEQ_OK;
}

void save_chunk(Slot& s, const Rec& src) {
    const uint32_t n = src.chunk_count;
    std::memcpy(s.chunk, src.chunk, size_t{n} * src.elem_size);
    std::memcpy(s.chunk + ZVQ_SEQ_CHUNK_SIZE - n, repeat_area(src, n), n);
    s.chunk_count = src.chunk_count;
    s.next_pos = src.next_pos;
}

void load_chunk(Rec& r, const Slot& s) {
    const uint32_t n = s.chunk_count;
    std::memcpy(r.chunk, s.chunk, size_t{n} * r.elem_size);
    std::memcpy(repeat_area(r, n), s.chunk + ZVQ_SEQ_CHUNK_SIZE - n, n);
    r.chunk_count = s.chunk_count;
    r.next_pos = s.next_pos;
}

zvq_seq_status split_next(Rec& r) {
    SplitState& st = queue_of(r);
    if (st.queued != 0) {
        load_chunk(r, *slot(r, st.head));
        st.head = (st.head + 1) % slots_of(r);
        --st.queued;
        return SEQ_OK;
    }
    Rec& twin = *r.operand[1];
    if (zvq_seq_status s = reserve_one(twin)) return s;
    Rec& src = *r.operand[0];
    if (zvq_seq_status s = pull(src)) return s;
    copy_runs(r, 0, src, 0, src.chunk_count);
    r.chunk_count = src.chunk_count;
    r.next_pos = src.next_pos;
    SplitState& tq = queue_of(twin);
    save_chunk(*slot(twin, tq.head + tq.queued), src);
    ++tq.queued;
    return SEQ_OK;
}

void drop_queue(Rec& r) {
    zvq_seq_free_buffer(&r);
    state_of<SplitState>(r) = {0, 0};
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_split(zvq_seq_iterator* first, zvq_seq_iterator* second, zvq_seq_iterator* operand) {
    if (zvq_seq_status s = zvq::bind({operand})) return s;
    if (first == second || first == operand || second == operand) return SEQ_BAD_ARGUMENT;
    const zvq::Fns fns{zvq_seq_split_next, zvq_seq_split_reset};
    zvq::init_record(*first, zvq::shape_of_record(*operand), fns, {operand, second});
    zvq::init_record(*second, zvq::shape_of_record(*operand), fns, {operand, first});
    for (zvq_seq_iterator* r : {first, second}) {
        r->buffer = nullptr;
        r->buffer_size = 0;
        zvq::state_of<zvq::SplitState>(*r) = {0, 0};
    }
    return SEQ_OK;
}

zvq_seq_status zvq_seq_split_next(zvq_seq_iterator* it) { return zvq::split_next(*it); }

zvq_seq_status zvq_seq_split_reset(zvq_seq_iterator* it) {
    zvq_seq_iterator* twin = it->operand[1];
    zvq::drop_queue(*twin);
    zvq::drop_queue(*it);
    twin->chunk_pos = 0;
    twin->chunk_count = 0;
    twin->run_pos = 0;
    twin->next_pos = 0;
    return zvq_seq_reset_unary_iterator(it);
}

}  // extern "C"
