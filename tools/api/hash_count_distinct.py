TITLE = "Exact count of the distinct values of a whole sequence"
DECLS = [
    doc("agg_count_distinct_T",
        "The exact number of distinct values of the whole operand, as one uint8 element: the first next drains the "
        "operand into a set and publishes the count (0 for an empty operand, with SEQ_OK); the next pull gives "
        "SEQ_END. Floating values count as SQL does: -0.0 equals 0.0, and all NaNs, whatever their payload, are one "
        "value. Integers and datetimes count by their bits; char values by all their bytes, zero bytes and what "
        "follows them included. One probe per run; a run equal to the one before it is not probed again.",
        types=[("int1..int8, uint1..uint8, float, double, datetime", "uint8"), ("char (any width)", "uint8")],
        args=[("result", "the one-element count"), ("operand", "the sequence whose values are counted")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not T (it stays free); merge: char parts of "
                   "different widths"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_NOMEM", "next: the set could not grow; the set is given back and nothing is published. "
                   "merge: the destination's set could not grow; it keeps its set and count"),
                  ("SEQ_END", "next: the count was already delivered (the set is then given back), or the "
                   "prepare failed"),
                  ("operand's status", "next: passed up unchanged; nothing is published and the set is given back")],
        merge="prepare zvq_seq_prepare_aggregate; merge zvq_seq_agg_count_distinct_T_merge(destination, source) adds "
              "every value of the source's set to the destination's and rewrites the destination's count; the source "
              "is only read and keeps its set.",
        allocates="the set, in the record's buffer through zvq_seq_malloc: 8-byte slots, a power of two from 64, at "
                  "most half full, doubled when needed, and for char wider than 8 bytes a key area of width bytes for "
                  "each two slots. Built by the first next (or prepare); released by reading the result to SEQ_END, "
                  "by zvq_seq_agg_count_distinct_reset, by zvq_seq_free_buffer, and at once when a build fails.",
        tests=["CountDistinct.AgainstASet", "CountDistinct.MergedPartsEqualTheWhole",
               "CountDistinct.FloatingValuesCountAsSqlDoes", "CountDistinct.CharValuesByTheirBytes",
               "CountDistinct.TheSetsLifetime", "CountDistinct.NoMemoryAtEveryAllocation",
               "CountDistinct.BadInputAndOperandFailure"]),
    *each("zvq_seq_status zvq_seq_agg_count_distinct_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=ALL),
    *each("zvq_seq_status zvq_seq_agg_count_distinct_{t}_next(zvq_seq_iterator* it);", t=ALL),
    *each("zvq_seq_status zvq_seq_agg_count_distinct_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", t=ALL),
    doc("agg_count_distinct_reset",
        "The reset of every agg_count_distinct record: gives the set back (zvq_seq_free_buffer), clears prepared, so "
        "that a reset record counts afresh, then rewinds the operand and the record. Safe after zvq_seq_free_buffer.",
        types=[("any agg_count_distinct record", "the record itself")],
        args=[("it", "the agg_count_distinct record")],
        statuses=[("SEQ_OK", "done"), ("operand's status", "the operand's reset failed: passed up unchanged")],
        tests=["CountDistinct.TheSetsLifetime", "CountDistinct.NoMemoryAtEveryAllocation"]),
    "zvq_seq_status zvq_seq_agg_count_distinct_reset(zvq_seq_iterator* it);",
]
NOTES = """
- `agg_count_distinct_T` does not use the chained hash table of the hash aggregates: it keeps its own
  open-addressing set with linear probing, a power of two of 8-byte slots, at most half full, doubled when needed,
  starting at 64 slots, so memory follows the distinct values seen rather than the input's length. Pinned by
  `CountDistinct.AgainstASet`.
- Keys. A value of at most 8 bytes is its own slot, zero-extended; 0 marks an empty slot, so the value 0 is a flag
  beside the table. A char value wider than 8 bytes is stored in a key area behind the slots (room for half the
  slots, so both grow together), and its slot holds its 32-bit MurmurHash3 and its index + 1; equal hashes are
  confirmed by comparing the bytes. The index takes 32 bits of the slot, so a set holds fewer than 2^32 such wide
  values. Pinned by `CountDistinct.CharValuesByTheirBytes`.
- Floating values count as SQL does, unlike the hash aggregates, whose keys are raw bytes: -0.0 equals 0.0, and all
  NaNs, whatever their payload, are one value. Integers and datetimes count by their bits; char values by all their
  bytes, zero bytes and what follows them included. Pinned by `CountDistinct.FloatingValuesCountAsSqlDoes` and
  `CountDistinct.CharValuesByTheirBytes`.
- One probe per run; a run equal to the one before it is not probed again. Runs are taken 32 at a time: their keys
  are computed and their home slots fetched ahead before the first probe, which hides most of the cache misses of a
  table larger than the cache.
- Memory. The set is the record's `buffer`, from the hooks. It is built by the first `next` (or `prepare`) and kept
  while the result may still be merged: a prepared part keeps its set, through any merges, until it is read to its
  end, reset or freed. It is released by reading the result to its `SEQ_END`, by the record's reset
  (`zvq_seq_agg_count_distinct_reset`, which also clears `prepared`, so a reset record counts afresh), by
  `zvq_seq_free_buffer`, and at once when a build fails (operand failure or `SEQ_NOMEM`). A growth that fails keeps the old table, so nothing leaks. Pinned by
  `CountDistinct.TheSetsLifetime`, `CountDistinct.NoMemoryAtEveryAllocation` and
  `CountDistinct.BadInputAndOperandFailure`.
- The merge unions the source's set into the destination's and rewrites the destination's count; the source is
  only read and keeps its set. It returns `SEQ_NOMEM` if the destination cannot grow, and
  `SEQ_TYPE_MISMATCH` for char parts of different widths. After `zvq_seq_free_buffer` a record holds no set, so a
  merge into it counts only what it gets from then on. Pinned by `CountDistinct.MergedPartsEqualTheWhole` and
  `CountDistinct.CharValuesByTheirBytes`.
"""
