/*
 * A program built against the installed zvqseq: the average of the values
 * above 100 of a small column, the status names, and the check that the
 * library loaded at run time is the one the headers describe.
 */
#include <stdio.h>
#include <string.h>

#include <zvq/seq.h>

int main(void) {
    static zvq_seq_iterator flags_src, values_src, limit, flags, picked, avg; /* zero-filled, caller-owned */
    static const double column[8] = {90.0, 120.0, 80.0, 150.0, 100.0, 130.0, 70.0, 200.0};
    double result = 0.0;
    zvq_seq_status s;

    if (strcmp(zvq_seq_version(), ZVQ_SEQ_VERSION_STRING) != 0) {
        fprintf(stderr, "library %s, headers %s\n", zvq_seq_version(), ZVQ_SEQ_VERSION_STRING);
        return 1;
    }

    /* Two readers of the column: gt and filter pull at different rates. */
    if ((s = zvq_seq_unget_double(&flags_src, column, 8)) != SEQ_OK ||
        (s = zvq_seq_unget_double(&values_src, column, 8)) != SEQ_OK ||
        (s = zvq_seq_const_double(&limit, 100.0)) != SEQ_OK ||
        (s = zvq_seq_gt_double(&flags, &flags_src, &limit)) != SEQ_OK ||
        (s = zvq_seq_filter_double(&picked, &flags, &values_src)) != SEQ_OK ||
        (s = zvq_seq_agg_avg_double(&avg, &picked)) != SEQ_OK) {
        fprintf(stderr, "constructing: %s\n", zvq_seq_status_name(s));
        return 1;
    }
    if ((s = zvq_seq_next_double(&avg, &result)) != SEQ_OK) {
        fprintf(stderr, "pulling: %s\n", zvq_seq_status_name(s));
        return 1;
    }
    s = zvq_seq_next_double(&avg, &result);
    printf("zvqseq %s: average above 100 = %.1f, then %s\n", zvq_seq_version(), result, zvq_seq_status_name(s));
    return s == SEQ_END && result == 150.0 ? 0 : 1;
}
