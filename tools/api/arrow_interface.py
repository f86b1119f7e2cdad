TITLE = "The Arrow C Data Interface: arrays in as sources, results out as arrays"
PREAMBLE = r"""
/* The two structs of the Arrow C Data Interface, as Arrow gives them. A
   program with its own copy defines ARROW_C_DATA_INTERFACE first. */
#ifndef ARROW_C_DATA_INTERFACE
#define ARROW_C_DATA_INTERFACE

#define ARROW_FLAG_DICTIONARY_ORDERED 1
#define ARROW_FLAG_NULLABLE 2
#define ARROW_FLAG_MAP_KEYS_SORTED 4

struct ArrowSchema {
  /* Array type description */
  const char* format;
  const char* name;
  const char* metadata;
  int64_t flags;
  int64_t n_children;
  struct ArrowSchema** children;
  struct ArrowSchema* dictionary;

  /* Release callback */
  void (*release)(struct ArrowSchema*);
  /* Opaque producer-specific data */
  void* private_data;
};

struct ArrowArray {
  /* Array data description */
  int64_t length;
  int64_t null_count;
  int64_t offset;
  int64_t n_buffers;
  int64_t n_children;
  const void** buffers;
  struct ArrowArray** children;
  struct ArrowArray* dictionary;

  /* Release callback */
  void (*release)(struct ArrowArray*);
  /* Opaque producer-specific data */
  void* private_data;
};

#endif /* ARROW_C_DATA_INTERFACE */

/* zvq_seq_to_arrow: write a run-end encoded array (int64 run ends, equal
   neighbouring runs merged) instead of a plain one. */
#define ZVQ_SEQ_ARROW_RUN_END 1u

/*
 * zvq_seq_from_arrow(result, schema, array): a source over an Arrow array,
 * read in place; the caller keeps schema and array alive until the tree is
 * done and releases them itself.
 *   formats  c C s S i I l L f g -> int1 uint1 int2 uint2 int4 uint4 int8 uint8
 *            float double; b -> uint1 (0 or 1); tss: tsm: tsu: tsn: (any
 *            time zone) -> datetime in nanoseconds since the Unix epoch;
 *            w:N -> char of width N (1 to 4095); +r over any of these with
 *            run ends s, i or l: every run is served as runs, never expanded.
 *   plain arrays are served with equal neighbours folded into runs.
 *   SEQ_NOT_SUPPORTED: nulls (null_count not 0), a dictionary, another format.
 *   SEQ_BAD_ARGUMENT: a null or released array or schema, a negative length
 *            or offset, buffers or children that disagree with the format,
 *            run ends not strictly increasing from above 0, fewer values than
 *            runs, or offset + length beyond the last run end.
 *   Nothing is bound on a refusal.
 *
 * zvq_seq_to_arrow(root, schema_out, array_out, flags): drains root into a new
 * array that the caller owns and frees with the release callbacks of both
 * structs. uint1 is written as C (uint8), datetime as tsn:, char as w:N. All
 * memory comes from the allocator hooks (context null), buffers 64-byte
 * aligned. SEQ_TYPE_MISMATCH: root of no known element type;
 * SEQ_ALREADY_BOUND: root is an operand (checks on); SEQ_NOMEM or a status
 * of the tree: nothing is kept and both release callbacks are null.
 */
"""
DECLS = [
    "zvq_seq_status zvq_seq_from_arrow(zvq_seq_iterator* result, const struct ArrowSchema* schema, const struct ArrowArray* array);",
    "zvq_seq_status zvq_seq_to_arrow(zvq_seq_iterator* root, struct ArrowSchema* schema_out, struct ArrowArray* array_out, uint32_t flags);",
]
