TITLE = "Paired statistics: covariance, correlation, weighted sum and weighted average"
FAMILIES = ["cov", "corr", "wsum", "wavg"]
DECLS = [
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* x, zvq_seq_iterator* y);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FAMILIES, t=NUMERIC),
]
