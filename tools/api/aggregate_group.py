TITLE = "Group aggregates over clustered keys"
FOLDS = ["max", "min", "first", "last", "sum", "avg", "var", "var_samp", "dev", "dev_samp"]
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: values not T, or keys wider than 232 bytes (before any operand is "
              "marked); next: a key operand grown past 232 bytes"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
             ("SEQ_END", "next: the keys or values are exhausted"),
             ("operand's status", "next: passed up; the group in progress is kept")]
DECLS = [
    doc("group_agg_OP_T (max, min, first, last, sum, avg, var, var_samp, dev, dev_samp)",
        "One result per group of ADJACENT equal keys (keys of any type, compared by their bytes; sort or cluster "
        "the keys first), values and keys read in step. A key that comes back later opens a new group. var_samp "
        "divides by c - 1 in both places; NaN never replaces a max or min, but a NaN that came first stays.",
        types=[("int1..int8", "max, min, first, last T; sum int8; avg and variances double"),
               ("uint1..uint8", "max, min, first, last T; sum uint8; avg and variances double"),
               ("float", "max, min, first, last float; the others double"), ("double", "double"),
               ("datetime", "max, min, first, last, sum, avg datetime; variances double")],
        args=[("result", "one result per group"), ("values", "the values, of type T"), ("keys", "the group keys, any type")],
        statuses=_STATUSES,
        caution="avg and the variances of signed integers add each run as an unsigned number: the avg_int4 of a group "
                "-1, -1 is about 1.8e19, not -1, while sum is exact; convert the values first "
                "(zvq_seq_int4_to_double) or divide group_agg_sum by group_agg_count.",
        tests=["GroupFold.EachFamilyOverGroupsOfKeyRuns", "GroupFold.ResultShapesAndFrame",
               "GroupRule.KeyRunsAcrossChunksAndValueRunsAcrossKeyRuns", "GroupRule.NarrowKeysCompareAllTheirBits",
               "GroupRule.WideKeysAreReadAtTheSlotOfTheResultCount", "GroupRule.AChunkFullOnAGroupBoundaryLosesNothing",
               "GroupSigns.AveragesReadTheIntegerSumAsUnsignedWhileSumIsExact",
               "GroupBinding.EachShapeTestsAndMarksItsOwnWay", "GroupLifecycle.FailureKeepsTheGroupAndResetStartsOver"]),
    *each("zvq_seq_status zvq_seq_group_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* values, zvq_seq_iterator* keys);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_group_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FOLDS, t=NUMERIC),
    doc("group_agg_wavg_T",
        "A weighted average per group of adjacent equal keys: the FIRST operand a is the weight, the second b the "
        "value. The numerator sums b x a x n over the group; the divisor is a x n of the group's LAST fold only.",
        types=[("int1..int8", "int8 (truncated)"), ("uint1..uint8, datetime", "uint8 / datetime (truncated)"),
               ("float, double", "double")],
        args=[("result", "one result per group"), ("a", "the weights, T"), ("b", "the values, T"),
              ("keys", "the group keys, any type")],
        statuses=_STATUSES,
        caution="the divisor is the last fold's weight, not the sum of weights: weights 1, 3 over values 10, 20 in one "
                "group give 23.33, not 17.5; use zvq_seq_group_agg_weighted_avg_T.",
        tests=["GroupFold.WavgDividesByTheLastFoldsWeight"]),
    *each("zvq_seq_status zvq_seq_group_agg_wavg_{t}(zvq_seq_iterator* result, zvq_seq_iterator* a, zvq_seq_iterator* b, zvq_seq_iterator* keys);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_group_agg_wavg_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    doc("group_agg_count",
        "The number of elements (runs expanded) in each group of adjacent equal keys, whole runs at a time.",
        types=[("keys of any type", "uint8")],
        args=[("result", "one count per group"), ("keys", "the group keys")],
        statuses=_STATUSES[1:] + [("SEQ_TYPE_MISMATCH", "constructor: keys wider than 232 bytes")],
        tests=["GroupCount.CountsWholeRunsPerGroup", "GroupCount.StopsAtTheCapacityOfItsResultAndCountsEachRunOnce"]),
    "zvq_seq_status zvq_seq_group_agg_count(zvq_seq_iterator* result, zvq_seq_iterator* keys);",
    "zvq_seq_status zvq_seq_group_agg_count_next(zvq_seq_iterator* it);",
]
NOTES = """
- Group aggregates refuse keys wider than 232 bytes (the room of the record's `group_key`) at construction with
  `SEQ_TYPE_MISMATCH`, before any operand is marked; a key operand that has grown past that by the time of a pull
  makes `next` answer `SEQ_TYPE_MISMATCH`. Keys of any other width work. Pinned by
  `GroupBinding.EachShapeTestsAndMarksItsOwnWay`.
- Wide group keys stay inside the key chunk. Keys of a width other than 1, 2, 4 and 8 bytes are read at the key
  chunk's slot numbered by the results written in the call; a chunk of results therefore ends at the key chunk's
  capacity for that width (20 results for 200-byte keys), and the next call goes on from there. Only where chunks end
  changes. Pinned by `GroupRule.WideKeysAreReadAtTheSlotOfTheResultCount`.
- `zvq_seq_group_agg_count` stops a chunk at 455 counts, the capacity of its `uint8` result, and leaves the key cursor
  behind the run that opened the next group, which is already counted: no write past the chunk and no run counted
  twice. It compares keys of widths other than 1, 2, 4 and 8 bytes where they stand, through `zvq_memcmp`, and keeps
  them in `group_key`. Pinned by `GroupCount.StopsAtTheCapacityOfItsResultAndCountsEachRunOnce`.
"""
