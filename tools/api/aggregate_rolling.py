TITLE = "Rolling aggregates: the aggregate of the last `window` elements through each element"
FAMILIES = ["sum", "avg", "min", "max", "var", "std"]
DECLS = [
    *each("zvq_seq_status zvq_seq_rolling_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t window);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_rolling_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    "zvq_seq_status zvq_seq_rolling_reset(zvq_seq_iterator* it);",
]
