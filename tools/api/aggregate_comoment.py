TITLE = "Covariance and correlation by co-moments, with merges that equal the whole"
FAMILIES = ["covariance", "correlation"]
DECLS = [
    doc("covariance_T, correlation_T",
        "One double from two operands read in step: the population covariance sum((x - mean x)(y - mean y)) / n, or "
        "the Pearson correlation, that co-moment over the root of the product of the two sums of squared "
        "deviations. Values are converted to double, signed ones as signed; each overlap of k equal pairs is folded "
        "at once by the pairwise formula for means and co-moments, and no sum of squares is formed. The first "
        "operand to end ends the aggregate; the rest of the longer one is not read. One pair gives covariance 0 and "
        "correlation NaN; a constant operand gives correlation 0 / 0, NaN.",
        types=[("T, T (eleven numeric)", "double")],
        args=[("result", "the one-element result"), ("x", "first operand"), ("y", "second operand")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: an operand is not T (neither is marked)"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound (neither is marked)"),
                  ("SEQ_END", "next: an operand empty, or the result already delivered"),
                  ("operand's status", "next: passed up unchanged; the moments are dropped, nothing is published")],
        merge="prepare zvq_seq_prepare_aggregate; merge zvq_seq_covariance_T_merge / zvq_seq_correlation_T_merge "
              "(destination, source) folds the source's count, means and co-moments into the destination's by the "
              "same pairwise formula and rewrites its result, always SEQ_OK: merged parts equal the whole within "
              "rounding. An empty source changes nothing; merge into a part whose prepare gave SEQ_OK (an empty "
              "destination still answers SEQ_END).",
        tests=["Comoment.NegativeIntegersAreReadAsSigned", "ComomentFold.RunsOfUnequalLengthsFoldAsTheirElements",
               "ComomentMerge.TwoAndFourPartsEqualTheWhole", "ComomentInput.EmptyPartsFailuresTypesAndBindings"]),
    *each("zvq_seq_status zvq_seq_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* x, zvq_seq_iterator* y);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_{op}_{t}_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FAMILIES, t=NUMERIC),
]
NOTES = """
- Two pairs of families. `cov` and `corr` (see `aggregate_paired`) read signed sums as unsigned and merge the
  source's sum of y into both sums, so `corr` of a column merged from two halves can even change sign.
  `covariance` and `correlation` read signed as signed, fold means and co-moments (a run of k equal pairs merged in
  as one part of k whose co-moments are zero) and merge parts by the same pairwise formula, so a merged result
  equals the whole within rounding (1e-12 relative in the tests, over halves whose means differ). Pinned by
  `Comoment.NegativeIntegersAreReadAsSigned` and `ComomentMerge.TwoAndFourPartsEqualTheWhole`.
- Runs of unequal lengths in x and y are folded by their overlaps: where either operand's run ends, a new overlap
  starts. Pinned by `ComomentFold.RunsOfUnequalLengthsFoldAsTheirElements`.
- A constant operand has no spread: its correlation is 0 / 0, NaN, as is the correlation of a single pair. Pinned
  by `ComomentFold.RunsOfUnequalLengthsFoldAsTheirElements`.
- A failing operand drops the moments: `next` passes its status up with nothing published and `next_pos` 0. An
  empty part prepares to `SEQ_END`. Pinned by `ComomentInput.EmptyPartsFailuresTypesAndBindings`.
"""
