/*
 * The tour, part "alignment": trades and quotes as two time series put on
 * each other's timestamps, zero crossings of a detrended series, turning
 * points, and two sorted key streams merged. Each result is checked against
 * a plain loop.
 *
 * stretch and asof_join read only the first timestamp of ts1 and never end:
 * each walks the quotes up to that trade and then repeats its answer. A
 * caller bounds them; here zvq_seq_limit picks the element at position
 * QUOTES, by which every walk has settled.
 */
#include <stdio.h>
#include <stdlib.h>

#include "tour.h"
#include "zvq/seq.h"

#define QUOTES 4000u
#define TRADES 1500u
#define SERIES 200000u
#define LEVELS 4000u
#define LEVEL_RUN 200

static uint32_t lcg(uint32_t* x) {
    *x = *x * 1664525u + 1013904223u;
    return *x >> 8;
}

/* Quote times rise strictly from 09:30:00.000 in milliseconds; trades fall
 * between them, now and then on a quote's own time, and the last trade comes
 * after the last quote, so that the merged time line ends with the trades. */
static void make_series(zvq_seq_datetime* quote_ts, double* quote_px, zvq_seq_datetime* trade_ts) {
    uint32_t x = 777u, i, q = 0;
    zvq_seq_datetime t = 34200000u;
    double px = 100.0;
    for (i = 0; i < QUOTES; ++i) {
        t += 1u + lcg(&x) % 40u;
        px += ((int)(lcg(&x) % 21u) - 10) * 0.01;
        quote_ts[i] = t;
        quote_px[i] = px;
    }
    t = quote_ts[0];
    for (i = 0; i < TRADES; ++i) {
        t += 1u + lcg(&x) % 100u;
        while (q < QUOTES && quote_ts[q] < t) ++q;
        if (q < QUOTES && lcg(&x) % 4u == 0) t = quote_ts[q];
        trade_ts[i] = t;
    }
    if (trade_ts[TRADES - 1] <= quote_ts[QUOTES - 1]) trade_ts[TRADES - 1] = quote_ts[QUOTES - 1] + 500u;
}

/* The first quote key above t; the filler when there is none. */
static double next_quote(const zvq_seq_datetime* qt, const double* qp, zvq_seq_datetime t, double filler) {
    uint32_t i;
    for (i = 0; i < QUOTES; ++i)
        if (qt[i] > t) return qp[i];
    return filler;
}

/* The quote whose key is nearest t (t at or after the first key); a tie
 * goes to the earlier quote. */
static double nearest_quote(const zvq_seq_datetime* qt, const double* qp, zvq_seq_datetime t) {
    uint32_t i = 0;
    while (i + 1 < QUOTES && qt[i + 1] <= t) ++i;
    if (i + 1 == QUOTES) return qp[i];
    return t - qt[i] > qt[i + 1] - t ? qp[i + 1] : qp[i];
}

/* One element of a never-ending alignment over trade t: the element at
 * position QUOTES, read through limit. */
static double settled(int nearest, const zvq_seq_datetime* qt, const double* qp, const zvq_seq_datetime* t) {
    static zvq_seq_iterator ts1, ts2, values, align, bounded;
    double out = 0.0, past;
    zvq_seq_unget_datetime(&ts1, t, 1);
    zvq_seq_unget_datetime(&ts2, qt, QUOTES);
    zvq_seq_unget_double(&values, qp, QUOTES);
    if (nearest)
        zvq_seq_asof_join_datetime_double(&align, &ts1, &ts2, &values);
    else
        zvq_seq_stretch_datetime_double(&align, &ts1, &ts2, &values, -1.0);
    zvq_seq_limit(&bounded, &align, QUOTES, QUOTES);
    if (zvq_seq_next_double(&bounded, &out) != SEQ_OK) ++failures;
    if (zvq_seq_next_double(&bounded, &past) != SEQ_END) ++failures; /* limit ends it */
    return out;
}

/* The merged time line by hand: one element per key of either line, the
 * quote's price where a quote has the key, else the filler -1. */
static uint64_t merge_by_hand(const zvq_seq_datetime* tt, const zvq_seq_datetime* qt, const double* qp, double* out) {
    uint64_t i = 0, j = 0, n = 0;
    while (i < TRADES || j < QUOTES) {
        if (j == QUOTES || (i < TRADES && tt[i] < qt[j])) {
            out[n++] = -1.0;
            ++i;
            continue;
        }
        if (i < TRADES && tt[i] == qt[j]) ++i;
        out[n++] = qp[j++];
    }
    return n;
}

