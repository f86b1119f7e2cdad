TITLE = "Rolling aggregates: the aggregate of the last `window` elements through each element"
MOMENTS = ["sum", "avg", "var", "std"]
EXTREMES = ["min", "max"]
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: the operand is not T (it stays free)"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
             ("SEQ_BAD_ARGUMENT", "constructor: window 0 or above 2^32, tested after the binding: the operand "
              "stays bound"),
             ("SEQ_NOMEM", "next: the window's ring could not grow; the old ring is kept and nothing of the call is "
              "published"),
             ("SEQ_END", "next: the operand is exhausted"),
             ("operand's status", "next: passed up unchanged; the outputs of that call are not published")]
_ALLOCATES = ("the window's runs, a ring of 16-byte (value, count) slots in the record's buffer through "
              "zvq_seq_malloc: 16 slots at the first element, doubled when full, so memory follows the runs held, "
              "not window. Released by the record's reset (zvq_seq_rolling_reset) or by zvq_seq_free_buffer.")
_TESTS_COMMON = ["RollingTable.WindowOfThreeOverOneToFive", "RollingLoop.AgreesWithAPlainLoopOverRandomRuns",
                 "RollingRuns.ARepeatByteOfZeroIs256Elements", "RollingLoop.ResetRewindsAndReleasesTheWindow",
                 "RollingMemory.TheWindowHoldsRunsNotItsLength",
                 "RollingMemory.EveryFailedAllocationIsNomemAndLeaksNothing",
                 "RollingInput.TypesBindingsWindowsAndFailures"]
