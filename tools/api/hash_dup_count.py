TITLE = "Exact counts of the distinct values per key that occur at least a given number of times"
DECLS = [
    doc("hash_agg_dup_count, hash_agg_distinct_count",
        "For each distinct key, how many distinct values occur at least min_count times among that key's elements "
        "(values 5, 5, 7 under one key: min_count 1 gives 2, 2 gives 1, 3 gives 0 and the key is still delivered). "
        "distinct_count is dup_count with min_count 1: the exact distinct count per key. A pair of iterators as in "
        "the hash aggregates: grp_result the keys, agg_result the counts, read in step, released once with "
        "zvq_seq_free_hash. Values and keys of any type, char included.",
        types=[("values and keys of any type", "agg_result uint8; grp_result the keys' type")],
        args=[("agg_result", "receives the counts"), ("grp_result", "receives the distinct keys"),
              ("values", "the values counted"), ("keys", "the keys"),
              ("size", "starting bucket count of the key table; 0: zvq_seq_hash_table_init_size"),
              ("pair_size", "starting bucket count of the (key, value) table; 0: zvq_seq_hash_table_init_size"),
              ("min_count", "occurrences at which a value counts")],
        statuses=[("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound (neither is then marked)"),
                  ("SEQ_NOMEM", "constructor: no pair record; build or merge: no table memory"),
                  ("SEQ_BAD_ARGUMENT", "merge: a side not built by prepare, or merged into itself"),
                  ("SEQ_END", "next: every key delivered"), ("operand's status", "first pull: passed up unchanged")],
        merge="prepare zvq_seq_dup_hash_prepare builds both tables; zvq_seq_dup_hash_merge recounts through the "
              "source's pairs, so a value that reaches min_count only across parts counts. A failed merge gives both "
              "pair tables back.",
        allocates="a pair record, a key table and a (key, value) pair table; the pair table goes back with the first "
                  "pull of its builder, the rest with zvq_seq_free_hash.",
        caution="there is no whole-column form: for the exact distinct count of a column use "
                "zvq_seq_agg_count_distinct_T, not a constant key through hash_agg_distinct_count.",
        tests=["DupCount.EachPairCrossesTheThresholdOnce", "DupCount.WideValuesAndKeys", "DupCount.MergedPartsGiveThePlainCount",
               "DupCount.AValueReachesTheThresholdOnlyAcrossParts", "DupCount.ConstructorsBindBothOperandsOrNeither",
               "DupCount.PairTableGoesWithTheFirstPullOfItsBuilder", "DupCount.EveryFailingAllocationOfABuildAndAMerge"]),
    "zvq_seq_status zvq_seq_hash_agg_dup_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size, uint64_t pair_size, uint64_t min_count);",
    "zvq_seq_status zvq_seq_hash_agg_distinct_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size, uint64_t pair_size);",
    "zvq_seq_status zvq_seq_dup_hash_prepare(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_dup_hash_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_dup_hash_next_count(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_dup_hash_next_grp(zvq_seq_iterator* it);",
]
NOTES = """
- The duplicate count gives back a failed build's pair table the way the hash aggregates give back their table, and
  after a merge the source's `pair_table` becomes null. Pinned by `DupCount.EveryFailingAllocationOfABuildAndAMerge`.
- A merged duplicate count takes a group entry for a key new to the destination from the source's bucket of that key.
  Should that bucket have none left (the cyclic key order can make the destination miss a key it has), the entry
  comes from a new block of the destination's group table. Pinned by `DupCount.MergedPartsGiveThePlainCount`.
"""
