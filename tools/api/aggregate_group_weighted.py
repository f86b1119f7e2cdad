TITLE = "Weighted average per group of adjacent equal keys"
DECLS = [
    doc("group_agg_weighted_avg_T",
        "One double per group of ADJACENT equal keys: sum(w x v) / sum(w) over the whole group, the weights w the "
        "first operand, the values v the second, the keys the third, all read in step. Both sums are taken in "
        "double for every type, signed values read as signed, a run of n equal pairs adding w x n and w x v x n. "
        "Keys of any type compare by their bytes (keys of 1, 2, 4 or 8 bytes by their bits: 0.0 and -0.0 differ); "
        "a key that comes back later opens a new group. The first operand to end ends the sequence and delivers "
        "the last group. A group whose weights sum to zero gives NaN or an infinity.",
        types=[("weights and values T (eleven numeric), keys of any type", "double")],
        args=[("result", "one result per group"), ("weights", "the weights, T"), ("values", "the values, T"),
              ("keys", "the group keys, any type up to 232 bytes")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: weights or values not T, or keys wider than 232 bytes (before "
                   "any operand is marked); next: a key operand grown past 232 bytes"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound (none is marked)"),
                  ("SEQ_END", "next: an operand exhausted and no group left to deliver"),
                  ("operand's status", "next: passed up; the group in progress is kept")],
        merge="no (prepare is null); reset is zvq_seq_reset_ternary_agg_iterator.",
        tests=["WeightedAvg.DividesByTheWholeGroupsWeight", "WeightedAvgSigns.NegativeWeightsAndValuesAreSigned",
               "WeightedAvgKeys.CharKeysAndManyGroups", "WeightedAvgInput.TypesBindingsAndReset"]),
    *each("zvq_seq_status zvq_seq_group_agg_weighted_avg_{t}(zvq_seq_iterator* result, zvq_seq_iterator* weights, zvq_seq_iterator* values, zvq_seq_iterator* keys);", t=NUMERIC),
    *each("zvq_seq_status zvq_seq_group_agg_weighted_avg_{t}_next(zvq_seq_iterator* it);", t=NUMERIC),
]
NOTES = """
- Two weighted averages per group. `group_agg_wavg` (see `aggregate_group`) divides by the weight of a group's last
  fold only: w = {1, 3}, v = {10, 20} gives 23.33. `group_agg_weighted_avg` divides by the whole group's weight,
  17.5, in double for every type, signed values read as signed. Pinned by `WeightedAvg.DividesByTheWholeGroupsWeight`
  and `WeightedAvgSigns.NegativeWeightsAndValuesAreSigned`.
- A group whose weights sum to zero divides by zero: NaN when the weighted sum is zero too, else an infinity. Pinned
  (the NaN case) by `WeightedAvgSigns.NegativeWeightsAndValuesAreSigned`.
- The family runs on the loop of the other group aggregates: the same key test (char keys by their bytes), the same
  232-byte limit on keys and the same way of filling chunks. Pinned by `WeightedAvgKeys.CharKeysAndManyGroups`.
"""
