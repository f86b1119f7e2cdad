/*
 * The few functions of DuckDB's C library (libduckdb.so) that the round-trip
 * tests, the Arrow benchmark and the tour call. No header ships with the
 * library, so they are declared here once, as function pointers filled by
 * dlopen/dlsym: a program runs (and says so) when the library is absent.
 *
 * Plain C99; include zvq/seq.h first for the Arrow structs.
 */
#ifndef ZVQ_TEST_DUCKDB_API_H
#define ZVQ_TEST_DUCKDB_API_H

#include <dlfcn.h>
#include <stdint.h>
#include <stdlib.h>

#include "zvq/seq.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef uint64_t duckdb_idx;
typedef int duckdb_state_code; /* 0 success, 1 error */
typedef void* duckdb_database_h;
typedef void* duckdb_connection_h;
typedef void* duckdb_arrow_h;
typedef void* duckdb_arrow_stream_h;

/* The result struct is passed by address; its fields are DuckDB's own. */
typedef struct {
    duckdb_idx column_count;
    duckdb_idx row_count;
    duckdb_idx rows_changed;
    void* columns;
    char* error_message;
    void* internal_data;
} duckdb_result_rec;

typedef struct {
    void* handle;
    const char* (*library_version)(void);
    duckdb_state_code (*open)(const char* path, duckdb_database_h* out);
    void (*close)(duckdb_database_h* db);
    duckdb_state_code (*connect)(duckdb_database_h db, duckdb_connection_h* out);
    void (*disconnect)(duckdb_connection_h* con);
    duckdb_state_code (*query)(duckdb_connection_h con, const char* sql, duckdb_result_rec* out);
    void (*destroy_result)(duckdb_result_rec* result);
    const char* (*result_error)(duckdb_result_rec* result);
    int64_t (*value_int64)(duckdb_result_rec* result, duckdb_idx col, duckdb_idx row);
    uint64_t (*value_uint64)(duckdb_result_rec* result, duckdb_idx col, duckdb_idx row);
    double (*value_double)(duckdb_result_rec* result, duckdb_idx col, duckdb_idx row);
    /* Arrow export of a query: the schema, then one array per chunk. The
       out arguments point to a pointer to the caller's struct. */
    duckdb_state_code (*query_arrow)(duckdb_connection_h con, const char* sql, duckdb_arrow_h* out);
    duckdb_state_code (*query_arrow_schema)(duckdb_arrow_h result, struct ArrowSchema** out);
    duckdb_state_code (*query_arrow_array)(duckdb_arrow_h result, struct ArrowArray** out);
    void (*destroy_arrow)(duckdb_arrow_h* result);
    /* Arrow scan: a view over one caller-owned struct array (columns as
       children), read once; the caller keeps and releases schema and array. */
    duckdb_state_code (*arrow_array_scan)(duckdb_connection_h con, const char* table, struct ArrowSchema* schema,
                                          struct ArrowArray* array, duckdb_arrow_stream_h* out_stream);
    void (*destroy_arrow_stream)(duckdb_arrow_stream_h* stream);
} zvq_duckdb;

/* Where the library is looked for: $ZVQ_DUCKDB_LIB, else the given default. */
static inline const char* zvq_duckdb_path(const char* fallback) {
    const char* env = getenv("ZVQ_DUCKDB_LIB");
    return env != NULL && env[0] != '\0' ? env : fallback;
}

/* Opens the library and finds every function; 0 and handle NULL on failure. */
static inline int zvq_duckdb_load(zvq_duckdb* d, const char* path) {
    void* h = path != NULL ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : NULL;
    d->handle = NULL;
    if (h == NULL) return 0;
#define ZVQ_DUCKDB_SYM(field, name)                              \
    *(void**)(&d->field) = dlsym(h, name);                       \
    if (d->field == NULL) {                                      \
        dlclose(h);                                              \
        return 0;                                                \
    }
    ZVQ_DUCKDB_SYM(library_version, "duckdb_library_version")
    ZVQ_DUCKDB_SYM(open, "duckdb_open")
    ZVQ_DUCKDB_SYM(close, "duckdb_close")
    ZVQ_DUCKDB_SYM(connect, "duckdb_connect")
    ZVQ_DUCKDB_SYM(disconnect, "duckdb_disconnect")
    ZVQ_DUCKDB_SYM(query, "duckdb_query")
    ZVQ_DUCKDB_SYM(destroy_result, "duckdb_destroy_result")
    ZVQ_DUCKDB_SYM(result_error, "duckdb_result_error")
    ZVQ_DUCKDB_SYM(value_int64, "duckdb_value_int64")
    ZVQ_DUCKDB_SYM(value_uint64, "duckdb_value_uint64")
    ZVQ_DUCKDB_SYM(value_double, "duckdb_value_double")
    ZVQ_DUCKDB_SYM(query_arrow, "duckdb_query_arrow")
    ZVQ_DUCKDB_SYM(query_arrow_schema, "duckdb_query_arrow_schema")
    ZVQ_DUCKDB_SYM(query_arrow_array, "duckdb_query_arrow_array")
    ZVQ_DUCKDB_SYM(destroy_arrow, "duckdb_destroy_arrow")
    ZVQ_DUCKDB_SYM(arrow_array_scan, "duckdb_arrow_array_scan")
    ZVQ_DUCKDB_SYM(destroy_arrow_stream, "duckdb_destroy_arrow_stream")
#undef ZVQ_DUCKDB_SYM
    d->handle = h;
    return 1;
}

#ifdef __cplusplus
}
#endif

#endif
