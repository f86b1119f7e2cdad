TITLE = "Binary element-wise operators: arithmetic, comparison, logic, text joining"

_ARITH = ["add", "sub", "mul", "div", "mod", "max", "min"]
_COMPARE = ["eq", "ne", "ge", "le", "gt", "lt"]
_LOGIC = ["and", "or", "xor"]
_ARGS = [("result", "the output sequence"), ("left", "first operand"), ("right", "second operand")]
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: an operand is not of the member's type (both are tested first)"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
             ("SEQ_END", "next: the shorter operand ended at the first run of a refill"),
             ("operand's status", "next: passed up unchanged")]

DECLS = [
    doc("add_T, sub_T, mul_T, div_T, mod_T, max_T, min_T",
        "Element by element, one output run per overlap of a left run and a right run; the output ends with the "
        "shorter operand. Integers (datetime as uint8) wrap in their width; division truncates toward zero; float "
        "and double follow IEEE 754. mod of float and double is fmod; mod_datetime computes in double (low bits lost "
        "above 2^53; a zero divisor gives 2^63). max and min of float and double give left if left > right (< for "
        "min), else right: a NaN on either side gives the right value.",
        types=[("T, T (eleven numeric)", "T (no widening)")],
        args=_ARGS,
        statuses=_STATUSES + [("SIGFPE", "div_T and mod_T of the integer types: a zero divisor, or the smallest "
                               "int4 or int8 divided by -1, raise SIGFPE as the processor's division does "
                               "(int1 and int2 divide in 32 bits: -128 / -1 gives -128)")],
        caution="integer results wrap without a wider type: add_int1 of 100 and 100 gives -56; convert first "
                "(zvq_seq_int1_to_int8) when the sum may not fit.",
        tests=["IntegerArith.WrapInTheWidthAndOrderByTheTypesSignedness", "NarrowDivision.Int1AndInt2DivideIn32Bits",
               "DatetimeModulo.ComputesInDoubleAndTurnsAZeroDivisorInto2To63", "FloatArith.FmodNanAndSignedZeroRules",
               "DivisionFaultDeathTest.ZeroDivisorAndSmallestWideValueOverMinusOneFault",
               "BinaryKernel.RunsFragmentIntoOverlapsAndTheShorterOperandEndsTheOutput"]),
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
          op=_ARITH, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=_ARITH, t=NUMERIC),
    doc("eq_T, ne_T, ge_T, le_T, gt_T, lt_T",
        "1 where the comparison holds, else 0, per overlap of runs; signed, unsigned or IEEE order by type (NaN "
        "compares false, ne true). A call fills up to 2048 flag runs, so it may pull several chunks of each operand. "
        "The char members compare through zvq_memcmp with the result's width, 1: run i compares the byte at offset "
        "i of the operands' value areas.",
        types=[("T, T (eleven numeric)", "uint1"), ("char, char of equal width", "uint1")],
        args=_ARGS,
        statuses=_STATUSES + [("SEQ_TYPE_MISMATCH", "char members: the widths differ")],
        caution="the char members do not compare texts: eq_char of \"ABCD\" and \"ABZZ\" in one run compares only "
                "the byte \"A\" and gives 1; match a text against a constant with zvq_seq_like.",
        tests=["Compare.BelowEqualAboveAndTheExtremesOfTheType", "CharCompare.OneChunkByteAtTheRunIndexIsCompared",
               "BinaryKernel.ComparisonConsumesSeveralOperandChunksPerCall"]),
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
          op=_COMPARE, t=ALL),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=_COMPARE, t=ALL),
    doc("and, or, xor",
        "Bitwise AND, OR, exclusive OR of the two flag bytes.",
        types=[("uint1, uint1", "uint1")],
        args=_ARGS,
        statuses=_STATUSES,
        caution="they work on the whole byte: flags 2 and 1 give and = 0, though both are true; normalise with "
                "zvq_seq_ne_uint1 against a constant 0 first, or use zvq_seq_not, which is logical.",
        tests=["Logic.AndOrXorWorkBitwiseOnTheWholeByte"]),
    *each("zvq_seq_status zvq_seq_{op}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
          op=_LOGIC),
    *each("zvq_seq_status zvq_seq_{op}_zvq_seq_bool_next(zvq_seq_iterator* it);", op=_LOGIC),
    doc("add_char, cat",
        "add_char joins texts: the left text up to its first zero byte, then the right one, zero-padded to the sum of "
        "the widths (\"ab\" in width 4 and \"c\" in width 2 give \"abc\" and three zero bytes). cat joins raw bytes "
        "of any two types (\"ab\\0\\0\" then \"c\\0\").",
        types=[("char, char (add_char); any, any (cat)", "char of width left + right, at most 32")],
        args=_ARGS,
        statuses=_STATUSES + [("SEQ_TYPE_MISMATCH", "the widths add up to more than 32")],
        tests=["TextJoin.AddCharJoinsTextsWhereCatJoinsRawBytes",
               "CharWidths.JoinsAddUpToAtMost32ComparisonsMatchAndTheFillBoundFollows"]),
    "zvq_seq_status zvq_seq_add_char(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
    "zvq_seq_status zvq_seq_add_char_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_cat(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
    "zvq_seq_status zvq_seq_cat_next(zvq_seq_iterator* it);",
]
NOTES = """
- Output runs are not merged: left runs a x 5, b x 2 against right runs x x 3, y x 4 give three output runs, and
  `eq` can give 1 x 3, 1 x 2, 1 x 2. Pinned by `BinaryKernel.RunsFragmentIntoOverlapsAndTheShorterOperandEndsTheOutput`.
- Two constants cost one run per 255 elements: one `next` of `add_int4` over two `const_int4` makes 819 runs of 255.
  Pinned by `BinaryKernel.TwoConstantsCostOneRunPer255Elements`.
- The same record on both sides advances twice per run. Pinned by `BinaryKernel.SameRecordOnBothSidesAdvancesTwicePerRun`.
"""