static void trades_and_quotes(void) {
    static zvq_seq_iterator trades, quotes, prices, merged;
    zvq_seq_datetime* qt = malloc(sizeof *qt * QUOTES);
    zvq_seq_datetime* tt = malloc(sizeof *tt * TRADES);
    double* qp = malloc(sizeof *qp * QUOTES);
    double* want = malloc(sizeof *want * (QUOTES + TRADES));
    double batch[500];
    uint64_t n, got = 0, expected, wrong = 0, b;
    uint32_t k, next_wrong = 0, nearest_wrong = 0;
    if (!qt || !tt || !qp || !want) {
        ++failures;
        return;
    }
    make_series(qt, qp, tt);

    printf("trades and quotes on one time line (stretch0: filler -1 at trade times)\n");
    zvq_seq_unget_datetime(&trades, tt, TRADES);
    zvq_seq_unget_datetime(&quotes, qt, QUOTES);
    zvq_seq_unget_double(&prices, qp, QUOTES);
    zvq_seq_stretch0_datetime_double(&merged, &trades, &quotes, &prices, -1.0);
    expected = merge_by_hand(tt, qt, qp, want);
    for (;;) {
        n = 500;
        if (zvq_seq_get_double(&merged, batch, &n) != SEQ_OK) break;
        for (b = 0; b < n; ++b, ++got) wrong += got >= expected || batch[b] != want[got];
    }
    check("merged time line: elements", (int64_t)got, (int64_t)expected);
    check("merged time line: elements unlike the loop", (int64_t)wrong, 0);

    printf("each trade's next quote (stretch) and nearest quote (asof_join), bounded by limit\n");
    for (k = 0; k < TRADES; ++k) {
        next_wrong += settled(0, qt, qp, &tt[k]) != next_quote(qt, qp, tt[k], -1.0);
        nearest_wrong += settled(1, qt, qp, &tt[k]) != nearest_quote(qt, qp, tt[k]);
    }
    check("trades: next quote unlike the loop", next_wrong, 0);
    check("trades: nearest quote unlike the loop", nearest_wrong, 0);
    free(qt);
    free(tt);
    free(qp);
    free(want);
}

/* Positions of sign changes with the flat stretches between them counted
 * from the stretch's start; a return to the same sign keeps its count. */
static uint64_t crossings_by_hand(const double* d, uint64_t n, uint64_t* out, uint64_t max) {
    uint64_t i, count = 0;
    int last = 0, zeros = 0;
    for (i = 0; i < n; ++i) {
        const int s = d[i] > 0 ? 1 : d[i] < 0 ? -1 : 0;
        if (s == last) continue;
        if (s == 0) {
            ++zeros;
            continue;
        }
        if (last != 0 && count < max) out[count++] = i - (uint64_t)zeros;
        zeros = 0;
        last = s;
    }
    return count;
}

static void detrended_crossings(void) {
    static zvq_seq_iterator series, trend, detrended, crossings;
    double* px = malloc(sizeof *px * SERIES);
    double* line = malloc(sizeof *line * SERIES);
    double* d = malloc(sizeof *d * SERIES);
    uint64_t* want = malloc(sizeof *want * SERIES);
    uint64_t got[455], n, total = 0, expected, wrong = 0, i;
    double sx = 0, sy = 0, sxx = 0, sxy = 0, slope, icept, walk = 0;
    uint32_t x = 4242u;
    if (!px || !line || !d || !want) {
        ++failures;
        return;
    }
    printf("zero crossings of a detrended series (sub_double, then cross_double)\n");
    for (i = 0; i < SERIES; ++i) {
        walk += ((int)(lcg(&x) % 201u) - 100) * 0.001;
        px[i] = 50.0 + 0.0004 * (double)i + walk;
        sx += (double)i, sy += px[i], sxx += (double)i * (double)i, sxy += (double)i * px[i];
    }
    slope = (SERIES * sxy - sx * sy) / (SERIES * sxx - sx * sx);
    icept = (sy - slope * sx) / SERIES;
    for (i = 0; i < SERIES; ++i) {
        line[i] = icept + slope * (double)i;
        d[i] = px[i] - line[i];
    }
    zvq_seq_unget_double(&series, px, SERIES);
    zvq_seq_unget_double(&trend, line, SERIES);
    zvq_seq_sub_double(&detrended, &series, &trend);
    zvq_seq_cross_double(&crossings, &detrended, 0);
    expected = crossings_by_hand(d, SERIES, want, SERIES);
    for (;;) {
        n = 455;
        if (zvq_seq_get_uint8(&crossings, got, &n) != SEQ_OK) break;
        for (i = 0; i < n; ++i, ++total) wrong += total >= expected || got[i] != want[total];
    }
    check("crossings", (int64_t)total, (int64_t)expected);
    check("crossings unlike the loop", (int64_t)wrong, 0);
    free(px);
    free(line);
    free(d);
    free(want);
}

