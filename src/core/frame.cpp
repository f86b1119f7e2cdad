// Allocator hooks, scratch buffers, binding control, the aggregate resets,
// status names and the version.
#include <cstdlib>

#include "core/record.hpp"
#include "zvq/seq/version.h"

extern "C" {

void* zvq_seq_sys_malloc(zvq_seq_iterator*, uint64_t size) { return std::malloc(size); }

void zvq_seq_sys_free(zvq_seq_iterator*, void* pointer, uint64_t) { std::free(pointer); }

zvq_seq_malloc_fn zvq_seq_malloc = zvq_seq_sys_malloc;
zvq_seq_free_fn zvq_seq_free = zvq_seq_sys_free;

void zvq_seq_redefine_allocator(zvq_seq_malloc_fn malloc_fn, zvq_seq_free_fn free_fn) {
    zvq_seq_malloc = malloc_fn;
    zvq_seq_free = free_fn;
}

void* zvq_seq_alloc_buffer(zvq_seq_iterator* it, uint64_t size) {
    it->buffer_size = size;
    it->buffer = zvq_seq_malloc(it, size);
    return it->buffer;
}

void zvq_seq_free_buffer(zvq_seq_iterator* it) {
    if (it->buffer == nullptr) return;
    zvq_seq_free(it, it->buffer, it->buffer_size);
    it->buffer = nullptr;
}

uint32_t zvq_seq_enable_check_bindings(uint32_t value) {
    const uint32_t former = zvq_seq_check_bindings;
    zvq_seq_check_bindings = value;
    return former;
}

zvq_seq_status zvq_seq_prepare_aggregate(zvq_seq_iterator* it) {
    const zvq_seq_status s = it->next(it);
    it->prepared = 1;
    return s;
}

zvq_seq_status zvq_seq_reset_unary_agg_iterator(zvq_seq_iterator* it) {
    zvq::set_pending_count(*it, 0);
    return zvq_seq_reset_unary_iterator(it);
}

zvq_seq_status zvq_seq_reset_binary_agg_iterator(zvq_seq_iterator* it) {
    zvq::set_pending_count(*it, 0);
    return zvq_seq_reset_binary_iterator(it);
}

zvq_seq_status zvq_seq_reset_ternary_agg_iterator(zvq_seq_iterator* it) {
    zvq::set_pending_count(*it, 0);
    for (zvq_seq_iterator* op : it->operand)
        if (op != nullptr)
            if (zvq_seq_status s = op->reset(op)) return s;
    return zvq_seq_reset_iterator(it);
}

const char* zvq_seq_status_name(zvq_seq_status status) {
    switch (status) {
        case SEQ_OK: return "SEQ_OK";
        case SEQ_END: return "SEQ_END";
        case SEQ_NOMEM: return "SEQ_NOMEM";
        case SEQ_NOT_SUPPORTED: return "SEQ_NOT_SUPPORTED";
        case SEQ_TYPE_MISMATCH: return "SEQ_TYPE_MISMATCH";
        case SEQ_BAD_ARGUMENT: return "SEQ_BAD_ARGUMENT";
        case SEQ_BAD_ORDER: return "SEQ_BAD_ORDER";
        case SEQ_ALREADY_BOUND: return "SEQ_ALREADY_BOUND";
    }
    return "unknown status";
}

// Compiled from the header's macros, so a caller can compare the library it
// loaded with the header it was built against.
const char* zvq_seq_version(void) { return ZVQ_SEQ_VERSION_STRING; }

}  // extern "C"
