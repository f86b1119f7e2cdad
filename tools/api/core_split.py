TITLE = "split: two readers of one operand at any rates, chunks queued for the reader behind (released by reset or zvq_seq_free_buffer)"
DECLS = [
    "zvq_seq_status zvq_seq_split(zvq_seq_iterator* first, zvq_seq_iterator* second, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_split_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_split_reset(zvq_seq_iterator* it);",
]
