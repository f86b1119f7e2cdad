TITLE = "String matching over char sequences: exact, substring and wildcard modes"
DECLS = [
    "zvq_seq_status zvq_seq_match(zvq_seq_iterator* result, zvq_seq_iterator* operand, const char* pattern);",
    "zvq_seq_status zvq_seq_match_next(zvq_seq_iterator* it);",
    "int zvq_seq_exact_match(const char* const* pattern_field, const char* text, uint32_t chunk_pos);",
    "int zvq_seq_match_substring(const char* const* pattern_field, const char* text, uint32_t chunk_pos);",
    "int zvq_seq_match_regex(const char* const* pattern_field, const char* text, uint32_t chunk_pos);",
]
