TITLE = "Time alignment"
KEYS = by_name("uint4", "uint8", "datetime")
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: ts1 or ts2 not T, or values not U"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
             ("SEQ_END", "next: ts1 empty, values shorter than ts2, or (asof_join) ts2 empty"),
             ("operand's status", "next: passed up unchanged")]
_ARGS = [("result", "the aligned values"), ("ts1", "the leading timestamps"), ("ts2", "the timestamps of values"),
         ("values", "the series to align, element by element with ts2")]
_CAUTION = ("it reads only the first timestamp of ts1 and never ends by itself: reading it to SEQ_END with "
            "zvq_seq_get_T does not return; bound it with zvq_seq_limit (the element at position n, the number of "
            "keys in ts2, has settled).")
DECLS = [
    doc("stretch_T_U, stretch0_T_U",
        "Put a series on another series' timestamps. stretch carries each value of values back over the leading "
        "timestamps before its key; stretch0 merges the two time lines, one element per timestamp of either "
        "series, with filler where ts2 has nothing. Keys are unsigned and compared as timestamps.",
        types=[("T keys (uint4, uint8, datetime), U values (eleven numeric)", "U")],
        args=_ARGS + [("filler", "the value where the aligned series has none")],
        statuses=_STATUSES, caution=_CAUTION,
        tests=["Align.WorkedExamplesAndTheEdgesOfTheSeries", "AlignReset.StepsFromTheStartAgainAndKeepsTheCarriedValues",
               "AlignValues.TypesBindingsFillerAndFailures"]),
    *each("zvq_seq_status zvq_seq_stretch_{t}_{u}(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, zvq_seq_iterator* values, {u_c} filler);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch_{t}_{u}_next(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch_{t}_{u}_reset(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch0_{t}_{u}(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, zvq_seq_iterator* values, {u_c} filler);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch0_{t}_{u}_next(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch0_{t}_{u}_reset(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    doc("asof_join_T_U",
        "For a ts1 timestamp, the value of values whose ts2 key is nearest.",
        types=[("T keys (uint4, uint8, datetime), U values (eleven numeric)", "U")],
        args=_ARGS, statuses=_STATUSES,
        caution=_CAUTION + " Its first elements can come from state set before any key was read (zeros on a "
                "zero-filled record).",
        tests=["Align.WorkedExamplesAndTheEdgesOfTheSeries", "AlignValues.TypesBindingsFillerAndFailures"]),
    *each("zvq_seq_status zvq_seq_asof_join_{t}_{u}(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, zvq_seq_iterator* values);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_asof_join_{t}_{u}_next(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_asof_join_{t}_{u}_reset(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
]
NOTES = """
- `stretch` and `asof_join` do not end. They read only the first timestamp of `ts1`, walk `ts2` up to it and then
  repeat their answer in every further chunk; only an empty `ts1`, `values` shorter than `ts2` or, for `asof_join`, an
  empty `ts2` end them. The reader bounds them, for instance with `zvq_seq_limit`. The element at position `n`, the
  number of keys in `ts2`, has always settled:

  ```c
  zvq_seq_asof_join_datetime_double(&nearest, &trade_time, &quote_times, &quotes);
  zvq_seq_limit(&one, &nearest, n, n);          /* the settled element, then SEQ_END */
  zvq_seq_next_double(&one, &price);
  ```

  The first elements of a fresh `asof_join` can come from its state before any key was read (`prev_value`); the
  alignment operators never initialise `current`, `next_value`, `prev_value` or `prev_key`, so a zero-filled record
  gives zeros and a reused one what its last run left. Pinned by `Align.WorkedExamplesAndTheEdgesOfTheSeries` and
  `AlignReset.StepsFromTheStartAgainAndKeepsTheCarriedValues`.
"""
