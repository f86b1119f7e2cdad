TITLE = "Approximate distinct counts: over a whole sequence, from ready hashes and per hash group"
DECLS = [
    "zvq_seq_status zvq_seq_agg_approxdc(zvq_seq_iterator* result, zvq_seq_iterator* input);",
    "zvq_seq_status zvq_seq_agg_approxdc_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_agg_approxdc_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_agg_approxdc_hash(zvq_seq_iterator* result, zvq_seq_iterator* hashes);",
    "zvq_seq_status zvq_seq_agg_approxdc_hash_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_agg_approxdc(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size);",
    "zvq_seq_status zvq_seq_hash_initialize_approxdc(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_merge_approxdc(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_hash_agg_approxdc_next_agg(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_agg_approxdc_next_grp(zvq_seq_iterator* it);",
]
