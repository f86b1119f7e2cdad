TITLE = "Top-N and histogram"
DIRECTIONS = ["max", "min"]
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: input not T"), ("SEQ_ALREADY_BOUND", "constructor: checks on and input bound"),
             ("SEQ_BAD_ARGUMENT", "constructor: n above the capacity of T (2048, 1365, 819 or 455); input stays bound"),
             ("SEQ_END", "next: input empty, or the list already delivered"),
             ("operand's status", "next: value lists are lost, position lists are published")]
DECLS = [
    doc("top_max_T, top_min_T",
        "The n greatest (smallest) values of the whole input, best first, in one chunk, from a sorted candidate "
        "list; a NaN beats on either side.",
        types=[("T (eleven numeric)", "T")],
        args=[("result", "the list"), ("input", "the values"), ("n", "list length, at most the capacity of T")],
        statuses=_STATUSES,
        merge="prepare zvq_seq_prepare_aggregate; zvq_seq_top_max_T_merge / _min_T_merge merge two lists, cut to n.",
        caution="a run counts once and the merge keeps one of two equal values: the top 3 of 5 5 5 3 3 3 as two "
                "runs is 5, 3, and merging {5,5,1} with {5,4} keeps 5 5 1; use zvq_seq_top_n_max_T / "
                "zvq_seq_top_n_min_T (with their merges).",
        tests=["TopN.LongInputAgainstAStableSort", "TopN.ShortInputsAndTheLimits", "TopN.MergeDropsOneOfTwoEqualValues",
               "TopFailure.ValueListsAreLostPositionListsPublished", "TopNaN.ANaNBeatsOnEitherSide"]),
    *each("zvq_seq_status zvq_seq_top_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_{d}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", d=DIRECTIONS, t=NUMERIC),
    doc("top_pos_max_T, top_pos_min_T",
        "The places of the n greatest (smallest) values, as a uint8 sequence; a place is the ordinal of the RUN "
        "(the element position only over runs of 1). n may exceed the 455 places a chunk holds: the list is then "
        "kept in the record's buffer and delivered over several chunks.",
        types=[("T (eleven numeric)", "uint8 run ordinals")],
        args=[("result", "the places"), ("input", "the values"), ("n", "list length, at most the capacity of T")],
        statuses=_STATUSES + [("SEQ_NOMEM", "next: n above 455 and no memory for the list")],
        allocates="for n above 455, n x 8 bytes through zvq_seq_alloc_buffer; released with the last chunk, on reset "
                  "(zvq_seq_top_pos_reset) or by zvq_seq_free_buffer.",
        caution="positions count runs: over runs 7 x 100, 9 x 1 the top place is 1, not 100; use "
                "zvq_seq_top_n_pos_max_T / zvq_seq_top_n_pos_min_T for element positions.",
        tests=["TopPosLong.NAboveAChunkIsDeliveredOverSeveralChunks", "TopFailure.ValueListsAreLostPositionListsPublished"]),
    *each("zvq_seq_status zvq_seq_top_pos_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_pos_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
    "zvq_seq_status zvq_seq_top_pos_reset(zvq_seq_iterator* it);",
    doc("histogram_T",
        "Counts of the input's elements (repeats counted) in n equal half-open intervals [min, max); one chunk of n "
        "counts. A NaN counts in interval 0.",
        types=[("T (eleven numeric)", "uint8 counts")],
        args=[("result", "the counts"), ("input", "the values"), ("min", "lower bound, inclusive"),
              ("max", "upper bound, exclusive"), ("n", "intervals, 1 to 455")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: input not T"),
                  ("SEQ_BAD_ARGUMENT", "constructor: n out of range or max not above min (before the binding: input "
                   "stays free); next: a value outside [min, max), max itself included"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and input bound"),
                  ("SEQ_END", "next: already delivered"), ("operand's status", "next: passed up; counts so far published")],
        tests=["Histogram.EqualHalfOpenIntervalsCountRepeats", "Histogram.ArgumentsAreTestedBeforeTheBinding",
               "HistogramArithmetic.WideSpansFloatRoundingAndNaN"]),
    *each("zvq_seq_status zvq_seq_histogram_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, {t_c} min, {t_c} max, int64_t n);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_histogram_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
]
NOTES = """
- Position lists longer than a chunk: `zvq_seq_top_pos_max_T` and `zvq_seq_top_pos_min_T` accept N up to the capacity
  of T (2048 for 1-byte types), above the 455 positions a `uint8` chunk holds. Such a list is gathered on the stack of
  `next`, then kept in the record's buffer and delivered over several chunks of at most 455; the buffer goes back
  with the last chunk, on reset, or through `zvq_seq_free_buffer`. A constructor given N above 455 installs
  `zvq_seq_top_pos_reset` (free the buffer, then the unary reset). No memory for the list: `SEQ_NOMEM`, nothing
  published. Pinned by `TopPosLong.NAboveAChunkIsDeliveredOverSeveralChunks`.
- Merging top-N lists that hold nothing: `zvq_seq_top_max_T_merge` / `zvq_seq_top_min_T_merge` take the source's list
  into an empty destination and leave a destination unchanged by an empty source. Nothing is read past either list.
  Pinned by `TopN.MergeDropsOneOfTwoEqualValues`.
- Histogram indexes past the counters: an interval index of n or more (a `float` just below `hist_max` rounding up to
  n, an infinite quotient) is not counted: the count would fall outside the n delivered slots. A NaN index counts in
  interval 0. Pinned by `HistogramArithmetic.WideSpansFloatRoundingAndNaN`.
"""
