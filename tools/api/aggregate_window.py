TITLE = "Sliding-window aggregates over a ring in the record: not rolling windows"
FAMILIES = ["sum", "avg", "min", "max", "var", "var_samp", "dev", "dev_samp", "ema", "atr"]
DECLS = [
    doc("window_agg_OP_T (sum, avg, min, max, var, var_samp, dev, dev_samp, ema, atr)",
        "One output per input element from a ring of window_size past values kept in the record (at most 208 bytes: "
        "window_size up to 208 / operand width, 26 for 8-byte types), or for ema and atr from a running recurrence. "
        "All the elements of one output chunk go through ONE ring slot, p mod window_size with p the position at the "
        "chunk's start; the ring starts at zeros and avg always divides by window_size.",
        types=[("int1..int8", "sum int8; avg, var..dev_samp, ema, atr double; min, max T"),
               ("uint1..uint8", "sum uint8; min, max T; the others double"),
               ("float", "min, max float; the others double"), ("double", "double"),
               ("datetime", "sum, avg, var, min, max datetime; var_samp, dev, dev_samp, ema, atr double")],
        args=[("result", "one output per element"), ("operand", "the input"),
              ("window_size", "elements in the ring, 1 to 208 / operand width")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_BAD_ARGUMENT", "constructor: window_size above the limit (after the binding: the operand "
                   "stays bound)"),
                  ("SIGFPE", "window_size 0: every family but ema and atr faults at its first element (p mod 0)"),
                  ("SEQ_END", "next: the operand is exhausted"), ("operand's status", "next: passed up unchanged")],
        allocates="nothing: the ring lives in the record's state.",
        caution="these are not moving windows: with window_size 3 the input 1, 2, 3, 4, 5 sums to 1, 2, 3, 4, 5, not "
                "1, 3, 6, 9, 12, and a double window holds at most 26 values; use zvq_seq_rolling_sum_T (avg, min, "
                "max, var, std), which covers the last window elements of any size.",
        tests=["WindowFamilies.ThreeOverOneToFiveInOneChunk", "WindowFamilies.OneSlotPerOutputChunkAndResetStartsAfresh",
               "WindowFamilies.SizeLimitByWidthAfterBinding", "WindowExtremes.RescanZerosAndNaN",
               "WindowSmoothing.EmaAndAtrFromTheSecondChunkNaNAndSizeEdges",
               "WindowVar.DatetimeSquaresWrapAndTheQuotientIsAnInteger",
               "WindowFailure.OutputsOfTheCallDroppedPositionsKept",
               "WindowSizeZeroDeathTest.RingFamiliesFaultAtTheirFirstElement"]),
    *each("zvq_seq_status zvq_seq_window_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t window_size);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_window_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_window_agg_{op}_{t}_reset(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
]
NOTES = """
### How the ring moves

A window record keeps a ring of `window_size` past values, but all the elements of one output chunk go through
**one** ring slot: `p mod window_size`, with `p` the record's `next_pos` when `next` is entered. Each element of the
chunk replaces the previous one in that slot, and the slot moves on once per output chunk (455 outputs for 8-byte
results; 2048, 1365, 819 or 455 for `min` and `max` by operand width).

Worked example, `window_size` 3 (pinned by `WindowFamilies.ThreeOverOneToFiveInOneChunk`):

| Input (one chunk) | 1 | 2 | 3 | 4 | 5 |
|---|---|---|---|---|---|
| ring at each step | 1 0 0 | 2 0 0 | 3 0 0 | 4 0 0 | 5 0 0 |
| `window_agg_sum` | 1 | 2 | 3 | 4 | 5 |
| `window_agg_avg` | 1/3 | 2/3 | 1 | 4/3 | 5/3 |
| `window_agg_min` | 0 | 0 | 0 | 0 | 0 |
| `window_agg_max` | 1 | 2 | 3 | 4 | 5 |

Over the input 1 … 460 the second output chunk starts at `p` = 455 and uses slot 455 mod 3 = 2, while slot 0 still
holds 455, the last element the first chunk placed there: the output for 456 is 455 + 456 = 911 (pinned by
`WindowFamilies.OneSlotPerOutputChunkAndResetStartsAfresh`).

`ema` and `atr` use `p` in the same way: every element of the first chunk passes through unchanged (`ema` takes the
element, `atr` divides by n = 1), smoothing starts with the second chunk, and from then on `atr` divides by the full
`window_size`. `var` of datetime computes in integers and delivers a datetime; `dev_samp` divides its inner term by
`window_size`, not by `window_size` − 1, so it is not the root of `var_samp` (pinned by
`WindowSmoothing.EmaAndAtrFromTheSecondChunkNaNAndSizeEdges` and `WindowVar.DatetimeSquaresWrapAndTheQuotientIsAnInteger`).

- A `window_size` of 0 raises SIGFPE explicitly when the first element needs its ring slot (the division p mod 0): an
  empty operand still answers `SEQ_END`, and `ema` and `atr`, which use no slot, never fault. Pinned by
  `WindowSizeZeroDeathTest.RingFamiliesFaultAtTheirFirstElement`.
- The window, cumulative and grid aggregates take a repeat byte of 0 as 256 elements, as a reader taking one element
  at a time does.
"""
