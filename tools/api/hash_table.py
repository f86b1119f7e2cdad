TITLE = "Hash sequence and hash table"
DECLS = [
    doc("hash table sizing",
        "zvq_seq_hash_table_init_size (default 1361) is the bucket count a hash aggregate starts with when its size "
        "argument is 0; zvq_seq_hash_table_load_factor (default 1.0) is the entries-per-bucket ratio at which a table "
        "grows to the next rung of the prime ladder. Set them before trees are in use.",
        types=[("none", "uint64_t and double variables")],
        statuses=[("none", "variables")],
        tests=["HashTable.InsertFindAndGrowth", "HashPair.ResetKeepsTheTableAndReleaseFreesIt"]),
    "extern uint64_t zvq_seq_hash_table_init_size;",
    "extern double zvq_seq_hash_table_load_factor;",
    doc("hash",
        "One 32-bit hash per run of the input (murmur3 over the element's raw bytes, seed 377307), the run's repeat "
        "byte kept; with a seed operand (uint4), each value is hashed with the seed's current value and runs split "
        "where either operand's run ends. Keys are raw bytes: 0.0 and -0.0 hash apart.",
        types=[("any type (input); uint4 or null (seed)", "uint4")],
        args=[("result", "the hashes"), ("input", "the values"), ("seed", "per-element seeds, or null for the fixed seed")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: seed is not uint4"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound"),
                  ("SEQ_END", "next: the input is exhausted"), ("operand's status", "next: passed up unchanged")],
        tests=["Murmur.PublishedVectors", "HashSeq.RunsAndRepeats", "HashSeq.LimitClampedAtResultCapacity",
               "HashSeq.ConstructorOrderOfTests", "HashSeq.FirstPullStatusPassesUp"]),
    "zvq_seq_status zvq_seq_hash(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* seed);",
    "zvq_seq_status zvq_seq_hash_next(zvq_seq_iterator* it);",
    doc("free_hash, release_hash",
        "Release a hash aggregate pair: its table and its shared pair record. zvq_seq_free_hash takes either "
        "iterator of the pair, clears the pair in both and returns 1, or 0 when the pair was already released "
        "(a second call is harmless). zvq_seq_release_hash is the blunt form: no test, the pointers are left "
        "dangling, never call it twice. Call one of them once per pair, after both iterators are read.",
        types=[("either iterator of a hash pair", "uint32_t flag (free_hash) or nothing")],
        args=[("it", "the aggregate or the group iterator of the pair")],
        statuses=[("1 or 0", "free_hash: released now, or nothing left to release")],
        allocates="nothing; gives back the table's blocks, buckets and header and the pair record.",
        tests=["HashPair.WideKeyTableFreedWithThePair", "HashPair.ResetKeepsTheTableAndReleaseFreesIt"]),
    "uint32_t zvq_seq_free_hash(zvq_seq_iterator* it);",
    "void zvq_seq_release_hash(zvq_seq_iterator* it);",
    doc("hash_agg_reset, is_hash_aggreate",
        "zvq_seq_hash_agg_reset is the reset of both iterators of a hash pair: it rewinds the iterator's cursor "
        "over the table (the table is kept) and its operands. zvq_seq_is_hash_aggreate answers 1 if the record is "
        "one of a hash pair (its reset is zvq_seq_hash_agg_reset), else 0; the name is spelt so.",
        types=[("a record", "status (reset) or uint32_t flag")],
        args=[("it", "the record")],
        statuses=[("SEQ_OK", "reset done"), ("operand's status", "an operand's reset failed")],
        tests=["HashPair.ResetKeepsTheTableAndReleaseFreesIt"]),
    "zvq_seq_status zvq_seq_hash_agg_reset(zvq_seq_iterator* it);",
    "uint32_t zvq_seq_is_hash_aggreate(zvq_seq_iterator* it);",
]
NOTES = """
- Keys are raw bytes: 0.0 and -0.0 are two keys, NaNs with equal bits one. Chains order narrow keys by the sign of the
  wrapped difference, which is a cyclic order; results (the order in which keys are delivered) depend on it. Pinned by
  `HashTable.KeyOrderIsSignOfWrappedDifference` and `HashTable.NarrowKeysAreRawBytesInline`.
- `zvq_seq_hash_next` stops a chunk at 819 runs (the capacity of its `uint4` result) also for 1- and 2-byte inputs,
  whose own capacity is larger: the hashes and repeats are the same, only the chunk ends move. Pinned by
  `HashSeq.LimitClampedAtResultCapacity`.
- The prime ladder of `zvq_int_get_prime_number` has 29 rising primes, each about 2.15 times the one before, from 2 to
  4067306273. Indexes above 28 give the top rung. Pinned by `HostOperations.BitmapMemcmpAndStrchr`.
- A table whose bucket array cannot be allocated at creation gives its 40-byte header back at once. Pinned by
  `HashTable.EveryAllocationFailingGivesNomem`.
"""
