TITLE = "Whole-sequence aggregates and merging"
FOLDS = ["max", "min", "sum", "prd", "avg", "var", "var_samp", "dev", "dev_samp"]
_MERGE = ("prepare zvq_seq_prepare_aggregate; merge zvq_seq_agg_OP_T_merge(destination, source) folds a prepared "
          "source's partial state into a prepared destination, whose next then delivers the combined result once.")
DECLS = [
    doc("agg_max_T, agg_min_T, agg_sum_T, agg_prd_T, agg_avg_T, agg_var_T, agg_var_samp_T, agg_dev_T, agg_dev_samp_T",
        "One result element from the whole operand: the first next drains it, folding each run at once (a run "
        "of 255 costs one step), and publishes a single run of repeat 1; the next pull gives SEQ_END. An empty "
        "operand gives SEQ_END and no element. var and dev are population, var_samp and dev_samp divide by n - 1 in "
        "both places: (sum of squares - sum^2 / (n - 1)) / (n - 1). Nothing is clamped and NaN is not skipped "
        "(zvq_seq_skip_nan_T removes it upstream).",
        types=[("int1..int8", "max, min: T; sum, prd: int8; avg and variances: double"),
               ("uint1..uint8", "max, min: T; sum, prd: uint8; avg and variances: double"),
               ("float", "max, min: float; the others double"), ("double", "double"),
               ("datetime", "max, min, sum, prd, avg: datetime (avg an integer quotient); variances: double")],
        args=[("result", "the one-element result"), ("operand", "the sequence to reduce")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_END", "next: empty operand, or the result was already delivered"),
                  ("operand's status", "next: passed up unchanged; the partial fold is dropped"),
                  ("SIGFPE", "agg_avg_datetime_merge of two parts that both hold no element (the merge protocol "
                   "merges only parts with a result)")],
        merge=_MERGE,
        caution="the run product is taken in the operand's width before widening: agg_sum_int4 of one run of 255 "
                "copies of 10,000,000 gives -1,744,967,296, and agg_var_samp of 1, 2, 3 gives -2, not 1; convert "
                "first (zvq_seq_int4_to_int8) and take zvq_seq_rolling_var_T or agg_var x n / (n - 1) for the "
                "textbook estimate.",
        tests=["WholeFold.EachRuleOverRunsAcrossChunks", "WholeFold.ResultShapeAndEmptyOperand",
               "WholeFold.FailureDropsTheFoldAndLeavesTheRecordFresh", "WholeFold.PartsMergeIntoTheWhole",
               "WholeRunProduct.WrapsInTheOperandsWidthAndFloatStaysSingle",
               "WholeNaN.ExtremesKeepASeedIgnoreLaterOnesSumsSpreadIt",
               "WholeIntegerResults.TruncateThroughIntegerOrDoubleArithmetic"]),
    *each("zvq_seq_status zvq_seq_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_agg_{op}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FOLDS, t=NUMERIC),
    doc("agg_min_max_T",
        "Both extremes in one pass: two elements, the minimum then the maximum. Repeat bytes are ignored (runs are "
        "counted); no merge.",
        types=[("int1..uint8, float, double", "T (two elements)"), ("datetime", "double (two elements)")],
        args=[("result", "the two-element result"), ("operand", "the sequence to reduce")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_END", "next: empty operand, or already delivered"), ("operand's status", "passed up unchanged")],
        tests=["WholeFold.ResultShapeAndEmptyOperand"]),
    *each("zvq_seq_status zvq_seq_agg_min_max_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_agg_min_max_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    doc("agg_count, agg_count_not_null",
        "The number of elements (runs expanded) of an operand of any type; count_not_null skips elements whose "
        "null_bitmap bit is set. In-memory sources and hash aggregates are asked for their size, not read. The "
        "operand is neither binding-tested nor marked bound, and an operand failure counts as the end.",
        types=[("any type", "uint8")],
        args=[("result", "the count"), ("operand", "the sequence to count")],
        statuses=[("SEQ_OK", "constructor: always"), ("SEQ_END", "next: the count was already delivered")],
        merge="prepare zvq_seq_prepare_aggregate; merge zvq_seq_count_merge adds the counts.",
        caution="a failing operand is not reported: a source that fails after 819 elements counts 819 with SEQ_OK.",
        tests=["Count.WalksChunksAndSwallowsFailures", "Count.SourcesThatKnowTheirSizeAreAskedNotRead",
               "CountNotNull.SkipsFlaggedRunsAndReadsFlagsBeyondTheBitmapInTheChunk"]),
    "zvq_seq_status zvq_seq_agg_count(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_agg_count_not_null(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_count_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_count_not_null_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_count_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
]
NOTES = """
- `zvq_seq_reset_iterator` also clears `prepared`: a prepared aggregate that is reset becomes fresh and pulls its
  operand again on the next read, instead of answering `SEQ_END` as a prepared empty record. Pinned by
  `FrameResets.PrepareSetsPreparedWhateverNextSaidAndResetForgetsIt`.
- Merging two empty datetime averages divides an unsigned count of 0: the library raises SIGFPE explicitly, as the
  processor's division would. The merge protocol forbids that call (merge only parts that have a result).
- The aggregate fold loop is compiled twice on x86-64 with GCC, once for AVX2, and the loader picks the copy for the
  processor; both come from the same source.
"""
