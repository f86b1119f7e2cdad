TITLE = "Exact count of the distinct values of a whole sequence"
DECLS = [
    *each("zvq_seq_status zvq_seq_agg_count_distinct_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=ALL),
    *each("zvq_seq_status zvq_seq_agg_count_distinct_{t}_next(zvq_seq_iterator* it);", t=ALL),
    *each("zvq_seq_status zvq_seq_agg_count_distinct_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", t=ALL),
    "zvq_seq_status zvq_seq_agg_count_distinct_reset(zvq_seq_iterator* it);",
]
