/*
 * The tour, selection and ordering: the road of one request (the average of
 * the values above 100), a top 10 mapped back to a second column, and a
 * histogram drawn as text bars.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tour.h"
#include "zvq/seq.h"

#define PRICES 1000000u
#define TOP 10u
#define BARS 10

static zvq_seq_iterator reader1, reader2, limit, flags, picked, avg;
static zvq_seq_iterator whole, branch1, branch2, squares, sum;
static zvq_seq_iterator by_price, top_pos, top_values, sorted_pos, qty_reader, qty_at;
static zvq_seq_iterator hist_reader, hist;

/* Prices from 0 to 199.998, the sum of two uniform draws (so most sit near
 * 100, about half above it), and quantities, from one generator. */
static void make_columns(double* price, int32_t* qty) {
    uint32_t x = 2024u, i;
    for (i = 0; i < PRICES; ++i) {
        uint32_t a, b;
        x = x * 1664525u + 1013904223u;
        a = (x >> 8) % 100000u;
        x = x * 1664525u + 1013904223u;
        b = (x >> 8) % 100000u;
        price[i] = (double)(a + b) / 1000.0;
        qty[i] = (int32_t)(1u + (x >> 20) % 50u);
    }
}

static void road_of_one_request(const double* price) {
    double got = 0, want = 0;
    uint64_t n = 0, i;
    printf("the road of one request: average of the prices above 100\n");
    /*
     * gt_double fills 2048 flag runs from 455-run chunks of its operand, so
     * it pulls several chunks of a reader per call while filter pulls the
     * values one chunk at a time. A tee keeps no queue: its slower branch
     * would skip the chunks its faster twin pulled. So gt and filter get two
     * readers of the same stored column, as a host hands them out.
     */
    zvq_seq_unget_double(&reader1, price, PRICES);
    zvq_seq_unget_double(&reader2, price, PRICES);
    zvq_seq_const_double(&limit, 100.0);
    zvq_seq_gt_double(&flags, &reader1, &limit);
    zvq_seq_filter_double(&picked, &flags, &reader2);
    zvq_seq_agg_avg_double(&avg, &picked);
    check("status", zvq_seq_next_double(&avg, &got), SEQ_OK);
    for (i = 0; i < PRICES; ++i)
        if (price[i] > 100) {
            want += price[i];
            ++n;
        }
    want /= (double)n;
    check("average above 100, in cents", (int64_t)(got * 100.0 + 0.5), (int64_t)(want * 100.0 + 0.5));
    check("same double as the loop, bit for bit", got == want, 1);
    check("a second pull ends it", zvq_seq_next_double(&avg, &got), SEQ_END);

    /*
     * A tee is right where its two branches are read in step: a binary
     * operator pulls one chunk of each in turn, and both chunks hold the
     * same runs. Here: the sum of squares of the column.
     */
    zvq_seq_unget_double(&whole, price, PRICES);
    zvq_seq_tee(&branch1, &branch2, &whole);
    zvq_seq_mul_double(&squares, &branch1, &branch2);
    zvq_seq_agg_sum_double(&sum, &squares);
    zvq_seq_next_double(&sum, &got);
    for (want = 0, i = 0; i < PRICES; ++i) want += price[i] * price[i];
    check("sum of squares through a tee, bit for bit", got == want, 1);
}

static void top_ten(const double* price, const int32_t* qty) {
    uint64_t pos[TOP], loop_pos[TOP], ascending[TOP], perm[TOP], count = TOP, k, i;
    int32_t q[TOP];
    double best[TOP];
    int wrong = 0;
    printf("top 10 prices, their places, and the quantities sold there\n");
    zvq_seq_unget_double(&by_price, price, PRICES);
    zvq_seq_top_pos_max_double(&top_pos, &by_price, TOP);
    check("positions", zvq_seq_get_uint8(&top_pos, pos, &count), SEQ_OK);
    check("count", (int64_t)count, TOP);

    /* The same list as values; both against a plain selection: the best
     * price not yet taken, the earlier place first among equals. */
    zvq_seq_unget_double(&reader1, price, PRICES);
    zvq_seq_top_max_double(&top_values, &reader1, TOP);
    count = TOP;
    check("values", zvq_seq_get_double(&top_values, best, &count), SEQ_OK);
    for (k = 0; k < TOP; ++k) {
        uint64_t at = PRICES, j;
        for (i = 0; i < PRICES; ++i) {
            int taken = 0;
            if (at != PRICES && !(price[i] > price[at])) continue;
            for (j = 0; j < k; ++j) taken |= loop_pos[j] == i;
            if (!taken) at = i;
        }
        loop_pos[k] = at;
        wrong += pos[k] != at || best[k] != price[at];
    }
    check("places and values match the loop, best first", wrong, 0);

    /* map reads a column forward only: the places go in ascending order,
     * which sort gives as a permutation. */
    zvq_seq_sort_uint8(pos, perm, TOP, SEQ_ORDER_ASC);
    for (k = 0; k < TOP; ++k) ascending[k] = pos[perm[k]];
    zvq_seq_unget_uint8(&sorted_pos, ascending, TOP);
    zvq_seq_unget_int4(&qty_reader, qty, PRICES);
    zvq_seq_map_int4(&qty_at, &qty_reader, &sorted_pos);
    count = TOP;
    check("quantities", zvq_seq_get_int4(&qty_at, q, &count), SEQ_OK);
    for (wrong = 0, k = 0; k < TOP; ++k) {
        printf("    at %7llu: price %7.3f (rank %2u), quantity %2d\n", (unsigned long long)ascending[k],
               price[ascending[k]], (unsigned)(perm[k] + 1), q[k]);
        wrong += q[k] != qty[ascending[k]];
    }
    check("quantities mapped back", wrong, 0);
}

static void histogram(const double* price) {
    uint64_t counts[BARS], want[BARS] = {0}, most = 0, n = BARS, i;
    int k, wrong = 0;
    printf("histogram of the prices, 10 intervals of 20\n");
    zvq_seq_unget_double(&hist_reader, price, PRICES);
    zvq_seq_histogram_double(&hist, &hist_reader, 0.0, 200.0, BARS);
    check("status", zvq_seq_get_uint8(&hist, counts, &n), SEQ_OK);
    for (i = 0; i < PRICES; ++i) ++want[(int)((price[i] - 0.0) * BARS / 200.0)];
    for (k = 0; k < BARS; ++k) most = counts[k] > most ? counts[k] : most;
    for (k = 0; k < BARS; ++k) {
        int bar = (int)(counts[k] * 50 / (most ? most : 1)), j;
        printf("    %3d-%3d %7llu ", k * 20, k * 20 + 20, (unsigned long long)counts[k]);
        for (j = 0; j < bar; ++j) putchar('#');
        putchar('\n');
        wrong += counts[k] != want[k];
    }
    check("counts match the loop", wrong, 0);
}

void tour_select(void) {
    double* price = malloc(sizeof(double) * PRICES);
    int32_t* qty = malloc(sizeof(int32_t) * PRICES);
    if (price && qty) {
        make_columns(price, qty);
        road_of_one_request(price);
        top_ten(price, qty);
        histogram(price);
    } else {
        ++failures;
    }
    free(price);
    free(qty);
}
