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
    doc("from_arrow",
        "A source over an Arrow array, read in place. The constructor checks everything the refills will read; the "
        "refills then read the array's buffers and nothing else. A plain array is served with equal neighbours (by "
        "bits) folded into runs of up to 255, as zvq_seq_encode_T serves one; a run-end encoded array (+r) serves "
        "each run as runs of up to 255, never expanded, so an operator above pays per run. The caller keeps schema "
        "and array alive until the tree is done and releases them itself. next_pos counts elements; the length is "
        "known without reading (zvq_seq_agg_count answers at once), and a reset rewinds to the slice's start.",
        types=[("c s i l", "int1 int2 int4 int8"), ("C S I L", "uint1 uint2 uint4 uint8"), ("f g", "float double"),
               ("b (bits, from any bit offset)", "uint1, 0 or 1"),
               ("tss: tsm: tsu: tsn: (any time zone)", "datetime: nanoseconds since the Unix epoch"),
               ("w:N, N from 1 to 4095", "char of width N"),
               ("+r with run ends s, i or l over any of the above", "the values' type")],
        args=[("result", "the source"), ("schema", "the array's type: format and, for +r, two children"),
              ("array", "the data: length, offset, buffers and, for +r, run ends and values as children")],
        statuses=[("SEQ_BAD_ARGUMENT", "constructor: a null or released schema or array, or a null format; a "
                   "negative length or offset (or one of 2^62 or more); buffer or child counts that disagree with "
                   "the format (a leaf: two buffers, no children; +r: no buffers, two children); a non-empty leaf "
                   "without a data buffer; run ends not strictly rising from above 0; fewer values than run ends; "
                   "offset + length beyond the last run end"),
                  ("SEQ_NOT_SUPPORTED", "constructor: nulls (null_count not 0; -1 counts as none only where a leaf's "
                   "validity buffer is null), a dictionary, any other format, run ends of another format"),
                  ("SEQ_END", "next: the array is delivered (at once for an empty one)")],
        tests=["FromArrow.EachPrimitiveFormatWithAnOffset", "FromArrow.BooleansUnpackFromAnyBitOffset",
               "FromArrow.TimestampsBecomeNanosecondsSinceTheEpoch", "FromArrow.FixedSizeBinaryIsCharOfThatWidth",
               "FromArrow.RunEndEncodedRunsStayRunsForEveryEndWidth",
               "FromArrow.RunEndEncodedOffsetsOfParentAndChildren", "FromArrow.RunEndEncodedBooleansAndBytes",
               "FromArrow.EmptyArraysEndAtOnce", "FromArrow.RefusalsBindNothing"]),
    "zvq_seq_status zvq_seq_from_arrow(zvq_seq_iterator* result, const struct ArrowSchema* schema, const struct ArrowArray* array);",
    doc("to_arrow",
        "Reads root to its end, from where its reader stands, into a new Arrow array that the caller owns: a plain "
        "array, or with ZVQ_SEQ_ARROW_RUN_END in flags a run-end encoded one (+r; children run_ends, format l, and "
        "values) in which neighbouring equal runs (by bits, so also the pieces of one long run) become one run. No "
        "validity buffer, null_count 0, offset 0; every data buffer is 64-byte aligned, and an empty result "
        "still has one. Release the array and the schema with their release callbacks; a child may be moved out and "
        "released apart from its parent.",
        types=[("int1 int2 int4 int8", "c s i l"), ("uint1 uint2 uint4 uint8", "C S I L"), ("float double", "f g"),
               ("datetime", "tsn: (no time zone)"), ("char of width N", "w:N"),
               ("any of these, with ZVQ_SEQ_ARROW_RUN_END", "+r: int64 run ends, values in the format above")],
        args=[("root", "the tree, read to its end"), ("schema_out, array_out", "written by the call; after any failure but "
               "SEQ_BAD_ARGUMENT both release callbacks are null and nothing is kept"),
              ("flags", "0, or ZVQ_SEQ_ARROW_RUN_END")],
        statuses=[("SEQ_BAD_ARGUMENT", "root, schema_out or array_out null: nothing written"),
                  ("SEQ_TYPE_MISMATCH", "root of no known element type, or char of width 0"),
                  ("SEQ_ALREADY_BOUND", "checks on and root bound (an operand of another operator)"),
                  ("SEQ_NOMEM", "an allocation failed"),
                  ("the tree's status", "passed up unchanged; root has been read up to it")],
        allocates="one block per array node, per schema node and per data buffer, through zvq_seq_malloc with a "
                  "null context (they outlive the tree); each release callback frees its own through zvq_seq_free.",
        tests=["ToArrow.PlainDoublesFromRunsOwnedByTheCaller", "ToArrow.RunEndEncodedMergesEqualNeighbours",
               "ToArrow.ChildrenReleaseApartFromTheirParent", "ToArrow.FormatsOfEveryTypeReadBack",
               "ToArrow.StartsWhereTheReaderStandsAndEmptyHasABuffer", "ToArrow.EachFailedAllocationReleasesEverything",
               "ToArrow.TreeFailuresBindingAndTypes"]),
    "zvq_seq_status zvq_seq_to_arrow(zvq_seq_iterator* root, struct ArrowSchema* schema_out, struct ArrowArray* array_out, uint32_t flags);",
]
NOTES = """
The two structs of the interface are declared in `zvq/seq/arrow_interface.h`, guarded by `ARROW_C_DATA_INTERFACE`, so
that a program with its own copy defines that macro first and includes this header without a clash.

### Formats

| Arrow format | Element type | Notes |
|---|---|---|
| `c` `s` `i` `l` | `int1` `int2` `int4` `int8` | |
| `C` `S` `I` `L` | `uint1` `uint2` `uint4` `uint8` | `zvq_seq_to_arrow` writes `uint1` as `C` |
| `f` `g` | `float` `double` | |
| `b` | `uint1`, 0 or 1 | bits unpacked from any bit offset; never written |
| `tsn:` `tsu:` `tsm:` `tss:` (any zone) | `datetime` | see below; `zvq_seq_to_arrow` writes `tsn:` |
| `w:N`, 1 ≤ N ≤ 4095 | `char` of width N | |
| `+r` with run ends `s`, `i` or `l` over any of the above | as its values | runs served as runs, cut at 255 |

Pinned by `FromArrow.EachPrimitiveFormatWithAnOffset`, `FromArrow.BooleansUnpackFromAnyBitOffset`,
`FromArrow.FixedSizeBinaryIsCharOfThatWidth`, `FromArrow.RunEndEncodedBooleansAndBytes`,
`ToArrow.FormatsOfEveryTypeReadBack`.

### Datetime unit

A `datetime` read from Arrow is a count of nanoseconds since the Unix epoch (1970-01-01T00:00:00 UTC), whatever the
array's unit and time zone (Arrow's timestamps count from the epoch in UTC; the zone only says how to show them):
seconds are multiplied by 10^9, milliseconds by 10^6, microseconds by 10^3. An instant before 1970 is negative in
Arrow and wraps in the unsigned `datetime`; `zvq_seq_to_arrow` writes it back as the same instant, as `tsn:` without
a zone. Instants outside 1677-09-21 to 2262-04-11 do not fit 64 bits of nanoseconds and wrap without a status:
give such a column the format `l` to read its raw counts as `int8`. Pinned by `FromArrow.TimestampsBecomeNanosecondsSinceTheEpoch`.

### Refusals, and how to get other data in

- `SEQ_NOT_SUPPORTED`, nothing written to the record: nulls (`null_count` not 0; -1, unknown, counts as none only
  where a leaf's validity buffer is null), dictionaries, any other format (variable-size binary and strings,
  decimals, dates, durations, nested types), run ends other than `s`, `i`, `l`. To get such data in: filter the nulls
  out first (or fill them); decode a dictionary to its values; cast strings to `w:N` and dates to timestamps.
- `SEQ_BAD_ARGUMENT`, nothing written to the record: a null or released array or schema, buffer or child counts that
  disagree with the format, a missing data buffer, bad run ends, fewer values than run ends, offset + length beyond
  the last run end.

Pinned by `FromArrow.RefusalsBindNothing`.

### Decisions and traps

- Checked once, read freely: `zvq_seq_from_arrow` checks at construction all it will read (buffer and child counts
  per format, length and offset, a data buffer for a non-empty leaf, run ends strictly rising from above 0, as many
  values as run ends, offset + length within the last run end). The refills read no further. Nothing is copied.
  Pinned by `FromArrow.RefusalsBindNothing`.
- Offsets: a leaf's `offset` shifts its values (in bits for `b`). A run-end encoded parent's `offset` and `length`
  are logical positions, cut into the runs at both ends; each child's own `offset` shifts the run ends or values it
  holds. Pinned by `FromArrow.RunEndEncodedOffsetsOfParentAndChildren`, `FromArrow.EachPrimitiveFormatWithAnOffset`.
- Plain arrays fold: a plain array is served as `zvq_seq_encode_T` serves one, equal neighbours (by bits) folded
  into runs, so a column with long constant stretches profits without being encoded first. Pinned by
  `FromArrow.EachPrimitiveFormatWithAnOffset`.
- Length without reading: the sources keep their length in `last_pos` and use `zvq_seq_unget_reset` as their reset,
  so `zvq_seq_agg_count` answers at once. Pinned by `FromArrow.RunEndEncodedRunsStayRunsForEveryEndWidth`
  (`last_pos`).
- `zvq_seq_to_arrow` keeps nothing: every array node, every schema node and every data buffer is its own block, so
  a consumer may move a child out and release it apart from its parent. Blocks come from the allocator hooks with a
  null context (they outlive the tree). On any failure, an allocation or a status of the tree, everything is freed
  and both release callbacks are left null. Pinned by `ToArrow.ChildrenReleaseApartFromTheirParent`,
  `ToArrow.EachFailedAllocationReleasesEverything`, `ToArrow.TreeFailuresBindingAndTypes`.
- Sizes: a root whose length is known (`last_pos` set, as the array sources have) sizes a plain buffer once, for up
  to 2^26 elements; otherwise buffers start at 4 KB and double.
- Where it starts: `zvq_seq_to_arrow` starts where the root's reader stands (`chunk_pos`, `run_pos`): what was taken
  is not written. A repeat byte of 0 gives no element. Pinned by
  `ToArrow.StartsWhereTheReaderStandsAndEmptyHasABuffer`.
- Run-end output merges: neighbouring equal runs (by bits, so also the 255-pieces of one long run) become one Arrow
  run; run ends are `int64`. Read back, the runs come cut at 255 again. Pinned by
  `ToArrow.RunEndEncodedMergesEqualNeighbours`.
"""
