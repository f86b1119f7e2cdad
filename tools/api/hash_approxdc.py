TITLE = "Approximate distinct counts: over a whole sequence, from ready hashes and per hash group"
_BIND = ("SEQ_ALREADY_BOUND", "constructor: checks on and the counted operand bound")
DECLS = [
    doc("agg_approxdc, agg_approxdc_hash",
        "The approximate number of distinct values of a whole sequence: HyperLogLog with 128 registers over the "
        "32-bit hash of each element's raw bytes (standard error about 9%; 0 and 1 distinct values are exact). The "
        "_hash form takes ready uint4 hashes (from zvq_seq_hash) as they are.",
        types=[("any type (agg_approxdc); uint4 hashes (_hash)", "uint4, one element")],
        args=[("result", "the estimate"), ("input", "the values"), ("hashes", "ready 32-bit hashes")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: hashes not uint4"), _BIND,
                  ("SEQ_END", "next: empty operand, or already delivered"), ("operand's status", "passed up unchanged")],
        merge="agg_approxdc: prepare zvq_seq_prepare_aggregate, merge zvq_seq_agg_approxdc_merge takes the larger "
              "register of each pair; the _hash form has none.",
        caution="it is an estimate: 1,000,000 distinct values may count as 910,000; for the exact count use "
                "zvq_seq_agg_count_distinct_T.",
        tests=["AggApproxdc.ExactAtZeroAndOneWithinFourStandardErrorsBeyond", "AggApproxdc.HashFormAndMergesAgreeWithTheWhole",
               "ApproxRegisters.IndexFromTheTopBitsRankFromTheLowEnd", "ApproxRegisters.EstimatorRanges"]),
    "zvq_seq_status zvq_seq_agg_approxdc(zvq_seq_iterator* result, zvq_seq_iterator* input);",
    "zvq_seq_status zvq_seq_agg_approxdc_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_agg_approxdc_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_agg_approxdc_hash(zvq_seq_iterator* result, zvq_seq_iterator* hashes);",
    "zvq_seq_status zvq_seq_agg_approxdc_hash_next(zvq_seq_iterator* it);",
    doc("hash_agg_approxdc",
        "An approximate distinct count per distinct key, as a hash pair: grp_result the keys, agg_result the "
        "estimates, read in step and released once with zvq_seq_free_hash. Both operands required, of any type.",
        types=[("values and keys of any type", "agg_result uint4; grp_result the keys' type")],
        args=[("agg_result", "receives the estimates"), ("grp_result", "receives the keys"), ("values", "counted"),
              ("keys", "the keys"), ("size", "starting bucket count; 0: zvq_seq_hash_table_init_size")],
        statuses=[("SEQ_ALREADY_BOUND", "constructor: checks on and either operand bound (neither is marked)"),
                  ("SEQ_NOMEM", "constructor: no pair record; build or merge: no memory for the table or a register set"),
                  ("SEQ_BAD_ARGUMENT", "merge: a side not built by prepare, or merged into itself"),
                  ("SEQ_END", "every key delivered"), ("operand's status", "passed up unchanged")],
        merge="prepare zvq_seq_hash_initialize_approxdc; merge zvq_seq_hash_merge_approxdc takes the larger register "
              "of each pair per key.",
        allocates="a pair record and the table, with the register sets in its key blocks; released by zvq_seq_free_hash.",
        tests=["HashAggApproxdc.EachKeyCountsItsOwnValuesWholeOrInParts", "HashAggApproxdc.EveryFailingAllocationOfABuildAndAMerge"]),
    "zvq_seq_status zvq_seq_hash_agg_approxdc(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size);",
    "zvq_seq_status zvq_seq_hash_initialize_approxdc(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_merge_approxdc(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_hash_agg_approxdc_next_agg(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_agg_approxdc_next_grp(zvq_seq_iterator* it);",
]
NOTES = """
- Keys of `zvq_seq_group_agg_approxdc` wider than its 40 bytes: the constructor does not look at its keys; a key that
  is not 1, 2, 4 or 8 bytes wide is kept in 40 bytes of the record, so `next` answers `SEQ_TYPE_MISMATCH` for a wider
  one rather than overwrite the registers beside it. `zvq_seq_group_agg_approxdc_hash` keeps 8 bytes of any such key
  and compares those, so it takes keys of every width. Pinned by `GroupAggApproxdc.BindingAndKeysOfOtherWidths`.
"""
