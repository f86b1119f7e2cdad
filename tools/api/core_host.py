TITLE = "Operations the host runtime supplies (src/core/host; can be left out of the build)"
DECLS = [
    "zvq_seq_status zvq_seq_reset_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_unary_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_binary_iterator(zvq_seq_iterator* it);",
    "extern uint32_t zvq_seq_check_bindings;",
    "void zvq_seq_copy_bitmap(uint64_t* destination, uint32_t destination_pos, const uint64_t* source, uint32_t source_pos, uint32_t count);",
    "int zvq_memcmp(const void* left, const void* right, uint64_t size);",
    "void* zvq_memmove(void* destination, const void* source, uint64_t size);",
    "void zvq_memnull(void* pointer, uint64_t size);",
    "char* zvq_strchr(const char* text, int character);",
    "uint64_t zvq_int_get_prime_number(uint32_t index);",
]
