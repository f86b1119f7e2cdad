TITLE = "Binary element-wise operators: arithmetic, comparison, logic, text joining"

_ARITH = ["add", "sub", "mul", "div", "mod", "max", "min"]
_COMPARE = ["eq", "ne", "ge", "le", "gt", "lt"]
_LOGIC = ["and", "or", "xor"]

DECLS = [
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
          op=_ARITH, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=_ARITH, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
          op=_COMPARE, t=ALL),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=_COMPARE, t=ALL),
    *each("zvq_seq_status zvq_seq_{op}(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
          op=_LOGIC),
    *each("zvq_seq_status zvq_seq_{op}_zvq_seq_bool_next(zvq_seq_iterator* it);", op=_LOGIC),
    "zvq_seq_status zvq_seq_add_char(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
    "zvq_seq_status zvq_seq_add_char_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_cat(zvq_seq_iterator* result, zvq_seq_iterator* left, zvq_seq_iterator* right);",
    "zvq_seq_status zvq_seq_cat_next(zvq_seq_iterator* it);",
]
