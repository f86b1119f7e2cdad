/*
 * The Arrow part of the tour: a run-end encoded column summed without
 * decoding it, a text list that reads back, and a result handed back as an
 * Arrow array to DuckDB, when its library is present (`make duckdb`).
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "support/duckdb_api.h"
#include "tour.h"
#include "zvq/seq.h"

#define RUNS 20000
#define RUN_LENGTH 1000

static zvq_seq_iterator column, total, count, text, text_sum, again, result;

static void ignore_schema(struct ArrowSchema* s) { (void)s; }
static void ignore_array(struct ArrowArray* a) { (void)a; }

static double first_double(const zvq_seq_iterator* r) {
    double v;
    memcpy(&v, r->chunk, sizeof v);
    return v;
}

/* Hands the array to DuckDB as the one column x of a view and checks its SQL. */
static void hand_back(struct ArrowSchema* schema, struct ArrowArray* array, int64_t want_sum, int64_t want_count) {
    zvq_duckdb duck;
    duckdb_database_h db = NULL;
    duckdb_connection_h con = NULL;
    duckdb_arrow_stream_h stream = NULL;
    duckdb_result_rec res;
    struct ArrowSchema* children[1];
    struct ArrowArray* arrays[1];
    const void* buffers[1] = {NULL};
    struct ArrowSchema parent;
    struct ArrowArray table;
    const char* path = zvq_duckdb_path(ZVQ_DUCKDB_DEFAULT);
    if (!zvq_duckdb_load(&duck, path)) {
        printf("  DuckDB not found at %s: the hand-back step is skipped (run `make duckdb`)\n", path);
        return;
    }
    if (duck.open(NULL, &db) != 0 || duck.connect(db, &con) != 0) {
        printf("  DuckDB did not open\n");
        ++failures;
        return;
    }
    schema->name = "x";
    children[0] = schema;
    arrays[0] = array;
    memset(&parent, 0, sizeof parent);
    parent.format = "+s";
    parent.name = "";
    parent.n_children = 1;
    parent.children = children;
    parent.release = ignore_schema;
    memset(&table, 0, sizeof table);
    table.length = array->length;
    table.n_buffers = 1;
    table.buffers = buffers;
    table.n_children = 1;
    table.children = arrays;
    table.release = ignore_array;
    printf("  DuckDB %s scans the run-end encoded array (%lld runs)\n", duck.library_version(),
           (long long)array->children[0]->length);
    if (duck.arrow_array_scan(con, "prices", &parent, &table, &stream) != 0 ||
        duck.query(con, "SELECT sum(x)::BIGINT, count(*) FROM prices", &res) != 0) {
        printf("  DuckDB refused the array\n");
        ++failures;
    } else {
        check("DuckDB: SELECT sum(x) FROM prices", duck.value_int64(&res, 0, 0), want_sum);
        check("DuckDB: SELECT count(*) FROM prices", duck.value_int64(&res, 1, 0), want_count);
        duck.destroy_result(&res);
    }
    duck.destroy_arrow_stream(&stream);
    duck.disconnect(&con);
    duck.close(&db);
}

