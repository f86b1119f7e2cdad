// Arrow arrays over test-owned memory: a leaf (validity and data buffers)
// and a run-end encoded array of two leaves. Release callbacks only mark the
// struct released; copies re-point their internal links.
#pragma once

#include <cstdint>

#include "support/scripted_source.hpp"

namespace zvq::test {

inline void mark_released(ArrowSchema* s) { s->release = nullptr; }
inline void mark_released(ArrowArray* a) { a->release = nullptr; }

struct Leaf {
    ArrowSchema schema{};
    ArrowArray array{};
    const void* buffers[2] = {nullptr, nullptr};

    Leaf(const char* format, const void* data, int64_t length, int64_t offset = 0) {
        schema = {format, "", nullptr, 0, 0, nullptr, nullptr, mark_released, nullptr};
        array = {length, 0, offset, 2, 0, nullptr, nullptr, nullptr, mark_released, nullptr};
        buffers[1] = data;
        array.buffers = buffers;
    }
    Leaf(const Leaf& o) : schema(o.schema), array(o.array), buffers{o.buffers[0], o.buffers[1]} {
        array.buffers = buffers;
    }
    Leaf& operator=(const Leaf&) = delete;
};

struct RunEnd {
    ArrowSchema schema{}, ends{}, values{};
    ArrowArray array{}, ends_array{}, values_array{};
    ArrowSchema* schema_children[2];
    ArrowArray* array_children[2];
    const void* ends_buffers[2] = {nullptr, nullptr};
    const void* values_buffers[2] = {nullptr, nullptr};

    RunEnd(const char* ends_format, const void* run_ends, const char* values_format, const void* run_values,
           int64_t runs, int64_t length, int64_t offset = 0) {
        schema = {"+r", "", nullptr, 0, 2, nullptr, nullptr, mark_released, nullptr};
        ends = {ends_format, "run_ends", nullptr, 0, 0, nullptr, nullptr, mark_released, nullptr};
        values = {values_format, "values", nullptr, 0, 0, nullptr, nullptr, mark_released, nullptr};
        array = {length, 0, offset, 0, 2, nullptr, nullptr, nullptr, mark_released, nullptr};
        ends_array = {runs, 0, 0, 2, 0, nullptr, nullptr, nullptr, mark_released, nullptr};
        values_array = {runs, 0, 0, 2, 0, nullptr, nullptr, nullptr, mark_released, nullptr};
        ends_buffers[1] = run_ends;
        values_buffers[1] = run_values;
        link();
    }
    RunEnd(const RunEnd& o)
        : schema(o.schema), ends(o.ends), values(o.values), array(o.array), ends_array(o.ends_array),
          values_array(o.values_array), ends_buffers{o.ends_buffers[0], o.ends_buffers[1]},
          values_buffers{o.values_buffers[0], o.values_buffers[1]} {
        link();
    }
    RunEnd& operator=(const RunEnd&) = delete;

   private:
    void link() {
        schema_children[0] = &ends;
        schema_children[1] = &values;
        array_children[0] = &ends_array;
        array_children[1] = &values_array;
        schema.children = schema_children;
        array.children = array_children;
        ends_array.buffers = ends_buffers;
        values_array.buffers = values_buffers;
    }
};

}  // namespace zvq::test
