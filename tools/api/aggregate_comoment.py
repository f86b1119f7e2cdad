TITLE = "Covariance and correlation by co-moments, with merges that equal the whole"
FAMILIES = ["covariance", "correlation"]
DECLS = [
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* x, zvq_seq_iterator* y);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FAMILIES, t=NUMERIC),
]
