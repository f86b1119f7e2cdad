TITLE = "Sliding-window aggregates. Not a rolling window: all the elements of one output chunk go through one ring slot, p mod window_size with p the position at the chunk's start, so with window_size 3 the input 1, 2, 3, 4, 5 sums to 1, 2, 3, 4, 5 (src/aggregate/README.md)"
FAMILIES = ["sum", "avg", "min", "max", "var", "var_samp", "dev", "dev_samp", "ema", "atr"]
DECLS = [
    *each("zvq_seq_status zvq_seq_window_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t window_size);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_window_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_window_agg_{op}_{t}_reset(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
]
