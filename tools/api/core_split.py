TITLE = "Two readers of one operand at any rates: split"
DECLS = [
    doc("split",
        "Two readers, first and second, of one operand, which may pull at any rates: each sees every chunk of the "
        "operand once, in order, with the operand's next_pos. A reader with chunks queued takes the oldest; "
        "otherwise it pulls the operand and queues a copy of the chunk for its twin. zvq_seq_split_reset, the "
        "readers' reset, rewinds the operand and both readers and empties both queues.",
        types=[("any type", "the operand's type and width, in both readers")],
        args=[("first, second", "the two readers"), ("operand", "the shared operand")],
        statuses=[("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_BAD_ARGUMENT", "constructor: first and second the same record, or the operand given as a "
                   "reader; tested after the binding (the operand stays bound)"),
                  ("SEQ_NOMEM", "next: no memory to grow the twin's queue; nothing pulled or moved, a later call "
                   "tries again"),
                  ("SEQ_END", "next: nothing queued and the operand exhausted"),
                  ("operand's status", "next: passed up unchanged to the reader that pulled; nothing queued")],
        allocates="the queue of the reader behind: a ring of chunk images (4,112 bytes each; 4 at first, doubling "
                  "when full) through zvq_seq_malloc on that reader, kept as its buffer. Released by "
                  "zvq_seq_split_reset on either reader, or by zvq_seq_free_buffer on that reader, which drops the "
                  "chunks queued in it.",
        tests=["Split.GtAndFilterOverOneSplitGiveTheAverage", "Split.ReadersAtAnyRatesSeeEveryChunk",
               "Split.TheQueueIsOneBlockPerReaderReleasedByResetOrFreeBuffer",
               "Split.EveryFailingAllocationIsNomemWithNothingMoved",
               "Split.FailuresPassUpAndTheConstructorTestsBindingThenArguments"]),
    "zvq_seq_status zvq_seq_split(zvq_seq_iterator* first, zvq_seq_iterator* second, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_split_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_split_reset(zvq_seq_iterator* it);",
]
NOTES = """
- Where `zvq_seq_tee` queues nothing (its slower reader skips the chunks its twin pulled), split queues what one
  reader pulled ahead. `zvq_seq_gt_double` fills 2048 flags from 455-value chunks, so it pulls its reader several
  chunks ahead of `zvq_seq_filter_double`'s: over the two readers of a split of 0..999, gt against 499, filter and
  `zvq_seq_agg_avg_double` give 749.5, the mean of 500..999. Pinned by `Split.GtAndFilterOverOneSplitGiveTheAverage`.
- Only the reader behind has a queue, so readers that keep in step allocate one ring once and nothing after. Pinned by
  `Split.TheQueueIsOneBlockPerReaderReleasedByResetOrFreeBuffer`.
- The ring is grown before the operand is pulled: `SEQ_NOMEM` leaves both readers and the operand where they were, and
  the next pull tries again. Pinned by `Split.EveryFailingAllocationIsNomemWithNothingMoved`.
- A reset of either reader rewinds the operand and both readers, empties both queues and gives their memory back.
  `zvq_seq_free_buffer` on a reader gives its queue back and drops the chunks in it: that reader goes on with what the
  operand serves next. Pinned by `Split.TheQueueIsOneBlockPerReaderReleasedByResetOrFreeBuffer`.
- A reader that is never read keeps a copy of everything its twin pulls: its queue grows with the operand, 4 KB a
  chunk, until a reset or `zvq_seq_free_buffer` on it. Read both, or use `tee` where the two are read in step.
- The constructor takes any element type (the readers take the operand's type and width) and tests only the
  operand's binding; the same record given twice, or the operand given as a reader, is `SEQ_BAD_ARGUMENT`. Pinned by
  `Split.FailuresPassUpAndTheConstructorTestsBindingThenArguments`.
"""
