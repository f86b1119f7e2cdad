TITLE = "Group aggregates over clustered keys"
FOLDS = ["max", "min", "first", "last", "sum", "avg", "var", "var_samp", "dev", "dev_samp"]
DECLS = [
    *each("zvq_seq_status zvq_seq_group_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* values, zvq_seq_iterator* keys);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_group_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_group_agg_wavg_{t}(zvq_seq_iterator* result, zvq_seq_iterator* a, zvq_seq_iterator* b, zvq_seq_iterator* keys);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_group_agg_wavg_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    "zvq_seq_status zvq_seq_group_agg_count(zvq_seq_iterator* result, zvq_seq_iterator* keys);",
    "zvq_seq_status zvq_seq_group_agg_count_next(zvq_seq_iterator* it);",
]
