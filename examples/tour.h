/* Shared by the parts of the tour: each part builds its trees, pulls them and
 * checks every result against a plain loop through check(). */
#ifndef ZVQ_TOUR_H
#define ZVQ_TOUR_H

#include <stdint.h>

/* Prints one result line; a mismatch counts as a failure of the tour. */
void check(const char* what, int64_t got, int64_t want);

/* A GROUP BY through the hash aggregates, whole and in merged parts. */
void tour_hash(void);

/* Mismatches so far; main's exit status. */
extern int failures;

#endif
