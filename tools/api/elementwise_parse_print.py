TITLE = "Text parsing and printing: sequences read from {a,b,...} texts, tuples formatted into char"
DECLS = [
    doc("parse_T",
        "A source over a text such as {1,2,3}: one leading { is skipped, items are separated by commas and the list "
        "ends at } or the zero byte. Numbers are read as sscanf reads them (%i for int1..int4, %lli, %u, %llu, %lf; "
        "base prefixes for the signed members only); equal neighbours, compared as read, share a run of up to 255. "
        "The text stays the caller's and must outlive the record.",
        types=[("text (eleven numeric)", "T")],
        args=[("result", "the source"), ("text", "the list, terminated")],
        statuses=[("SEQ_OK", "constructor: always"), ("SEQ_BAD_ARGUMENT", "next: an item is not a number (the refill "
                   "starts over at the next call)"), ("SEQ_END", "next: the list has ended")],
        caution="only the last run of a refill gets its repeat byte and next_pos counts runs: \"{1.5,2.5,3.5}\" read "
                "back through zvq_seq_get_double gives 513 elements and agg_sum 3.5 on a fresh record; use "
                "zvq_seq_from_text_T, which reads back element for element.",
        tests=["ParseOf.RunsOnlyTheLastRepeatWrittenNextPosByRuns", "Parse.EachMemberReadsByItsFormat",
               "Parse.RunsStopAt255AndTheChunkAtItsCapacity", "Parse.TheScannerReadsAsSscanfDoes"]),
    *each("zvq_seq_status zvq_seq_parse_{t}(zvq_seq_iterator* result, const char* text);", t=NUMERIC),
    doc("parse_char",
        "A char source over a text: items quoted (' or \") or not, escapes \\n \\t \\0 and \\x for x itself, null "
        "for a null slot (its bit set in null_bitmap), one item per slot, at most 128 a chunk; width 0 takes the "
        "width from the first item. Read it with zvq_seq_get_nullable_char: no repeat byte is written.",
        types=[("text", "char of width bytes")],
        args=[("result", "the source"), ("text", "the list, terminated, kept alive by the caller"),
              ("width", "bytes per item, at most 4096; 0: the first item's length")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: width above 4096"),
                  ("SEQ_BAD_ARGUMENT", "next: an item longer than width, an unclosed quote, a trailing backslash, or "
                   "null as the first item with width 0"),
                  ("SEQ_END", "next: the list has ended")],
        caution="an item that begins with the digit 0 ends the list, and an unquoted list ends only at } or such an "
                "item: {x,0y,z} gives the one element x and 'a,b' never ends; use zvq_seq_from_text_char.",
        tests=["ParseChar.QuotesEscapesAndNulls", "ParseChar.RefillsItemsAndFailures"]),
    "zvq_seq_status zvq_seq_parse_char(zvq_seq_iterator* result, const char* text, uint64_t width);",
    *each("zvq_seq_status zvq_seq_parse_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_reset_parse_iterator(zvq_seq_iterator* it);",
    doc("custom_parse",
        "A source that hands each item of a text (split at , and ending at }) to the caller's parse_fn, which stores "
        "the value itself at slot in the chunk behind the null bitmap and answers nonzero on success. The text is "
        "altered only during a call (the separator becomes a zero byte).",
        types=[("text, a type code and size", "the type of elem_type and elem_size")],
        args=[("result", "the source"), ("text", "writable, kept alive by the caller"), ("elem_type", "an element type code"),
              ("elem_size", "its size; char up to 65535"), ("parse_fn", "(item, null bitmap with the chunk behind it, slot)")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the code and size name no element type"),
                  ("SEQ_BAD_ARGUMENT", "constructor: parse_fn or text null; next: parse_fn answered 0"),
                  ("SEQ_END", "next: the list has ended")],
        caution="the last item (no , or } behind it) is parsed again on every call and the source never ends: "
                "'1,2' gives 1, 2, 2, 2, ...; close the list with }.",
        tests=["CustomParse.ItemsGoToTheCallerAndTheTextIsRestored", "CustomParse.TheShapeMustBeAType"]),
    "zvq_seq_status zvq_seq_custom_parse(zvq_seq_iterator* result, char* text, uint32_t elem_type, uint64_t elem_size, "
    "int (*parse_fn)(const char* item, uint64_t* null_bitmap, uint32_t slot));",
    "zvq_seq_status zvq_seq_custom_parse_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_custom_parse_iterator(zvq_seq_iterator* it);",
    doc("print_char",
        "Formats the operand's value, a packed tuple of fixed-width fields, into text by a printf-like format: "
        "%d %i %u (4 bytes), %e %f (a float), %c, %s (to the zero byte), %.Ns, %ld %lu %le %lf (8 bytes), "
        "%hd %hu (2), %hhd %hhu (1), %%. Each slot holds at most width - 1 characters and a zero byte.",
        types=[("char (a packed tuple)", "char of width bytes")],
        args=[("result", "the texts"), ("operand", "the tuples"), ("width", "output bytes, at most 32"),
              ("format", "the format, kept alive by the caller")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not char"),
                  ("SEQ_BAD_ARGUMENT", "constructor: width above 32 or format null (before the binding); next: an "
                   "unknown directive or an output that reaches width"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_END", "next: the operand is exhausted"), ("operand's status", "next: passed up unchanged")],
        caution="it never advances its operand: over tuples A, B, C every slot formats A and the chunk is always "
                "full; read one slot per tuple yourself, or bound the result with zvq_seq_limit.",
        tests=["PrintChar.EveryDirective", "PrintChar.TheOutputMustStayBelowTheWidth", "PrintChar.TheOperandIsNeverAdvanced",
               "PrintChar.ConstructorTestsTypeThenWidthThenBinding"]),
    "zvq_seq_status zvq_seq_print_char(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t width, "
    "const char* format);",
    "zvq_seq_status zvq_seq_print_char_next(zvq_seq_iterator* it);",
]
NOTES = """
- `zvq_seq_parse_T` compares an item with the run's value as read, before narrowing: in `parse_float` two doubles that
  round to one float open two runs, in `parse_int1` 256 and 0 (both stored as 0) open two runs. Pinned by
  `Parse.EachMemberReadsByItsFormat`.
- Numbers are read as `sscanf` reads them ("%i", "%lli", "%u", "%llu", "%lf", glibc's rules), by a scanner that
  collects the same characters and converts them with the `strto*` function `sscanf` applies
  (`src/elementwise/scan.hpp`). Calling `sscanf` per item would measure the whole rest of the text each time; a test
  and a fuzzer check the scanner against `sscanf`. Pinned by `Parse.TheScannerReadsAsSscanfDoes`.
- `zvq_seq_parse_char` refuses a width above 4096 with `SEQ_TYPE_MISMATCH`: no value would fit the chunk. A refill
  takes at most 128 items and, for widths above 32, no more than fill the chunk's 4096 bytes (40 at width 100). With
  width 0, a first item longer than 4096 bytes is `SEQ_BAD_ARGUMENT`. A backslash at the text's end is malformed,
  inside quotes or not: the escape would take the terminator. Pinned by `ParseChar.RefillsItemsAndFailures`.
- `zvq_seq_custom_parse` refuses a shape that is no element type (`SEQ_TYPE_MISMATCH`): an unassigned code, a
  numeric code with another size than its type's, a `char` width above 65535. Pinned by
  `CustomParse.TheShapeMustBeAType`.
- `zvq_seq_print_char` reads a tuple as if zero bytes followed it, as they pad a `char` value: a format that takes
  more bytes than the tuple holds reads zeros, and "%s" on a full-width text stops at the width. A "%.Ns" count that
  is missing or negative, and "%l" or "%h" too close to the format's end to have the letters they look at, are
  `SEQ_BAD_ARGUMENT`. Each directive is formatted aside and written only if it leaves room for the terminator, so a
  failing slot never writes past its width. Pinned by `PrintChar.TheOutputMustStayBelowTheWidth`.
"""
