TITLE = "Hash sequence and hash table"
DECLS = [
    "extern uint64_t zvq_seq_hash_table_init_size;",
    "extern double zvq_seq_hash_table_load_factor;",
    "zvq_seq_status zvq_seq_hash(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* seed);",
    "zvq_seq_status zvq_seq_hash_next(zvq_seq_iterator* it);",
    "uint32_t zvq_seq_free_hash(zvq_seq_iterator* it);",
    "void zvq_seq_release_hash(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_agg_reset(zvq_seq_iterator* it);",
    "uint32_t zvq_seq_is_hash_aggreate(zvq_seq_iterator* it);",
]
