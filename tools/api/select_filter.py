TITLE = "Filtering and positional selection"
DECLS = [
    *each("zvq_seq_status zvq_seq_filter_{t}(zvq_seq_iterator* result, zvq_seq_iterator* cond, zvq_seq_iterator* input);", t=ALL),
    *each("zvq_seq_status zvq_seq_filter_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_filter_pos(zvq_seq_iterator* result, zvq_seq_iterator* input);",
    "zvq_seq_status zvq_seq_filter_pos_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_filter_pos_reset(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_filter_search(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_filter_first_pos(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);",
    "zvq_seq_status zvq_seq_filter_first_pos_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_filter_first_pos_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "uint64_t zvq_seq_get_first_pos(zvq_seq_iterator* iterator);",
    *each("zvq_seq_status zvq_seq_map_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* positions);", t=ALL),
    *each("zvq_seq_status zvq_seq_map_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_map_reset(zvq_seq_iterator* it);",
]
