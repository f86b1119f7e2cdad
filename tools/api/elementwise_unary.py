TITLE = "Unary operators and type conversions"
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
             ("SEQ_END", "next: the operand is exhausted"), ("operand's status", "next: passed up unchanged")]
_ARGS = [("result", "the output, one run per input run, repeat byte copied"), ("operand", "the input")]
DECLS = [
    doc("abs_T",
        "The absolute value. Signed integers wrap (abs_int1 of -128 is -128); unsigned and datetime pass unchanged; "
        "float and double flip the sign only below 0, so -0.0 and NaN keep their sign.",
        types=[("T (eleven numeric)", "T")], args=_ARGS, statuses=_STATUSES,
        tests=["SignedSign.WrapAtTheSmallestValue", "FloatSign.AbsFlipsBelowZeroOnlyNegFlipsTheSignBit"]),
    *each("zvq_seq_status zvq_seq_abs_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_abs_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    doc("neg_T",
        "The negation: two's complement for signed integers and for datetime (neg_datetime of 5 is 2^64 - 5), the "
        "identity for uint1..uint8 (neg_uint4 of 5 is 5), the sign bit flipped for float and double.",
        types=[("T (eleven numeric)", "T")], args=_ARGS, statuses=_STATUSES,
        caution="the unsigned members return their input unchanged while datetime negates: convert to a signed type "
                "first (zvq_seq_uint4_to_int8) for a negative result.",
        tests=["Sign.UnsignedStaysDatetimeNegatesNotIsLogical", "FloatSign.AbsFlipsBelowZeroOnlyNegFlipsTheSignBit"]),
    *each("zvq_seq_status zvq_seq_neg_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_neg_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    doc("not",
        "Logical negation of flags: 1 where the byte is 0, else 0 (unlike and, or, xor, which are bitwise).",
        types=[("uint1", "uint1")], args=_ARGS, statuses=_STATUSES,
        tests=["Sign.UnsignedStaysDatetimeNegatesNotIsLogical"]),
    "zvq_seq_status zvq_seq_not(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_not_next(zvq_seq_iterator* it);",
    doc("T_to_U, T_from_U",
        "Conversion by C's casts: integers keep their low bits when narrowing (no saturation) and extend by the "
        "source's signedness when widening; integers to floating round to nearest; floating to integer truncates "
        "as the processor does (double_to_int1 of 300.7 is 44; NaN and out-of-range give the integer indefinite "
        "value, then the low bits). T_from_U is the same operation as U_to_T (same next and reset).",
        types=[("T (eleven numeric)", "U (eleven numeric; T = U is a copy)")], args=_ARGS, statuses=_STATUSES,
        tests=["Convert.IntegerSourcesKeepLowBitsExtendByTheirSignAndRoundToNearest",
               "Convert.IntegerTargetsTruncateLikeTheProcessor", "Convert.FromNamesTheSameOperationAsToForEveryPair",
               "UnaryKernel.NarrowingFillsTheResultCapacityAcrossOperandChunks"]),
    *each("zvq_seq_status zvq_seq_{t}_to_{u}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_{t}_to_{u}_next(zvq_seq_iterator* it);", t=NUMERIC, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_{t}_from_{u}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC, u=NUMERIC),
]
