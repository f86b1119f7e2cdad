// The operations a host runtime supplies. This module is linked into the
// library by default; a host that has its own builds with ZVQ_WITH_HOST=OFF
// and provides these ten symbols itself.
#include <cstring>
#include <initializer_list>

#include "zvq/seq.h"

extern "C" {

// Binding checks start on: a tree that reads one record twice is a bug worth
// catching before it steals elements.
uint32_t zvq_seq_check_bindings = 1;

zvq_seq_status zvq_seq_reset_iterator(zvq_seq_iterator* it) {
    it->chunk_count = 0;
    it->chunk_pos = 0;
    it->run_pos = 0;
    it->next_pos = 0;
    // A reset aggregate must pull again, so a pending prepare is forgotten.
    it->prepared = 0;
    return SEQ_OK;
}

zvq_seq_status zvq_seq_reset_unary_iterator(zvq_seq_iterator* it) {
    zvq_seq_iterator* op = it->operand[0];
    if (zvq_seq_status s = op->reset(op)) return s;
    return zvq_seq_reset_iterator(it);
}

zvq_seq_status zvq_seq_reset_binary_iterator(zvq_seq_iterator* it) {
    for (zvq_seq_iterator* op : {it->operand[0], it->operand[1]})
        if (zvq_seq_status s = op->reset(op)) return s;
    return zvq_seq_reset_iterator(it);
}

void zvq_seq_copy_bitmap(uint64_t* destination, uint32_t destination_pos, const uint64_t* source,
                         uint32_t source_pos, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        const uint32_t s = source_pos + i;
        const uint32_t d = destination_pos + i;
        const uint64_t bit = (source[s / 64] >> (s % 64)) & 1u;
        destination[d / 64] = (destination[d / 64] & ~(uint64_t{1} << (d % 64))) | (bit << (d % 64));
    }
}

int zvq_memcmp(const void* left, const void* right, uint64_t size) { return std::memcmp(left, right, size); }

void* zvq_memmove(void* destination, const void* source, uint64_t size) {
    return std::memmove(destination, source, size);
}

void zvq_memnull(void* pointer, uint64_t size) { std::memset(pointer, 0, size); }

char* zvq_strchr(const char* text, int character) { return const_cast<char*>(std::strchr(text, character)); }

// 29 rising primes, each about 2.15 times the one before, the last below 2^32.
uint64_t zvq_int_get_prime_number(uint32_t index) {
    static constexpr uint64_t ladder[29] = {
        2,        5,        11,        19,        43,        97,        197,        431,       919,       1973,
        4229,     9091,     19531,     41953,     90197,     193937,    416947,     896369,    1927187,   4143449,
        8908411,  19153039, 41179031,  88534933,  190350091, 409252651, 879893197,  1891770371, 4067306273};
    return ladder[index < 29 ? index : 28];
}

}  // extern "C"
