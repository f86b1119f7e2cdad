/*
 * The tour of zvqseq: build small trees over a generated column, pull them
 * from the root, and check every result against a plain loop.
 *
 * Records are caller-owned: here they live in static storage, zero-filled.
 * This file holds the core of the tour; each later part is a file of its own
 * (tour_*.c) with one entry point declared in tour.h.
 */
#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tour.h"
#include "zvq/seq.h"

#define COLUMN_SIZE 4000000u

int failures = 0;

void check(const char* what, int64_t got, int64_t want) {
    printf("  %-44s %16" PRId64 "  %s\n", what, got, got == want ? "ok" : "MISMATCH");
    if (got != want) {
        printf("    expected %" PRId64 "\n", want);
        ++failures;
    }
}

/* A column with long constant stretches: prices that change now and then. */
static int32_t* make_column(void) {
    int32_t* col = malloc(sizeof(int32_t) * COLUMN_SIZE);
    uint32_t x = 12345u, value = 100u;
    uint32_t i = 0;
    if (!col) return NULL;
    while (i < COLUMN_SIZE) {
        uint32_t stretch;
        x = x * 1664525u + 1013904223u;
        stretch = 1u + (x >> 8) % 3000u;
        value = 50u + (x >> 20) % 200u;
        while (stretch-- && i < COLUMN_SIZE) col[i++] = (int32_t)value;
    }
    return col;
}

/* Pulls a whole int4 sequence in batches through zvq_seq_get_int4. */
static int64_t sum_by_get(zvq_seq_iterator* root, uint64_t* elements) {
    int32_t batch[1000];
    int64_t sum = 0;
    *elements = 0;
    for (;;) {
        uint64_t n = 1000, i;
        zvq_seq_status s = zvq_seq_get_int4(root, batch, &n);
        if (s == SEQ_END) break;
        if (s != SEQ_OK) {
            printf("  pull failed with status %u\n", s);
            ++failures;
            break;
        }
        for (i = 0; i < n; ++i) sum += batch[i];
        *elements += n;
    }
    return sum;
}

