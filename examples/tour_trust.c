/*
 * Operators that give what their names promise: the road of one request with
 * two readers that pull at their own pace (split), a LIKE filter over text,
 * and a rolling average over runs.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tour.h"
#include "zvq/seq.h"

#define N 100000u
#define WIDTH 8u

static zvq_seq_iterator price, p1, p2, limit, above, picked, avg;
static zvq_seq_iterator names_a, names_b, like_flags, like_picked, like_count;
static zvq_seq_iterator series, rolling;

static const char* const kNames[] = {"ABCD", "XXAB", "ABZZ", "ZZZZ", "AB"};

void tour_trust(void) {
    double* prices = malloc(sizeof(double) * N);
    char* names = malloc((size_t)N * WIDTH);
    double* out = malloc(sizeof(double) * N);
    uint64_t i;
    if (!prices || !names || !out) {
        ++failures;
        free(prices), free(names), free(out);
        return;
    }

    printf("\nsplit: the road of one request, the average of the prices above 100\n");
    {
        double got = 0, want = 0;
        uint64_t kept = 0;
        for (i = 0; i < N; ++i) prices[i] = (double)(i % 1000) * 0.25;
        zvq_seq_unget_double(&price, prices, N);
        /* gt and filter pull at different rates: split queues what one reader
         * took ahead of the other, where tee would let them drift apart. */
        zvq_seq_split(&p1, &p2, &price);
        zvq_seq_const_double(&limit, 100.0);
        zvq_seq_gt_double(&above, &p1, &limit);
        zvq_seq_filter_double(&picked, &above, &p2);
        zvq_seq_agg_avg_double(&avg, &picked);
        zvq_seq_next_double(&avg, &got);
        for (i = 0; i < N; ++i)
            if (prices[i] > 100.0) want += prices[i], ++kept;
        want /= (double)kept;
        check("average above 100, in 1/1000000", (int64_t)(got * 1e6 + 0.5), (int64_t)(want * 1e6 + 0.5));
        zvq_seq_free_buffer(&p1);
        zvq_seq_free_buffer(&p2);
    }

    printf("like: the names that start with AB, counted after a filter\n");
    {
        uint64_t got = 0, want = 0;
        memset(names, 0, (size_t)N * WIDTH);
        for (i = 0; i < N; ++i) {
            const char* s = kNames[(i / 7) % 5];
            memcpy(names + i * WIDTH, s, strlen(s));
            want += s[0] == 'A' && s[1] == 'B';
        }
        zvq_seq_unget_char(&names_a, names, N, WIDTH);
        zvq_seq_unget_char(&names_b, names, N, WIDTH);
        zvq_seq_like(&like_flags, &names_a, "AB%");
        zvq_seq_filter_char(&like_picked, &like_flags, &names_b);
        zvq_seq_agg_count(&like_count, &like_picked);
        zvq_seq_next_uint8(&like_count, &got);
        check("names LIKE 'AB%'", (int64_t)got, (int64_t)want);
    }

    printf("rolling_avg: a moving average of 50 over a column with long stretches\n");
    {
        uint64_t n = N, mismatches = 0;
        double window_sum = 0;
        for (i = 0; i < N; ++i) prices[i] = (double)(100 + (i / 1000) % 13);
        zvq_seq_unget_double(&series, prices, N);
        zvq_seq_rolling_avg_double(&rolling, &series, 50);
        if (zvq_seq_get_double(&rolling, out, &n) != SEQ_OK) ++failures;
        for (i = 0; i < N; ++i) {
            uint64_t from = i >= 49 ? i - 49 : 0;
            window_sum += prices[i];
            if (i >= 50) window_sum -= prices[i - 50];
            if (out[i] != window_sum / (double)(i - from + 1)) ++mismatches;
        }
        check("elements", (int64_t)n, N);
        check("values unlike the running sum of a loop", (int64_t)mismatches, 0);
        zvq_seq_free_buffer(&rolling);
    }
    free(prices), free(names), free(out);
}
