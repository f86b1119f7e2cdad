TITLE = "User callbacks: func, func_ctx, cond, cond_ctx on one sequence, func2, func2_ctx on two"

_FAMILIES = ["func", "func_ctx", "cond", "cond_ctx", "func2", "func2_ctx"]
_UNARY = "zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, {fn});"
_BINARY = ("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right, "
           "{fn});")

DECLS = [
    doc("func_T, func_ctx_T, cond_T, cond_ctx_T, func2_T, func2_ctx_T",
        "The caller's function applied once per run (not per element), the repeat byte kept: func maps a value, "
        "cond maps it to a flag, func2 combines a left and a right value per overlap of runs (the binary kernel). "
        "The _ctx forms hand ctx back on every call. char members get pointers and the width; func2_char needs "
        "equal widths. The function should be pure: it sees a run's value once however long the run.",
        types=[("T (all twelve)", "T (func, func_ctx, func2, func2_ctx)"), ("T (all twelve)", "uint1 (cond, cond_ctx)")],
        args=[("result", "the output"), ("operand, left, right", "the inputs"), ("fn", "the caller's function, not null"),
              ("ctx", "any pointer, passed to fn untouched")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: an operand is not T, or func2_char widths differ"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
                  ("SEQ_BAD_ARGUMENT", "constructor: fn is null (after the binding, which stays)"),
                  ("SEQ_END", "next: an operand is exhausted"), ("operand's status", "next: passed up unchanged")],
        tests=["Callback.OneCallPerRunWithTheContextHandedBack", "Callback.CondFillsTheBooleanCapacity",
               "Callback.CharMembersPassPointersAndTheWidth", "Callback.ConstructorTestsTypeThenBindingThenTheFunction"]),
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
