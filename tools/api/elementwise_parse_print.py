TITLE = "Text parsing and printing: sequences read from {a,b,...} texts, tuples formatted into char"
DECLS = [
    *each("zvq_seq_status zvq_seq_parse_{t}(zvq_seq_iterator* result, const char* text);", t=NUMERIC),
    "zvq_seq_status zvq_seq_parse_char(zvq_seq_iterator* result, const char* text, uint64_t width);",
    *each("zvq_seq_status zvq_seq_parse_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_reset_parse_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_custom_parse(zvq_seq_iterator* result, char* text, uint32_t elem_type, uint64_t elem_size, "
    "int (*parse_fn)(const char* item, uint64_t* null_bitmap, uint32_t slot));",
    "zvq_seq_status zvq_seq_custom_parse_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_custom_parse_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_print_char(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t width, "
    "const char* format);",
    "zvq_seq_status zvq_seq_print_char_next(zvq_seq_iterator* it);",
]
