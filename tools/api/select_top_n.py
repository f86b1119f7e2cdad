TITLE = "Top-N by elements: the n best elements, repeats counted, and their positions"
DIRECTIONS = ["max", "min"]
_ARGS = [("result", "the list"), ("input", "the values"), ("n", "elements kept, 1 to 455 for every type")]
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: input not T"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and input bound"),
             ("SEQ_BAD_ARGUMENT", "constructor: n 0 or above 455; input stays bound"),
             ("SEQ_END", "next: input empty or NaN only, or the list already delivered"),
             ("operand's status", "next: passed up; nothing published (a reset computes afresh)")]
_TESTS = ["TopNElements.RunsCountAsTheirElements", "TopNElements.AgainstAStableSortOfTheElements",
          "TopNElements.NaNAndSignedZeros", "TopNElements.BadInput", "TopNElements.OperandFailure"]
DECLS = [
    doc("top_n_max_T, top_n_min_T",
        "The n greatest (smallest) elements of the whole input, repeats counted, best first, in one chunk: the top 3 "
        "of 5 5 5 3 3 3 given as two runs is 5 5 5. Equal values come out as one run (several above 255 "
        "elements) and next_pos counts the elements. NaN is never selected; -0.0 and 0.0 are equal elements and "
        "come out with the sign of the first one seen.",
        types=[("T (eleven numeric)", "T")],
        args=_ARGS,
        statuses=_STATUSES,
        merge="prepare zvq_seq_prepare_aggregate; zvq_seq_top_n_max_T_merge / _min_T_merge feed the runs of both "
              "parts, the destination's first, through one list cut to n, so merged parts give exactly the whole's "
              "answer. A part with no element prepares to SEQ_END and is left out of the merges.",
        tests=_TESTS + ["TopNElements.MergeKeepsEqualElements", "TopNElements.MergedPartsEqualTheWhole"]),
    *each("zvq_seq_status zvq_seq_top_n_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_n_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_n_{d}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", d=DIRECTIONS, t=NUMERIC),
    doc("top_n_pos_max_T, top_n_pos_min_T",
        "The element positions (runs expanded, counted from the start of input) of the n greatest (smallest) "
        "elements, as a uint8 sequence of runs of 1 in one chunk: best value first, earliest position first among "
        "equal values. NaN is never selected; -0.0 and 0.0 are equal elements.",
        types=[("T (eleven numeric)", "uint8 element positions")],
        args=_ARGS,
        statuses=_STATUSES,
        tests=_TESTS),
    *each("zvq_seq_status zvq_seq_top_n_pos_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_n_pos_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
]
NOTES = """
- These are the top-N a user expects, beside `zvq_seq_top_max_T` / `zvq_seq_top_min_T`, which count a run as one
  value and whose merge keeps one of two equal values: over 5 5 5 3 3 3 given as two runs, their top 3 is 5, 3 and
  this one's is 5 5 5; merging the parts {5,5,1} and {5,4} for n = 3 gives 5 5 5 here. Pinned by
  `TopNElements.RunsCountAsTheirElements` and `TopNElements.MergeKeepsEqualElements`.
- The list is a tally: each entry is a value with the number of elements it stands for (and, in the position forms,
  the position of its first element: an entry there is a stretch of consecutive positions). A run goes in once, with
  its repeat byte as the count, at the cost of one binary search; once the list holds n elements, runs that do not
  beat the worst entry are skipped eight at a time. Trimming takes elements off the worst entry, so among equal values
  the earliest positions stay. Pinned by `TopNElements.AgainstAStableSortOfTheElements`.
- Values equal under `==` share an entry in the value forms: -0.0 and 0.0 count together and come out with the sign of
  the first one seen (in a merge, the destination's first). Pinned by `TopNElements.NaNAndSignedZeros`.
- The position forms have no prepare or merge: a part's positions count from the start of its own input, and a merge
  cannot know where a part stands in the whole. They deliver at most 455 positions, one chunk.
- An operand failure returns its status and publishes nothing, in all four forms. Nothing is allocated: the tally
  lives on the stack of `next` and of the merge (at most 9,120 bytes). Pinned by `TopNElements.OperandFailure`.
"""
