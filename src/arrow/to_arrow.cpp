// zvq_seq_to_arrow: drains a tree into a new Arrow array, plain or run-end
// encoded, that the caller owns.
//
// Every array node owns its own block (its buffers' list, its children's
// structs) and every data buffer is a block of its own, so that a consumer
// may move a child out and release it apart from its parent, as the
// interface allows. Blocks come from the allocator hooks with a null
// context: they outlive the tree.
#include <cstdio>
#include <cstring>

#include "core/record.hpp"

namespace zvq {
namespace {

constexpr uintptr_t kAlign = 64;

// A block from the hooks and its 64-byte aligned start.
struct Block {
    void* raw = nullptr;
    uint64_t size = 0;
    uint8_t* data = nullptr;
};

bool allocate(Block& b, uint64_t bytes) {
    b.size = bytes + kAlign - 1;
    b.raw = zvq_seq_malloc(nullptr, b.size);
    if (b.raw == nullptr) {
        b = {};
        return false;
    }
    const uintptr_t p = reinterpret_cast<uintptr_t>(b.raw);
    b.data = reinterpret_cast<uint8_t*>((p + kAlign - 1) & ~(kAlign - 1));
    return true;
}

void release_block(Block& b) {
    if (b.raw != nullptr) zvq_seq_free(nullptr, b.raw, b.size);
    b = {};
}

// A buffer that grows by doubling.
struct Growing {
    Block block;
    uint64_t used = 0;

