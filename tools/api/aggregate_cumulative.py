TITLE = "Cumulative aggregates: the aggregate from the start through each element"
FAMILIES = ["sum", "prd", "avg", "min", "max", "var", "var_samp", "dev", "dev_samp"]
DECLS = [
    doc("cum_agg_OP_T (sum, prd, avg, min, max, var, var_samp, dev, dev_samp)",
        "For each input element the aggregate from the start up to it; one output run of repeat 1 per element (runs "
        "are not kept). sum and prd wrap at 64 bits; the variance family of integer operands is an integer sequence, "
        "truncated at each element. NaN spreads through sum, prd, avg and the variances; min and max keep a NaN that "
        "came first and ignore later ones.",
        types=[("int1..int8", "sum, prd, var..dev_samp int8; avg double; min, max T"),
               ("uint1..uint8", "sum, prd, var..dev_samp uint8; avg double; min, max T"),
               ("float", "min, max float; the others double"), ("double", "double"),
               ("datetime", "sum, avg double; prd, min, max, var..dev_samp datetime")],
        args=[("result", "one output per element"), ("operand", "the input")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_END", "next: the operand is exhausted"),
                  ("operand's status", "next: passed up unchanged; the outputs of that call are dropped")],
        caution="the element count of avg and the variances is next_pos, which grows twice per element of a chunk: "
                "from the second chunk of 8-byte outputs on, avg divides by 911 at the 456th element, so a running "
                "mean of 1..1000 drifts; use zvq_seq_rolling_avg_T with a window at least the input's length.",
        tests=["CumFamilies.OneOutputPerElementOfRunsAcrossChunks",
               "CumVariance.WorkedExamplesAndSquaresInTheOperandsArithmetic",
               "CumCount.NextPosCountsEachElementAndTheChunkAgain", "CumRuns.ARepeatByteOfZeroGives256Elements",
               "CumNaN.ExtremesKeepAFirstNaNAndIgnoreLaterOnesSumsSpreadIt",
               "CumFailure.CountAndAccumulatorsHaveMovedOutputsDropped"]),
    *each("zvq_seq_status zvq_seq_cum_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_cum_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
]
