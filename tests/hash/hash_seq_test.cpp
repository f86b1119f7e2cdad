#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hash/murmur.hpp"
#include "support/scripted_source.hpp"

namespace zvq {
namespace {

using test::Run;
using test::Script;

template <class V>
uint32_t h(V value, uint32_t seed = kHashSeed) {
    return murmur_hash3_32(&value, sizeof value, seed);
}

using Runs = std::vector<Run<uint32_t>>;

TEST(HashSeq, EmptyInputEndsAtOnce) {
    Script in = Script::of<Int4>({});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_END);

    Script in2 = Script::of<Int4>({});
    Script seed = Script::of<Uint4>({{{1, 3}}});
    zvq_seq_iterator s{};
    ASSERT_EQ(zvq_seq_hash(&s, in2.rec(), seed.rec()), SEQ_OK);
    EXPECT_EQ(s.next(&s), SEQ_END);
}

// One hash per run, the run's repeat byte kept, 255 included; the end inside
// a call delivers what was made.
TEST(HashSeq, OneHashPerRunThenEnd) {
    Script in = Script::of<Int4>({{{10, 2}, {20, 1}}, {{30, 255}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    ASSERT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 3);
    EXPECT_EQ(r.next_pos, 258u);
    r.chunk_pos = r.chunk_count;
    const Runs expected = {{h<int32_t>(10), 2}, {h<int32_t>(20), 1}, {h<int32_t>(30), 255}};
    Runs got;
    for (uint32_t i = 0; i < 3; ++i) got.push_back({value_at<uint32_t>(r, i), repeat_at(r, i)});
    EXPECT_EQ(got, expected);
    EXPECT_EQ(r.next(&r), SEQ_END);
}

TEST(HashSeq, HashesAllBytesOfCharValues) {
    Script in = Script::of_char(12, {{{"abc", 1}, {std::string("abc\0\0x", 6), 4}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    const auto runs = test::drain_runs<uint32_t>(r);
    const char a[12] = "abc";
    const char b[12] = {'a', 'b', 'c', 0, 0, 'x'};
    EXPECT_EQ(runs, (Runs{{murmur_hash3_32(a, 12, kHashSeed), 1}, {murmur_hash3_32(b, 12, kHashSeed), 4}}));
}

// The result's runs are the overlaps of input runs and seed runs, across the
// seed's chunk boundary; each hash is seeded by the seed's value.
TEST(HashSeq, SeedRunsCutTheResult) {
    Script in = Script::of<Uint8>({{{7, 5}, {8, 1}}});
    Script seed = Script::of<Uint4>({{{100, 2}}, {{200, 4}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_OK);
    zvq_seq_status last;
    const auto runs = test::drain_runs<uint32_t>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(runs, (Runs{{h<uint64_t>(7, 100), 2}, {h<uint64_t>(7, 200), 3}, {h<uint64_t>(8, 200), 1}}));
    EXPECT_EQ(r.next_pos, 6u);
}

TEST(HashSeq, SeedEndingFirstEndsTheResult) {
    Script in = Script::of<Int2>({{{1, 5}, {2, 5}}});
    Script seed = Script::of<Uint4>({{{9, 3}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_OK);
    zvq_seq_status last;
    const auto runs = test::drain_runs<uint32_t>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    EXPECT_EQ(runs, (Runs{{h<int16_t>(1, 9), 3}}));
    // The input is left inside its first run.
    EXPECT_EQ(in.rec()->chunk_pos, 0);
    EXPECT_EQ(in.rec()->run_pos, 3);
}

// Without a seed a run is hashed whole even if a reader took part of it, and
// run_pos is left alone; with a seed only the rest counts.
TEST(HashSeq, HalfReadRunCountsWholeOnlyWithoutSeed) {
    Script in = Script::of<Int4>({{{5, 10}, {6, 4}}});
    ASSERT_EQ(pull(*in.rec()), SEQ_OK);
    take(*in.rec(), 3);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    EXPECT_EQ(test::drain_runs<uint32_t>(r), (Runs{{h<int32_t>(5), 10}, {h<int32_t>(6), 4}}));
    EXPECT_EQ(in.rec()->run_pos, 3);

    Script in2 = Script::of<Int4>({{{5, 10}, {6, 4}}});
    Script seed = Script::of<Uint4>({{{kHashSeed, 255}}});
    ASSERT_EQ(pull(*in2.rec()), SEQ_OK);
    take(*in2.rec(), 3);
    zvq_seq_iterator s{};
    ASSERT_EQ(zvq_seq_hash(&s, in2.rec(), seed.rec()), SEQ_OK);
    EXPECT_EQ(test::drain_runs<uint32_t>(s), (Runs{{h<int32_t>(5), 7}, {h<int32_t>(6), 4}}));
}

// Narrow inputs would allow more runs than the uint4 chunk holds; chunks end
// at 819 runs and no hash is lost or moved.
TEST(HashSeq, LimitClampedAtResultCapacity) {
    test::Chunk<uint8_t> bytes;
    for (uint32_t i = 0; i < 2048; ++i) bytes.push_back({static_cast<uint8_t>(i * 7), static_cast<uint8_t>(1 + i % 3)});
    Script in = Script::of<Uint1>({bytes});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    zvq_seq_status last;
    const auto chunks = test::drain_chunks<uint32_t>(r, &last);
    EXPECT_EQ(last, SEQ_END);
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].size(), 819u);
    EXPECT_EQ(chunks[1].size(), 819u);
    EXPECT_EQ(chunks[2].size(), 410u);
    Runs all;
    for (const auto& c : chunks) all.insert(all.end(), c.begin(), c.end());
    for (uint32_t i = 0; i < 2048; ++i)
        ASSERT_EQ(all[i], (test::Run<uint32_t>{h<uint8_t>(bytes[i].value), bytes[i].repeat})) << i;
}

TEST(HashSeq, InputWiderThanAChunkGivesEmptyChunks) {
    Script in(4096, ZVQ_SEQ_TYPE_CHAR);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    r.chunk_count = 5;
    EXPECT_EQ(r.next(&r), SEQ_OK);
    EXPECT_EQ(r.chunk_count, 0);
    EXPECT_EQ(in.pulls(), 0u);
}

TEST(HashSeq, OperandFailurePassesUp) {
    Script in = Script::of<Int4>({{{1, 1}}, {{2, 1}}});
    in.fail_at(1, SEQ_NOT_SUPPORTED);
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    EXPECT_EQ(r.next(&r), SEQ_NOT_SUPPORTED);

    Script in2 = Script::of<Int4>({{{1, 4}}});
    Script seed = Script::of<Uint4>({{{1, 1}}, {{2, 1}}});
    seed.fail_at(1, SEQ_BAD_ARGUMENT);
    zvq_seq_iterator s{};
    ASSERT_EQ(zvq_seq_hash(&s, in2.rec(), seed.rec()), SEQ_OK);
    EXPECT_EQ(s.next(&s), SEQ_BAD_ARGUMENT);
}

TEST(HashSeq, ResetReplaysBothOperands) {
    Script in = Script::of<Int4>({{{3, 4}}});
    Script seed = Script::of<Uint4>({{{1, 1}, {2, 3}}});
    zvq_seq_iterator r{};
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_OK);
    const auto first = test::drain_runs<uint32_t>(r);
    ASSERT_EQ(r.reset(&r), SEQ_OK);
    EXPECT_EQ(in.resets(), 1u);
    EXPECT_EQ(seed.resets(), 1u);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(test::drain_runs<uint32_t>(r), first);
    EXPECT_EQ(first, (Runs{{h<int32_t>(3, 1), 1}, {h<int32_t>(3, 2), 3}}));
}

// Seed type first, then the seed's binding, then the input's; a seed marked
// before the input fails stays marked.
TEST(HashSeq, ConstructorOrderOfTests) {
    test::BindingChecks on(1);
    Script in = Script::of<Int4>({});
    Script wrong = Script::of<Int4>({});
    zvq_seq_iterator r{};
    in.rec()->bound = 1;
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), wrong.rec()), SEQ_TYPE_MISMATCH);
    EXPECT_EQ(wrong.rec()->bound, 0);

    Script seed = Script::of<Uint4>({});
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(seed.rec()->bound, 1);

    in.rec()->bound = 0;
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_ALREADY_BOUND);
    EXPECT_EQ(in.rec()->bound, 0);

    test::BindingChecks off(0);
    EXPECT_EQ(zvq_seq_hash(&r, in.rec(), seed.rec()), SEQ_OK);
    EXPECT_EQ(in.rec()->bound, 1);
}

TEST(HashSeq, ConstructorFillsTheRecord) {
    Script in = Script::of<Double>({});
    Script seed = Script::of<Uint4>({});
    zvq_seq_iterator r{};
    r.operand[1] = in.rec();
    r.bound = 1;
    r.next_pos = 9;
    ASSERT_EQ(zvq_seq_hash(&r, in.rec(), nullptr), SEQ_OK);
    EXPECT_EQ(r.next, zvq_seq_hash_next);
    EXPECT_EQ(r.reset, zvq_seq_reset_unary_iterator);
    EXPECT_EQ(r.prepare, nullptr);
    EXPECT_EQ(r.merge, nullptr);
    EXPECT_EQ(r.elem_size, 4);
    EXPECT_EQ(r.elem_type, ZVQ_SEQ_TYPE_UINT4);
    EXPECT_EQ(r.bound, 0);
    EXPECT_EQ(r.next_pos, 0u);
    EXPECT_EQ(r.last_pos, kAllOnes);
    EXPECT_EQ(r.operand[0], in.rec());
    EXPECT_EQ(r.operand[1], nullptr);

    Script in2 = Script::of<Double>({});
    zvq_seq_iterator s{};
    ASSERT_EQ(zvq_seq_hash(&s, in2.rec(), seed.rec()), SEQ_OK);
    EXPECT_EQ(s.reset, zvq_seq_reset_binary_iterator);
    EXPECT_EQ(s.operand[1], seed.rec());
}

}  // namespace
}  // namespace zvq
