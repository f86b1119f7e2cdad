// sort over every numeric type: properties on random data with duplicates,
// the one-pass cases, the mirror of descending order, NaN, the heap sort at
// the end of the budget and the front-sorted test.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "select/sort.hpp"
#include "select_support.hpp"

namespace zvq::test {
namespace {

template <class Tag>
class Sort : public ::testing::Test {};
TYPED_TEST_SUITE(Sort, NumericTags);

bool is_permutation_of_n(const std::vector<uint64_t>& perm) {
    std::vector<uint64_t> sorted = perm;
    std::sort(sorted.begin(), sorted.end());
    for (uint64_t i = 0; i < sorted.size(); ++i)
        if (sorted[i] != i) return false;
    return true;
}

template <class V>
bool ordered(const std::vector<V>& values, const std::vector<uint64_t>& perm, uint32_t order) {
    for (size_t i = 1; i < perm.size(); ++i) {
        const V a = values[perm[i - 1]], b = values[perm[i]];
        if (order == SEQ_ORDER_DESC ? a < b : b < a) return false;
    }
    return true;
}

template <class V>
std::vector<V> random_values(size_t n, uint32_t distinct, uint32_t seed) {
    std::mt19937 rng(seed);
    std::vector<V> out(n);
    for (V& v : out) v = static_cast<V>(rng() % distinct);
    return out;
}

TYPED_TEST(Sort, RandomDataWithDuplicatesInBothOrders) {
    using V = value_t<TypeParam>;
    for (size_t n : {2, 3, 37, 50, 51, 300, 20000}) {
        const auto values = random_values<V>(n, 40, static_cast<uint32_t>(n));
        for (uint32_t order : {SEQ_ORDER_ASC, SEQ_ORDER_DESC}) {
            std::vector<uint64_t> perm(n, 77);
            EXPECT_EQ(Fns<TypeParam>::sort(values.data(), perm.data(), n, order), SEQ_OK);
            EXPECT_TRUE(is_permutation_of_n(perm)) << n;
            EXPECT_TRUE(ordered(values, perm, order)) << n << " " << order;
        }
    }
}

TYPED_TEST(Sort, DescendingMirrorsAscendingEqualKeysIncluded) {
    using V = value_t<TypeParam>;
    const auto values = random_values<V>(5000, 7, 3);
    std::vector<uint64_t> asc(values.size()), desc(values.size());
    seed<TypeParam>.store(99);
    Fns<TypeParam>::sort(values.data(), asc.data(), values.size(), SEQ_ORDER_ASC);
    seed<TypeParam>.store(99);
    Fns<TypeParam>::sort(values.data(), desc.data(), values.size(), SEQ_ORDER_DESC);
    std::reverse(desc.begin(), desc.end());
    EXPECT_EQ(desc, asc);
}

TYPED_TEST(Sort, SmallSortedReversedAndEqualInputs) {
    using V = value_t<TypeParam>;
    using P = std::vector<uint64_t>;
    struct Case {
        std::vector<V> values;
        uint32_t order;
        P want;
    };
    const std::vector<Case> cases = {
        {{V(5)}, SEQ_ORDER_ASC, {0}},
        {{V(5)}, SEQ_ORDER_DESC, {0}},
        {{V(1), V(2), V(2), V(9)}, SEQ_ORDER_ASC, {0, 1, 2, 3}},
        {{V(1), V(2), V(2), V(9)}, SEQ_ORDER_DESC, {3, 2, 1, 0}},
        {{V(9), V(2), V(2), V(1)}, SEQ_ORDER_ASC, {3, 2, 1, 0}},
        {{V(9), V(2), V(2), V(1)}, SEQ_ORDER_DESC, {0, 1, 2, 3}},
        {{V(9), V(2), V(1)}, 0, {0, 1, 2}},  // any order but 1 keeps non-increasing data
        {{V(4), V(4), V(4)}, SEQ_ORDER_DESC, {2, 1, 0}},  // equal: the ascending test wins
        {{V(3), V(1), V(2)}, 7, {1, 2, 0}},  // other orders sort ascending
    };
    for (const Case& c : cases) {
        P perm(c.values.size());
        Fns<TypeParam>::sort(c.values.data(), perm.data(), perm.size(), c.order);
        EXPECT_EQ(perm, c.want);
    }
    uint64_t untouched = 42;
    Fns<TypeParam>::sort(nullptr, &untouched, 0, SEQ_ORDER_DESC);
    EXPECT_EQ(untouched, 42u);
}

TYPED_TEST(Sort, LongSortedAndReversedInputsAndOneLateStep) {
    using V = value_t<TypeParam>;
    const size_t n = 1000;
    std::vector<V> rising(n);
    for (size_t i = 0; i < n; ++i) rising[i] = static_cast<V>(i / 9);  // equal neighbours too
    std::vector<V> falling(rising.rbegin(), rising.rend());
    std::vector<uint64_t> perm(n), identity(n), mirror(n);
    std::iota(identity.begin(), identity.end(), 0);
    std::iota(mirror.rbegin(), mirror.rend(), 0);
    Fns<TypeParam>::sort(rising.data(), perm.data(), n, SEQ_ORDER_ASC);
    EXPECT_EQ(perm, identity);
    Fns<TypeParam>::sort(falling.data(), perm.data(), n, SEQ_ORDER_ASC);
    EXPECT_EQ(perm, mirror);
    // One step against the order, deep inside: neither pass may miss it.
    // Rising data with a late step stay partly unsorted (the front test of
    // the partition loop sees rising values); falling data sort.
    for (size_t at : {size_t{33}, size_t{700}, n - 1}) {
        std::vector<V> almost = rising;
        std::swap(almost[at], almost[at - 9]);
        Fns<TypeParam>::sort(almost.data(), perm.data(), n, SEQ_ORDER_ASC);
        EXPECT_NE(perm, identity) << at;
        EXPECT_TRUE(is_permutation_of_n(perm));
        if (at == 33) {
            EXPECT_TRUE(ordered(almost, perm, SEQ_ORDER_ASC));
        }
        almost.assign(falling.begin(), falling.end());
        std::swap(almost[at], almost[at - 9]);
        Fns<TypeParam>::sort(almost.data(), perm.data(), n, SEQ_ORDER_DESC);
        EXPECT_NE(perm, identity) << at;
        EXPECT_TRUE(ordered(almost, perm, SEQ_ORDER_DESC)) << at;
    }
}

template <class Tag>
class SortFloat : public ::testing::Test {};
using FloatTags = ::testing::Types<Float, Double>;
TYPED_TEST_SUITE(SortFloat, FloatTags);

TYPED_TEST(SortFloat, NaNIsNoInversionAndStopsEveryScan) {
    using V = value_t<TypeParam>;
    const V nan = std::numeric_limits<V>::quiet_NaN();
    std::vector<uint64_t> perm(4);
    // Neither sorted nor reversed; the insertion walk stops at the NaN.
    const std::vector<V> mixed = {nan, V(3), V(1), V(2)};
    Fns<TypeParam>::sort(mixed.data(), perm.data(), 4, SEQ_ORDER_ASC);
    EXPECT_EQ(perm, (std::vector<uint64_t>{0, 2, 3, 1}));
    // NaN only counts as sorted.
    const std::vector<V> nans(4, nan);
    Fns<TypeParam>::sort(nans.data(), perm.data(), 4, SEQ_ORDER_DESC);
    EXPECT_EQ(perm, (std::vector<uint64_t>{3, 2, 1, 0}));
    // Many NaN among many values, through partitions and the heap sort:
    // no scan runs off the slice, and every index comes out once.
    std::mt19937 rng(11);
    for (uint64_t depth : {uint64_t{0}, uint64_t{30}}) {
        std::vector<V> values(3000);
        for (V& v : values) v = rng() % 5 == 0 ? nan : static_cast<V>(rng() % 100);
        std::vector<uint64_t> p(values.size());
        std::iota(p.begin(), p.end(), 0);
        qloop<TypeParam>(values.data(), p.data(), p.size(), depth);
        EXPECT_TRUE(is_permutation_of_n(p));
    }
}

// With the budget spent (depth 0) a slice goes to the heap sort at once; with
// a budget of 1 after one partition.
TYPED_TEST(Sort, HeapSortWhenTheBudgetRunsOut) {
    using V = value_t<TypeParam>;
    for (uint64_t depth : {0, 1}) {
        for (size_t n : {51, 64, 1000}) {
            auto values = random_values<V>(n, 30, static_cast<uint32_t>(n + depth));
            values[0] = V(29);  // a descent at the front: the raw test fails
            values[1] = V(0);
            std::vector<uint64_t> perm(n);
            std::iota(perm.begin(), perm.end(), 0);
            qloop<TypeParam>(values.data(), perm.data(), n, depth);
            EXPECT_TRUE(is_permutation_of_n(perm));
            EXPECT_TRUE(ordered(values, perm, SEQ_ORDER_ASC)) << n << " " << depth;
        }
    }
    // The heap sort alone, over every small size.
    for (size_t m = 2; m < 80; ++m) {
        const auto values = random_values<V>(m, 10, static_cast<uint32_t>(m));
        std::vector<uint64_t> perm(m);
        std::iota(perm.begin(), perm.end(), 0);
        heap_sort(values.data(), perm.data(), m);
        EXPECT_TRUE(ordered(values, perm, SEQ_ORDER_ASC)) << m;
    }
}

TEST(SortFrontSorted, ASliceIsLeftAloneWhenTheArraysFrontRises) {
    // The first 100 values rise: a slice of 60 entries elsewhere is not
    // looked at, only the array's first 60 values are.
    std::vector<int32_t> values(400);
    for (int32_t i = 0; i < 100; ++i) values[i] = i;
    std::mt19937 rng(5);
    for (size_t i = 100; i < values.size(); ++i) values[i] = static_cast<int32_t>(rng() % 1000);
    std::vector<uint64_t> perm(values.size());
    std::iota(perm.begin(), perm.end(), 0);
    const std::vector<uint64_t> before = perm;
    qloop<Int4>(values.data(), perm.data() + 200, 60, 20);
    EXPECT_EQ(perm, before);

    // Through the exported sort, such slices stay unsorted in the result.
    std::vector<int32_t> big(20000);
    for (int32_t i = 0; i < 100; ++i) big[i] = i;
    for (size_t i = 100; i < big.size(); ++i) big[i] = static_cast<int32_t>(rng() % 100000);
    std::vector<uint64_t> p(big.size());
    zvq_seq_sort_int4(big.data(), p.data(), p.size(), SEQ_ORDER_ASC);
    EXPECT_TRUE(is_permutation_of_n(p));
    EXPECT_FALSE(ordered(big, p, SEQ_ORDER_ASC));
}

}  // namespace
}  // namespace zvq::test
