// Records of the chained hash table that every hash aggregate rests on.
// Layouts are fixed: entries are 40 bytes, a table 40, a pair 24.
#pragma once

#include <cstdint>

#include "core/record.hpp"

namespace zvq {

struct HashEntry {
    uint64_t key;  // narrow key zero-extended in place, or a pointer into a key block
    uint64_t agg;  // the builder's aggregate word
    HashEntry* next;
    uint64_t count;  // elements folded in, repeats included
    uint32_t hash;
};
static_assert(sizeof(HashEntry) == 40);

struct HashTable {
    uint64_t size;
    uint64_t count;  // valid once published
    void* blocks;    // newest block first
    void* last_block;
    HashEntry** buckets;
};
static_assert(sizeof(HashTable) == 40);

struct HashAggState;

struct HashPair {
    HashTable* table;  // null until a build has finished
    HashAggState* agg_state;
    HashAggState* grp_state;
};
static_assert(sizeof(HashPair) == 24);

// State of both iterators of a hash aggregate pair.
struct HashAggState {
    uint64_t table_size;
    uint64_t cursor_bucket;
    HashEntry* cursor_entry;
    HashPair* pair;
    HashTable* own_table;
};

}  // namespace zvq
