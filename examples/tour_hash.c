/*
 * The tour, hash grouping: a GROUP BY over an unsorted table, each result per
 * key computed whole and in four parts merged, and checked against a plain
 * loop over arrays indexed by key.
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tour.h"
#include "zvq/seq.h"

#define ROWS 1000000u
#define KEYS 10000u
#define VALUES 1000u
#define PARTS 4u

enum family { SUM, AVG, COUNT, DISTINCT, APPROX, FAMILIES };
static const char* const family_names[FAMILIES] = {"sum", "average", "count", "exact distinct count",
                                                   "approximate distinct count"};

static zvq_seq_iterator value_src[PARTS], key_src[PARTS], agg[PARTS], grp[PARTS];

static zvq_seq_status construct(enum family f, unsigned p) {
    switch (f) {
        case SUM: return zvq_seq_hash_agg_sum_int4(&agg[p], &grp[p], &value_src[p], &key_src[p], 0);
        case AVG: return zvq_seq_hash_agg_avg_int4(&agg[p], &grp[p], &value_src[p], &key_src[p], 0);
        case COUNT: return zvq_seq_hash_agg_count(&agg[p], &grp[p], &key_src[p], 0);
        case DISTINCT: return zvq_seq_hash_agg_distinct_count(&agg[p], &grp[p], &value_src[p], &key_src[p], 0, 0);
        default: return zvq_seq_hash_agg_approxdc(&agg[p], &grp[p], &value_src[p], &key_src[p], 0);
    }
}

/* Reads the i-th result of a batch, whatever its type, as a double. */
static double result_at(enum family f, const void* batch, uint64_t i) {
    switch (f) {
        case SUM: return (double)((const int64_t*)batch)[i];
        case AVG: return ((const double*)batch)[i];
        case APPROX: return (double)((const uint32_t*)batch)[i];
        default: return (double)((const uint64_t*)batch)[i];
    }
}

static zvq_seq_status get_results(enum family f, void* batch, uint64_t* n) {
    switch (f) {
        case SUM: return zvq_seq_get_int8(&agg[0], batch, n);
        case AVG: return zvq_seq_get_double(&agg[0], batch, n);
        case APPROX: return zvq_seq_get_uint4(&agg[0], batch, n);
        default: return zvq_seq_get_uint8(&agg[0], batch, n);
    }
}

/* One family over the table in `parts` parts, each prepared and merged into
 * the first; out[key] receives each key's result. Returns the groups read. */
static uint64_t group_by(enum family f, unsigned parts, const int32_t* keys, const int32_t* values, double* out) {
    const uint64_t rows = ROWS / parts;
    int32_t key_batch[1000];
    uint64_t result_batch[1000];
    uint64_t groups = 0;
    unsigned p;
    for (p = 0; p < parts; ++p) {
        zvq_seq_unget_int4(&value_src[p], values + p * rows, rows);
        zvq_seq_unget_int4(&key_src[p], keys + p * rows, rows);
        if (construct(f, p) != SEQ_OK) ++failures;
        if (parts > 1 && agg[p].prepare(&agg[p]) != SEQ_OK) ++failures;
    }
    for (p = 1; p < parts; ++p)
        if (agg[0].merge(&agg[0], &agg[p]) != SEQ_OK) ++failures;
    for (;;) {
        uint64_t nk = 1000, nr = 1000, i;
        if (zvq_seq_get_int4(&grp[0], key_batch, &nk) != SEQ_OK) break;
        if (get_results(f, result_batch, &nr) != SEQ_OK || nr != nk) {
            ++failures;
            break;
        }
        for (i = 0; i < nk; ++i) out[key_batch[i]] = result_at(f, result_batch, i);
        groups += nk;
    }
    for (p = 0; p < parts; ++p) zvq_seq_free_hash(&agg[p]);
    return groups;
}

void tour_hash(void) {
    int32_t* keys = malloc(sizeof(int32_t) * ROWS);
    int32_t* values = malloc(sizeof(int32_t) * ROWS);
    unsigned char* seen = calloc((size_t)KEYS * VALUES, 1);
    double* want[FAMILIES];
    double* whole = malloc(sizeof(double) * KEYS);
    double* merged = malloc(sizeof(double) * KEYS);
    uint32_t x = 2024u, i, f;
    for (f = 0; f < FAMILIES; ++f) want[f] = calloc(KEYS, sizeof(double));
    if (!keys || !values || !seen || !whole || !merged || !want[FAMILIES - 1]) {
        ++failures;
        return;
    }

    printf("hash group-by: %u unsorted rows, %u keys, whole and in %u merged parts\n", ROWS, KEYS, PARTS);
    for (i = 0; i < ROWS; ++i) {
        x = x * 1664525u + 1013904223u;
        keys[i] = (int32_t)((x >> 8) % KEYS);
        x = x * 1664525u + 1013904223u;
        values[i] = (int32_t)((x >> 8) % VALUES);
    }
    /* The plain loop: every aggregate by direct indexing. */
    for (i = 0; i < ROWS; ++i) {
        const int32_t k = keys[i], v = values[i];
        want[SUM][k] += v;
        want[COUNT][k] += 1;
        if (!seen[(size_t)k * VALUES + (size_t)v]) {
            seen[(size_t)k * VALUES + (size_t)v] = 1;
            want[DISTINCT][k] += 1;
        }
    }
    for (i = 0; i < KEYS; ++i) want[AVG][i] = want[SUM][i] / want[COUNT][i];

    for (f = 0; f < FAMILIES; ++f) {
        int64_t exact = 0, agree = 0, close = 0;
        check(family_names[f], (int64_t)group_by((enum family)f, 1, keys, values, whole), KEYS);
        group_by((enum family)f, PARTS, keys, values, merged);
        for (i = 0; i < KEYS; ++i) {
            exact += whole[i] == want[f][i];
            agree += whole[i] == merged[i];
            /* Four standard errors of 128 registers: 1.04 / sqrt(128) each. */
            close += fabs(whole[i] - want[DISTINCT][i]) <= 4 * 1.04 / sqrt(128.0) * want[DISTINCT][i];
        }
        if (f == APPROX)
            check("  keys within four standard errors", close, KEYS);
        else
            check("  keys equal to the plain loop", exact, KEYS);
        check("  keys equal whole and in parts", agree, KEYS);
    }

    for (f = 0; f < FAMILIES; ++f) free(want[f]);
    free(merged);
    free(whole);
    free(seen);
    free(values);
    free(keys);
}
