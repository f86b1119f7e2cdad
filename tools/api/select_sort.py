TITLE = "Sorting"
DECLS = [
    doc("sort_T",
        "Fills permutation with the indices of values in sorted order (values are never moved): a quicksort with a "
        "seeded pivot, insertion sort for short slices, heap sort when the depth budget runs out. Not stable. "
        "Signed, unsigned or IEEE order by type (datetime as uint8).",
        types=[("const T* values (eleven numeric)", "uint64_t permutation[n]")],
        args=[("values", "n keys, read only"), ("permutation", "n entries, written"), ("n", "elements"),
              ("order", "SEQ_ORDER_ASC or SEQ_ORDER_DESC")],
        statuses=[("SEQ_OK", "always; nothing is allocated")],
        caution="a slice is left as it stands whenever the front of the whole array rises: 500 rising values "
                "followed by 10,000 random ones leave 4,944 adjacent pairs out of order; use zvq_seq_argsort_T "
                "(stable, NaN last).",
        tests=["Sort.RandomDataWithDuplicatesAndNaN", "Sort.SortedReversedAndEqualInputsInOnePass",
               "Sort.HeapSortWhenTheBudgetRunsOut", "SortFrontSorted.ASliceIsLeftAloneWhenTheArraysFrontRises"]),
    *each("zvq_seq_status zvq_seq_sort_{t}(const {t_c}* values, uint64_t* permutation, uint64_t n, uint32_t order);", t=NUMERIC),
    doc("order_by_T",
        "Delivers input in the order of a permutation: the first pull reads the n elements of input (runs expanded) "
        "into a buffer, then element i of the result is buffer[permutation[i]], repeat 1. One permutation can order "
        "several columns. input is not marked bound; it is read through zvq_seq_get_T.",
        types=[("T (all twelve)", "T")],
        args=[("result", "the reordered column"), ("input", "the column"), ("permutation", "n indices, kept by the caller"),
              ("n", "elements"), ("buffer", "a caller's array of n elements already holding input, or null to have "
               "one allocated and filled")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: input not T; first pull: as zvq_seq_get_T"),
                  ("SEQ_ALREADY_BOUND", "first pull: checks on and input bound"),
                  ("SEQ_BAD_ARGUMENT", "first pull: a permutation entry at or past n"),
                  ("SEQ_NOMEM", "first pull: no memory for the buffer, or n x elem_size beyond 64 bits"),
                  ("SEQ_END", "after n elements"), ("operand's status", "passed up unchanged")],
        allocates="with buffer null, n x elem_size bytes through zvq_seq_alloc_buffer, zeroed; released by "
                  "zvq_seq_order_by_reset or zvq_seq_free_buffer. A caller's buffer is neither read into nor freed.",
        tests=["OrderBy.ReadsTheInputOnceAndDeliversChunksInPermutationOrder",
               "OrderByBuffer.ACallersBufferIsNeitherReadIntoNorFreedCharsAreBlockCopied", "OrderByFailures.AllocatorReadAndBounds"]),
    *each("zvq_seq_status zvq_seq_order_by_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, const uint64_t* permutation, uint64_t n, const {t_c}* buffer);", t=ALL),
    *each("zvq_seq_status zvq_seq_order_by_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_order_by_reset(zvq_seq_iterator* it);",
]
NOTES = """
- `zvq_seq_order_by_T` zeroes the buffer it allocates before reading its input, so entries that point past a short or
  failed read give zeros, not leftovers of the allocator. A permutation entry at or past n is refused with
  `SEQ_BAD_ARGUMENT` before anything is written (the buffer holds n elements); a size n × `elem_size` beyond 64 bits
  is `SEQ_NOMEM`. Pinned by `OrderByFailures.AllocatorReadAndBounds`.
- The pivot seeds of `zvq_seq_sort_T` are relaxed atomics: threads that sort at once may interleave their steps,
  which changes pivots (and the order of equal keys) but is no data race.
- `zvq_seq_order_by_char` over an `elem_size` of 4096 or more (capacity 0) answers `SEQ_END` rather than a chunk of
  no runs.
"""
