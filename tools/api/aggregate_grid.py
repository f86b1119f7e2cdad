TITLE = "Grid aggregates: one result per cell of grid_size elements"
FAMILIES = ["sum", "avg", "min", "max", "var", "var_samp", "dev", "dev_samp"]
DECLS = [
    doc("grid_agg_OP_T (sum, avg, min, max, var, var_samp, dev, dev_samp)",
        "One result per cell of grid_size consecutive elements (runs expanded), each a run of repeat 1; the last "
        "cell may be short, and a grid_size of 0 makes the whole sequence one cell. Every record DECLARES elem_type "
        "double and elem_size 8, but the chunk holds the family's own layout (see Types); read sum, min and max by "
        "walking the chunk.",
        types=[("any of the eleven (avg, var..dev_samp)", "double, 455 a chunk"),
               ("int1..int8 (sum)", "int64 bytes under the double declaration"),
               ("uint1..uint8, datetime (sum)", "uint64 bytes under the double declaration"),
               ("float, double (sum)", "double"),
               ("T (min, max)", "T at T's own width, 2048/1365/819/455 a chunk, under the double declaration")],
        args=[("result", "one result per cell"), ("operand", "the input"),
              ("grid_size", "elements per cell, no limit; 0: one cell")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: the operand is not T"),
                  ("SEQ_ALREADY_BOUND", "constructor: checks on and the operand bound"),
                  ("SEQ_END", "next: the operand is exhausted"),
                  ("operand's status", "next: passed up; the open cell survives and a reset clears it")],
        caution="zvq_seq_next_double on grid_agg_sum_int4 returns the bits of an int64 as a double (a cell summing "
                "to 10 reads as 4.9e-323), and on grid_agg_min_int2 reads at the wrong stride; memcpy the chunk by "
                "the family's real layout, as docs/reference/aggregate_grid.md shows.",
        tests=["GridFamilies.TenByThreeInTheirRealLayouts", "GridCells.EdgesOfTheCellCount",
               "GridCells.ChunksFillToTheCapacityOfTheLayout",
               "GridNaN.ExtremesKeepANaNThatOpensACellOthersSpreadInTheirCellOnly",
               "GridFailure.TheOpenCellSurvivesAFailureAndAResetClearsIt",
               "GridStretches.FoldAtOnceToTheBitsOfElementByElement"]),
    *each("zvq_seq_status zvq_seq_grid_agg_{op}_{t}(zvq_seq_iterator* result, zvq_seq_iterator* operand, uint64_t grid_size);", op=FAMILIES, t=NUMERIC),
    *each("zvq_seq_status zvq_seq_grid_agg_{op}_{t}_next(zvq_seq_iterator* it);", op=FAMILIES, t=NUMERIC),
]
NOTES = """
### Reading grid records

Every grid record declares `elem_type` double and `elem_size` 8, whatever its chunk holds. The caller knows which
constructor it called and reads the chunk by the family's real layout. Each cell is one run with repeat byte 1;
value `i` stands at `chunk + i * width`:

| Family | Value in the chunk | Width | Cells per chunk |
|---|---|---|---|
| `avg`, `var`, `var_samp`, `dev`, `dev_samp` | double, for every operand type | 8 | 455 |
| `sum` of int1 … int8 | int64 | 8 | 455 |
| `sum` of uint1 … uint8, datetime | uint64 | 8 | 455 |
| `sum` of float, double | double | 8 | 455 |
| `min`, `max` | the operand's own type | the operand's | 2048, 1365, 819, 455 |

The pull functions go by the declared type. `zvq_seq_next_double` and `zvq_seq_get_double` are right for the double
layouts; for an integer `sum` or an 8-byte integer `min`/`max` they copy the right bytes as a double, which must then
be reinterpreted (`memcpy` into an `int64_t`). For `min` and `max` of 1-, 2- and 4-byte operands they read at the
wrong stride and past the values: walk the chunk instead. Pinned by `GridFamilies.TenByThreeInTheirRealLayouts`.

```c
/* Averages: the declared double is the real one. */
zvq_seq_grid_agg_avg_int4(&cells, &src, 1000);
double avg;
while (zvq_seq_next_double(&cells, &avg) == SEQ_OK) use(avg);

/* Sums of an integer column: 8-byte integers under the double declaration. */
zvq_seq_grid_agg_sum_int4(&cells, &src, 1000);
while (cells.next(&cells) == SEQ_OK) {
    for (uint16_t i = 0; i < cells.chunk_count; ++i) {
        int64_t total;
        memcpy(&total, cells.chunk + 8 * i, sizeof total);
        use_total(total);
    }
}

/* Minima of an int2 column: int16 values at a 2-byte stride, up to 1365 a chunk. */
zvq_seq_grid_agg_min_int2(&cells, &src, 1000);
while (cells.next(&cells) == SEQ_OK) {
    for (uint16_t i = 0; i < cells.chunk_count; ++i) {
        int16_t low;
        memcpy(&low, cells.chunk + sizeof low * i, sizeof low);
        use_low(low);
    }
}
```

Calling `next` directly makes the caller the record's reader: it takes whole chunks and needs no `chunk_pos`.

- Grid cells fold a stretch of equal values at once only where that gives the bits of folding them one by one
  (integer sums, extremes, and floating sums whose partial sums are all exact); otherwise element by element. Pinned
  by `GridStretches.FoldAtOnceToTheBitsOfElementByElement`.
"""
