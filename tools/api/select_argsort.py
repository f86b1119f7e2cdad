TITLE = "argsort: the stable permutation that orders an array (SEQ_ORDER_ASC or SEQ_ORDER_DESC, NaN last), scratch from the allocator hooks"
DECLS = [
    *each("zvq_seq_status zvq_seq_argsort_{t}(const {t_c}* values, uint64_t* permutation, uint64_t n, uint32_t order);", t=NUMERIC),
]
