// parse_T over arbitrary texts, the first byte choosing the member; and the
// number scanner against sscanf on the same text.
#include <cstring>

#include "core/types.hpp"
#include "elementwise/scan.hpp"
#include "fuzz_util.hpp"

namespace {

using namespace zvq::fuzz;

using Parse = zvq_seq_status (*)(zvq_seq_iterator*, const char*);

struct Member {
    Parse parse;
    uint32_t size;
};

#define ZVQ_FUZZ_MEMBER(name, Tag, ctype) {zvq_seq_parse_##name, sizeof(ctype)},
const Member kMembers[] = {ZVQ_NUMERIC_TYPES(ZVQ_FUZZ_MEMBER)};
#undef ZVQ_FUZZ_MEMBER

template <class T>
void same_as_sscanf(const char* text, const char* format,
                    bool (*scanner)(const char*, T&, size_t&) = zvq::scan::scan_number<T>) {
    T want{}, got{};
    int n = -1;
    size_t used = 0;
    const bool ok = std::sscanf(text, format, &want, &n) == 1;
    ZVQ_FUZZ_CHECK(scanner(text, got, used) == ok);
    if (ok) {
        ZVQ_FUZZ_CHECK(std::memcmp(&got, &want, sizeof(T)) == 0);
        ZVQ_FUZZ_CHECK(used == static_cast<size_t>(n));
    }
}

void scanner_matches_sscanf(const char* text) {
    same_as_sscanf<int>(text, "%i%n");
    same_as_sscanf<long long>(text, "%lli%n");
    same_as_sscanf<unsigned>(text, "%u%n");
    same_as_sscanf<unsigned long long>(text, "%llu%n");
    same_as_sscanf<double>(text, "%lf%n");
    same_as_sscanf<int>(text, "%d%n", zvq::scan::scan_decimal);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const Member& m = kMembers[data[0] % std::size(kMembers)];
    std::vector<char> text = text_of(data + 1, size - 1);

    // The scanner at the start and behind the first few commas.
    scanner_matches_sscanf(text.data());
    int commas = 0;
    for (const char* p = text.data(); *p != '\0' && commas < 8; ++p)
        if (*p == ',') ++commas, scanner_matches_sscanf(p + 1);

    auto r = record();
    ZVQ_FUZZ_CHECK(m.parse(r.get(), text.data()) == SEQ_OK);
    std::vector<uint8_t> first_chunk;
    // Every refill moves the cursor by an item at least, so the text bounds
    // the pulls.
    const bool stopped = pull_refills(*r, size + 2, [&](size_t refill) {
        ZVQ_FUZZ_CHECK(r->chunk_count >= 1 && r->chunk_count <= capacity_for(m.size));
        ZVQ_FUZZ_CHECK(r->chunk[4095 - (r->chunk_count - 1)] >= 1);
        if (refill == 0) first_chunk.assign(r->chunk, r->chunk + r->chunk_count * m.size);
    });
    ZVQ_FUZZ_CHECK(stopped);
    // A reset reads the text again from its start.
    ZVQ_FUZZ_CHECK(r->reset(r.get()) == SEQ_OK);
    if (!first_chunk.empty()) {
        ZVQ_FUZZ_CHECK(r->next(r.get()) == SEQ_OK);
        ZVQ_FUZZ_CHECK(std::memcmp(first_chunk.data(), r->chunk, first_chunk.size()) == 0);
    }
    return 0;
}
