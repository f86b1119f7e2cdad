/*
 * The text part of the tour: a column printed to text and parsed back, a
 * LIKE filter over a char column, and a caller's function in a pipeline.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tour.h"
#include "zvq/seq.h"

#define ROUND_TRIP_SIZE 20000u
#define PRINT_WIDTH 16u
#define CODES_SIZE 1000000u
#define PRICES_SIZE 50000u
#define PRICE_REPEAT 200

static zvq_seq_iterator one, printer, parsed, codes, is_b, flags_sum, prices, repeated, taxed, total;

/* Values whose neighbours always differ: parse_T would merge equal ones. */
static int32_t value_at(uint32_t i) { return (int32_t)((i * 7919u) % 100003u) - 50000; }

/* print_char formats the tuple at its operand's position into every slot of
 * a refill and does not advance it, so each value gets an operand of its own;
 * the first slot holds its text. */
static void round_trip(void) {
    char* text = malloc(ROUND_TRIP_SIZE * PRINT_WIDTH + 3);
    size_t used = 0;
    uint32_t i, read = 0, mismatches = 0;
    printf("round trip: %u int4 values printed with print_char and parsed back\n", ROUND_TRIP_SIZE);
    if (!text) {
        ++failures;
        return;
    }
    text[used++] = '{';
    for (i = 0; i < ROUND_TRIP_SIZE; ++i) {
        int32_t v = value_at(i);
        if (zvq_seq_unget_char(&one, (const char*)&v, 1, sizeof v) != SEQ_OK ||
            zvq_seq_print_char(&printer, &one, PRINT_WIDTH, "%d") != SEQ_OK || printer.next(&printer) != SEQ_OK) {
            ++failures;
            break;
        }
        used += (size_t)sprintf(text + used, "%s,", (const char*)printer.chunk);
    }
    text[used - 1] = '}';
    text[used] = '\0';

    /* parse_T writes the repeat byte of a refill's last run only; with no
     * equal neighbours every run is one value, so the walk reads the slots. */
    zvq_seq_parse_int4(&parsed, text);
    while (parsed.next(&parsed) == SEQ_OK) {
        uint32_t k;
        for (k = 0; k < parsed.chunk_count; ++k, ++read) {
            int32_t v;
            memcpy(&v, parsed.chunk + 4 * k, 4);
            if (read >= ROUND_TRIP_SIZE || v != value_at(read)) ++mismatches;
        }
    }
    check("values read back", read, ROUND_TRIP_SIZE);
    check("values that differ from the column", mismatches, 0);
    free(text);
}

/* zvq_seq_match reads the text of run i at byte i of its operand's values,
 * which is the value itself for one-byte codes: grade LIKE '%B%'. */
static void like_filter(void) {
    char* grades = malloc(CODES_SIZE);
    uint32_t i, x = 7u;
    uint64_t count = 0, want = 0;
    printf("LIKE '%%B%%' over a column of one-letter grades\n");
    if (!grades) {
        ++failures;
        return;
    }
    for (i = 0; i < CODES_SIZE; ++i) {
        if (i % 300 == 0) x = x * 1103515245u + 12345u;
        grades[i] = (char)('A' + (x >> 16) % 5);
        want += grades[i] == 'B';
    }
    zvq_seq_unget_char(&codes, grades, CODES_SIZE, 1);
    zvq_seq_match(&is_b, &codes, "%B%");
    /* Counted by summing the 0/1 flags; a filter would keep the rows. */
    zvq_seq_agg_sum_uint1(&flags_sum, &is_b);
    zvq_seq_next_uint8(&flags_sum, &count);
    check("rows matching", (int64_t)count, (int64_t)want);
    free(grades);
}

static uint64_t tax_calls = 0;

/* A caller's function with its context: the price with tax, in cents. */
static int32_t with_tax(int32_t cents, void* rate_percent) {
    ++tax_calls;
    return cents + cents * *(const int32_t*)rate_percent / 100;
}

/* A caller's function sees each run once, however long it is. */
static void function_per_run(void) {
    int32_t* cents = malloc(sizeof(int32_t) * PRICES_SIZE);
    int32_t rate = 20;
    int64_t sum = 0, want = 0;
    uint32_t i;
    printf("a caller's function over %u prices repeated %d times\n", PRICES_SIZE, PRICE_REPEAT);
    if (!cents) {
        ++failures;
        return;
    }
    for (i = 0; i < PRICES_SIZE; ++i) {
        cents[i] = (int32_t)(100 + (i * 37u) % 9000u);
        want += (int64_t)(cents[i] + cents[i] * rate / 100) * PRICE_REPEAT;
    }
    zvq_seq_unget_int4(&prices, cents, PRICES_SIZE);
    zvq_seq_repeat_int4(&repeated, &prices, PRICE_REPEAT); /* runs of 200 */
    zvq_seq_func_ctx_int4(&taxed, &repeated, with_tax, &rate);
    zvq_seq_agg_sum_int4(&total, &taxed);
    zvq_seq_next_int8(&total, &sum);
    check("sum of the taxed prices", sum, want);
    check("calls of the function, one per run", (int64_t)tax_calls, PRICES_SIZE);
    free(cents);
}

void tour_text(void) {
    round_trip();
    like_filter();
    function_per_run();
}
