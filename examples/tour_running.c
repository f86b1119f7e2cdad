/*
 * Running aggregates: a price series of 1,000,000 ticks in flat stretches,
 * its running totals and running variance (cumulative family), and a
 * downsampling to 1,000 cells (grid family), each checked against a plain
 * loop; then the window family on a short series, with what it gives.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tour.h"
#include "zvq/seq.h"

#define QUOTES 4000u
#define STRETCH 250u /* ticks per quote */
#define TICKS (QUOTES * STRETCH)
#define CELL 1000u
#define CHUNK 455u /* outputs per chunk of 8-byte results */

/* Quotes move in quarter steps; each stands for STRETCH ticks. */
static void make_quotes(double* quotes) {
    uint32_t x = 2024u, i;
    double price = 100.0;
    for (i = 0; i < QUOTES; ++i) {
        x = x * 1664525u + 1013904223u;
        price += 0.25 * (double)((int32_t)(x >> 28) - 8);
        if (price < 1.0) price = 1.0;
        quotes[i] = price;
    }
}

/* The ticks as a run-length sequence: 4,000 runs of 250, never expanded. */
static void ticks(zvq_seq_iterator* src, zvq_seq_iterator* rep, const double* quotes) {
    zvq_seq_unget_double(src, quotes, QUOTES);
    zvq_seq_repeat_double(rep, src, STRETCH);
}

/* Reads n doubles from the root; returns how many came. */
static uint64_t read_all(zvq_seq_iterator* root, double* out, uint64_t n) {
    uint64_t got = 0;
    while (got < n) {
        uint64_t batch = n - got < 4096 ? n - got : 4096;
        if (zvq_seq_get_double(root, out + got, &batch) != SEQ_OK) break;
        got += batch;
    }
    return got;
}

static int64_t differences(const double* a, const double* b, uint64_t n) {
    int64_t bad = 0;
    uint64_t i;
    for (i = 0; i < n; ++i) bad += memcmp(&a[i], &b[i], sizeof(double)) != 0;
    return bad;
}

static void cumulative(const double* quotes, const double* price, double* got, double* want) {
    static zvq_seq_iterator src, rep, total, src2, rep2, var;
    double acc = 0, sq = 0;
    uint64_t i;

    printf("running totals and variance of %u ticks held as %u runs, bit for bit against loops\n", TICKS, QUOTES);
    ticks(&src, &rep, quotes);
    zvq_seq_cum_agg_sum_double(&total, &rep);
    check("running totals delivered", (int64_t)read_all(&total, got, TICKS), TICKS);
    for (i = 0; i < TICKS; ++i) want[i] = acc += price[i];
    check("totals differing from the loop", differences(got, want, TICKS), 0);
    check("the last total, in cents", (int64_t)(got[TICKS - 1] * 100.0), (int64_t)(want[TICKS - 1] * 100.0));

    /* The variance's element count is the one next_pos keeps: every element,
     * and every delivered chunk of 455 once more, so from the second chunk on
     * it runs ahead of the true count. The loop follows the same count. */
    ticks(&src2, &rep2, quotes);
    zvq_seq_cum_agg_var_double(&var, &rep2);
    check("running variances delivered", (int64_t)read_all(&var, got, TICKS), TICKS);
    for (acc = 0, i = 0; i < TICKS; ++i) {
        const double n = (double)(i + CHUNK * (i / CHUNK) + 1);
        acc += price[i];
        sq += price[i] * price[i];
        want[i] = i == 0 ? 0.0 : (sq - acc * acc / n) / n;
    }
    check("variances differing from the loop", differences(got, want, TICKS), 0);
    check("the last variance, in 1/1000", (int64_t)(got[TICKS - 1] * 1000.0), (int64_t)(want[TICKS - 1] * 1000.0));
}

