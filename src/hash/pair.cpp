// The identity of hash aggregates: their shared reset.
#include "hash/hash_table.hpp"

extern "C" {

// Replays the groups from the start; the table is kept, the operands are not
// read again.
zvq_seq_status zvq_seq_hash_agg_reset(zvq_seq_iterator* it) {
    zvq::HashAggState& st = zvq::state_of<zvq::HashAggState>(*it);
    st.cursor_entry = nullptr;
    st.cursor_bucket = 0;
    return zvq_seq_reset_iterator(it);
}

uint32_t zvq_seq_is_hash_aggreate(zvq_seq_iterator* it) { return it->reset == zvq_seq_hash_agg_reset ? 1u : 0u; }

}  // extern "C"
