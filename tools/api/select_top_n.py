TITLE = "Top-N by elements: the n best elements, repeats counted, and their positions"
DIRECTIONS = ["max", "min"]
DECLS = [
    *each("zvq_seq_status zvq_seq_top_n_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_n_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_n_{d}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_n_pos_{d}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);", d=DIRECTIONS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_top_n_pos_{d}_{t}_next(zvq_seq_iterator* it);", d=DIRECTIONS, t=NUMERIC),
]
