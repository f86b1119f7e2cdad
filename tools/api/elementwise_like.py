TITLE = "SQL LIKE over char elements"
DECLS = [
    doc("like",
        "A flag per run of a char sequence: 1 where the element's text matches an SQL LIKE pattern. The text is the "
        "element's bytes up to its first zero byte or its width. In the pattern % is any run of bytes (none "
        "included), _ one byte, and a backslash makes the next byte literal (a backslash at the end stands for "
        "itself); other bytes compare exactly, case included. Repeat bytes are copied, so a run costs one match.",
        types=[("char", "uint1")],
        args=[("result", "the flags"), ("operand", "the texts"),
              ("pattern", "a terminated string, kept by pointer: the caller keeps it alive while the record lives")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not char (it stays free)"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_BAD_ARGUMENT", "constructor: pattern is null, tested after the binding (the operand stays "
                   "bound)"),
                  ("SEQ_END", "next: the operand is exhausted"), ("operand's status", "next: passed up unchanged")],
        tests=["Like.TheIssuesPrefixCase", "Like.PatternsOfEveryShape", "Like.TheTextEndsAtAZeroByteOrTheWidth",
               "Like.AgreesWithBruteForceOnRandomPatterns", "Like.NoExponentialBacktracking",
               "Like.OneFlagPerRunAcrossChunksAndAFailingOperand",
               "Like.ConstructorTestsTypeThenBindingThenPattern"]),
    "zvq_seq_status zvq_seq_like(zvq_seq_iterator* result, zvq_seq_iterator* operand, const char* pattern);",
    "zvq_seq_status zvq_seq_like_next(zvq_seq_iterator* it);",
]
NOTES = """
- Each element is matched against its own text, so over `char(4)` texts "ABCD", "XXAB", "ABZZ" the pattern 'AB%'
  gives 1 0 1 (`zvq_seq_match` gives 1 0 0 there). Pinned by `Like.TheIssuesPrefixCase`.
- One matcher: a greedy scan that on a mismatch backtracks only to the last %, so its cost is at most text x pattern
  and never exponential ('%a%a%a%a%b' over long runs of a's included). Pinned by `Like.NoExponentialBacktracking` and
  `Like.AgreesWithBruteForceOnRandomPatterns`.
- The constructor notes when the pattern is one plain literal (no %, _ or backslash inside) alone, before a %, after
  one, or between two, and then answers by a compare or `memmem`; the scan would give the same flags. Pinned by
  `Like.PatternsOfEveryShape`.
- The pattern stays the caller's and must outlive the record. A null pattern is `SEQ_BAD_ARGUMENT`, after the
  binding. Pinned by `Like.ConstructorTestsTypeThenBindingThenPattern`.
"""
