TITLE = "Values at positions, exact over runs: take"
DECLS = [
    doc("take_T",
        "The elements of input at the positions of a non-decreasing uint8 sequence (element positions, runs "
        "expanded), exact over runs on both sides: a positions run (p, r) gives r copies of element p, and "
        "positions that fall in one input run extend one output run (up to 255), so repeated or dense positions "
        "stay runs. The input is walked forward only, run by run. zvq_seq_take_reset, the record's reset, forgets "
        "the walk and rewinds both operands.",
        types=[("positions uint8, input T (all twelve)", "T, with the input's width")],
        args=[("result", "the elements taken"), ("positions", "element positions in input, non-decreasing"),
              ("input", "the values")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: positions not uint8 or input not T (before the binding: "
                   "neither is bound)"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
                  ("SEQ_END", "next: positions exhausted, or a position past the input's end (after the runs "
                   "gathered before it); at once for a char wider than the chunk"),
                  ("SEQ_BAD_ORDER", "next: a position below the one before it, after the runs gathered before it; "
                   "then on every call until a reset"),
                  ("operand's status", "next: passed up unchanged; the partial chunk is dropped")],
        tests=["Take.ExactOverRunsWhereMapDrifts", "Take.AgainstAPlainLoopOverRandomRuns",
               "TakeChunks.ResultChunksHoldTheCapacityAndCharTakesItsWidth",
               "TakeEnds.PastTheEndBadOrderAndFailingOperands", "TakeConstructor.TypesThenBindings"]),
    *each("zvq_seq_status zvq_seq_take_{t}(zvq_seq_iterator* result, zvq_seq_iterator* positions, zvq_seq_iterator* input);", t=ALL),
    *each("zvq_seq_status zvq_seq_take_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_take_reset(zvq_seq_iterator* it);",
]
NOTES = """
- The record keeps the position at which the input's current run starts and the last position taken, never an offset
  inside a run, so positions are exact over runs of any length: over the runs 0 x 3, 1 x 3 the positions 0..5 give
  0, 0, 0, 1, 1, 1 (`zvq_seq_map_T` drifts there and gives six zeros). Pinned by `Take.ExactOverRunsWhereMapDrifts`.
- A position past the input's end, or one below the position before it (`SEQ_BAD_ORDER`), is answered after the runs
  gathered before it are delivered. The offending position stays unread, so the next call meets it again: a position
  out of order answers `SEQ_BAD_ORDER` on every call until a reset. Any other operand failure drops the partial
  chunk, as everywhere. Pinned by `TakeEnds.PastTheEndBadOrderAndFailingOperands`.
- The operands come positions first, then input: the reverse of `zvq_seq_map_T`'s order.
- A repeat byte of 0 counts 256 elements, on both operands.
- A result chunk holds up to the capacity of T runs; `zvq_seq_take_char` keeps the input's width. Pinned by
  `TakeChunks.ResultChunksHoldTheCapacityAndCharTakesItsWidth`.
"""
