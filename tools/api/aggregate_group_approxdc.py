TITLE = "Approximate distinct counts per group of adjacent keys, of values or of ready hashes"
DECLS = [
    doc("group_agg_approxdc, group_agg_approxdc_hash",
        "An approximate distinct count per group of adjacent equal keys, one register update per run. keys is "
        "neither tested nor marked bound. Keys of 1, 2, 4, 8 bytes and up to 40 bytes work in the plain form; the "
        "_hash form keeps 8 bytes of a key of another width and compares those.",
        types=[("values of any type (or uint4 hashes), keys of any type", "uint4, one per group")],
        args=[("result", "one estimate per group"), ("values, hashes", "what is counted"), ("keys", "the group keys")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: hashes not uint4; next (plain form): a key wider than 40 bytes "
                   "and not 1, 2, 4 or 8"), ("SEQ_ALREADY_BOUND", "constructor: checks on and the counted operand bound"),
                  ("SEQ_END", "next: exhausted"), ("operand's status", "passed up; the group in progress stays")],
        tests=["GroupAggApproxdc.EachClusterCountsAsItsOwnSequence", "GroupAggApproxdc.RunsCountOnceAndAFailureKeepsTheRegisters",
               "GroupAggApproxdc.BindingAndKeysOfOtherWidths"]),
    "zvq_seq_status zvq_seq_group_agg_approxdc(zvq_seq_iterator* result, zvq_seq_iterator* values, zvq_seq_iterator* keys);",
    "zvq_seq_status zvq_seq_group_agg_approxdc_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_group_agg_approxdc_hash(zvq_seq_iterator* result, zvq_seq_iterator* hashes, zvq_seq_iterator* keys);",
    "zvq_seq_status zvq_seq_group_agg_approxdc_hash_next(zvq_seq_iterator* it);",
]
