TITLE = "Text lists that read back: {1,2,2,3} as runs, elements counted"
DECLS = [
    *each("zvq_seq_status zvq_seq_from_text_{t}(zvq_seq_iterator* result, const char* text);", t=NUMERIC),
    "zvq_seq_status zvq_seq_from_text_char(zvq_seq_iterator* result, const char* text, uint16_t width);",
    "zvq_seq_status zvq_seq_from_text_reset(zvq_seq_iterator* it);",
    "uint64_t zvq_seq_text_error_offset(const zvq_seq_iterator* record);",
]
