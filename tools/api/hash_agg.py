TITLE = "Hash aggregates: max, min, sum, avg and count per distinct key, as a pair of iterators"
FAMILIES = ["max", "min", "sum", "avg"]
PAIR = "zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size"
DECLS = [
    *each("zvq_seq_status zvq_seq_hash_agg_{op}_{t}(%s);" % PAIR, op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_initialize_{op}_{t}(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_merge_{op}_{t}(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_agg_{op}_{t}_next_agg(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_agg_{op}_{t}_next_grp(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    "zvq_seq_status zvq_seq_hash_agg_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* keys, uint64_t size);",
    "zvq_seq_status zvq_seq_hash_agg_count_uint8(%s);" % PAIR,
    "zvq_seq_status zvq_seq_hash_initialize_count_uint8(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_merge_count_uint8(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_hash_agg_count_uint8_next_agg(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_agg_count_uint8_next_grp(zvq_seq_iterator* it);",
]
