/* Shared by the parts of the tour: each part builds its trees, pulls them and
 * checks every result against a plain loop through check(). */
#ifndef ZVQ_TOUR_H
#define ZVQ_TOUR_H

#include <stdint.h>

/* Prints one result line; a mismatch counts as a failure of the tour. */
void check(const char* what, int64_t got, int64_t want);

/* Mismatches so far; main's exit status. */
extern int failures;

/* Time alignment, merging and turning points (tour_align.c). */
void tour_align(void);
/* Group aggregates and paired statistics (tour_group.c). */
void tour_group(void);

/* Cumulative, grid and window aggregates (tour_running.c). */
void tour_running(void);

/* Selection and ordering: filter, top-N with map, histogram (tour_select.c). */
void tour_select(void);

/* Text printed and parsed back, a LIKE filter, a caller's function. */
void tour_text(void);

/* A GROUP BY through the hash aggregates, whole and in merged parts (tour_hash.c). */
void tour_hash(void);

/* An Arrow run-end encoded column summed, a text list, a hand-back to DuckDB (tour_arrow.c). */
void tour_arrow(void);

/* The road of one request through split, a LIKE filter, a rolling average (tour_trust.c). */
void tour_trust(void);

#endif
