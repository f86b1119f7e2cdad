TITLE = "Exact counts of the distinct values per key that occur at least a given number of times"
DECLS = [
    "zvq_seq_status zvq_seq_hash_agg_dup_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size, uint64_t pair_size, uint64_t min_count);",
    "zvq_seq_status zvq_seq_hash_agg_distinct_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size, uint64_t pair_size);",
    "zvq_seq_status zvq_seq_dup_hash_prepare(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_dup_hash_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_dup_hash_next_count(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_dup_hash_next_grp(zvq_seq_iterator* it);",
]
