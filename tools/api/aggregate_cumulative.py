TITLE = "Cumulative aggregates: the aggregate from the start through each element"
FAMILIES = ["sum", "prd", "avg", "min", "max", "var", "var_samp", "dev", "dev_samp"]
DECLS = [
    *each("zvq_seq_status zvq_seq_cum_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_cum_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
]
