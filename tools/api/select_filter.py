TITLE = "Filtering and positional selection"
_BIND = ("SEQ_ALREADY_BOUND", "constructor: checks on and an operand bound")
DECLS = [
    doc("filter_T",
        "The elements of input where cond is true, one output run per overlap of a cond run and an input run under "
        "a nonzero flag; runs are never expanded. cond and input are read in step: give them two readers of the "
        "data (two stored columns, or a zvq_seq_split), not a tee.",
        types=[("uint1 cond, T input (all twelve)", "T")],
        args=[("result", "the kept elements"), ("cond", "the flags"), ("input", "the values")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: cond not uint1 or input not T"), _BIND,
                  ("SEQ_END", "next: an operand is exhausted (cond is reported first)"),
                  ("operand's status", "next: passed up unchanged")],
        tests=["Filter.OneRunPerOverlapUnderATrueFlag", "FilterFailure.CondReportsFirstTheTypesAreTestedAndCharKeepsItsWidth",
               "FilterRandom.MatchesAPlainLoopOverExpandedColumns"]),
    *each("zvq_seq_status zvq_seq_filter_{t}(zvq_seq_iterator* result, zvq_seq_iterator* cond, zvq_seq_iterator* input);", t=ALL),
    *each("zvq_seq_status zvq_seq_filter_{t}_next(zvq_seq_iterator* it);", t=ALL),
    doc("filter_pos, filter_search",
        "The positions (0-based, runs expanded) of the true elements of a flag sequence, as a uint8 sequence of "
        "repeat 1; a true run of r gives r positions. filter_search starts the count at source's first_pos (source "
        "is read once, not bound or kept).",
        types=[("uint1", "uint8 positions")],
        args=[("result", "the positions"), ("input", "the flags"), ("source", "filter_search: where counting starts")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: input not uint1"), _BIND,
                  ("SEQ_END", "next: the flags are exhausted"), ("operand's status", "next: passed up unchanged")],
        tests=["FilterPos.FalseRunsSkipTrueRunsCountAcrossChunks"]),
    "zvq_seq_status zvq_seq_filter_pos(zvq_seq_iterator* result, zvq_seq_iterator* input);",
    "zvq_seq_status zvq_seq_filter_pos_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_filter_pos_reset(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_filter_search(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* source);",
    doc("filter_first_pos, get_first_pos",
        "filter_first_pos delivers up to n positions from the tree's first position (zvq_seq_get_first_pos: the "
        "greatest first_pos of the record and, recursively, of its operands; records must be zero-filled before "
        "their constructors run). input is not marked bound. Its reset is zvq_seq_reset_unary_iterator.",
        types=[("uint1", "uint8 positions (filter_first_pos); uint64_t (get_first_pos)")],
        args=[("result", "the positions"), ("input", "the flags"), ("n", "positions wanted, at most 455"),
              ("iterator", "get_first_pos: the root of the tree to search")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: input not uint1"), _BIND,
                  ("SEQ_BAD_ARGUMENT", "constructor: n above 455"),
                  ("SEQ_END", "next: nothing more"), ("operand's status", "next: passed up unchanged")],
        merge="prepare zvq_seq_prepare_aggregate; zvq_seq_filter_first_pos_merge merges two sorted lists, cut to n.",
        caution="it tests the one flag under the input's cursor again and again: a true flag there gives n "
                "consecutive positions whatever follows, and a false flag never returns; use zvq_seq_filter_pos "
                "bounded by zvq_seq_limit(result, positions, 0, n - 1).",
        tests=["FilterFirstPos.ChecksThenOneFlagReadAgainWhileTheBaseClimbs",
               "FilterFirstPosDeathTest.AFalseFlagAtTheCursorKeepsTheCallInItsLoop",
               "FilterFirstPosMerge.SortedListsMergedAndCutSelfTailFirst",
               "GetFirstPos.GreatestOverAllThreeSlotsAndATeesTwins"]),
    "zvq_seq_status zvq_seq_filter_first_pos(zvq_seq_iterator* result, zvq_seq_iterator* input, uint64_t n);",
    "zvq_seq_status zvq_seq_filter_first_pos_next(zvq_seq_iterator* it);",
    "zvq_seq_status zvq_seq_filter_first_pos_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source);",
    "uint64_t zvq_seq_get_first_pos(zvq_seq_iterator* iterator);",
    doc("map_T",
        "The elements of input at the positions of a non-decreasing uint8 position sequence, walking input forward "
        "only; a position may repeat.",
        types=[("T input (all twelve), uint8 positions", "T")],
        args=[("result", "the picked elements"), ("input", "the values"), ("positions", "non-decreasing positions")],
        statuses=[("SEQ_TYPE_MISMATCH", "constructor: positions not uint8 or input not T"), _BIND,
                  ("SEQ_BAD_ORDER", "next: a position behind the input chunk it holds"),
                  ("SEQ_END", "next: an operand is exhausted"), ("operand's status", "next: passed up unchanged")],
        caution="exact only over runs of 1: the cursor keeps the distance from the previous position, not the offset "
                "in the run, so runs 0 x 3, 1 x 3 read at positions 0..5 give six zeros; use zvq_seq_take_T.",
        tests=["Map.ExactOverSingleElementRunsAndChunksOfTheResultType", "MapDrift.TheCursorKeepsTheDistanceNotTheOffset",
               "MapOrder.TypesThenAPositionBehindIsBadOrderAndLeavesTheRecord"]),
    *each("zvq_seq_status zvq_seq_map_{t}(zvq_seq_iterator* result, zvq_seq_iterator* input, zvq_seq_iterator* positions);", t=ALL),
    *each("zvq_seq_status zvq_seq_map_{t}_next(zvq_seq_iterator* it);", t=ALL),
    "zvq_seq_status zvq_seq_map_reset(zvq_seq_iterator* it);",
]
NOTES = """
- `zvq_seq_filter_first_pos` has a reset: `zvq_seq_reset_unary_iterator`, which rewinds the operand and the record
  (and clears `prepared`), so the next read computes afresh. Pinned by
  `FilterFirstPos.ChecksThenOneFlagReadAgainWhileTheBaseClimbs`.
- A loop that does not end: `zvq_seq_filter_first_pos` tests the flag under its input's cursor again and again while
  the position climbs; when that flag is false the call never returns. The loop reads the flag as a volatile byte on
  every turn, which keeps it a defined loop in C++. Pinned by `FilterFirstPosDeathTest.AFalseFlagAtTheCursorKeepsTheCallInItsLoop`.
- Merging first-N lists that hold nothing: where a host merges an empty list anyway,
  `zvq_seq_filter_first_pos_merge` keeps its insertion point inside the destination's list (the destination then takes
  the source's list, cut to N). Pinned by `FilterFirstPosMerge.SortedListsMergedAndCutSelfTailFirst`.
- `zvq_seq_get_first_pos` and `tee`: the two branches of a tee name each other as operands; the walk skips a record it
  is already inside, so it ends on any tree. Pinned by `GetFirstPos.GreatestOverAllThreeSlotsAndATeesTwins`.
- `zvq_seq_map_T` stays inside the input's chunk: its walk to the run that seems to hold a position stops at the
  chunk's last run, and an input chunk of no runs is pulled again. Pinned by `MapDrift.TheCursorKeepsTheDistanceNotTheOffset`.
- `zvq_seq_filter_pos` on a repeat byte of 0 gives 256 positions for a true run, as one-by-one reading takes it.
  Pinned by `FilterPos.FalseRunsSkipTrueRunsCountAcrossChunks`.
- `char` members wider than a chunk (`elem_size` of 4096 or more, whose capacity is 0) answer `SEQ_END` from
  `zvq_seq_filter_char` and `zvq_seq_map_char` rather than a chunk of no runs.
"""