/* Walks a sequence chunk by chunk, run by run, as an operator would. */
static int64_t sum_by_runs(zvq_seq_iterator* root, uint64_t* elements, uint64_t* runs) {
    int64_t sum = 0;
    *elements = *runs = 0;
    while (root->next(root) == SEQ_OK) {
        uint32_t i;
        for (i = 0; i < root->chunk_count; ++i) {
            int32_t v;
            uint8_t repeat = root->chunk[4095 - i];
            const uint8_t* p = root->chunk + i * 4;
            v = (int32_t)((uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24);
            sum += (int64_t)v * repeat;
            *elements += repeat;
        }
        *runs += root->chunk_count;
    }
    return sum;
}

static zvq_seq_iterator src, lim, thin, left, right, c1, c2, l1, l2, cat;
static zvq_seq_iterator whole, avg_whole, ranged, ranged_src, avg_ranged, parts[4], part_avg[4];
static zvq_seq_iterator price_a, price_b, qty, qty_d, threshold, revenue, expensive, expensive_d, picked;

/* Walks a double sequence chunk by chunk and sums value x repeat. */
static double sum_double_runs(zvq_seq_iterator* root, uint64_t* elements) {
    double sum = 0;
    *elements = 0;
    while (root->next(root) == SEQ_OK) {
        uint32_t i;
        for (i = 0; i < root->chunk_count; ++i) {
            double v;
            memcpy(&v, root->chunk + i * 8, 8);
            sum += v * root->chunk[4095 - i];
            *elements += root->chunk[4095 - i];
        }
    }
    return sum;
}

int main(void) {
    int32_t* col = make_column();
    uint64_t elements, runs, i;
    int64_t want, got;
    if (!col) return 1;

    printf("zvqseq tour over a column of %u int4 values\n\n", COLUMN_SIZE);

    printf("limit: positions 1000 to 3999999 of an in-memory column\n");
    zvq_seq_unget_int4(&src, col, COLUMN_SIZE);
    zvq_seq_limit(&lim, &src, 1000, COLUMN_SIZE - 1);
    got = sum_by_get(&lim, &elements);
    for (want = 0, i = 1000; i < COLUMN_SIZE; ++i) want += col[i];
    check("elements", (int64_t)elements, COLUMN_SIZE - 1000);
    check("sum", got, want);

    printf("thin: every 7th element from position 3\n");
    zvq_seq_unget_int4(&src, col, COLUMN_SIZE);
    zvq_seq_thin_int4(&thin, &src, 3, 7);
    got = sum_by_get(&thin, &elements);
    for (want = 0, i = 3; i < COLUMN_SIZE; i += 7) want += col[i];
    check("elements", (int64_t)elements, (COLUMN_SIZE - 3 + 6) / 7);
    check("sum", got, want);

    printf("tee: one column, two readers pulling in turn\n");
    zvq_seq_unget_int4(&src, col, COLUMN_SIZE);
    zvq_seq_tee(&left, &right, &src);
    {
        int32_t a[819], b[819];
        int64_t sa = 0, sb = 0;
        for (;;) {
            uint64_t na = 819, nb = 819, k;
            zvq_seq_status s = zvq_seq_get_int4(&left, a, &na);
            if (s != SEQ_OK || zvq_seq_get_int4(&right, b, &nb) != SEQ_OK) break;
            for (k = 0; k < na; ++k) sa += a[k];
            for (k = 0; k < nb; ++k) sb -= b[k];
        }
        for (want = 0, i = 0; i < COLUMN_SIZE; ++i) want += col[i];
        check("sum through the left reader", sa, want);
        check("negated sum through the right reader", sb, -want);
    }

    printf("concat of two constant stretches: runs, not elements\n");
    zvq_seq_const_int4(&c1, 5);
    zvq_seq_const_int4(&c2, 7);
    zvq_seq_limit(&l1, &c1, 0, 2500000 - 1);
    zvq_seq_limit(&l2, &c2, 0, 1500000 - 1);
    zvq_seq_concat(&cat, &l1, &l2);
    got = sum_by_runs(&cat, &elements, &runs);
    check("elements", (int64_t)elements, 4000000);
    check("runs handled", (int64_t)runs, (2500000 + 254) / 255 + (1500000 + 254) / 255);
    check("sum", got, 5 * 2500000 + 7 * 1500000);

    printf("expression: revenue of the items priced above 120\n");
    printf("  price (double) > 120 as a 0/1 flag, quantity (int4) converted to double\n");
    {
        double* price = malloc(sizeof(double) * COLUMN_SIZE);
        double want_d = 0, got_d;
        if (!price) return 1;
        for (i = 0; i < COLUMN_SIZE; ++i) price[i] = col[i] * 0.75 + (double)(i % 7) * 0.01;
        /* Two cursors over one array: each operand needs a reader of its own. */
        zvq_seq_unget_double(&price_a, price, COLUMN_SIZE);
        zvq_seq_unget_double(&price_b, price, COLUMN_SIZE);
        zvq_seq_unget_int4(&qty, col, COLUMN_SIZE);
        zvq_seq_int4_to_double(&qty_d, &qty);
        zvq_seq_mul_double(&revenue, &price_a, &qty_d);
        zvq_seq_const_double(&threshold, 120.0);
        zvq_seq_gt_double(&expensive, &price_b, &threshold);
        zvq_seq_uint1_to_double(&expensive_d, &expensive);
        zvq_seq_mul_double(&picked, &revenue, &expensive_d);
        got_d = sum_double_runs(&picked, &elements);
        for (i = 0; i < COLUMN_SIZE; ++i) want_d += price[i] * (double)col[i] * (double)(price[i] > 120.0);
        check("elements", (int64_t)elements, COLUMN_SIZE);
        check("revenue in cents", (int64_t)(got_d * 100.0 + 0.5), (int64_t)(want_d * 100.0 + 0.5));
        check("same double as the loop, bit for bit", got_d == want_d, 1);

        printf("the road of one request: average prices\n");
        {
            double avg = 0, want_avg = 0;
            zvq_seq_unget_double(&whole, price, COLUMN_SIZE);
            zvq_seq_agg_avg_double(&avg_whole, &whole);
            zvq_seq_next_double(&avg_whole, &avg);
            for (i = 0; i < COLUMN_SIZE; ++i) want_avg += price[i];
            want_avg /= COLUMN_SIZE;
            check("average of the column, in 1/1000", (int64_t)(avg * 1000.0), (int64_t)(want_avg * 1000.0));
            check("same double as the loop, bit for bit", avg == want_avg, 1);
            check("a second pull ends the sequence", zvq_seq_next_double(&avg_whole, &avg), SEQ_END);

            zvq_seq_unget_double(&ranged_src, price, COLUMN_SIZE);
            zvq_seq_limit(&ranged, &ranged_src, 1000000, 1999999);
            zvq_seq_agg_avg_double(&avg_ranged, &ranged);
            zvq_seq_next_double(&avg_ranged, &avg);
            for (want_avg = 0, i = 1000000; i <= 1999999; ++i) want_avg += price[i];
            want_avg /= 1000000;
            check("average of positions 1000000..1999999, in 1/1000", (int64_t)(avg * 1000.0),
                  (int64_t)(want_avg * 1000.0));
        }
        free(price);
    }

    printf("computing in parts: four trees prepared, merged, read\n");
    {
        const uint64_t quarter = COLUMN_SIZE / 4;
        double avg = 0, want_avg = 0;
        int k;
        for (k = 0; k < 4; ++k) {
            zvq_seq_unget_int4(&parts[k], col + k * quarter, quarter);
            zvq_seq_agg_avg_int4(&part_avg[k], &parts[k]);
            if (part_avg[k].prepare(&part_avg[k]) != SEQ_OK) ++failures;
        }
        for (k = 1; k < 4; ++k) part_avg[0].merge(&part_avg[0], &part_avg[k]);
        zvq_seq_next_double(&part_avg[0], &avg);
        for (i = 0; i < COLUMN_SIZE; ++i) want_avg += col[i];
        want_avg /= COLUMN_SIZE;
        check("merged average, in 1/1000000", (int64_t)(avg * 1e6), (int64_t)(want_avg * 1e6));
        check("exactly the average of the whole", avg == want_avg, 1);
    }

    tour_align();
    tour_group();
    tour_running();
    tour_select();
    tour_text();
    tour_hash();
    tour_arrow();
    tour_trust();
    free(col);

    printf("\n%s\n", failures ? "FAILED" : "all results match the plain loops");
    return failures ? 1 : 0;
}
