#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "core/murmur.hpp"
#include "support/scripted_source.hpp"

namespace zvq {
namespace {

using test::Script;
using Runs = std::vector<test::Run<uint32_t>>;

template <class V>
uint32_t h(V value, uint32_t seed = kHashSeed) { return murmur_hash3_32(&value, sizeof value, seed); }

// Published vectors: each tail length, whole blocks, block plus tail, seeds.
TEST(Murmur, PublishedVectors) {
    const std::tuple<std::string, uint32_t, uint32_t> vectors[] = {
        {"", 0, 0}, {"", 1, 0x514E28B7u}, {"", 0xffffffffu, 0x81F16F39u}, {"\xff\xff\xff\xff", 0, 0x76293B50u},
        {"\x21\x43\x65\x87", 0, 0xF55B516Bu}, {"\x21\x43\x65\x87", 0x5082EDEEu, 0x2362F9DEu},
        {"\x21\x43\x65", 0, 0x7E4A8634u}, {"\x21\x43", 0, 0xA0F7B07Au}, {"\x21", 0, 0x72661CF4u},
        {"a", 0x9747b28cu, 0x7FA09EA6u}, {"aaaa", 0x9747b28cu, 0x5A97808Au}, {"abc", 0x9747b28cu, 0xC84A62DDu},
        {"Hello, world!", 0x9747b28cu, 0x24884CBAu}, {"The quick brown fox jumps over the lazy dog", 0x9747b28cu, 0x2FA826CDu}};
    for (const auto& [bytes, seed, expected] : vectors)
        EXPECT_EQ(murmur_hash3_32(bytes.data(), static_cast<int32_t>(bytes.size()), seed), expected) << bytes.size();
}

// An operand's status at a call's first pull comes back unchanged, end included.
TEST(HashSeq, FirstPullStatusPassesUp) {
    for (zvq_seq_status failure : {SEQ_END, SEQ_NOT_SUPPORTED}) {
        Script in = Script::of<Int4>({});
        in.fail_at(0, failure);
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
        EXPECT_EQ(r.next(&r), failure);
    }
}

// One hash per run; an end inside a call delivers the runs made so far. A seed
// cuts runs to the overlaps with its own, and the first operand to end ends
// the result. A run partly taken counts whole without a seed, its rest with.
TEST(HashSeq, RunsAndRepeats) {
    const struct {
        std::vector<test::Chunk<int32_t>> in;
        std::vector<test::Chunk<uint32_t>> seed;  // none when empty
        uint8_t taken;
        Runs expected;
        uint8_t in_run_pos;
    } cases[] = {
        {{{{10, 2}, {20, 1}}, {{30, 255}}}, {}, 0, {{h(10), 2}, {h(20), 1}, {h(30), 255}}, 0},
        {{{{7, 5}, {8, 1}}}, {{{100, 2}}, {{200, 4}}}, 0, {{h(7, 100), 2}, {h(7, 200), 3}, {h(8, 200), 1}}, 0},
        {{{{1, 5}, {2, 5}}}, {{{9, 3}}}, 0, {{h(1, 9), 3}}, 3},
        {{{{1, 2}}}, {{{9, 5}}}, 0, {{h(1, 9), 2}}, 0},
        {{{{5, 10}, {6, 4}}}, {}, 3, {{h(5), 10}, {h(6), 4}}, 3},
        {{{{5, 10}, {6, 4}}}, {{{kHashSeed, 255}}}, 3, {{h(5), 7}, {h(6), 4}}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        Script in = Script::of<Int4>(c.in);
        Script seed = Script::of<Uint4>(c.seed);
        ASSERT_EQ(pull(*in.rec()), SEQ_OK);
        take(*in.rec(), c.taken);
        zvq_seq_iterator r{};
        ASSERT_EQ(zvq_seq_hash(&r, in.rec(), c.seed.empty() ? nullptr : seed.rec()), SEQ_OK);
        zvq_seq_status last;
        EXPECT_EQ(test::drain_runs<uint32_t>(r, &last), c.expected);
        EXPECT_EQ(last, SEQ_END);
        EXPECT_EQ(r.next_pos, test::expand(c.expected).size());
        EXPECT_EQ(in.rec()->run_pos, c.in_run_pos);
    }
}

// A 1-byte input allows 2048 runs a call, more than a uint4 chunk holds.
TEST(HashSeq, LimitClampedAtResultCapacity) {
    test::Chunk<uint8_t> bytes;
    std::vector<Runs> expected;  // the runs, 819 a chunk
    for (uint32_t i = 0; i < 2048; ++i) {
        bytes.push_back({static_cast<uint8_t>(i * 7), static_cast<uint8_t>(1 + i % 3)});
        if (i % 819 == 0) expected.emplace_back();
        expected.back().push_back({h(bytes[i].value), bytes[i].repeat});
    }
    Script in = Script::of<Uint1>({bytes});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    EXPECT_EQ(test::drain_chunks<uint32_t>(r), expected);
}

// Seed type first, then the seed's binding, then the input's; a seed marked
// before the input fails stays marked.
TEST(HashSeq, ConstructorOrderOfTests) {
    test::BindingChecks on(1);
    Script in = Script::of<Int4>({});
    Script wrong = Script::of<Int4>({});
    Script seed = Script::of<Uint4>({});
    zvq_seq_iterator r{};
    in.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), wrong.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(wrong.rec()->bound, 0);
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(seed.rec()->bound, 1);
    in.rec()->bound = 0;
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(in.rec()->bound, 0);
    test::BindingChecks off(0);
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_OK);
    EXPECT_EQ(r.reset, zvq_seq_reset_binary_iterator);
}

}  // namespace
}  // namespace zvq
