TITLE = "Conditional selection: iif (aligned columns) and if (interleaved streams)"
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: cond is not uint1, or a value operand is not T (char: widths differ)"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound; all three are bound"),
             ("SEQ_END", "next: an operand ended at the first run of a refill"),
             ("operand's status", "next: passed up unchanged")]
DECLS = [
    doc("iif_T",
        "Element-wise choice between two aligned columns: where cond is nonzero the value of first, else of second; "
        "all three advance together by the smallest of their current repeat bytes. Exact where the three have "
        "equal run boundaries (cond 1, 0, 1 over 10, 20, 30 and 40, 50, 60 gives 10, 50, 30).",
        types=[("uint1, T, T (all twelve)", "T")],
        args=[("result", "the chosen values"), ("cond", "the flags"), ("first", "taken where cond is nonzero"),
              ("second", "taken where cond is 0")],
        statuses=_STATUSES,
        caution="runs of unequal lengths are not split: the step is the smallest repeat byte as it stands, not what "
                "is left of it, so cond 1 x 2, 0 x 2 over columns in runs of 3 and 1 overruns the runs of 3 and "
                "gives elements the inputs do not hold; feed iif columns of equal run boundaries (through "
                "zvq_seq_rle_decode, for one).",
        tests=["Selection.IifPicksFromAlignedColumnsIfInterleavesStreams", "Selection.UnalignedRunsGiveIifItsSurplus",
               "Selection.IifOverAlignedColumnsIsTheElementwiseChoice", "Selection.CharMembersResetsAndFailures"]),
    *each("zvq_seq_status zvq_seq_iif_{t}(zvq_seq_iterator* result, zvq_seq_iterator* cond, "
          "zvq_seq_iterator* first, zvq_seq_iterator* second);", t=ALL),
    *each("zvq_seq_status zvq_seq_iif_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_iif_reset(zvq_seq_iterator* it);",
    doc("if_T",
        "Interleaves two streams: where cond is nonzero the next value of first, else the next of second; only the "
        "chosen stream advances (cond 1, 0, 1 over 10, 20 and 30 gives 10, 30, 20). Both streams must have a run "
        "ready, even the one not chosen.",
        types=[("uint1, T, T (all twelve)", "T")],
        args=[("result", "the interleaved values"), ("cond", "the flags"), ("first", "read where cond is nonzero"),
              ("second", "read where cond is 0")],
        statuses=_STATUSES,
        tests=["Selection.IifPicksFromAlignedColumnsIfInterleavesStreams", "Selection.CharMembersResetsAndFailures"]),
    *each("zvq_seq_status zvq_seq_if_{t}(zvq_seq_iterator* result, zvq_seq_iterator* cond, "
          "zvq_seq_iterator* first, zvq_seq_iterator* second);", t=ALL),
    *each("zvq_seq_status zvq_seq_if_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_if_reset(zvq_seq_iterator* it);",
]