static void turning_points(void) {
    static zvq_seq_iterator levels, stretched, maxima;
    int32_t* level = malloc(sizeof *level * LEVELS);
    uint64_t got[455], n, total = 0, wrong = 0, i, expected = 0;
    uint64_t* want = malloc(sizeof *want * LEVELS);
    uint32_t x = 99u;
    int trend = 0;
    if (!level || !want) {
        ++failures;
        return;
    }
    printf("local maxima of a series of constant stretches (repeat, then extrema_int4)\n");
    for (i = 0; i < LEVELS; ++i) level[i] = (int32_t)(lcg(&x) % 7u);
    /* Every level held LEVEL_RUN times: the operator takes a stretch per step,
     * the loop looks at each element. A maximum is reported at its last one. */
    for (i = 1; i < (uint64_t)LEVELS * LEVEL_RUN; ++i) {
        const int32_t prev = level[(i - 1) / LEVEL_RUN], cur = level[i / LEVEL_RUN];
        const int c = prev > cur ? -1 : cur > prev ? 1 : 0;
        if (c != 0 && trend != 0 && c != trend && trend == 1) want[expected++] = i - 1;
        if (c != 0) trend = c;
    }
    zvq_seq_unget_int4(&levels, level, LEVELS);
    zvq_seq_repeat_int4(&stretched, &levels, LEVEL_RUN);
    zvq_seq_extrema_int4(&maxima, &stretched, 1);
    for (;;) {
        n = 455;
        if (zvq_seq_get_uint8(&maxima, got, &n) != SEQ_OK) break;
        for (i = 0; i < n; ++i, ++total) wrong += total >= expected || got[i] != want[total];
    }
    check("maxima", (int64_t)total, (int64_t)expected);
    check("maxima unlike the loop", (int64_t)wrong, 0);
    free(level);
    free(want);
}

static void merged_keys(void) {
    static zvq_seq_iterator left, right, merged;
    static uint64_t a[3000], b[2000], want[5000];
    uint64_t batch[455], n, total = 0, expected = 0, wrong = 0, i = 0, j = 0, k;
    uint64_t va = 0, vb = 0;
    uint32_t x = 5u;
    printf("two sorted key streams merged (union_uint8, one equal pair collapsing)\n");
    for (i = 0; i < 3000; ++i) a[i] = va += 1u + lcg(&x) % 5u;
    for (i = 0; i < 2000; ++i) b[i] = vb += 1u + lcg(&x) % 8u;
    for (i = j = 0; i < 3000 || j < 2000;) {
        if (j == 2000 || (i < 3000 && a[i] < b[j])) {
            want[expected++] = a[i++];
            continue;
        }
        if (i < 3000 && a[i] == b[j]) ++i;
        want[expected++] = b[j++];
    }
    zvq_seq_unget_uint8(&left, a, 3000);
    zvq_seq_unget_uint8(&right, b, 2000);
    zvq_seq_union_uint8(&merged, &left, &right, SEQ_ORDER_ASC);
    for (;;) {
        n = 455;
        if (zvq_seq_get_uint8(&merged, batch, &n) != SEQ_OK) break;
        for (k = 0; k < n; ++k, ++total) wrong += total >= expected || batch[k] != want[total];
    }
    check("merged keys", (int64_t)total, (int64_t)expected);
    check("merged keys unlike the loop", (int64_t)wrong, 0);
}

void tour_align(void) {
    trades_and_quotes();
    detrended_crossings();
    turning_points();
    merged_keys();
}
