TITLE = "Hash sequence and hash table"
DECLS = [
    "zvq_seq_status zvq_seq_hash_agg_reset(zvq_seq_iterator* it);",
    "uint32_t zvq_seq_is_hash_aggreate(zvq_seq_iterator* it);",
]
