TITLE = "Series transforms: first difference, direction of change, division by the norm"
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
             ("SEQ_END", "next: the operand is exhausted"), ("operand's status", "next: passed up unchanged")]
_ARGS = [("result", "the transformed sequence"), ("operand", "the input")]
DECLS = [
    doc("diff_T",
        "Each element minus the one before, the first giving 0, in T's arithmetic (wrapping for integers: a "
        "decrease in uint4 gives a large value). A run of r becomes the step and a run of r - 1 zeros "
        "(3 x 3, 5 x 1 gives 0 x 1, 0 x 2, 2 x 1).",
        types=[("T (eleven numeric)", "T")],
        args=_ARGS, statuses=_STATUSES,
        tests=["SeriesOf.DiffSplitsRunsTrendFollowsDirection", "Series.DiffWrapsUnsignedAndIsIeeeForFloats",
               "Series.DiffCutsARunAtTheBoundAndFinishesItNextTime"]),
    *each("zvq_seq_status zvq_seq_diff_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_diff_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    doc("trend_T",
        "The direction of change per run: 1 up, -1 down, and when equal (or NaN) the last direction, starting at 0 "
        "(1, 1, 2, 2, 1 gives 0, 0, 1, 1, -1).",
        types=[("T (eleven numeric)", "int1")],
        args=_ARGS, statuses=_STATUSES,
        tests=["SeriesOf.DiffSplitsRunsTrendFollowsDirection", "Series.TrendKeepsTheLastDirectionThroughNan"]),
    *each("zvq_seq_status zvq_seq_trend_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_trend_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    doc("norm_T",
        "Each value divided by a norm: a first pass reads the operand to its end (summing value x value x repeat in "
        "double), resets it, and a second pass divides (3, 4 gives 0.6, 0.8). A norm of 0 gives NaN.",
        types=[("T (eleven numeric)", "double")],
        args=_ARGS,
        statuses=_STATUSES + [("operand's reset status", "the rewind between the passes failed")],
        caution="the square root is taken after every operand chunk, not once: over more than one chunk the divisor "
                "is not the Euclidean norm (unget_double of 1,000 ones, chunks of 455, 455 and 90, divides by 10.57, not 31.62); for the true norm take "
                "zvq_seq_agg_sum_double of the squares (zvq_seq_mul_double) and divide.",
        tests=["Series.NormTakesTheRootPerChunkAndRecomputesAfterReset", "Series.NormStopsAtTheCapacityOfDouble"]),
    *each("zvq_seq_status zvq_seq_norm_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_norm_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
]
NOTES = """
- `zvq_seq_norm_T` ends a refill at 455 runs, the capacity of its `double` result, whatever the operand's type; the
  rest of the operand's chunk waits for the next call. Nothing is written past the chunk, and an input of up to 455
  runs per chunk gives the same result as a bound of the operand's capacity would. Pinned by
  `Series.NormStopsAtTheCapacityOfDouble`.
"""
