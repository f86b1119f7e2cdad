// argsort: the one stable order (against std::stable_sort with the same
// rule), NaN last both ways, -0.0 equal to 0.0, the passes it may skip, and
// its scratch memory.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "select_support.hpp"

namespace zvq::test {
namespace {

using Perm = std::vector<uint64_t>;


template <class Tag, class V = value_t<Tag>>
Perm argsort(const std::vector<V>& values, uint32_t order) {
    Perm p(values.size(), 12345);
    EXPECT_EQ(Api<Tag>::argsort(values.data(), p.data(), values.size(), order), SEQ_OK);
    return p;
}

// The expected permutation: a stable sort of indices, NaN after every value
// in both orders.
template <class V>
Perm reference(const std::vector<V>& values, uint32_t order) {
    Perm p(values.size());
    std::iota(p.begin(), p.end(), 0);
    auto nan = [](V v) {
        if constexpr (std::is_floating_point_v<V>)
            return std::isnan(v);
        else
            return false;
    };
    std::stable_sort(p.begin(), p.end(), [&](uint64_t a, uint64_t b) {
        const V x = values[a], y = values[b];
        if (nan(x) || nan(y)) return !nan(x) && nan(y);
        return order == SEQ_ORDER_ASC ? x < y : y < x;
    });
    return p;
}

template <class Tag>
class ArgsortTyped : public ::testing::Test {};
TYPED_TEST_SUITE(ArgsortTyped, NumericTags);

// Few distinct values (long ties, one or two passes) and full-width random
// bits (every pass), with NaN and -0.0 in the floating members.
TYPED_TEST(ArgsortTyped, EqualsAStableSortInBothOrders) {
    using V = value_t<TypeParam>;
    std::mt19937_64 rng(7);
    for (size_t n : {1, 2, 17, 1000, 70000}) {
        for (bool wide : {false, true}) {
            std::vector<V> values(n);
            for (V& v : values) {
                const uint64_t x = rng();
                if constexpr (is_floating<TypeParam>) {
                    const int pick = static_cast<int>(x % 10);
                    v = pick == 0   ? std::numeric_limits<V>::quiet_NaN()
                        : pick == 1 ? V(-0.0)
                        : wide      ? V(std::ldexp(static_cast<double>(x >> 11) - 4.5e15, static_cast<int>(x % 40) - 20))
                                    : V(static_cast<int>(x >> 40) % 9 - 4);
                } else {
                    V bits;
                    std::memcpy(&bits, &x, sizeof(V));
                    v = wide ? bits : V(x % 9);
                }
            }
            for (uint32_t order : {SEQ_ORDER_ASC, SEQ_ORDER_DESC})
                EXPECT_EQ(argsort<TypeParam>(values, order), reference(values, order)) << n << " " << wide << " " << order;
        }
    }
}

TYPED_TEST(ArgsortTyped, AllEqualKeepsInputOrderBothWays) {
    using V = value_t<TypeParam>;
    const std::vector<V> same(600, V(5));
    Perm id(600);
    std::iota(id.begin(), id.end(), 0);
    EXPECT_EQ(argsort<TypeParam>(same, SEQ_ORDER_ASC), id);
    EXPECT_EQ(argsort<TypeParam>(same, SEQ_ORDER_DESC), id);
}

TEST(ArgsortLiterals, SignedZerosNaNInfinitiesAndIntegerExtremes) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    //                              0    1     2    3    4     5    6
    const std::vector<double> d = {3.0, -0.0, nan, 0.0, -1.0, nan, 3.0};
    EXPECT_EQ(argsort<Double>(d, SEQ_ORDER_ASC), (Perm{4, 1, 3, 0, 6, 2, 5}));
    EXPECT_EQ(argsort<Double>(d, SEQ_ORDER_DESC), (Perm{0, 6, 1, 3, 4, 2, 5}));
    const std::vector<float> f = {float(inf), -float(inf), -float(nan), 1.0f};
    EXPECT_EQ(argsort<Float>(f, SEQ_ORDER_ASC), (Perm{1, 3, 0, 2}));
    EXPECT_EQ(argsort<Float>(f, SEQ_ORDER_DESC), (Perm{0, 3, 1, 2}));
    const int32_t lo = std::numeric_limits<int32_t>::min(), hi = std::numeric_limits<int32_t>::max();
    EXPECT_EQ(argsort<Int4>({lo, hi, -1, 0, lo}, SEQ_ORDER_ASC), (Perm{0, 4, 2, 3, 1}));
    EXPECT_EQ(argsort<Int4>({lo, hi, -1, 0, lo}, SEQ_ORDER_DESC), (Perm{1, 3, 2, 0, 4}));
    EXPECT_EQ(argsort<Uint8>({~uint64_t{0}, 0, uint64_t{1} << 63}, SEQ_ORDER_ASC), (Perm{1, 2, 0}));
    EXPECT_EQ(argsort<Datetime>({~uint64_t{0}, 0, uint64_t{1} << 63}, SEQ_ORDER_DESC), (Perm{0, 2, 1}));
}

// The case: 500 rising values, then 10,000 random ones. sort leaves
// pairs out of order; argsort leaves none.
TEST(ArgsortLiterals, FrontSortedInputIsFullySorted) {
    std::mt19937 rng(5);
    std::vector<double> v(10500);
    for (size_t i = 0; i < 500; ++i) v[i] = static_cast<double>(i);
    for (size_t i = 500; i < v.size(); ++i) v[i] = static_cast<double>(rng() % 100000) / 7.0;
    const Perm p = argsort<Double>(v, SEQ_ORDER_ASC);
    size_t out_of_order = 0;
    for (size_t i = 1; i < p.size(); ++i) out_of_order += v[p[i]] < v[p[i - 1]];
    EXPECT_EQ(out_of_order, 0u);
    EXPECT_EQ(p, reference(v, SEQ_ORDER_ASC));
}

TEST(ArgsortArguments, OrderAndEmptyInput) {
    const double v[2] = {2.0, 1.0};
    uint64_t p[2] = {7, 7};
    EXPECT_EQ(zvq_seq_argsort_double(v, p, 2, 0), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_argsort_double(v, p, 2, 3), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(zvq_seq_argsort_double(v, nullptr, 2, SEQ_ORDER_ASC), SEQ_BAD_ARGUMENT);
    EXPECT_EQ(p[0], 7u);
    EXPECT_EQ(zvq_seq_argsort_double(v, p, 0, SEQ_ORDER_ASC), SEQ_OK);
    EXPECT_EQ(p[0], 7u);
    EXPECT_EQ(zvq_seq_argsort_double(v, p, 1, SEQ_ORDER_DESC), SEQ_OK);
    EXPECT_EQ(p[0], 0u);
}

// Scratch: none for one varying byte (the digits that never change are
// skipped), one array for two, two for more; every failure is SEQ_NOMEM
// with nothing left allocated.
TEST(ArgsortMemory, PassesSkippedAndEveryAllocationFailing) {
    struct Case {
        std::vector<int32_t> values;
        uint64_t allocations;
    };
    std::vector<int32_t> wide(3000);
    std::mt19937 rng(1);
    for (int32_t& x : wide) x = static_cast<int32_t>(rng());
    const std::vector<Case> cases = {
        {{0x300, 0x100, 0x200, 0x100}, 0},          // byte 1 alone varies
        {{0x30001, 0x10002, 0x20001, 0x10001}, 1},  // bytes 0 and 2
        {wide, 2},
    };
    for (const Case& c : cases) {
        const Perm want = reference(c.values, SEQ_ORDER_ASC);
        {
            CountingAllocator alloc;
            EXPECT_EQ(argsort<Int4>(c.values, SEQ_ORDER_ASC), want);
            EXPECT_EQ(alloc.allocations(), c.allocations);
            EXPECT_EQ(alloc.live_blocks(), 0);
            EXPECT_FALSE(alloc.size_mismatch());
        }
        for (uint64_t k = 1; k <= c.allocations; ++k) {
            CountingAllocator alloc;
            alloc.fail_on(k);
            Perm p(c.values.size());
            EXPECT_EQ(zvq_seq_argsort_int4(c.values.data(), p.data(), p.size(), SEQ_ORDER_DESC), SEQ_NOMEM) << k;
            EXPECT_EQ(alloc.live_blocks(), 0) << k;
        }
    }
}

}  // namespace
}  // namespace zvq::test
