TITLE = "Whole-sequence aggregates and merging"
FOLDS = ["max", "min", "sum", "prd", "avg", "var", "var_samp", "dev", "dev_samp"]
DECLS = [
    *each("zvq_seq_status zvq_seq_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_agg_{op}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FOLDS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_agg_min_max_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_agg_min_max_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    "zvq_seq_status zvq_seq_agg_count(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_agg_count_not_null(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_count_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_count_not_null_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_count_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
]
