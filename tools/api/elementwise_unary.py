TITLE = "Unary operators and type conversions"
DECLS = [
    *each("zvq_seq_status zvq_seq_abs_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_abs_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_neg_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_neg_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    "zvq_seq_status zvq_seq_not(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_not_next(zvq_seq_iterator* it);",
    *each("zvq_seq_status zvq_seq_{t}_to_{u}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_{t}_to_{u}_next(zvq_seq_iterator* it);", t=NUMERIC, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_{t}_from_{u}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC, u=NUMERIC),
]
