TITLE = "Top-N and histogram"
DIRECTIONS = ["max", "min"]
DECLS = [
    *each("zvq_seq_status zvq_seq_top_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_{d}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_pos_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_pos_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
    "zvq_seq_status zvq_seq_top_pos_reset(zvq_seq_iterator* it);",
    *each("zvq_seq_status zvq_seq_histogram_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, {t_c} min, {t_c} max, int64_t n);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_histogram_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
]
