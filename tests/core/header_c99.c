/* Compiled as C99: the public header must serve a C caller as it stands. */
#include "zvq/seq.h"

/* Sums a small column through unget, limit and the pull functions. */
int zvq_c99_header_probe(int64_t* sum_out) {
    zvq_seq_iterator src = {0}, lim = {0};
    int32_t items[6] = {1, 2, 3, 4, 5, 6};
    int32_t value = 0;
    zvq_seq_status s;
    *sum_out = 0;
    if (zvq_seq_unget_int4(&src, items, 6) != SEQ_OK) return 1;
    if (zvq_seq_limit(&lim, &src, 1, 4) != SEQ_OK) return 2;
    while ((s = zvq_seq_next_int4(&lim, &value)) == SEQ_OK) *sum_out += value;
    return s == SEQ_END ? 0 : 3;
}
