/*
 * zvqseq: run-length aware, pull-driven evaluation of expressions over typed
 * sequences. This is the one public header; it is plain C99.
 *
 * A sequence is a caller-allocated zvq_seq_iterator. Constructors fill a
 * record and bind operand records to it; the caller pulls from the root with
 * zvq_seq_next_T, zvq_seq_get_T or zvq_seq_get_nullable_T until SEQ_END.
 */
#ifndef ZVQ_SEQ_H
#define ZVQ_SEQ_H

#include <stddef.h>
#include <stdint.h>

#include "zvq/seq/version.h"

#if defined(ZVQ_SEQ_STATIC)
#define ZVQ_SEQ_API
#elif defined(__GNUC__)
#define ZVQ_SEQ_API __attribute__((visibility("default")))
#else
#define ZVQ_SEQ_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t zvq_seq_status;

#define SEQ_OK 0u
#define SEQ_END 11u
#define SEQ_NOMEM 52u
#define SEQ_NOT_SUPPORTED 57u
#define SEQ_TYPE_MISMATCH 61u
#define SEQ_BAD_ARGUMENT 62u
#define SEQ_BAD_ORDER 700u
#define SEQ_ALREADY_BOUND 701u

#define SEQ_ORDER_ASC 1u
#define SEQ_ORDER_DESC 2u

/* Element type codes, stored in zvq_seq_iterator.elem_type. 10 and 11 are unassigned. */
#define ZVQ_SEQ_TYPE_UINT1 0u
#define ZVQ_SEQ_TYPE_UINT2 1u
#define ZVQ_SEQ_TYPE_UINT4 2u
#define ZVQ_SEQ_TYPE_UINT8 3u
#define ZVQ_SEQ_TYPE_INT1 4u
#define ZVQ_SEQ_TYPE_INT2 5u
#define ZVQ_SEQ_TYPE_INT4 6u
#define ZVQ_SEQ_TYPE_INT8 7u
#define ZVQ_SEQ_TYPE_FLOAT 8u
#define ZVQ_SEQ_TYPE_DOUBLE 9u
#define ZVQ_SEQ_TYPE_DATETIME 12u
#define ZVQ_SEQ_TYPE_CHAR 13u

#define ZVQ_SEQ_CHUNK_SIZE 4096u
#define ZVQ_SEQ_STATE_SIZE 288u

typedef uint8_t zvq_seq_bool;
typedef uint64_t zvq_seq_datetime;

typedef struct zvq_seq_iterator zvq_seq_iterator;

typedef zvq_seq_status (*zvq_seq_next_fn)(zvq_seq_iterator* it);
typedef zvq_seq_status (*zvq_seq_merge_fn)(zvq_seq_iterator* destination, zvq_seq_iterator* source);

/*
 * The record. Value i of the chunk stands at chunk + i * elem_size, its repeat
 * byte at chunk[4095 - i]. A reader that finds chunk_pos >= chunk_count calls
 * next and then sets chunk_pos to 0.
 */
struct zvq_seq_iterator {
    zvq_seq_next_fn next;
    zvq_seq_next_fn reset;
    zvq_seq_next_fn prepare;
    zvq_seq_merge_fn merge;
    uint16_t elem_size;
    uint16_t chunk_count;
    uint16_t chunk_pos;
    uint8_t run_pos;
    uint8_t prepared;
    uint64_t first_pos;
    uint64_t next_pos;
    uint64_t last_pos;
    zvq_seq_iterator* operand[3];
    void* buffer;
    uint64_t buffer_size;
    uint8_t elem_type;
    uint8_t bound;
    /* Operator state; the union only gives it 8-byte alignment. */
    union {
        uint8_t bytes[ZVQ_SEQ_STATE_SIZE];
        uint64_t words[ZVQ_SEQ_STATE_SIZE / 8];
    } state;
    uint64_t null_bitmap[2];
    uint8_t chunk[ZVQ_SEQ_CHUNK_SIZE];
};

/* A caller-supplied sequence of sequences, read by zvq_seq_join_T. */
typedef struct zvq_seq_meta_iterator zvq_seq_meta_iterator;
struct zvq_seq_meta_iterator {
    zvq_seq_status (*next_sequence)(zvq_seq_meta_iterator* meta);
    zvq_seq_status (*first_sequence)(zvq_seq_meta_iterator* meta);
    zvq_seq_iterator inner;
};

typedef void* (*zvq_seq_malloc_fn)(zvq_seq_iterator* context, uint64_t size);
typedef void (*zvq_seq_free_fn)(zvq_seq_iterator* context, void* pointer, uint64_t size);

#ifdef __cplusplus
}
#endif

/* Declarations of every exported name, generated from the type table. */
#include "zvq/seq/all.h"

#endif /* ZVQ_SEQ_H */
