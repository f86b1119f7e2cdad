TITLE = "Reversal"
DECLS = [
    doc("reverse_T",
        "The operand's elements in reverse order. A first pull reads the operand: if it ends within one chunk, that "
        "chunk's runs are delivered reversed; otherwise the operand is counted, reset, read into a buffer with runs "
        "expanded, and the record turns itself into an in-memory source over that buffer.",
        types=[("T (all twelve)", "T")],
        args=[("result", "the reversed sequence"), ("operand", "the sequence to reverse; it must support reset")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: operand not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and operand bound"),
                  ("SEQ_ALREADY_BOUND", "next, over more than one chunk with checks on: the second read goes "
                   "through zvq_seq_get_T on its own bound operand"),
                  ("SEQ_NOMEM", "next: the buffer could not be allocated"),
                  ("SEQ_END", "next: nothing left"), ("operand's status", "passed up unchanged")],
        allocates="one buffer of count x elem_size bytes (runs expanded) through zvq_seq_alloc_buffer when the operand "
                  "is longer than a chunk; released by reset (zvq_seq_reverse_T_reset) or zvq_seq_free_buffer.",
        caution="with binding checks on, reversing more than one chunk fails: 1,000 int4 values give "
                "SEQ_ALREADY_BOUND at the first pull, so call zvq_seq_enable_check_bindings(0) around such a tree.",
        tests=["Reverse.OneChunkKeepsItsRunsLongerInputIsExpandedIntoABuffer",
               "ReverseChar.ElementsWiderThanTheSwapBlock"]),
    *each("zvq_seq_status zvq_seq_reverse_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=ALL),
    *each("zvq_seq_status zvq_seq_reverse_{t}_next(zvq_seq_iterator* it);", t=ALL),
    *each("zvq_seq_status zvq_seq_reverse_{t}_reset(zvq_seq_iterator* it);", t=ALL),
]
NOTES = """
- When `reverse_T` turns itself into an in-memory source it keeps the record's `bound` flag (a constructor would
  clear it, and the library never unbinds). If its second read of the operand fails or comes up short, it gives the
  buffer back at once and delivers the first chunk, reversed. Pinned by
  `Reverse.OneChunkKeepsItsRunsLongerInputIsExpandedIntoABuffer`.
"""
