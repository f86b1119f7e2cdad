TITLE = "Conditional selection: iif (aligned columns) and if (interleaved streams)"
DECLS = [
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* cond, "
          "zvq_seq_iterator* first, zvq_seq_iterator* second);", op=["iif", "if"], t=ALL),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=["iif", "if"], t=ALL),
    "zvq_seq_status zvq_seq_iif_reset(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_if_reset(zvq_seq_iterator* it);",
]
