TITLE = "Stable ordering permutation: argsort"
DECLS = [
    doc("argsort_T",
        "Fills permutation with the indices of values in ascending or descending order, stably: equal keys keep their "
        "input order in both orders, every NaN comes after every value (in input order) in both orders, and -0.0 "
        "and 0.0 are one key. values are never moved. An LSD radix sort on keys whose unsigned order is the values' "
        "order (signed, unsigned or IEEE by type, datetime as uint8), one pass per key byte that varies: a byte "
        "equal in every key costs no pass.",
        types=[("const T* values (eleven numeric)", "uint64_t permutation[n]")],
        args=[("values", "n keys, read only"), ("permutation", "n entries, written"), ("n", "elements"),
              ("order", "SEQ_ORDER_ASC or SEQ_ORDER_DESC")],
        statuses=[("SEQ_OK", "permutation written; with n 0 nothing is read or written"),
                  ("SEQ_BAD_ARGUMENT", "order neither SEQ_ORDER_ASC nor SEQ_ORDER_DESC (tested first, n 0 included), "
                   "or values or permutation null with n above 0; nothing written"),
                  ("SEQ_NOMEM", "no memory for the scratch arrays; permutation not yet written")],
        allocates="nothing when at most one key byte varies (always for 1-byte types); one scratch array of n items "
                  "when two vary, two arrays when three or more do. An item is 8 bytes for keys of up to 4 bytes and "
                  "16 for 8-byte keys (16 for all above 2^32 - 1 elements). Taken with zvq_seq_malloc and a null "
                  "record, given back with zvq_seq_free before the call returns.",
        tests=["ArgsortTyped.EqualsAStableSortInBothOrders", "ArgsortTyped.AllEqualKeepsInputOrderBothWays",
               "ArgsortLiterals.SignedZerosNaNInfinitiesAndIntegerExtremes",
               "ArgsortLiterals.FrontSortedInputIsFullySorted", "ArgsortArguments.OrderAndEmptyInput",
               "ArgsortMemory.PassesSkippedAndEveryAllocationFailing"]),
    *each("zvq_seq_status zvq_seq_argsort_{t}(const {t_c}* values, uint64_t* permutation, uint64_t n, uint32_t order);", t=NUMERIC),
]
NOTES = """
- The keys: unsigned values as they are, signed ones with the sign bit flipped, floating ones by their bits (negatives
  inverted, the others with the sign bit set) after -0.0 is made 0.0. Descending inverts the key instead of reversing
  the result, so equal keys keep their input order in both orders. Every NaN, whatever its sign or payload, takes the
  all-ones key in both orders, which no value has: NaNs come last and in input order. Pinned by
  `ArgsortLiterals.SignedZerosNaNInfinitiesAndIntegerExtremes` and `ArgsortTyped.EqualsAStableSortInBothOrders`.
- One pass over the values counts every byte of every key; a byte that is the same in all keys is then skipped. The
  first pass reads the values and the last writes only indices into the permutation, so one varying byte needs no
  scratch and two need one array; more passes go back and forth between two arrays of (key, index) items. Indices in
  the items are 32 bits up to 2^32 - 1 elements. A size beyond 64 bits is `SEQ_NOMEM` too. Every failing allocation
  leaves nothing allocated. Pinned by `ArgsortMemory.PassesSkippedAndEveryAllocationFailing`.
- The byte counters live on the stack of the call: 8 KB for 8-byte keys (16 KB above 2^32 - 1 elements).
- Unlike `zvq_seq_sort_T`, which is not stable and can leave slices unsorted when the front of the array rises,
  argsort always orders fully: 500 rising values followed by 10,000 random ones come out with no pair out of order.
  Pinned by `ArgsortLiterals.FrontSortedInputIsFullySorted`.
"""
