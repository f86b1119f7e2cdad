TITLE = "Merging and extrema"
SIGNED = by_name("int1", "int2", "int4", "int8", "float", "double", "datetime")
UNSIGNED = by_name("uint1", "uint2", "uint4", "uint8")
_ONE = [("SEQ_TYPE_MISMATCH", "constructor: input not T"), ("SEQ_ALREADY_BOUND", "constructor: checks on and input bound"),
        ("SEQ_END", "next: input exhausted"), ("operand's status", "next: passed up unchanged")]
DECLS = [
    doc("union_T",
        "Merges two streams sorted in the direction of order (not checked) into one, one equal pair collapsing: "
        "1, 3 with 1, 2 gives 1, 2, 3, while 1, 1 with 1 gives 1, 1. Runs are taken as one element each (repeat "
        "bytes ignored), outputs have repeat 1. With NaN the right side goes first.",
        types=[("T, T (eleven numeric)", "T")],
        args=[("result", "the merged stream"), ("left, right", "the sorted inputs"),
              ("order", "SEQ_ORDER_DESC (2) descending, any other value ascending")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: an operand not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
                  ("SEQ_END", "next: both exhausted"), ("operand's status", "next: passed up unchanged")],
        caution="a run counts as one element: left 5 x 3 with right 7 gives 5, 7, not 5, 5, 5, 7; expand runs "
                "first (zvq_seq_rle_decode) when repeats matter.",
        tests=["Merge.UnionCollapsesOnePairAndPassesTheRestThrough", "MergeFloat.NaNHoldsTheLeftBackAndMinusZeroEqualsZero",
               "MergeLarge.UnionFillsWholeChunksLikeAPlainMerge", "MergeFailures.StatusesPassUpAndNothingIsBoundOnARefusal"]),
    *each("zvq_seq_status zvq_seq_union_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right, uint32_t order);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_union_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    "zvq_seq_status zvq_seq_reset_union_iterator(zvq_seq_iterator* it);",
    doc("unique_T",
        "Drops a value equal to the last one delivered (== for numbers, so 0.0 equals -0.0 and NaN is never equal; "
        "bytes for char), runs taken as one element. char keeps its last value in the record: widths up to 272.",
        types=[("T (all twelve)", "T")],
        args=[("result", "the deduplicated stream"), ("input", "the input")],
        statuses=_ONE + [("SEQ_TYPE_MISMATCH", "constructor: unique_char wider than 272 bytes (before the binding)")],
        caution="the first chunk after construction or reset is not filtered: 1, 1, 2, 2 in one chunk comes out "
                "unchanged; only later chunks drop repeats.",
        tests=["Merge.UniqueFiltersFromTheSecondChunkOnAndAfterReset", "MergeChar.UniqueComparesBytesAndRefusesWidthsBeyondTheState"]),
    *each("zvq_seq_status zvq_seq_unique_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input);", t=ALL),
    *each("zvq_seq_status zvq_seq_unique_{t}_next(zvq_seq_iterator* it);", t=ALL),
    doc("cross_T",
        "The positions (runs expanded) where the sign changes between strictly positive and strictly negative, "
        "flat stretches of zeros between them allowed; the position of the first element of the new sign, or of "
        "the flat stretch (1, 0, 0, -1 gives 1; 1, 2, -1 gives 2). The unsigned members are refused; datetime never "
        "crosses.",
        types=[("int1..int8, float, double, datetime", "uint8 positions"), ("uint1..uint8", "refused")],
        args=[("result", "the positions"), ("input", "the values"),
              ("cross_direction", "0 both ways, 1 upward, -1 downward (not checked)")],
        statuses=[("SEQ_NOT_SUPPORTED", "the uint members, always; nothing written, nothing bound")] + _ONE,
        caution="the direction holds only in the first output chunk: later chunks report crossings both ways, and a "
                "flat stretch that returns to the same sign is counted into the next crossing (1, 0, 1, -1 gives 2, "
                "not 3).",
        tests=["Cross.ReportsTheFirstElementOfTheNewSign", "Cross.OnlyTheFirstChunkKeepsToTheDirection",
               "CrossAndExtrema.RefusalsTouchNothing", "CrossAndExtrema.ComparisonsFollowTheType",
               "CrossAndExtrema.AFailureLeavesTheStateOfTheLastReturn"]),
    *each("zvq_seq_status zvq_seq_cross_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, int32_t cross_direction);", t=SIGNED + UNSIGNED),
    *each("zvq_seq_status zvq_seq_cross_{t}_next(zvq_seq_iterator* it);", t=SIGNED),
    "zvq_seq_status zvq_seq_cross_reset_iterator(zvq_seq_iterator* it);",
    doc("extrema_T",
        "The positions of turns: the last element before a reversal from rising to falling (a maximum) or back (a "
        "minimum); on a plateau its last element (1, 3, 3, 2 gives 2). Flat stretches never change the trend.",
        types=[("T (eleven numeric)", "uint8 positions")],
        args=[("result", "the positions"), ("input", "the values"),
              ("extremum_kind", "0 both, 1 maxima, -1 minima (not checked)")],
        statuses=_ONE,
        tests=["Positions.ExtremaReportTheLastElementBeforeATurn", "CrossAndExtrema.ComparisonsFollowTheType"]),
    *each("zvq_seq_status zvq_seq_extrema_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, int32_t extremum_kind);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_extrema_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_extrema_{t}_reset_iterator(zvq_seq_iterator* it);", t=NUMERIC),
]
NOTES = """
- `zvq_seq_unique_char` keeps its last value in the record's state, after `pending_count`: it refuses widths above
  272 bytes with `SEQ_TYPE_MISMATCH`, before binding, so the operand stays free. Pinned by
  `MergeChar.UniqueComparesBytesAndRefusesWidthsBeyondTheState`.
"""
