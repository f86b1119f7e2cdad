// Approximate distinct counts: agg_approxdc over a whole sequence (with its
// merge), agg_approxdc_hash over ready hashes, and hash_agg_approxdc, one
// register set per hash group, kept in the table's key blocks. The form per
// group of adjacent keys is beside the group loop (aggregate/group_approxdc.cpp).
#include <algorithm>
#include <cstring>

#include "core/approx_registers.hpp"
#include "hash/hash_agg.hpp"

namespace zvq {
namespace {

// ---- over a whole sequence -------------------------------------------------

struct ApproxState {
    uint8_t approx_registers[kApproxRegisters];
};

// One update per run: a repeated value cannot change a register. The
// operand's read positions are neither read nor moved. Values are hashed a
// window of runs at a time.
template <bool kPrehashed>
zvq_seq_status fold_sequence(Rec& op, uint8_t* registers) {
    constexpr uint32_t kWindow = 256;
    uint32_t hashes[kWindow];
    zvq_seq_status s;
    while ((s = pull(op)) == SEQ_OK) {
        for (uint32_t from = 0; from < op.chunk_count; from += kWindow) {
            const uint32_t n = std::min<uint32_t>(op.chunk_count - from, kWindow);
            if constexpr (kPrehashed)
                std::memcpy(hashes, slot_ptr(op, from), n * sizeof(uint32_t));
            else
                murmur_slots(slot_ptr(op, from), op.elem_size, n, hashes);
            for (uint32_t i = 0; i < n; ++i) approx_update(registers, hashes[i]);
        }
    }
    return s;
}

// An empty sequence is a result too: no register set, an estimate of 0.
zvq_seq_status approx_next(Rec& r) {
    zvq_seq_status s;
    if (settled_aggregate(r, s)) return s;
    uint8_t registers[kApproxRegisters] = {};
    if ((s = fold_sequence<false>(*r.operand[0], registers)) != SEQ_END) return s;
    std::memcpy(state_of<ApproxState>(r).approx_registers, registers, kApproxRegisters);
    publish_one<uint32_t>(r, approx_result(registers));
    return SEQ_OK;
}

// The registers live only during this call, so there is nothing to merge.
zvq_seq_status approx_hash_next(Rec& r) {
    if (r.next_pos != 0) return SEQ_END;
    uint8_t registers[kApproxRegisters] = {};
    zvq_seq_status s = fold_sequence<true>(*r.operand[0], registers);
    if (s != SEQ_END) return s;
    publish_one<uint32_t>(r, approx_result(registers));
    return SEQ_OK;
}

zvq_seq_status approx_merge_records(Rec& destination, const Rec& source) {
    uint8_t* into = state_of<ApproxState>(destination).approx_registers;
    approx_merge(into, state_of<ApproxState>(source).approx_registers);
    set_value<uint32_t>(destination, 0, approx_result(into));
    return SEQ_OK;
}

zvq_seq_status approx_make(Rec& r, Rec* input) {
    if (zvq_seq_status s = bind({input})) return s;
    init_record(r, shape_of<Uint4>,
                {zvq_seq_agg_approxdc_next, zvq_seq_reset_unary_iterator, zvq_seq_prepare_aggregate,
                 zvq_seq_agg_approxdc_merge},
                {input});
    r.prepared = 0;
    return SEQ_OK;
}

zvq_seq_status approx_hash_make(Rec& r, Rec* hashes) {
    if (zvq_seq_status s = open_operands<Uint4>(hashes)) return s;
    init_record(r, shape_of<Uint4>, {zvq_seq_agg_approxdc_hash_next, zvq_seq_reset_unary_iterator}, {hashes});
    return SEQ_OK;
}

// ---- per hash group ----------------------------------------------------------

// The entry's agg word points to its register set, 128 bytes taken from the
// table's key blocks right after the key's own copy, so that the sets go
// with the table. count is not kept.
struct RegisterFold {
    using OutTag = Uint4;
    static constexpr bool kReadsValues = true;
    static constexpr bool kValuesFirst = true;

    static uint8_t* registers(const HashEntry& e) { return reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(e.agg)); }
    static zvq_seq_status first(TableBuilder& b, HashEntry& e, const Rec* values, uint32_t slot, uint8_t) {
        uint8_t* set = b.key_space(kApproxRegisters);
        if (set == nullptr) return SEQ_NOMEM;
        zvq_memnull(set, kApproxRegisters);
        e.agg = key_word(set);
        approx_update(set, slot_hash<false>(*values, slot));
        return SEQ_OK;
    }
    static zvq_seq_status fold(HashEntry& e, const Rec* values, uint32_t slot, uint8_t) {
        approx_update(registers(e), slot_hash<false>(*values, slot));
        return SEQ_OK;
    }
    static void combine(HashEntry& into, const HashEntry& from) { approx_merge(registers(into), registers(from)); }
    static uint32_t result(const HashEntry& e) { return approx_result(registers(e)); }
};

// Any value and key types; one binding test for both operands.
zvq_seq_status hash_approx_make(Rec& agg, Rec& grp, Rec* values, Rec* keys, uint64_t size) {
    if (zvq_seq_status s = check_key_width(*keys)) return s;
    if (zvq_seq_status s = bind({values, keys})) return s;
    return make_pair(agg, grp, values, *keys, size, shape_of<Uint4>,
                     {zvq_seq_hash_agg_approxdc_next_agg, zvq_seq_hash_agg_approxdc_next_grp,
                      zvq_seq_hash_initialize_approxdc, zvq_seq_hash_merge_approxdc});
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_agg_approxdc(zvq_seq_iterator* result, zvq_seq_iterator* input) {
    return zvq::approx_make(*result, input);
}
zvq_seq_status zvq_seq_agg_approxdc_next(zvq_seq_iterator* it) { return zvq::approx_next(*it); }
zvq_seq_status zvq_seq_agg_approxdc_merge(zvq_seq_iterator* destination, zvq_seq_iterator* source) {
    return zvq::approx_merge_records(*destination, *source);
}
zvq_seq_status zvq_seq_agg_approxdc_hash(zvq_seq_iterator* result, zvq_seq_iterator* hashes) {
    return zvq::approx_hash_make(*result, hashes);
}
zvq_seq_status zvq_seq_agg_approxdc_hash_next(zvq_seq_iterator* it) { return zvq::approx_hash_next(*it); }

zvq_seq_status zvq_seq_hash_agg_approxdc(zvq_seq_iterator* agg_result, zvq_seq_iterator* grp_result,
                                         zvq_seq_iterator* values, zvq_seq_iterator* keys, uint64_t size) {
    return zvq::hash_approx_make(*agg_result, *grp_result, values, keys, size);
}
zvq_seq_status zvq_seq_hash_initialize_approxdc(zvq_seq_iterator* it) {
    return zvq::build_groups<zvq::RegisterFold>(*it);
}
zvq_seq_status zvq_seq_hash_merge_approxdc(zvq_seq_iterator* destination, zvq_seq_iterator* source) {
    return zvq::merge_groups<zvq::RegisterFold>(*destination, *source);
}
zvq_seq_status zvq_seq_hash_agg_approxdc_next_agg(zvq_seq_iterator* it) {
    return zvq::next_aggregates<zvq::RegisterFold>(*it);
}
zvq_seq_status zvq_seq_hash_agg_approxdc_next_grp(zvq_seq_iterator* it) {
    return zvq::next_keys<zvq::RegisterFold>(*it);
}

}  // extern "C"
