TITLE = "Grid aggregates: one result per cell of grid_size elements. Records declare double; sum chunks hold its 8-byte accumulator, min and max the operand's values at its width (src/aggregate/README.md)"
FAMILIES = ["sum", "avg", "min", "max", "var", "var_samp", "dev", "dev_samp"]
DECLS = [
    *each("zvq_seq_status zvq_seq_grid_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t grid_size);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_grid_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
]
