TITLE = "Sorting"
DECLS = [
    *each("zvq_seq_status zvq_seq_sort_{t}(const {t_c}* values, uint64_t* permutation, uint64_t n, uint32_t order);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_order_by_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, const uint64_t* permutation, uint64_t n, const {t_c}* buffer);", t=ALL),
    *each("zvq_seq_status zvq_seq_order_by_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_order_by_reset(zvq_seq_iterator* it);",
]
