TITLE = "Paired statistics: covariance, correlation, weighted sum and weighted average"
FAMILIES = ["cov", "corr", "wsum", "wavg"]
DECLS = [
    doc("cov_T, corr_T, wsum_T, wavg_T",
        "One double from two operands read in step, by run segments (one addition per overlap): population "
        "covariance, Pearson correlation, the weighted sum of x * y, and the weighted average. In wavg the FIRST "
        "operand x is the weight and the second y the value: sum(x * y) / sum(x). The first operand to end ends the "
        "aggregate; the rest of the longer one is not read.",
        types=[("T, T (eleven numeric)", "double")],
        args=[("result", "the one-element result"), ("x", "first operand; the weight in wavg"),
              ("y", "second operand; the value in wavg")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: an operand is not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
                  ("SEQ_END", "next: an operand empty, or already delivered"),
                  ("operand's status", "next: passed up unchanged; the sums are dropped")],
        merge="prepare zvq_seq_prepare_aggregate; merge zvq_seq_OP_T_merge adds the source's sums, but adds its sum "
              "of y where the sum of x belongs.",
        caution="signed integer sums are read as unsigned and the merge mixes up the sums: cov_int4 of -1, -2 against "
                "1, 2 gives -2.77e19, not -0.25, and corr_double merged from two halves gave 0.034 where the whole gave "
                "-0.711; use zvq_seq_covariance_T and zvq_seq_correlation_T (with their merges).",
        tests=["PairedFold.SumsOverSegmentsOfUnequalRuns",
               "PairedSigns.SignedSumsReadAsUnsignedAndWavgMultipliesInTheOperandsArithmetic",
               "PairedEnds.TheFirstOperandToEndEndsTheAggregateAndAFailureDropsTheSums",
               "PairedMerge.PartsWithEqualSumsMergeIntoTheWholeAndTheYSumFoldsIntoX"]),
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* x, zvq_seq_iterator* y);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FAMILIES, t=NUMERIC),
]
NOTES = """
- A merged `wavg` divides the sum of weight x value over all parts by the destination's own weights alone; a merged
  `wsum` is exact. Pinned by `PairedMerge.PartsWithEqualSumsMergeIntoTheWholeAndTheYSumFoldsIntoX`.
"""
