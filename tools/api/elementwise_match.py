TITLE = "String matching over char sequences: exact, substring and wildcard modes"
DECLS = [
    doc("match",
        "A flag per run from a pattern: no wildcard means exact equality of terminated texts, %inner% a substring "
        "search, anything else a wildcard match (% any run of bytes, _ one byte, a backslash makes the next byte "
        "literal). Run i of a refill reads the text that begins at byte i of the operand's value area, cut at the "
        "operand's width and at the chunk's end.",
        types=[("char", "uint1")],
        args=[("result", "the flags"), ("operand", "the texts"), ("pattern", "a terminated string the caller keeps alive")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not char"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_BAD_ARGUMENT", "constructor: pattern is null"),
                  ("SEQ_END", "next: the operand is exhausted"), ("operand's status", "next: passed up unchanged")],
        caution="only the first run reads its own text: over char(4) texts \"ABCD\", \"XXAB\", \"ABZZ\" the "
                "pattern 'AB%' gives 1 0 0; use zvq_seq_like, which matches each element's own text.",
        tests=["Match.ThePatternShapePicksTheMode", "Match.NextStepsOneByteAThroughTheValueArea",
               "Match.TextsAreCutAtTheChunkEnd", "Match.ConstructorRefusesOtherTypesAndANullPattern"]),
    "zvq_seq_status zvq_seq_match(zvq_seq_iterator* result, zvq_seq_iterator* operand, const char* pattern);",
    "zvq_seq_status zvq_seq_match_next(zvq_seq_iterator* it);",
    doc("exact_match, match_substring, match_regex",
        "The three matchers zvq_seq_match installs, callable alone: each takes the address of a pattern field laid "
        "out as in the match record's state, a text and a chunk position, and answers 1 or 0. match_regex is the "
        "wildcard matcher, not a regular expression.",
        types=[("pattern field, text", "int: 1 match, 0 no match")],
        args=[("pattern_field", "address of the pattern pointer inside a match record's state"),
              ("text", "the text, cut at the record's text width or its first zero byte"),
              ("chunk_pos", "the run index (unused by the matchers' result)")],
        statuses=[("none", "no status: a flag")],
        tests=["Match.MatchersOnTextsCutByTheWidth", "Match.LongInnerTexts"]),
    "int zvq_seq_exact_match(const char* const* pattern_field, const char* text, uint32_t chunk_pos);",
    "int zvq_seq_match_substring(const char* const* pattern_field, const char* text, uint32_t chunk_pos);",
    "int zvq_seq_match_regex(const char* const* pattern_field, const char* text, uint32_t chunk_pos);",
]
NOTES = """
- `%%` matches every text: its inner text is empty, and the substring search answers 1 without looking before the
  text. Pinned by `Match.ThePatternShapePicksTheMode`.
- Texts (run i reads at byte i of the operand's value area) are cut at the chunk's end as well as at the operand's
  width, so a wide operand never makes a matcher read past the record. The substring matcher's skip table starts at
  zeros and the search moves on by at least one byte: byte 255, which the table leaves unset, and inner texts longer
  than 255 bytes, whose skips a byte cannot hold, search correctly, only slower. Pinned by
  `Match.TextsAreCutAtTheChunkEnd` and `Match.LongInnerTexts`.
- A null function, pattern, text or format is refused with `SEQ_BAD_ARGUMENT`, as an argument test after the binding
  (`zvq_seq_print_char`: with its width test, before the binding). Pinned by
  `Match.ConstructorRefusesOtherTypesAndANullPattern` and `Callback.ConstructorTestsTypeThenBindingThenTheFunction`.
"""