void tour_arrow(void) {
    double* values = malloc(sizeof(double) * RUNS);
    int64_t* ends = malloc(sizeof(int64_t) * RUNS);
    struct ArrowSchema schema, ends_schema, values_schema, out_schema;
    struct ArrowArray array, ends_array, values_array, out_array;
    struct ArrowSchema* schema_children[2];
    struct ArrowArray* array_children[2];
    const void* ends_buffers[2] = {NULL, NULL};
    const void* values_buffers[2] = {NULL, NULL};
    const void* no_buffers[1] = {NULL};
    int64_t want = 0, k;
    zvq_seq_status status = SEQ_OK;
    printf("Arrow: a run-end encoded column of %d runs of %d, summed without decoding\n", RUNS, RUN_LENGTH);
    if (!values || !ends) {
        ++failures;
        free(values);
        free(ends);
        return;
    }
    for (k = 0; k < RUNS; ++k) {
        values[k] = (double)(k % 97);
        ends[k] = (k + 1) * (int64_t)RUN_LENGTH;
        want += (k % 97) * (int64_t)RUN_LENGTH;
    }
    memset(&schema, 0, sizeof schema);
    memset(&ends_schema, 0, sizeof ends_schema);
    memset(&values_schema, 0, sizeof values_schema);
    memset(&array, 0, sizeof array);
    memset(&ends_array, 0, sizeof ends_array);
    memset(&values_array, 0, sizeof values_array);
    schema.format = "+r";
    schema.n_children = 2;
    schema.children = schema_children;
    schema.release = ignore_schema;
    ends_schema.format = "l";
    values_schema.format = "g";
    schema_children[0] = &ends_schema;
    schema_children[1] = &values_schema;
    array.length = (int64_t)RUNS * RUN_LENGTH;
    array.buffers = no_buffers;
    array.n_children = 2;
    array.children = array_children;
    array.release = ignore_array;
    ends_array.length = values_array.length = RUNS;
    ends_array.n_buffers = values_array.n_buffers = 2;
    ends_buffers[1] = ends;
    values_buffers[1] = values;
    ends_array.buffers = ends_buffers;
    values_array.buffers = values_buffers;
    array_children[0] = &ends_array;
    array_children[1] = &values_array;

    if (zvq_seq_from_arrow(&column, &schema, &array) != SEQ_OK || zvq_seq_agg_sum_double(&total, &column) != SEQ_OK ||
        total.next(&total) != SEQ_OK) {
        printf("  from_arrow failed\n");
        ++failures;
    } else {
        check("agg_sum over the Arrow column", (int64_t)first_double(&total), want);
    }
    if (column.reset(&column) == SEQ_OK) {
        int64_t runs = 0;
        while (column.next(&column) == SEQ_OK) runs += column.chunk_count;
        /* 1,000 elements are 255 + 255 + 255 + 235. */
        check("runs read (4 per run of 1,000), not elements", runs, (int64_t)RUNS * 4);
    }
    if (column.reset(&column) == SEQ_OK && zvq_seq_agg_count(&count, &column) == SEQ_OK && count.next(&count) == SEQ_OK) {
        uint64_t n;
        memcpy(&n, count.chunk, sizeof n);
        check("agg_count, asked and not read", (int64_t)n, (int64_t)RUNS * RUN_LENGTH);
    }

    printf("Text lists that read back element for element\n");
    if (zvq_seq_from_text_double(&text, "{1.5, 2.5, 3.5}") == SEQ_OK && zvq_seq_agg_sum_double(&text_sum, &text) == SEQ_OK &&
        text_sum.next(&text_sum) == SEQ_OK)
        check("agg_sum of {1.5, 2.5, 3.5}, times 2", (int64_t)(first_double(&text_sum) * 2), 15);
    if (zvq_seq_from_text_int4(&again, "{1,x,3}") == SEQ_OK)
        check("{1,x,3}: SEQ_BAD_ARGUMENT at byte", again.next(&again) == SEQ_BAD_ARGUMENT ?
              (int64_t)zvq_seq_text_error_offset(&again) : -1, 3);

    /* column is an operand of the aggregates now: a tree of its own is drained. */
    printf("A result handed back as an Arrow array\n");
    if (zvq_seq_from_arrow(&result, &schema, &array) != SEQ_OK ||
        (status = zvq_seq_to_arrow(&result, &out_schema, &out_array, ZVQ_SEQ_ARROW_RUN_END)) != SEQ_OK) {
        printf("  to_arrow failed with status %u\n", status);
        ++failures;
    } else {
        check("to_arrow: runs merged back to the column's", out_array.children[0]->length, RUNS);
        hand_back(&out_schema, &out_array, want, (int64_t)RUNS * RUN_LENGTH);
        out_array.release(&out_array);
        out_schema.release(&out_schema);
    }
    free(values);
    free(ends);
}
