TITLE = "Run sources over arrays: equal neighbours folded, run-end encoded runs"
DECLS = [
    doc("encode_T",
        "A source over count elements of the caller's array that folds equal neighbours into runs of up to 255, "
        "compared by bits (-0.0 and 0.0 stay apart, a NaN folds with the same NaN); a longer stretch goes on in a "
        "run of the same value, and a chunk holds up to the capacity of T runs. The array is read in place, not "
        "copied, and must outlive the record. next_pos counts elements; the length is known without reading "
        "(zvq_seq_agg_count answers at once), and a reset rewinds.",
        types=[("array of T (eleven numeric)", "T"), ("char: count x width bytes", "char of width bytes")],
        args=[("result", "the source"), ("items", "the caller's array; may be null when count is 0"),
              ("count", "elements"),
              ("width", "char only: bytes per element, 1 to 4095")],
        statuses=[("SEQ_OK", "constructor: constructed"),
                  ("SEQ_TYPE_MISMATCH", "constructor (char): width above 4095"),
                  ("SEQ_BAD_ARGUMENT", "constructor: width 0 (char), or items null with count above 0 (the record is left as it was)"),
                  ("SEQ_END", "next: all count elements delivered (at once for count 0)")],
        tests=["EncodeOf.ReadsBackWithStretchesFoldedAcrossChunks", "Encode.ExactRunsAndChunkEdges",
               "Encode.MixedStretchesFoldExactly", "Encode.FoldsByBitsNotByValue", "Encode.CharEmptyAndRefusals",
               "Encode.CountedWithoutReading"]),
    *each("zvq_seq_status zvq_seq_encode_{t}(zvq_seq_iterator* result, const {t_c}* items, uint64_t count);", t=NUMERIC),
    "zvq_seq_status zvq_seq_encode_char(zvq_seq_iterator* result, const char* items, uint64_t count, uint16_t width);",
    doc("unget_runs_T",
        "A source over run-end encoded runs: run k has the value values[k] and ends before element run_ends[k], so "
        "the ends are cumulative. A run longer than 255 is served as several runs of the same value (10,000 "
        "elements are 40 runs), so an operator above pays per run, not per element. Nothing is copied; both arrays "
        "must outlive the record. next_pos counts elements; the length (the last run end) is known without reading, "
        "and a reset rewinds.",
        types=[("values of T (eleven numeric)", "T"), ("char: run_count x width bytes", "char of width bytes")],
        args=[("result", "the source"), ("values", "one value per run, the caller's"),
              ("run_ends", "cumulative ends, strictly rising from above 0, the caller's"),
              ("run_count", "runs"),
              ("width", "char only: bytes per value, 1 to 4095")],
        statuses=[("SEQ_OK", "constructor: constructed"),
                  ("SEQ_TYPE_MISMATCH", "constructor (char): width above 4095"),
                  ("SEQ_BAD_ARGUMENT", "constructor: width 0 (char), values or run_ends null with run_count above 0, or an end not "
                   "above the one before it (the first not above 0); the record is left as it was"),
                  ("SEQ_END", "next: the last run end reached (at once for run_count 0)")],
        tests=["EncodeOf.UngetRunsReadsBackCuttingLongRuns", "UngetRuns.LongRunIsFortyPiecesAndSumCostsPerRun",
               "UngetRuns.ResetMidwayAndReadingByElements", "UngetRuns.RefusesEndsThatDoNotRiseAndBindsNothing",
               "UngetRuns.CharWidthAfterValues", "Encode.CountedWithoutReading"]),
    *each("zvq_seq_status zvq_seq_unget_runs_{t}(zvq_seq_iterator* result, const {t_c}* values, const uint64_t* run_ends, uint64_t run_count);", t=NUMERIC),
    "zvq_seq_status zvq_seq_unget_runs_char(zvq_seq_iterator* result, const char* values, uint16_t width, const uint64_t* run_ends, uint64_t run_count);",
]
NOTES = """
- Why these sources: `zvq_seq_unget_T` hands out every element as a run of 1, so an array's stretches never reach the
  tree as runs and every operator above pays per element. `zvq_seq_encode_T` folds the stretches of a plain array;
  `zvq_seq_unget_runs_T` takes data that is already run-end encoded (values and cumulative ends) and cuts each run
  into pieces of 255. `zvq_seq_from_arrow` serves Arrow arrays through the same fills. Pinned by
  `UngetRuns.LongRunIsFortyPiecesAndSumCostsPerRun`.
- Folding is by bits, not by value: `0.0` and `-0.0` open two runs, two NaNs with the same bits share one. No two
  neighbouring runs hold the same value unless the first is full (255). A stretch cut by the end of a chunk goes on
  in the next chunk: 818 distinct `int4` values then 600 equal ones give a chunk of 819 runs ending with 255 of the
  stretch, then runs of 255 and 90. Pinned by `Encode.FoldsByBitsNotByValue`, `Encode.ExactRunsAndChunkEdges`,
  `EncodeOf.ReadsBackWithStretchesFoldedAcrossChunks`.
- Distinct neighbours, the common case of an unsorted column, are copied into the chunk a block of 256 at a time and
  compared 64 bytes at once; where that finds equal neighbours early, the fill goes on one element at a time for a
  block. Both ways give the same runs. Pinned by `Encode.MixedStretchesFoldExactly`.
- Length without reading: both sources keep their length in `last_pos` and use `zvq_seq_unget_reset` as their reset,
  so `zvq_seq_agg_count` answers without a refill. Pinned by `Encode.CountedWithoutReading`.
- Reset: `zvq_seq_unget_reset` clears `next_pos`; the next refill of a run-end source takes `next_pos` 0 as the sign
  to rewind its cursor to the first run. Pinned by `UngetRuns.ResetMidwayAndReadingByElements`.
- Run ends are checked once, by the constructor (strictly rising from above 0): a run of no elements is refused with
  `SEQ_BAD_ARGUMENT` before anything is written to the record. The values array is not checked: it must hold
  `run_count` values. Pinned by `UngetRuns.RefusesEndsThatDoNotRiseAndBindsNothing`.
- `char` widths: a chunk holds a run of widths 1 to 4095 only, so `zvq_seq_encode_char` and
  `zvq_seq_unget_runs_char` refuse a width above 4095 with `SEQ_TYPE_MISMATCH` and a width of 0 with
  `SEQ_BAD_ARGUMENT`, as `zvq_seq_from_text_char` does. Pinned by `Encode.CharEmptyAndRefusals`.
"""
