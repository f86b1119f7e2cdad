TITLE = "Reversal"
DECLS = [
    *each("zvq_seq_status zvq_seq_reverse_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=ALL),
    *each("zvq_seq_status zvq_seq_reverse_{t}_next(zvq_seq_iterator* it);", t=ALL),
    *each("zvq_seq_status zvq_seq_reverse_{t}_reset(zvq_seq_iterator* it);", t=ALL),
]
