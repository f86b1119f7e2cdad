TITLE = "take: the elements of input at a non-decreasing uint8 sequence of positions, exact over runs"
DECLS = [
    *each("zvq_seq_status zvq_seq_take_{t}(zvq_seq_iterator* result, zvq_seq_iterator* positions, zvq_seq_iterator* input);", t=ALL),
    *each("zvq_seq_status zvq_seq_take_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_take_reset(zvq_seq_iterator* it);",
]