static void downsample(const double* quotes, const double* price, double* got, double* want) {
    static zvq_seq_iterator src[3], rep[3], cells[3];
    const char* names[3] = {"cell averages", "cell minima", "cell maxima"};
    int k;

    printf("downsampling to %u cells of %u ticks: average, minimum, maximum, bit for bit\n", TICKS / CELL, CELL);
    for (k = 0; k < 3; ++k) ticks(&src[k], &rep[k], quotes);
    zvq_seq_grid_agg_avg_double(&cells[0], &rep[0], CELL);
    zvq_seq_grid_agg_min_double(&cells[1], &rep[1], CELL);
    zvq_seq_grid_agg_max_double(&cells[2], &rep[2], CELL);
    for (k = 0; k < 3; ++k) {
        uint64_t c, i;
        char what[64];
        for (c = 0; c < TICKS / CELL; ++c) {
            double a = price[c * CELL];
            for (i = 1; i < CELL; ++i) {
                const double v = price[c * CELL + i];
                if (k == 0) a += v;
                if (k == 1 && v < a) a = v;
                if (k == 2 && v > a) a = v;
            }
            want[c] = k == 0 ? a / CELL : a;
        }
        snprintf(what, sizeof what, "%s delivered", names[k]);
        check(what, (int64_t)read_all(&cells[k], got, TICKS / CELL), TICKS / CELL);
        snprintf(what, sizeof what, "%s differing from the loop", names[k]);
        check(what, differences(got, want, TICKS / CELL), 0);
    }
}

/* Reads five int8 outputs of a window over 1 2 3 4 5. */
static void five_outputs(zvq_seq_status (*make)(zvq_seq_iterator*, zvq_seq_iterator*, uint64_t), int64_t* out) {
    static const int32_t five[5] = {1, 2, 3, 4, 5};
    zvq_seq_iterator src, win;
    int i;
    memset(&src, 0, sizeof src);
    memset(&win, 0, sizeof win);
    zvq_seq_unget_int4(&src, five, 5);
    make(&win, &src, 3);
    for (i = 0; i < 5; ++i) {
        int32_t narrow = 0;
        if (win.elem_size == 8)
            zvq_seq_next_int8(&win, &out[i]);
        else if (zvq_seq_next_int4(&win, &narrow) == SEQ_OK)
            out[i] = narrow;
    }
}

static void window(void) {
    static int32_t counting[460];
    static zvq_seq_iterator src, sum;
    int64_t out[460];
    int i, off = 0;

    printf("window aggregates, size 3: one ring slot per output chunk, not a rolling window\n");
    five_outputs(zvq_seq_window_agg_sum_int4, out);
    printf(
        "  sum over 1 2 3 4 5 gives %d %d %d %d %d: each element replaces the one before it\n"
        "  in slot 0, the other two slots still hold their zeros (a rolling sum: 1 3 6 9 12)\n",
        (int)out[0], (int)out[1], (int)out[2], (int)out[3], (int)out[4]);
    for (i = 0; i < 5; ++i) off += out[i] != i + 1;
    check("sums that are not the element itself", off, 0);
    five_outputs(zvq_seq_window_agg_min_int4, out);
    printf("  min gives %d %d %d %d %d: the zeros still in the ring are the minimum\n", (int)out[0], (int)out[1],
           (int)out[2], (int)out[3], (int)out[4]);
    for (off = 0, i = 0; i < 5; ++i) off += out[i] != 0;
    check("minima that are not 0", off, 0);

    for (i = 0; i < 460; ++i) counting[i] = i + 1;
    zvq_seq_unget_int4(&src, counting, 460);
    zvq_seq_window_agg_sum_int4(&sum, &src, 3);
    for (i = 0; i < 460; ++i) zvq_seq_next_int8(&sum, &out[i]);
    printf(
        "  over 1..460 the second chunk starts at position 455 and uses slot 455 mod 3 = 2,\n"
        "  while slot 0 keeps 455, the last element the first chunk placed there\n");
    check("sum at element 455", out[454], 455);
    check("sum at element 456: 455 + 456", out[455], 911);
    check("sum at element 460: 455 + 460", out[459], 915);
}

void tour_running(void) {
    double* quotes = malloc(sizeof(double) * QUOTES);
    double* price = malloc(sizeof(double) * TICKS);
    double* got = malloc(sizeof(double) * TICKS);
    double* want = malloc(sizeof(double) * TICKS);
    uint32_t i;
    if (quotes && price && got && want) {
        make_quotes(quotes);
        for (i = 0; i < TICKS; ++i) price[i] = quotes[i / STRETCH];
        cumulative(quotes, price, got, want);
        downsample(quotes, price, got, want);
        window();
    } else {
        printf("running aggregates: out of memory\n");
        ++failures;
    }
    free(quotes);
    free(price);
    free(got);
    free(want);
}
