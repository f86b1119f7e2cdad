TITLE = "Hash aggregates: max, min, sum, avg and count per distinct key, as a pair of iterators"
FAMILIES = ["max", "min", "sum", "avg"]
PAIR = "zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size"
_STATUSES = [("SEQ_TYPE_MISMATCH", "constructor: values not T, or keys wider than 32 bytes"),
             ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound (operands marked so far stay marked)"),
             ("SEQ_NOMEM", "constructor: no memory for the pair record; first pull, prepare or merge: no memory for the "
              "table (retrying leaks nothing)"),
             ("SEQ_BAD_ARGUMENT", "merge: a side that has not built its own table by prepare, or a record merged "
              "into itself"),
             ("SEQ_END", "next: every key delivered"), ("operand's status", "first pull: passed up unchanged")]
DECLS = [
    doc("hash_agg_OP_T (max, min, sum, avg)",
        "One aggregate per distinct key, keys in any order: values and keys are read in step into a hash table, "
        "then delivered as two parallel sequences, grp_result the distinct keys and agg_result, position by "
        "position, their aggregates. Read the two IN STEP (one element of each in turn, or chunk by chunk), then "
        "release the pair ONCE with zvq_seq_free_hash. Keys are raw bytes of any type up to 32 bytes wide; they come "
        "out in table order, not sorted.",
        types=[("values int1..int8", "max, min T; sum int8; avg double"),
               ("values uint1..uint8", "max, min T; sum uint8; avg double"),
               ("values float", "max, min float; sum, avg double"), ("values double", "double"),
               ("values datetime", "datetime (avg as an integer quotient)"),
               ("keys of any type", "grp_result: the keys' type and width")],
        args=[("agg_result", "receives the aggregates"), ("grp_result", "receives the distinct keys"),
              ("values", "the values, T"), ("keys", "the keys, any type, as long as values"),
              ("size", "the starting bucket count, rounded to a prime of the ladder; 0 takes zvq_seq_hash_table_init_size")],
        statuses=_STATUSES + [("SIGSEGV", "a family constructed with values null faults at its first pull")],
        merge="prepare zvq_seq_hash_initialize_OP_T builds the table; zvq_seq_hash_merge_OP_T(destination, source) "
              "moves the source's entries into the destination's table (the source then names no table). A failed "
              "merge leaves both unusable.",
        allocates="a 24-byte pair record at construction, the table (header, buckets, 40968-byte blocks) at the first "
                  "pull or prepare; all released by zvq_seq_free_hash (or zvq_seq_release_hash).",
        caution="avg of signed integers adds each run as an unsigned number: the avg_int4 of a key's values -1, -1 "
                "is about 1.8e19; convert the values first (zvq_seq_int4_to_double).",
        tests=["HashAggTyped.EachFamilyFoldsPerKeyAcrossCutRuns", "HashAgg.ArithmeticOfEachFamily",
               "HashAgg.WalkFillsChunksWithACursorPerIterator", "HashAgg.WideKeysGroupByAllTheirBytes",
               "HashAgg.ConstructorRefusals", "HashAggDeathTest.AValueFamilyWithoutValuesFaultsAtTheFirstPull",
               "HashAgg.MergedPartsGiveTheWhole", "HashAgg.MergeRefusesASideWithoutItsOwnTable",
               "HashAgg.EveryFailingAllocationOfABuildAndAMerge"]),
    *each("zvq_seq_status zvq_seq_hash_agg_{op}_{t}(%s);" % PAIR, op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_initialize_{op}_{t}(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_merge_{op}_{t}(zvq_seq_iterator* destination, zvq_seq_iterator* source);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_agg_{op}_{t}_next_agg(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_hash_agg_{op}_{t}_next_grp(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
    doc("hash_agg_count, hash_agg_count_uint8",
        "The number of elements per distinct key, runs expanded, as the hash pair above: grp_result the distinct "
        "keys, agg_result their counts, read in step and released once with zvq_seq_free_hash. hash_agg_count takes "
        "keys only; hash_agg_count_uint8 also reads a values operand in step and stops with the shorter.",
        types=[("keys of any type", "agg_result uint8; grp_result the keys' type")],
        args=[("agg_result", "receives the counts"), ("grp_result", "receives the distinct keys"),
              ("values", "count_uint8 only: read in step, not counted"), ("keys", "the keys"),
              ("size", "the starting bucket count; 0 takes zvq_seq_hash_table_init_size")],
        statuses=_STATUSES[1:] + [("SEQ_TYPE_MISMATCH", "constructor: keys wider than 32 bytes")],
        merge="prepare zvq_seq_hash_initialize_count_uint8; merge zvq_seq_hash_merge_count_uint8 adds the counts.",
        allocates="as the other hash aggregates; released by zvq_seq_free_hash.",
        tests=["HashAgg.CountTakesRepeatsAndStopsWithTheShorterOperand", "HashAgg.MergedPartsGiveTheWhole"]),
    "zvq_seq_status zvq_seq_hash_agg_count(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result, zvq_seq_iterator* keys, uint64_t size);",
    "zvq_seq_status zvq_seq_hash_agg_count_uint8(%s);" % PAIR,
    "zvq_seq_status zvq_seq_hash_initialize_count_uint8(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_merge_count_uint8(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "zvq_seq_status zvq_seq_hash_agg_count_uint8_next_agg(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_hash_agg_count_uint8_next_grp(zvq_seq_iterator* it);",
]
NOTES = """
### Reading a pair

```c
zvq_seq_iterator sums = {0}, keys_out = {0};
zvq_seq_hash_agg_sum_int4(&sums, &keys_out, &values, &keys, 0);   /* 0: default bucket count */
int64_t total; int32_t key;
while (zvq_seq_next_int4(&keys_out, &key) == SEQ_OK &&
       zvq_seq_next_int8(&sums, &total) == SEQ_OK)
    printf("%d: %lld\\n", key, (long long)total);
zvq_seq_free_hash(&sums);                                          /* once per pair */
```

- Hash keys are at most 32 bytes (the build's scratch area); the constructors refuse wider keys with
  `SEQ_TYPE_MISMATCH`. Pinned by `HashAgg.ConstructorRefusals`.
- A failed build leaves its table unpublished in the iterator's `own_table`, as the build stood. The next build on
  that iterator (its next pull or `prepare`) gives that table back before it starts, so retrying leaks nothing. A pair
  released without a retry leaves the unpublished table with the allocator's owner. Pinned by
  `HashAgg.EveryFailingAllocationOfABuildAndAMerge`.
- After a hash merge the source no longer names the table it gave away: its `own_table` (and its pair's `table`, where
  that was the same table) become null. Releasing the source then frees only its pair record, and pulling it builds a
  new, empty table from its exhausted operands instead of reading freed memory. Pinned by `HashAgg.MergedPartsGiveTheWhole`.
- Hash merges refuse with `SEQ_BAD_ARGUMENT` a side that has not built its own table by `prepare`, and a record
  merged into itself. Pinned by `HashAgg.MergeRefusesASideWithoutItsOwnTable`.
- A hash aggregate of values run without values (the max, min, sum, avg families constructed with a null `values`)
  raises SIGSEGV explicitly at its first pull, the fault a read through the null operand would be. Pinned by
  `HashAggDeathTest.AValueFamilyWithoutValuesFaultsAtTheFirstPull`.
"""
