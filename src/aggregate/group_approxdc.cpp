// group_agg_approxdc(_hash): an approximate distinct count per stretch of
// equal adjacent keys, on the group loop, one register update per run.
#include <cstring>

#include "aggregate/group.hpp"
#include "core/approx_registers.hpp"

namespace zvq {
namespace {

// The key at the last key run's start, then the registers of the group in
// progress. A key that is not 1, 2, 4 or 8 bytes wide is compared in place
// and kept in approx_key when it fits there; a wider one is refused by next.
struct GroupApproxState {
    uint64_t reserved;
    uint64_t pending_count;
    uint8_t approx_key[40];
    uint8_t approx_registers[kApproxRegisters];
};
ZVQ_ASSERT_PENDING_COUNT(GroupApproxState);

// The hash a fold takes: the value's own, or the element of ready hashes.
template <bool kPrehashed>
struct SlotHash {
    uint32_t hash;
};

}  // namespace

template <>
inline SlotHash<false> group_input<SlotHash<false>>(const Rec& op, uint32_t slot) {
    return {slot_hash<false>(op, slot)};
}
template <>
inline SlotHash<true> group_input<SlotHash<true>>(const Rec& op, uint32_t slot) {
    return {slot_hash<true>(op, slot)};
}

namespace {

// One register update per fold, whatever the run's length: a repeated value
// cannot change a register. A group starts from cleared registers.
template <bool kPrehashed>
struct GroupApprox {
    using Out = Uint4;
    using In = SlotHash<kPrehashed>;
    static constexpr size_t kValues = 1;
    struct Held {
        uint8_t registers[kApproxRegisters];
    };
    static Held load(const Rec& r) {
        Held h;
        std::memcpy(h.registers, state_of<GroupApproxState>(r).approx_registers, kApproxRegisters);
        return h;
    }
    static void save(Rec& r, const Held& h) {
        std::memcpy(state_of<GroupApproxState>(r).approx_registers, h.registers, kApproxRegisters);
    }
    static KeyStore key_store(Rec& r) {
        uint8_t* key = state_of<GroupApproxState>(r).approx_key;
        return {key, key, sizeof GroupApproxState::approx_key};
    }
    static void seed(Held& h, uint8_t, In v) {
        std::memset(h.registers, 0, kApproxRegisters);
        approx_update(h.registers, v.hash);
    }
    static void fold(Held& h, uint8_t, In v) { approx_update(h.registers, v.hash); }
    static uint32_t result(const Held& h, uint64_t) { return approx_result(h.registers); }
};

// The ready-hash form has no wide path: a key of another width compares its
// first 8 bytes as one word.
class WordKeys : public GroupKeys {
   public:
    WordKeys(const KeyStore& store, uint16_t width) : GroupKeys(store, width, OtherWidths::Words) {}
};

// The keys are neither tested nor marked: they may be bound elsewhere later.
template <bool kPrehashed>
zvq_seq_status group_approx_make(Rec& r, Rec* values, Rec* keys, zvq_seq_next_fn next) {
    if (kPrehashed && !has_type<Uint4>(values)) return SEQ_TYPE_MISMATCH;
    if (zvq_seq_status s = bind({values})) return s;
    init_record(r, shape_of<Uint4>, {next, zvq_seq_reset_binary_agg_iterator}, {values, keys});
    set_pending_count(r, 0);
    return SEQ_OK;
}

}  // namespace
}  // namespace zvq

extern "C" {

zvq_seq_status zvq_seq_group_agg_approxdc(zvq_seq_iterator* result, zvq_seq_iterator* values,
                                          zvq_seq_iterator* keys) {
    return zvq::group_approx_make<false>(*result, values, keys, zvq_seq_group_agg_approxdc_next);
}
zvq_seq_status zvq_seq_group_agg_approxdc_next(zvq_seq_iterator* it) {
    return zvq::group_next<zvq::GroupApprox<false>>(*it);
}
zvq_seq_status zvq_seq_group_agg_approxdc_hash(zvq_seq_iterator* result, zvq_seq_iterator* hashes,
                                               zvq_seq_iterator* keys) {
    return zvq::group_approx_make<true>(*result, hashes, keys, zvq_seq_group_agg_approxdc_hash_next);
}
zvq_seq_status zvq_seq_group_agg_approxdc_hash_next(zvq_seq_iterator* it) {
    return zvq::group_next<zvq::GroupApprox<true>, zvq::WordKeys>(*it);
}

}  // extern "C"
