TITLE = "Sources, cursors and stream plumbing"
_PLUMB = [("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
          ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
          ("SEQ_END", "next: nothing left"), ("operand's status", "next: passed up unchanged")]
DECLS = [
    doc("const_T",
        "An endless sequence of one value: the chunk is filled once with capacity runs of repeat 255 and handed out "
        "again on every pull. It never ends; bound its reader (a binary operator ends with its shorter operand, or "
        "use zvq_seq_limit).",
        types=[("value of T (eleven numeric; char: width bytes)", "T")],
        args=[("result", "the constant sequence"), ("value", "the constant"), ("width", "char only: bytes, at most 288")],
        statuses=[("SEQ_OK", "always, except:"), ("SEQ_TYPE_MISMATCH", "const_char with a width above 288 (the value lives in the record)")],
        tests=["RoundTrip.UngetGetNextConst", "RoundTrip.CharStridesByItsWidthAndConstRejectsWhatStateCannotHold"]),
    *each("zvq_seq_status zvq_seq_const_{t}(zvq_seq_iterator* result, {t_c} value);", t=NUMERIC),
    "zvq_seq_status zvq_seq_const_char(zvq_seq_iterator* result, const char* value, uint64_t width);",
    *each("zvq_seq_status zvq_seq_const_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
    "zvq_seq_status zvq_seq_const_next_char(zvq_seq_iterator* it);",
    doc("unget_T",
        "An in-memory source over the caller's array: count elements, each a run of 1, delivered a chunk at a time "
        "(819 int4 values a chunk). The array is not copied and must outlive the record.",
        types=[("array of T (eleven numeric; char: count x width bytes)", "T")],
        args=[("result", "the source"), ("items", "the caller's array"), ("count", "elements"),
              ("width", "char only: bytes per element, at most 65535")],
        statuses=[("SEQ_OK", "constructed"), ("SEQ_TYPE_MISMATCH", "unget_char with a width that does not fit elem_size"),
                  ("SEQ_END", "next: all count elements delivered (at once for count 0)")],
        caution="every element is its own run, so 1,000 equal values cost 1,000 steps downstream; the run-folding "
                "source is zvq_seq_encode_T (or zvq_seq_unget_runs_T for run-end arrays).",
        tests=["RoundTrip.UngetGetNextConst"]),
    *each("zvq_seq_status zvq_seq_unget_{t}(zvq_seq_iterator* result, const {t_c}* items, uint64_t count);", t=NUMERIC),
    "zvq_seq_status zvq_seq_unget_char(zvq_seq_iterator* result, const char* items, uint64_t count, uint64_t width);",
    *each("zvq_seq_status zvq_seq_unget_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_unget_reset(zvq_seq_iterator* it);",
    doc("join_T",
        "A sequence of sequences: reads the inner sequences that meta hands out (first_sequence, then next_sequence "
        "until SEQ_END) and copies their runs into full chunks across inner boundaries.",
        types=[("inner records of T (eleven numeric, char with width)", "T")],
        args=[("result", "the joined sequence"), ("meta", "the caller's provider; its inner record is read"),
              ("width", "char only: bytes per element")],
        statuses=[("SEQ_OK", "constructor: always"), ("SEQ_END", "next: the provider has no more sequences"),
                  ("provider's status", "next: a failure of first_sequence, next_sequence or inner.next, unchanged")],
        tests=["Join.CopiesRunsAcrossInnerSequencesIntoFullChunks"]),
    *each("zvq_seq_status zvq_seq_join_{t}(zvq_seq_iterator* result, zvq_seq_meta_iterator* meta);", t=NUMERIC),
    "zvq_seq_status zvq_seq_join_char(zvq_seq_iterator* result, zvq_seq_meta_iterator* meta, uint64_t width);",
    "zvq_seq_status zvq_seq_meta_iterator_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_meta_iterator_reset(zvq_seq_iterator* it);",
    doc("thin_T",
        "Every step-th element of the operand from position start (0-based, runs expanded), each as a run of 1; "
        "whole chunks before the next target are skipped unread. A step of 0 repeats the element at start without "
        "end.",
        types=[("T (all twelve)", "T")],
        args=[("result", "the thinned sequence"), ("operand", "the input"), ("start", "position of the first element taken"),
              ("step", "distance between elements taken")],
        statuses=_PLUMB,
        tests=["Plumbing.RunsInRunsOut", "Plumbing.ThinStepZeroRepeatsTheStartAndRepeatMultipliesInEightBits"]),
    *each("zvq_seq_status zvq_seq_thin_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t start, uint64_t step);", t=ALL),
    *each("zvq_seq_status zvq_seq_thin_{t}_next(zvq_seq_iterator* it);", t=ALL),
    doc("repeat_T",
        "Each element repeated count times, by multiplying repeat bytes: the product is kept in eight bits, while "
        "next_pos counts the full product.",
        types=[("T (all twelve)", "T")],
        args=[("result", "the repeated sequence"), ("operand", "the input"),
              ("count", "the factor, sign-extended to 64 bits")],
        statuses=_PLUMB,
        caution="the repeat byte wraps at 256: repeating a run of 255 twice gives a run of 254, not 510, and "
                "zvq_seq_get_T then delivers fewer elements than next_pos promises.",
        tests=["Plumbing.ThinStepZeroRepeatsTheStartAndRepeatMultipliesInEightBits", "Plumbing.RunsInRunsOut"]),
    *each("zvq_seq_status zvq_seq_repeat_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, int32_t count);", t=ALL),
    *each("zvq_seq_status zvq_seq_repeat_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_reset_repeat_iterator(zvq_seq_iterator* it);",
    doc("limit",
        "The elements at positions from to to, inclusive (0-based, runs expanded), with the first and last run cut. "
        "No type test: the result takes the operand's type and width. A limit over a fresh limit counts from that "
        "limit's own first position, so limits nest.",
        types=[("any type", "the operand's type")],
        args=[("result", "the cut sequence"), ("operand", "the input"), ("from", "first position kept"),
              ("to", "last position kept, inclusive")],
        statuses=[("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_END", "past to, or from beyond the operand's end, or from above to"),
                  ("operand's status", "passed up unchanged")],
        tests=["Plumbing.RunsInRunsOut"]),
    "zvq_seq_status zvq_seq_limit(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t from, uint64_t to);",
    "zvq_seq_status zvq_seq_limit_next(zvq_seq_iterator* it);",
    doc("tee",
        "Two readers, first and second, of one source. Nothing is queued: a reader that falls behind jumps to the "
        "chunk its twin pulled last, so the two must pull in step (as the two operands of one binary operator do). "
        "Only the source is binding-tested.",
        types=[("any type", "the source's type, in both twins")],
        args=[("first, second", "the two readers"), ("source", "the shared operand")],
        statuses=[("SEQ_ALREADY_BOUND", "constructor: checks on and the source bound"),
                  ("SEQ_END", "the source is exhausted"), ("source's status", "passed up unchanged")],
        caution="readers at different rates lose data silently: gt and filter over one tee of 1..1000 average "
                "499.8, not 749.5; use zvq_seq_split, which queues what one reader pulled ahead.",
        tests=["Plumbing.TeeBehindReaderJumpsToTheTwinsChunkAndConcatPassesChunks", "Constructors.EveryPlumbingConstructorTestsAndMarksBindings"]),
    "zvq_seq_status zvq_seq_tee(zvq_seq_iterator* first, zvq_seq_iterator* second, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_tee_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_tee_iterator(zvq_seq_iterator* it);",
    doc("concat",
        "The first operand to its end, then the second; chunks pass as they are (3 and 2 elements give a chunk of 3 "
        "and a chunk of 2). Widths are not compared: the result has the first operand's width.",
        types=[("any type, both equal", "that type")],
        args=[("result", "the joined stream"), ("first, second", "read in this order")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the element types differ"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
                  ("SEQ_END", "both exhausted"), ("operand's status", "passed up unchanged")],
        tests=["Plumbing.TeeBehindReaderJumpsToTheTwinsChunkAndConcatPassesChunks", "Constructors.EveryPlumbingConstructorTestsAndMarksBindings"]),
    "zvq_seq_status zvq_seq_concat(zvq_seq_iterator* result, zvq_seq_iterator* first, zvq_seq_iterator* second);",
    "zvq_seq_status zvq_seq_concat_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_concat_reset(zvq_seq_iterator* it);",
    doc("rle_decode",
        "Runs expanded into slots of repeat 1, at most 128 slots per chunk (never more than the chunk holds for "
        "the width), so that zvq_seq_get_nullable_T sees one slot per element. No type test.",
        types=[("any type", "the operand's type")],
        args=[("result", "the expanded stream"), ("operand", "the input")],
        statuses=[("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound (the result's type and "
                   "width are written by then)"), ("SEQ_END", "nothing left"), ("operand's status", "passed up unchanged")],
        tests=["Plumbing.RleDecodeHasAtMost128SlotsAndSkipNanCountsRuns", "PullFunctions.GetNullableTakesSlotsNotElements"]),
    "zvq_seq_status zvq_seq_rle_decode(zvq_seq_iterator* result, zvq_seq_iterator* operand);",
    "zvq_seq_status zvq_seq_rle_decode_next(zvq_seq_iterator* it);",
    doc("skip_nan_T",
        "The operand without its NaN runs.",
        types=[("float", "float"), ("double", "double")],
        args=[("result", "the filtered stream"), ("operand", "the input")],
        statuses=_PLUMB,
        caution="next_pos counts runs, not elements: runs 1 x 3, NaN, 2 x 5 give next_pos 2; count elements with "
                "zvq_seq_agg_count instead.",
        tests=["Plumbing.RleDecodeHasAtMost128SlotsAndSkipNanCountsRuns"]),
    *each("zvq_seq_status zvq_seq_skip_nan_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand);", t=by_name("float", "double")),
    *each("zvq_seq_status zvq_seq_skip_nan_{t}_next(zvq_seq_iterator* it);", t=by_name("float", "double")),
]
NOTES = """
- `zvq_seq_const_char` refuses a width above 288 bytes (the constant lives in the record's state) with
  `SEQ_TYPE_MISMATCH`; `zvq_seq_unget_char` and `zvq_seq_join_char` refuse widths that do not fit the 16-bit
  `elem_size`. Pinned by `RoundTrip.CharStridesByItsWidthAndConstRejectsWhatStateCannotHold`.
- `zvq_seq_rle_decode` writes at most 128 slots per chunk and never more than the chunk's capacity for the element
  width, so wide `char` elements stay inside the chunk. Pinned by `Plumbing.RleDecodeHasAtMost128SlotsAndSkipNanCountsRuns`.
- `zvq_seq_thin_T` keeps its `source_pos` at the element that the operand's (`chunk_pos`, `run_pos`) designates.
  When it skips the rest of a partly taken run together with its chunk, it clears the operand's `run_pos`. A chunk
  whose repeat bytes do not add up to its `next_pos` (repeat bytes of 0) makes it pull again rather than read past
  the chunk. Pinned by `Plumbing.RunsInRunsOut`.
- `zvq_seq_limit` counts an operand that has not reached its own first position (a fresh `limit` below it) as having
  served no positions, so limits nest. Pinned by `Plumbing.RunsInRunsOut`.
- A `zvq_seq_tee` queues nothing, so its slower branch skips the chunks its twin pulled. `zvq_seq_gt_double` fills
  2048 flag runs from 455-run chunks of its operand, so one call pulls several chunks of it while
  `zvq_seq_filter_double` pulls its values one chunk at a time: give `gt` and `filter` two readers of the stored
  column, or a `zvq_seq_split`. A tee is right where its branches are read in step, such as the two operands of one
  binary operator. Pinned by `Plumbing.TeeBehindReaderJumpsToTheTwinsChunkAndConcatPassesChunks`.
"""
