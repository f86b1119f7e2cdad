/*
 * The tour, group aggregates and paired statistics: per-symbol statistics of
 * a trade table sorted by symbol, and the correlation of two series computed
 * whole and in four merged parts. Every result is checked against a plain
 * loop that follows the same rule.
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tour.h"
#include "zvq/seq.h"

#define TRADES 1000000u
#define SYMBOL_WIDTH 8u
#define MAX_SYMBOLS 1000u

static zvq_seq_iterator keys[6], prices[4], volumes[4], product, agg;

/* Trades sorted by symbol: each symbol trades a few hundred to a few
 * thousand times at prices that wander, in volumes of 1 to 500. */
static uint32_t make_trades(char* symbol, double* price, double* volume) {
    uint32_t x = 2024u, i = 0, s = 0;
    while (i < TRADES && s < MAX_SYMBOLS) {
        double p = 20.0 + (double)(s % 97);
        uint32_t n;
        x = x * 1664525u + 1013904223u;
        n = 200u + (x >> 8) % 3000u;
        while (n-- && i < TRADES) {
            x = x * 1664525u + 1013904223u;
            memset(symbol + (size_t)i * SYMBOL_WIDTH, 0, SYMBOL_WIDTH);
            sprintf(symbol + (size_t)i * SYMBOL_WIDTH, "S%04u", s);
            p += ((double)((x >> 16) % 201u) - 100.0) / 1000.0;
            price[i] = p;
            volume[i] = (double)(1u + (x >> 4) % 500u);
            ++i;
        }
        ++s;
    }
    return i;
}

/* One result per group, as doubles; returns the count. */
static uint64_t read_groups(zvq_seq_iterator* r, double* out) {
    uint64_t n = MAX_SYMBOLS;
    if (zvq_seq_get_double(r, out, &n) != SEQ_OK) return 0;
    return n;
}

static int same_symbol(const char* symbol, uint32_t a, uint32_t b) {
    return memcmp(symbol + (size_t)a * SYMBOL_WIDTH, symbol + (size_t)b * SYMBOL_WIDTH, SYMBOL_WIDTH) == 0;
}

/* Per-symbol statistics: count, total volume, average and deviation of the
 * price, the group_agg_wavg rule, and a volume-weighted price from two sums. */
static void symbol_statistics(void) {
    char* symbol = malloc((size_t)TRADES * SYMBOL_WIDTH);
    double* price = malloc(sizeof(double) * TRADES);
    double* volume = malloc(sizeof(double) * TRADES);
    double got[6][MAX_SYMBOLS];
    double want[6][MAX_SYMBOLS];
    uint64_t counts[MAX_SYMBOLS], groups = 0, g, k;
    uint32_t rows, i, mismatches[6] = {0};
    if (!symbol || !price || !volume) return;
    rows = make_trades(symbol, price, volume);

    /* Each tree reads the keys through a source of its own. */
    for (k = 0; k < 6; ++k) zvq_seq_unget_char(&keys[k], symbol, rows, SYMBOL_WIDTH);
    for (k = 0; k < 4; ++k) {
        zvq_seq_unget_double(&prices[k], price, rows);
        zvq_seq_unget_double(&volumes[k], volume, rows);
    }
    zvq_seq_group_agg_count(&agg, &keys[0]);
    {
        uint64_t n = MAX_SYMBOLS;
        zvq_seq_get_uint8(&agg, counts, &n);
        groups = n;
    }
    zvq_seq_group_agg_sum_double(&agg, &volumes[0], &keys[1]);
    read_groups(&agg, got[0]);
    zvq_seq_group_agg_avg_double(&agg, &prices[0], &keys[2]);
    read_groups(&agg, got[1]);
    zvq_seq_group_agg_dev_double(&agg, &prices[1], &keys[3]);
    read_groups(&agg, got[2]);
    zvq_seq_group_agg_wavg_double(&agg, &volumes[1], &prices[2], &keys[4]);
    read_groups(&agg, got[3]);
    /* The weighted price of each symbol: sum of price x volume over the sum
     * of volume. */
    zvq_seq_mul_double(&product, &prices[3], &volumes[2]);
    zvq_seq_group_agg_sum_double(&agg, &product, &keys[5]);
    read_groups(&agg, got[4]);

    /* The plain loop: one pass, a group ending where the symbol changes. */
    for (g = 0, i = 0; i < rows; ++g) {
        double vol = 0, sum = 0, squares = 0, weighted = 0, last_weight = 0, pv = 0;
        uint64_t c = 0;
        uint32_t start = i;
        for (; i < rows && same_symbol(symbol, start, i); ++i, ++c) {
            vol += volume[i];
            sum += price[i];
            squares += price[i] * price[i] * 1.0;
            /* each row is a fold of its own: the divisor is the last weight */
            weighted += price[i] * volume[i] * 1.0;
            last_weight = volume[i];
            pv += price[i] * volume[i];
        }
        if (g >= MAX_SYMBOLS) break;
        if (counts[g] != c) ++mismatches[5];
        want[0][g] = vol;
        want[1][g] = sum / (double)c;
        want[2][g] = sqrt((squares - sum * sum / (double)c) / (double)c);
        want[3][g] = weighted / last_weight;
        want[4][g] = pv;
    }
    check("symbols (groups of equal keys)", (int64_t)groups, (int64_t)g);
    for (g = 0; g < groups; ++g)
        for (k = 0; k < 5; ++k) mismatches[k] += got[k][g] != want[k][g];
    check("count per symbol, symbols that differ", mismatches[5], 0);
    check("sum of volume, symbols not bit for bit", mismatches[0], 0);
    check("average price, symbols not bit for bit", mismatches[1], 0);
    check("price deviation, symbols not bit for bit", mismatches[2], 0);
    check("group_agg_wavg, symbols not bit for bit", mismatches[3], 0);
    check("sum of price x volume, not bit for bit", mismatches[4], 0);
    printf("  symbol %-6s %8s %14s %10s %10s %10s %10s\n", "", "trades", "volume", "avg", "dev", "vwap", "wavg");
    for (g = 0; g < groups; g += groups / 4) {
        uint32_t row = 0;
        for (k = 0; k < g; ++k) row += (uint32_t)counts[k];
        printf("  %-13s %8llu %14.0f %10.4f %10.4f %10.4f %10.4f\n", symbol + (size_t)row * SYMBOL_WIDTH,
               (unsigned long long)counts[g], got[0][g], got[1][g], got[2][g], got[4][g] / got[0][g], got[3][g]);
    }
    printf("  (wavg divides the group's sum of price x volume by the weight of its last\n"
           "   fold, one row here; the volume-weighted price is the quotient of two sums)\n");
    free(symbol);
    free(price);
    free(volume);
}

