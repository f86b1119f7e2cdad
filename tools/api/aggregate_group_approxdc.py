TITLE = "Approximate distinct counts per group of adjacent keys, of values or of ready hashes"
DECLS = [
    "zvq_seq_status zvq_seq_group_agg_approxdc(zvq_seq_iterator* result, zvq_seq_iterator* values, zvq_seq_iterator* keys);",
    "zvq_seq_status zvq_seq_group_agg_approxdc_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_group_agg_approxdc_hash(zvq_seq_iterator* result, zvq_seq_iterator* hashes, zvq_seq_iterator* keys);",
    "zvq_seq_status zvq_seq_group_agg_approxdc_hash_next(zvq_seq_iterator* it);",
]
