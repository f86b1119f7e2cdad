TITLE = "Time alignment"
KEYS = by_name("uint4", "uint8", "datetime")
DECLS = [
    *each("zvq_seq_status zvq_seq_stretch_{t}_{u}(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, zvq_seq_iterator* values, {u_c} filler);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch_{t}_{u}_next(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch_{t}_{u}_reset(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch0_{t}_{u}(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, zvq_seq_iterator* values, {u_c} filler);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch0_{t}_{u}_next(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_stretch0_{t}_{u}_reset(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_asof_join_{t}_{u}(zvq_seq_iterator* result, zvq_seq_iterator* ts1, zvq_seq_iterator* ts2, zvq_seq_iterator* values);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_asof_join_{t}_{u}_next(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
    *each("zvq_seq_status zvq_seq_asof_join_{t}_{u}_reset(zvq_seq_iterator* it);", t=KEYS, u=NUMERIC),
]
