TITLE = "Merging and extrema"
SIGNED = by_name("int1", "int2", "int4", "int8", "float", "double", "datetime")
UNSIGNED = by_name("uint1", "uint2", "uint4", "uint8")
DECLS = [
    *each("zvq_seq_status zvq_seq_union_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right, uint32_t order);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_union_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    "zvq_seq_status zvq_seq_reset_union_iterator(zvq_seq_iterator* it);",
    *each("zvq_seq_status zvq_seq_unique_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input);", t=ALL),
    *each("zvq_seq_status zvq_seq_unique_{t}_next(zvq_seq_iterator* it);", t=ALL),
    *each("zvq_seq_status zvq_seq_cross_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, int32_t cross_direction);", t=SIGNED + UNSIGNED),
    *each("zvq_seq_status zvq_seq_cross_{t}_next(zvq_seq_iterator* it);", t=SIGNED),
    "zvq_seq_status zvq_seq_cross_reset_iterator(zvq_seq_iterator* it);",
    *each("zvq_seq_status zvq_seq_extrema_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, int32_t extremum_kind);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_extrema_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_extrema_{t}_reset_iterator(zvq_seq_iterator* it);", t=NUMERIC),
]
