TITLE = "like: SQL LIKE over each char element (% any bytes, _ one byte, backslash escapes), uint1 result"
DECLS = [
    "zvq_seq_status zvq_seq_like(zvq_seq_iterator* result, zvq_seq_iterator* operand, const char* pattern);",
    "zvq_seq_status zvq_seq_like_next(zvq_seq_iterator* it);",
]
