TITLE = "The frame: allocator hooks, binding control, the aggregate resets and the pull functions"
DECLS = [
    "extern zvq_seq_malloc_fn zvq_seq_malloc;",
    "extern zvq_seq_free_fn zvq_seq_free;",
    "void* zvq_seq_sys_malloc(zvq_seq_iterator* context, uint64_t size);",
    "void zvq_seq_sys_free(zvq_seq_iterator* context, void* pointer, uint64_t size);",
    "void zvq_seq_redefine_allocator(zvq_seq_malloc_fn malloc_fn, zvq_seq_free_fn free_fn);",
    "void* zvq_seq_alloc_buffer(zvq_seq_iterator* it, uint64_t size);",
    "void zvq_seq_free_buffer(zvq_seq_iterator* it);",
    "uint32_t zvq_seq_enable_check_bindings(uint32_t value);",
    "zvq_seq_status zvq_seq_prepare_aggregate(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_unary_agg_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_binary_agg_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_ternary_agg_iterator(zvq_seq_iterator* it);",
    *each("zvq_seq_status zvq_seq_next_{t}(zvq_seq_iterator* it, {t_c}* value_out);", t=ALL),
    *each("zvq_seq_status zvq_seq_get_{t}(zvq_seq_iterator* it, {t_c}* array_out, uint64_t* count_in_out);", t=ALL),
    *each("zvq_seq_status zvq_seq_get_nullable_{t}(zvq_seq_iterator* it, {t_c}* array_out, uint64_t* count_in_out, uint64_t* null_bitmap_out);", t=ALL),
]
