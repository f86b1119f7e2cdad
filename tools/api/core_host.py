TITLE = "Operations the host runtime supplies (src/core/host; can be left out of the build)"
DECLS = [
    doc("host resets",
        "The resets every operator installs. zvq_seq_reset_iterator rewinds the record alone (chunk_count, "
        "chunk_pos, run_pos, next_pos and pending_count to 0; in this library prepared too, so a reset aggregate "
        "pulls its operand again). The unary and binary forms first call reset on operand[0] (and operand[1]) and "
        "stop at the first failure.",
        types=[("any record", "the record, rewound")],
        args=[("it", "the record to rewind")],
        statuses=[("SEQ_OK", "rewound"), ("operand's status", "an operand's reset failed; passed up unchanged")],
        tests=["FrameResets.PrepareSetsPreparedWhateverNextSaidAndResetForgetsIt"]),
    "zvq_seq_status zvq_seq_reset_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_unary_iterator(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_reset_binary_iterator(zvq_seq_iterator* it);",
    doc("zvq_seq_check_bindings",
        "The binding switch read by every constructor and pull function: nonzero refuses a second reader of a "
        "record with SEQ_ALREADY_BOUND. Starts at 1 in the bundled host module. Set it through "
        "zvq_seq_enable_check_bindings.",
        types=[("none", "uint32_t variable")],
        statuses=[("none", "a variable")],
        tests=["BindingControl.EnableReturnsFormerAndOneRecordMayBeBothOperands"]),
    "extern uint32_t zvq_seq_check_bindings;",
    doc("host memory and bitmap helpers",
        "zvq_seq_copy_bitmap copies count bits between null bitmaps (bit i of a bitmap is bit i mod 64 of word "
        "i / 64); zvq_memcmp, zvq_memmove, zvq_memnull (zero-fill) and zvq_strchr behave as memcmp, memmove, "
        "memset to 0 and strchr with 64-bit sizes.",
        types=[("bytes, bitmaps", "int (comparison), pointer, or nothing")],
        args=[("destination_pos, source_pos", "bit positions"), ("count", "bits"), ("size", "bytes")],
        statuses=[("none", "no status: plain helpers")],
        tests=["HostOperations.BitmapMemcmpAndStrchr"]),
    "void zvq_seq_copy_bitmap(uint64_t* destination, uint32_t destination_pos, const uint64_t* source, uint32_t source_pos, uint32_t count);",
    "int zvq_memcmp(const void* left, const void* right, uint64_t size);",
    "void* zvq_memmove(void* destination, const void* source, uint64_t size);",
    "void zvq_memnull(void* pointer, uint64_t size);",
    "char* zvq_strchr(const char* text, int character);",
    doc("zvq_int_get_prime_number",
        "The prime ladder that sizes hash tables: 29 rising primes, each about 2.15 times the one before, from 2 to "
        "4067306273; an index above 28 gives the top rung.",
        types=[("uint32_t index", "uint64_t prime")],
        args=[("index", "the rung, 0 to 28")],
        statuses=[("none", "always returns a prime")],
        tests=["HashTable.InsertFindAndGrowth"]),
    "uint64_t zvq_int_get_prime_number(uint32_t index);",
]
