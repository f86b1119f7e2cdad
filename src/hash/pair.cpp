// The pair of iterators around one table: their shared reset, their identity
// and the release of the table and the pair.
#include "core/known_count.hpp"
#include "hash/hash_table.hpp"

namespace zvq {
namespace {

void drop_pair(Rec& it, HashPair* pair) {
    if (pair->table != nullptr) free_hash(&it, pair->table);
    zvq_seq_free(&it, pair, sizeof(HashPair));
}

uint32_t free_pair(Rec& it) {
    HashPair* const pair = state_of<HashAggState>(it).pair;
    if (pair == nullptr) return 0;
    // Both iterators forget the pair, so a second call through either is
    // harmless.
    for (HashAggState* st : {pair->agg_state, pair->grp_state})
        if (st != nullptr) st->pair = nullptr;
    state_of<HashAggState>(it).pair = nullptr;
    drop_pair(it, pair);
    return 1;
}

// The table's entry count is valid once the first pull has built it.
uint64_t entry_count(Rec& op) {
    const bool pulled = pull(op) == SEQ_OK;
    const HashPair* pair = state_of<HashAggState>(op).pair;
    return pulled && pair != nullptr && pair->table != nullptr ? pair->table->count : 0;
}

[[maybe_unused]] const bool counts_entries = register_known_count(zvq_seq_hash_agg_reset, entry_count);

}  // namespace
}  // namespace zvq

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

uint32_t zvq_seq_free_hash(zvq_seq_iterator* it) { return zvq::free_pair(*it); }

// The blunt form: both iterators keep a dangling pair, and a null pair is
// the caller's fault.
void zvq_seq_release_hash(zvq_seq_iterator* it) {
    zvq::drop_pair(*it, zvq::state_of<zvq::HashAggState>(*it).pair);
}

}  // extern "C"