    bool reserve(uint64_t extra) {
        const uint64_t room = block.size == 0 ? 0 : block.size - (kAlign - 1);
        if (used + extra <= room) return true;
        uint64_t want = room < 4096 ? 4096 : room * 2;
        while (want < used + extra) want *= 2;
        Block bigger;
        if (!allocate(bigger, want)) return false;
        if (used != 0) std::memcpy(bigger.data, block.data, used);
        release_block(block);
        block = bigger;
        return true;
    }
    uint8_t* end() { return block.data + used; }
};

// ---- the owned structs -----------------------------------------------------

struct LeafPrivate {
    Block self;
    Block data;
    const void* buffers[2];
};

struct RunEndPrivate {
    Block self;
    const void* buffers[1];
    ArrowArray children[2];
    ArrowArray* child_list[2];
};

struct SchemaPrivate {
    Block self;
    char format[16];
    ArrowSchema children[2];
    ArrowSchema* child_list[2];
};

template <class P>
P* new_private() {
    Block b;
    if (!allocate(b, sizeof(P))) return nullptr;
    P* p = new (b.data) P{};
    p->self = b;
    return p;
}

template <class P>
void free_private(P* p) {
    Block self = p->self;
    p->~P();
    release_block(self);
}

void release_leaf(ArrowArray* a) {
    auto* p = static_cast<LeafPrivate*>(a->private_data);
    release_block(p->data);
    free_private(p);
    a->release = nullptr;
}

void release_run_end(ArrowArray* a) {
    auto* p = static_cast<RunEndPrivate*>(a->private_data);
    for (ArrowArray& child : p->children)
        if (child.release != nullptr) child.release(&child);
    free_private(p);
    a->release = nullptr;
}

void release_schema(ArrowSchema* s) {
    auto* p = static_cast<SchemaPrivate*>(s->private_data);
    for (int64_t k = 0; k < s->n_children; ++k)
        if (p->children[k].release != nullptr) p->children[k].release(&p->children[k]);
    free_private(p);
    s->release = nullptr;
}

// A leaf array over `data` (taken over) of `length` elements.
bool make_leaf(ArrowArray& out, Block& data, uint64_t length) {
    LeafPrivate* p = new_private<LeafPrivate>();
    if (p == nullptr) return false;
    p->data = data;
    data = {};
    p->buffers[0] = nullptr;
    p->buffers[1] = p->data.data;
    out = {static_cast<int64_t>(length), 0, 0, 2, 0, p->buffers, nullptr, nullptr, release_leaf, p};
    return true;
}

bool make_schema(ArrowSchema& out, const char* format, const char* name) {
    SchemaPrivate* p = new_private<SchemaPrivate>();
    if (p == nullptr) return false;
    std::snprintf(p->format, sizeof p->format, "%s", format);
    out = {p->format, name, nullptr, 0, 0, nullptr, nullptr, release_schema, p};
    return true;
}

// The format of a record's element type, or false.
bool format_of(const Rec& r, char (&out)[16]) {
    static constexpr struct {
        uint8_t code;
        uint16_t size;
        const char* format;
    } kFormats[] = {
        {ZVQ_SEQ_TYPE_UINT1, 1, "C"}, {ZVQ_SEQ_TYPE_UINT2, 2, "S"}, {ZVQ_SEQ_TYPE_UINT4, 4, "I"},
        {ZVQ_SEQ_TYPE_UINT8, 8, "L"}, {ZVQ_SEQ_TYPE_INT1, 1, "c"},  {ZVQ_SEQ_TYPE_INT2, 2, "s"},
        {ZVQ_SEQ_TYPE_INT4, 4, "i"},  {ZVQ_SEQ_TYPE_INT8, 8, "l"},  {ZVQ_SEQ_TYPE_FLOAT, 4, "f"},
        {ZVQ_SEQ_TYPE_DOUBLE, 8, "g"}, {ZVQ_SEQ_TYPE_DATETIME, 8, "tsn:"},
    };
    if (r.elem_type == ZVQ_SEQ_TYPE_CHAR) {
        if (r.elem_size == 0) return false;
        std::snprintf(out, sizeof out, "w:%u", unsigned{r.elem_size});
        return true;
    }
    for (const auto& f : kFormats)
        if (f.code == r.elem_type && f.size == r.elem_size) {
            std::snprintf(out, sizeof out, "%s", f.format);
            return true;
        }
    return false;
}

// ---- draining --------------------------------------------------------------

// Writes n copies of the w bytes at v.
inline void fill(uint8_t* out, const uint8_t* v, size_t w, uint32_t n) {
    switch (w) {
        case 1: std::memset(out, *v, n); return;
        case 2: for (uint32_t k = 0; k < n; ++k) std::memcpy(out + 2 * k, v, 2); return;
        case 4: for (uint32_t k = 0; k < n; ++k) std::memcpy(out + 4 * k, v, 4); return;
        case 8: for (uint32_t k = 0; k < n; ++k) std::memcpy(out + 8 * k, v, 8); return;
        default: for (uint32_t k = 0; k < n; ++k) std::memcpy(out + w * k, v, w); return;
    }
}

// Elements the tree says it has left, as a first size: a bounded source
// knows, anything else starts small and doubles.
uint64_t size_hint(const Rec& r) {
    constexpr uint64_t kMaxHint = uint64_t{1} << 26;
    if (r.last_pos == kAllOnes || r.last_pos < r.next_pos) return 0;
    const uint64_t left = r.last_pos + 1 - r.next_pos;
    return left < kMaxHint ? left : kMaxHint;
}

// The elements of run i left to the reader: the remainder for the run it
// stands in, the repeat byte for the others. A repeat byte of 0 gives none.
inline uint32_t elements_of(const Rec& r, uint32_t i) {
    return i == r.chunk_pos ? static_cast<uint8_t>(repeat_at(r, i) - r.run_pos) : repeat_at(r, i);
}

zvq_seq_status drain_plain(Rec& root, Growing& values, uint64_t& length) {
    const size_t w = root.elem_size;
    if (const uint64_t hint = size_hint(root); hint != 0 && !values.reserve(hint * w)) return SEQ_NOMEM;
    for (;;) {
        if (zvq_seq_status s = refill(root)) return s == SEQ_END ? SEQ_OK : s;
        const uint32_t count = root.chunk_count;
        for (uint32_t i = root.chunk_pos; i < count;) {
            const uint32_t singles = root.run_pos == 0 ? single_runs(root, i, count) : 0;
            if (singles != 0) {
                if (!values.reserve(uint64_t{singles} * w)) return SEQ_NOMEM;
                std::memcpy(values.end(), slot_ptr(root, i), singles * w);
                values.used += singles * w;
                length += singles;
                i += singles;
                root.chunk_pos = static_cast<uint16_t>(i);
                continue;
            }
            const uint32_t n = elements_of(root, i);
            if (!values.reserve(uint64_t{n} * w)) return SEQ_NOMEM;
            fill(values.end(), slot_ptr(root, i), w, n);
            values.used += uint64_t{n} * w;
            length += n;
            root.run_pos = 0;
            root.chunk_pos = static_cast<uint16_t>(++i);
        }
    }
}

// Equal neighbours (by bits) merge into one run; ends are int64.
zvq_seq_status drain_runs(Rec& root, Growing& values, Growing& ends, uint64_t& length, uint64_t& runs) {
    const size_t w = root.elem_size;
    for (;;) {
        if (zvq_seq_status s = refill(root)) return s == SEQ_END ? SEQ_OK : s;
        const uint32_t count = root.chunk_count;
        for (uint32_t i = root.chunk_pos; i < count; ++i) {
            const uint32_t n = elements_of(root, i);
            root.run_pos = 0;
            root.chunk_pos = static_cast<uint16_t>(i + 1);
            if (n == 0) continue;
            length += n;
            const uint8_t* v = slot_ptr(root, i);
            if (runs != 0 && std::memcmp(values.end() - w, v, w) == 0) {
                store<int64_t>(ends.end() - 8, static_cast<int64_t>(length));
                continue;
            }
            if (!values.reserve(w) || !ends.reserve(8)) return SEQ_NOMEM;
            std::memcpy(values.end(), v, w);
            values.used += w;
            store<int64_t>(ends.end(), static_cast<int64_t>(length));
            ends.used += 8;
            ++runs;
        }
    }
}

zvq_seq_status fail(Growing& a, Growing& b, ArrowSchema* schema, ArrowArray* array, zvq_seq_status s) {
    release_block(a.block);
    release_block(b.block);
    if (schema->release != nullptr) schema->release(schema);
    if (array->release != nullptr) array->release(array);
    return s;
}

zvq_seq_status to_arrow(Rec* root, ArrowSchema* schema, ArrowArray* array, uint32_t flags) {
    if (root == nullptr || schema == nullptr || array == nullptr) return SEQ_BAD_ARGUMENT;
    schema->release = nullptr;
    array->release = nullptr;
    char format[16];
    if (!format_of(*root, format)) return SEQ_TYPE_MISMATCH;
    if (checks_on() && root->bound) return SEQ_ALREADY_BOUND;
    Growing values, ends;
    uint64_t length = 0;
    if ((flags & ZVQ_SEQ_ARROW_RUN_END) == 0) {
        if (zvq_seq_status s = drain_plain(*root, values, length)) return fail(values, ends, schema, array, s);
        // An empty array still gets a data buffer: consumers may read its start.
        if (!values.reserve(1)) return fail(values, ends, schema, array, SEQ_NOMEM);
        if (!make_schema(*schema, format, "") || !make_leaf(*array, values.block, length))
            return fail(values, ends, schema, array, SEQ_NOMEM);
        return SEQ_OK;
    }
    uint64_t runs = 0;
    if (zvq_seq_status s = drain_runs(*root, values, ends, length, runs)) return fail(values, ends, schema, array, s);
    if (!values.reserve(1) || !ends.reserve(8)) return fail(values, ends, schema, array, SEQ_NOMEM);
    if (!make_schema(*schema, "+r", "")) return fail(values, ends, schema, array, SEQ_NOMEM);
    auto* sp = static_cast<SchemaPrivate*>(schema->private_data);
    sp->child_list[0] = &sp->children[0];
    sp->child_list[1] = &sp->children[1];
    schema->children = sp->child_list;
    if (!make_schema(sp->children[0], "l", "run_ends")) return fail(values, ends, schema, array, SEQ_NOMEM);
    schema->n_children = 1;
    if (!make_schema(sp->children[1], format, "values")) return fail(values, ends, schema, array, SEQ_NOMEM);
    schema->n_children = 2;
    RunEndPrivate* ap = new_private<RunEndPrivate>();
    if (ap == nullptr) return fail(values, ends, schema, array, SEQ_NOMEM);
    ap->buffers[0] = nullptr;
    ap->child_list[0] = &ap->children[0];
    ap->child_list[1] = &ap->children[1];
    *array = {static_cast<int64_t>(length), 0, 0, 0, 2, ap->buffers, ap->child_list, nullptr, release_run_end, ap};
    if (!make_leaf(ap->children[0], ends.block, runs) || !make_leaf(ap->children[1], values.block, runs))
        return fail(values, ends, schema, array, SEQ_NOMEM);
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_to_arrow(zvq_seq_iterator* root, struct ArrowSchema* schema_out, struct ArrowArray* array_out,
                                uint32_t flags) {
    return zvq::to_arrow(root, schema_out, array_out, flags);
}

}  // extern "C"