DECLS = [
    doc("rolling_sum_T, rolling_avg_T, rolling_var_T, rolling_std_T",
        "One output per operand element: element i is the sum, mean, population variance or standard deviation of "
        "elements max(0, i - window + 1) .. i, runs expanded (a repeat byte of 0 counts 256), partial windows at the "
        "start dividing by the elements they hold. Equal outputs leave as one run in repeat bytes of 255: once the "
        "window holds only one value, a run of it of any length is one step. Integer sums are exact in the 64-bit "
        "type of sums, wrapping; var and std keep Welford's mean and spread, with no sum of squares. A NaN or an "
        "infinity counts only while it is in the window: sum and avg are then NaN or an infinity, var and std NaN.",
        types=[("int1..int8", "sum: int8; avg, var, std: double"),
               ("uint1..uint8", "sum: uint8; avg, var, std: double"),
               ("datetime", "sum: datetime; avg, var, std: double"), ("float, double", "double")],
        args=[("result", "one output per operand element"), ("operand", "the sequence to roll over"),
              ("window", "elements, 1 to 2^32")],
        statuses=_STATUSES,
        merge="no (prepare is null).",
        allocates=_ALLOCATES,
        tests=_TESTS_COMMON + ["RollingTable.SignedValuesAndWideSums",
                               "RollingRuns.ARunLongerThanTheWindowIsOneOutputRun",
                               "RollingRuns.DrainingARunOfAnotherValueMovesPerElementThenSettles",
                               "RollingFloat.NonFiniteValuesLeaveTheWindowWithTheirElement",
                               "RollingFloat.VarianceOfLargeCloseValuesKeepsItsDigits"]),
    *each("zvq_seq_status zvq_seq_rolling_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t window);", op=MOMENTS, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_rolling_{op}_{t}_next(zvq_seq_iterator* it);", op=MOMENTS, t=NUMERIC),
    doc("rolling_min_T, rolling_max_T",
        "One output per operand element: element i is the least (greatest) of elements max(0, i - window + 1) .. i, "
        "runs expanded, kept as a queue of runs whose values strictly rise (fall) from the front; each run enters "
        "and leaves once and an output stretch ends only where the front leaves the window, so the cost is amortised "
        "one step per run. NaN never enters the queue: a window with numbers and NaN gives the extreme of the "
        "numbers, a window of NaN alone gives NaN.",
        types=[("T (eleven numeric)", "T")],
        args=[("result", "one output per operand element"), ("operand", "the sequence to roll over"),
              ("window", "elements, 1 to 2^32")],
        statuses=_STATUSES,
        merge="no (prepare is null).",
        allocates=_ALLOCATES + " The queue holds only the runs that can still become the extreme: every run of "
                               "a falling stretch for max (a rising one for min), one run for a constant column.",
        tests=_TESTS_COMMON + ["RollingTable.SignedValuesAndWideSums",
                               "RollingRuns.DrainingARunOfAnotherValueMovesPerElementThenSettles",
                               "RollingFloat.NonFiniteValuesLeaveTheWindowWithTheirElement"]),
    *each("zvq_seq_status zvq_seq_rolling_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t window);", op=EXTREMES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_rolling_{op}_{t}_next(zvq_seq_iterator* it);", op=EXTREMES, t=NUMERIC),
    doc("rolling_reset",
        "The reset of every rolling record: gives the window's ring back (zvq_seq_free_buffer), empties the window "
        "(its length is kept), then rewinds the operand and the record.",
        types=[("any rolling record", "the record itself")],
        args=[("it", "the rolling record")],
        statuses=[("SEQ_OK", "done"), ("operand's status", "the operand's reset failed: passed up unchanged")],
        tests=["RollingLoop.ResetRewindsAndReleasesTheWindow", "RollingMemory.EveryFailedAllocationIsNomemAndLeaksNothing"]),
    "zvq_seq_status zvq_seq_rolling_reset(zvq_seq_iterator* it);",
]
NOTES = """
- The window is kept as runs, (value, count) pairs in a ring of 16-byte slots at the record's `buffer`, through
  `zvq_seq_malloc`; it starts at 16 slots and doubles when full. Its memory follows the runs the window holds, not
  `window`: 1,000 distinct values under a window of 2^32 take 1,024 slots, a constant column 16. A failed growth
  returns `SEQ_NOMEM` and leaves the old ring, which the record still owns. `zvq_seq_rolling_reset` releases the ring,
  empties the window and rewinds the operand; `zvq_seq_free_buffer` releases the ring only, while the record keeps
  the window's element count and moments: after it, pull only after a reset. Pinned by
  `RollingMemory.TheWindowHoldsRunsNotItsLength`, `RollingMemory.EveryFailedAllocationIsNomemAndLeaksNothing` and
  `RollingLoop.ResetRewindsAndReleasesTheWindow`.
- Cost. Input is taken a stretch at a time, a stretch being as long as the output stays the same:
  - a window holding only the input run's value slides in one step, whatever the run's length: over a run longer
    than the window the output is one run (in repeat bytes of 255), computed once;
  - draining an older run of the same value is one step per such run;
  - filling the window is one step for `avg`, `var`, `std` while it holds one value (and for `sum` of zeros), else
    one step per element, since each output differs;
  - draining an older run of another value is one step per element: each output differs.

  For `sum` and `avg` the outputs of a stretch that adds v and takes out u element by element are sum + j·(v − u):
  written at once, in a loop the compiler vectorises, with no chain of additions (a non-finite v or u takes the
  element-by-element way). A stretch of distinct values through a full window goes through one plain loop over the
  values, each adding the difference of the entering and the leaving value. `bench/bench_rolling.cpp` compares
  `rolling_avg_double` with a hand loop keeping a running sum, over distinct values and over runs of 255, with
  windows of 26 and 1,000. Pinned by `RollingRuns.ARunLongerThanTheWindowIsOneOutputRun` and
  `RollingRuns.DrainingARunOfAnotherValueMovesPerElementThenSettles`.
- `min` and `max` keep a queue of runs whose values strictly rise (fall) from the front, each with the position of
  its last element: a new run drops the runs behind it that it equals or beats, and the front answers until its
  last element leaves the window. Each run enters and leaves once, and an output stretch ends only where the front
  leaves, so the cost is amortised O(1) per run. NaN never enters the queue. Pinned by
  `RollingFloat.NonFiniteValuesLeaveTheWindowWithTheirElement`.
- `var` and `std` keep Welford's mean and sum of squared deviations, k equal elements added or taken out at once by
  the pairwise formula; no sum of squares is formed, so values like 1e9 + {1, 2, 3} keep their spread. A window that
  holds one value again is reset to exactly that mean and zero spread, so rounding does not survive a constant
  stretch. Float sums and averages keep a double running sum, reset in the same way; otherwise it takes one rounding
  per element, of the sum plus the difference v − u (or plus j·(v − u) over a stretch), so its last bits can differ
  from a hand loop's `sum += x; sum -= old`. Pinned by `RollingFloat.VarianceOfLargeCloseValuesKeepsItsDigits`.
- NaN and infinities are counted apart from the finite sum and moments, so a window is NaN or infinite only while
  such an element is in it (a running sum would stay NaN for ever). Integer sums wrap at 64 bits, so taking an
  element back out is exact. Pinned by `RollingFloat.NonFiniteValuesLeaveTheWindowWithTheirElement` and
  `RollingTable.SignedValuesAndWideSums`.
"""
