TITLE = "Weighted average per group of adjacent equal keys"
DECLS = [
    *each("zvq_seq_status zvq_seq_group_agg_weighted_avg_{t}(zvq_seq_iterator* result, zvq_seq_iterator* weights, zvq_seq_iterator* values, zvq_seq_iterator* keys);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_group_agg_weighted_avg_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
]
