TITLE = "Series transforms: first difference, direction of change, division by the norm"
DECLS = [
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
          op=["diff", "trend", "norm"], t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=["diff", "trend", "norm"], t=NUMERIC),
]
