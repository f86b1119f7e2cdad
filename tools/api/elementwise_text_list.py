TITLE = "Text lists that read back: {1,2,2,3} as runs, elements counted"
DECLS = [
    doc("from_text_T",
        "A source over a text list such as {1,2,2,3} or 1,2,2,3 that reads back element for element: white space "
        "around items is skipped, one leading { is dropped, the list ends at } or the zero byte, and a trailing "
        "comma is allowed. Numbers are read in base 10 (integers as strtoll and strtoull read them, so 010 is ten; "
        "floats as strtod reads them, hexadecimal floats, nan and inf included); a number out of range for T is "
        "malformed. Equal neighbours (by bits) fold into runs of up to 255 with every repeat byte written, up to "
        "the capacity of T runs a chunk; next_pos counts elements. The text stays the caller's and must outlive "
        "the record.",
        types=[("text (eleven numeric)", "T")],
        args=[("result", "the source"), ("text", "the list, zero-terminated")],
        statuses=[("SEQ_BAD_ARGUMENT", "constructor: text null (the record is left as it was); next: a malformed "
                   "item: no number, something other than , or the list's end behind it (1 2, 2.5 for an integer "
                   "type, an empty item), or out of range (a - before a nonzero unsigned value, 128 for int1, 1e39 "
                   "for float, 1e999 for double)"),
                  ("SEQ_END", "next: the list has ended (at once for \"\", {} or })")],
        tests=["FromTextOf.OneOneTwoReadsBackWithEveryRepeatWritten", "FromTextOf.LongStretchesAndChunkEdgesReadBack",
               "FromText.ThreeHalvesSumAsTheyRead", "FromText.EmptyListsEnd", "FromText.MalformedItemsAndTheirOffsets"]),
    *each("zvq_seq_status zvq_seq_from_text_{t}(zvq_seq_iterator* result, const char* text);", t=NUMERIC),
    doc("from_text_char",
        "The same for char items of width bytes. An item is quoted ('...' or \"...\": everything up to the same "
        "quote, commas, braces and spaces included) or bare (ending at , } or the zero byte, its unescaped spaces "
        "at the end dropped). In both, a backslash takes the next byte: \\n newline, \\t tab, \\0 a zero byte, any "
        "other byte itself. Shorter items are padded with zero bytes; equal neighbours, compared over the padded "
        "width, fold into runs. There is no null item: null is read as the text null.",
        types=[("text", "char of width bytes")],
        args=[("result", "the source"), ("text", "the list, zero-terminated, kept alive by the caller"),
              ("width", "bytes per item, 1 to 4095")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: width above 4095"),
                  ("SEQ_BAD_ARGUMENT", "constructor: width 0 or text null (the record is left as it was); next: an "
                   "item longer than width, a quote that never closes, a backslash at the text's end, or "
                   "something other than , or the list's end behind a quoted item"),
                  ("SEQ_END", "next: the list has ended")],
        tests=["FromTextChar.QuotedBareEscapedAndFolded", "FromTextChar.MalformedItemsAndWidths"]),
    "zvq_seq_status zvq_seq_from_text_char(zvq_seq_iterator* result, const char* text, uint16_t width);",
    doc("from_text_reset, text_error_offset",
        "zvq_seq_from_text_reset is the reset of these sources: it rewinds to the first item and forgets the error "
        "offset. zvq_seq_text_error_offset gives the byte offset, from the start of the text as given, of the item "
        "that made a refill of a from_text record fail; the offset is kept until a reset, as a retry meets the "
        "same item. It is all ones for a record that has met no malformed item and for a record of any other "
        "operator.",
        types=[("a from_text record", "zvq_seq_from_text_reset: zvq_seq_status"),
               ("any record", "zvq_seq_text_error_offset: uint64 offset, or all ones")],
        args=[("it, record", "the record")],
        statuses=[("SEQ_OK", "zvq_seq_from_text_reset: always"),
                  ("none", "zvq_seq_text_error_offset answers an offset")],
        tests=["FromText.MalformedItemsAndTheirOffsets", "FromText.EmptyListsEnd",
               "FromTextOf.OneOneTwoReadsBackWithEveryRepeatWritten"]),
    "zvq_seq_status zvq_seq_from_text_reset(zvq_seq_iterator* it);",
    "uint64_t zvq_seq_text_error_offset(const zvq_seq_iterator* record);",
]
NOTES = """
- Why a second list reader: `zvq_seq_parse_T` keeps its own ways (only the last repeat byte of a refill written,
  `next_pos` counted in runs, `zvq_seq_parse_char` ending at an item that starts with the digit 0), and hosts rely on
  them. `zvq_seq_from_text_T` is the reader a user expects: `{1.5,2.5,3.5}` gives three elements that sum to 7.5,
  through `zvq_seq_get_double` and through `zvq_seq_agg_sum_double`. Pinned by `FromText.ThreeHalvesSumAsTheyRead`,
  `FromTextOf.OneOneTwoReadsBackWithEveryRepeatWritten`.
- Numbers are read in base 10 by the parse family's scanner (`src/elementwise/scan.hpp`), integers as `strtoll` and
  `strtoull` read them, floats as `strtod` does. Out of range for the element type is malformed: a `-` on an
  unsigned type (but `-0`), `-129` or `128` for `int1`, an overflow of 64 bits, `1e39` for `float`, `1e999` for
  `double`. `datetime` is read as an unsigned count, so `0x10` is malformed. Pinned by
  `FromText.MalformedItemsAndTheirOffsets`.
- Runs: a refill folds items until the chunk holds its capacity and the next item would open another run; that item
  opens the next refill. A stretch longer than 255 goes on in a run of the same value. Pinned by
  `FromTextOf.LongStretchesAndChunkEdgesReadBack`.
- `char` items are read by the same item reader as `zvq_seq_parse_char` (`src/elementwise/items.hpp`), with two
  differences: a bare item also ends at `}`, and its unescaped spaces at the end are dropped (white space before it
  is skipped by the list). A bare `c ` and a quoted `"c"` are one value. An empty item (`""`, or
  nothing between two commas) is width zero bytes. Pinned by `FromTextChar.QuotedBareEscapedAndFolded`.
- A malformed item fails the refill with `SEQ_BAD_ARGUMENT`; the cursor stays where the refill began and `next_pos`
  is unchanged, so items read earlier in that refill are read again by a retry, which fails the same way.
  `zvq_seq_text_error_offset` gives the item's first byte, counted from the start of the text as passed (`{1,x,3}`
  gives 3). Pinned by `FromText.MalformedItemsAndTheirOffsets`, `FromTextChar.MalformedItemsAndWidths`.
- Widths: `zvq_seq_from_text_char` refuses a width of 4096 or more with `SEQ_TYPE_MISMATCH` (a chunk would hold no
  run) and a width of 0 with `SEQ_BAD_ARGUMENT`; 4095 gives one run a chunk. Pinned by
  `FromTextChar.MalformedItemsAndWidths`.
"""
