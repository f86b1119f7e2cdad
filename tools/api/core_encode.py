TITLE = "Run sources over arrays: equal neighbours folded, run-end encoded runs"
DECLS = [
    # A source over `count` elements of `items` (the caller's, read in place) that folds neighbours with the
    # same bits into runs of up to 255; a longer stretch goes on in the next run. Reset rewinds it.
    # SEQ_BAD_ARGUMENT: items null with count above 0.
    *each("zvq_seq_status zvq_seq_encode_{t}(zvq_seq_iterator* result, const {t_c}* items, uint64_t count);", t=NUMERIC),
    "zvq_seq_status zvq_seq_encode_char(zvq_seq_iterator* result, const char* items, uint64_t count, uint16_t width);",
    # A source over run-end encoded runs: run k has value values[k] and ends before element run_ends[k], so
    # run_ends is cumulative. Runs longer than 255 are served as several runs. Nothing is copied.
    # SEQ_BAD_ARGUMENT (nothing bound): run_ends not strictly increasing from above 0, or a null array.
    *each("zvq_seq_status zvq_seq_unget_runs_{t}(zvq_seq_iterator* result, const {t_c}* values, const uint64_t* run_ends, uint64_t run_count);", t=NUMERIC),
    "zvq_seq_status zvq_seq_unget_runs_char(zvq_seq_iterator* result, const char* values, uint16_t width, const uint64_t* run_ends, uint64_t run_count);",
]
