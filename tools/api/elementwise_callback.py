TITLE = "User callbacks: func, func_ctx, cond, cond_ctx on one sequence, func2, func2_ctx on two"

_FAMILIES = ["func", "func_ctx", "cond", "cond_ctx", "func2", "func2_ctx"]
_UNARY = "zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, {fn});"
_BINARY = ("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right, "
           "{fn});")

DECLS = [
    *each(_UNARY.replace("{op}", "func").replace("{fn}", "{t_c} (*fn)({t_c} value)"), t=NUMERIC),
    *each(_UNARY.replace("{op}", "func_ctx").replace("{fn}", "{t_c} (*fn)({t_c} value, void* ctx), void* ctx"),
          t=NUMERIC),
    *each(_UNARY.replace("{op}", "cond").replace("{fn}", "uint8_t (*fn)({t_c} value)"), t=NUMERIC),
    *each(_UNARY.replace("{op}", "cond_ctx").replace("{fn}", "uint8_t (*fn)({t_c} value, void* ctx), void* ctx"),
          t=NUMERIC),
    *each(_BINARY.replace("{op}", "func2").replace("{fn}", "{t_c} (*fn)({t_c} left, {t_c} right)"), t=NUMERIC),
    *each(_BINARY.replace("{op}", "func2_ctx").replace("{fn}", "{t_c} (*fn)({t_c} left, {t_c} right, void* ctx), void* ctx"),
          t=NUMERIC),
    "zvq_seq_status zvq_seq_func_char(zvq_seq_iterator* result, zvq_seq_iterator* operand, "
    "void (*fn)(char* output, const char* input, uint64_t width));",
    "zvq_seq_status zvq_seq_func_ctx_char(zvq_seq_iterator* result, zvq_seq_iterator* operand, "
    "void (*fn)(char* output, const char* input, uint64_t width, void* ctx), void* ctx);",
    "zvq_seq_status zvq_seq_cond_char(zvq_seq_iterator* result, zvq_seq_iterator* operand, "
    "uint8_t (*fn)(const char* input, uint64_t width));",
    "zvq_seq_status zvq_seq_cond_ctx_char(zvq_seq_iterator* result, zvq_seq_iterator* operand, "
    "uint8_t (*fn)(const char* input, uint64_t width, void* ctx), void* ctx);",
    "zvq_seq_status zvq_seq_func2_char(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right, "
    "void (*fn)(char* output, const char* left, const char* right, uint64_t width));",
    "zvq_seq_status zvq_seq_func2_ctx_char(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right, "
    "void (*fn)(char* output, const char* left, const char* right, uint64_t width, void* ctx), void* ctx);",
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=_FAMILIES, t=ALL),
]