#define SERIES 1000000u

static zvq_seq_iterator xs[5], ys[5], corr[5];

struct sums {
    double x, y, xx, xy, yy;
};

static void add_sums(struct sums* s, const double* x, const double* y, uint32_t from, uint32_t to) {
    uint32_t i;
    for (i = from; i < to; ++i) {
        s->x += x[i];
        s->y += y[i];
        s->xy += y[i] * x[i] * 1.0;
        s->xx += x[i] * x[i] * 1.0;
        s->yy += y[i] * y[i] * 1.0;
    }
}

static double corr_of(const struct sums* s, double n) {
    return (s->xy - (s->y * s->x) / n) / sqrt((s->yy - (s->y * s->y) / n) * (s->xx - (s->x * s->x) / n));
}

/* The correlation of two random walks, whole and in four parts. */
static void correlation(void) {
    double* x = malloc(sizeof(double) * SERIES);
    double* y = malloc(sizeof(double) * SERIES);
    double whole = 0, merged = 0;
    struct sums all = {0, 0, 0, 0, 0}, parts = {0, 0, 0, 0, 0};
    uint32_t i, x0 = 7u;
    int k;
    if (!x || !y) return;
    for (i = 0; i < SERIES; ++i) {
        double step;
        x0 = x0 * 1664525u + 1013904223u;
        step = ((double)(x0 >> 20) - 2048.0) / 1024.0;
        x[i] = (i ? x[i - 1] : 100.0) + step;
        y[i] = (i ? y[i - 1] : 50.0) + 0.6 * step + ((double)((x0 >> 4) % 1001u) - 500.0) / 1000.0;
    }

    zvq_seq_unget_double(&xs[4], x, SERIES);
    zvq_seq_unget_double(&ys[4], y, SERIES);
    zvq_seq_corr_double(&corr[4], &xs[4], &ys[4]);
    zvq_seq_next_double(&corr[4], &whole);
    add_sums(&all, x, y, 0, SERIES);
    check("corr, whole, in 1e-9", (int64_t)(whole * 1e9), (int64_t)(corr_of(&all, SERIES) * 1e9));
    check("corr, whole, bit for bit", whole == corr_of(&all, SERIES), 1);

    /* Four trees prepared, the other three merged into the first. */
    for (k = 0; k < 4; ++k) {
        const uint32_t from = k * (SERIES / 4);
        struct sums part = {0, 0, 0, 0, 0};
        zvq_seq_unget_double(&xs[k], x + from, SERIES / 4);
        zvq_seq_unget_double(&ys[k], y + from, SERIES / 4);
        zvq_seq_corr_double(&corr[k], &xs[k], &ys[k]);
        if (corr[k].prepare(&corr[k]) != SEQ_OK) ++failures;
        add_sums(&part, x, y, from, from + SERIES / 4);
        /* The merge adds a source's sum of y to both sums of the first part. */
        parts.x += k == 0 ? part.x : part.y;
        parts.y += part.y;
        parts.xx += part.xx;
        parts.xy += part.xy;
        parts.yy += part.yy;
    }
    for (k = 1; k < 4; ++k) corr[0].merge(&corr[0], &corr[k]);
    zvq_seq_next_double(&corr[0], &merged);
    check("corr, four parts merged, bit for bit", merged == corr_of(&parts, SERIES), 1);
    printf("  whole %.9f, merged %.9f: parts merge to the whole where each\n"
           "  source part's sums of x and y agree\n", whole, merged);
    free(x);
    free(y);
}

void tour_group(void) {
    printf("group aggregates: a trade table sorted by symbol\n");
    symbol_statistics();
    printf("paired statistics: correlation of two series\n");
    correlation();
}
