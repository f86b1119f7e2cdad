// sort over every numeric type: properties on random data with duplicates and
// NaN, the one-pass cases, the mirror of descending order, the heap sort at
// the end of the budget and the front-sorted test.
#include <algorithm>
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

using Perm = std::vector<uint64_t>;

Perm identity(size_t n) {
    Perm p(n);
    std::iota(p.begin(), p.end(), 0);
    return p;
}

bool is_permutation_of_n(Perm perm) {
    std::sort(perm.begin(), perm.end());
    return perm == identity(perm.size());
}

// No neighbours out of order; a pair with a NaN never is.
template <class V>
bool ordered(const std::vector<V>& values, const Perm& perm) {
    for (size_t i = 1; i < perm.size(); ++i)
        if (values[perm[i]] < values[perm[i - 1]]) return false;
    return true;
}

// n values out of `distinct`; for the float members one in five a NaN if asked.
template <class Tag, class V = value_t<Tag>>
std::vector<V> random_values(size_t n, uint32_t distinct, bool nan = false) {
    std::mt19937 rng(static_cast<uint32_t>(n));
    std::vector<V> out(n);
    for (V& v : out)
        v = nan && is_floating<Tag> && rng() % 5 == 0 ? std::numeric_limits<V>::quiet_NaN() : V(rng() % distinct);
    return out;
}

// From the same pivot seed descending is the exact mirror of ascending,
// equal keys included.
TYPED_TEST(Sort, RandomDataWithDuplicatesAndNaN) {
    for (size_t n : {3, 37, 51, 300, 20000}) {
        const auto values = random_values<TypeParam>(n, 40, true);
        Perm asc(n, 77), desc(n, 77);
        seed<TypeParam>.store(99);
        EXPECT_EQ(Api<TypeParam>::sort(values.data(), asc.data(), n, SEQ_ORDER_ASC), SEQ_OK);
        seed<TypeParam>.store(99);
        Api<TypeParam>::sort(values.data(), desc.data(), n, SEQ_ORDER_DESC);
        EXPECT_TRUE(is_permutation_of_n(asc) && ordered(values, asc)) << n;
        std::reverse(desc.begin(), desc.end());
        EXPECT_EQ(desc, asc) << n;
    }
}

TYPED_TEST(Sort, SortedReversedAndEqualInputsInOnePass) {
    using V = value_t<TypeParam>;
    const V nan = std::numeric_limits<V>::quiet_NaN();
    auto sorted = [](const std::vector<V>& values, uint32_t order) {
        Perm perm(values.size(), 77);
        Api<TypeParam>::sort(values.data(), perm.data(), perm.size(), order);
        return perm;
    };
    const std::vector<V> up = {V(1), V(2), V(2), V(9)}, down = {V(9), V(2), V(2), V(1)};
    EXPECT_EQ(sorted({V(5)}, SEQ_ORDER_DESC), (Perm{0}));
    EXPECT_EQ(sorted(up, SEQ_ORDER_DESC), (Perm{3, 2, 1, 0}));
    EXPECT_EQ(sorted(down, SEQ_ORDER_DESC), (Perm{0, 1, 2, 3}));
    EXPECT_EQ(sorted(down, 0), (Perm{0, 1, 2, 3}));  // any order but 1 keeps non-increasing data
    EXPECT_EQ(sorted({V(4), V(4), V(4)}, SEQ_ORDER_DESC), (Perm{2, 1, 0}));  // equal: the ascending test wins
    EXPECT_EQ(sorted({V(3), V(1), V(2)}, 7), (Perm{1, 2, 0}));               // other orders sort ascending
    if constexpr (is_floating<TypeParam>) {
        EXPECT_EQ(sorted({nan, V(3), V(1), V(2)}, SEQ_ORDER_ASC), (Perm{0, 2, 3, 1}));  // the walk stops at NaN
        EXPECT_EQ(sorted({nan, nan, nan}, SEQ_ORDER_DESC), (Perm{2, 1, 0}));            // NaN only is sorted
    }
    uint64_t untouched = 42;
    Api<TypeParam>::sort(nullptr, &untouched, 0, SEQ_ORDER_DESC);
    EXPECT_EQ(untouched, 42u);

    // Long sorted and reversed input with equal neighbours; then one step
    // against the order, at every place near both ends and at some between,
    // which neither pass may miss. Falling data then sort; rising
    // data may stay partly unsorted, as the partition loop's front test sees
    // rising values.
    std::vector<V> rising(1000);
    for (size_t i = 0; i < rising.size(); ++i) rising[i] = static_cast<V>(i / 9 + 1);
    const std::vector<V> falling(rising.rbegin(), rising.rend());
    Perm mirror = identity(1000);
    std::reverse(mirror.begin(), mirror.end());
    EXPECT_EQ(sorted(rising, SEQ_ORDER_ASC), identity(1000));
    EXPECT_EQ(sorted(falling, SEQ_ORDER_ASC), mirror);
    for (size_t at = 1; at < 1000; at += at < 100 || at > 900 ? 1 : 37) {
        std::vector<V> almost = rising;
        almost[at] = static_cast<V>(almost[at - 1] - 1);
        EXPECT_NE(sorted(almost, SEQ_ORDER_ASC), identity(1000)) << at;
        almost = falling;
        almost[at] = static_cast<V>(almost[at - 1] + 1);
        Perm perm = sorted(almost, SEQ_ORDER_DESC);
        std::reverse(perm.begin(), perm.end());
        EXPECT_TRUE(perm != mirror && ordered(almost, perm)) << at;
    }
}

// With the budget spent (depth 0) a slice goes to the heap sort at once and
// comes out exactly as the heap sort alone leaves it; with a budget of 1
// after one partition. The heap sort alone over every small size, many draws
// each: a slip in the last single child shows in about one draw in a hundred.
TYPED_TEST(Sort, HeapSortWhenTheBudgetRunsOut) {
    using V = value_t<TypeParam>;
    for (size_t n : {51, 64, 1000}) {
        auto values = random_values<TypeParam>(n, 30);
        values[0] = V(29);  // a descent at the front: the front test fails
        values[1] = V(0);
        Perm by_heap = identity(n);
        heap_sort(values.data(), by_heap.data(), n);
        for (uint64_t depth : {0, 1}) {
            Perm perm = identity(n);
            qloop<TypeParam>(values.data(), perm.data(), n, depth);
            EXPECT_TRUE(is_permutation_of_n(perm) && ordered(values, perm)) << n << " " << depth;
            if (depth == 0) {
                EXPECT_EQ(perm, by_heap) << n;
            }
        }
    }
    std::mt19937 rng(3);
    for (size_t m = 2; m < 80; ++m) {
        for (int draw = 0; draw < 20; ++draw) {
            std::vector<V> values(m);
            for (V& v : values) v = static_cast<V>(rng() % 10);
            Perm perm = identity(m);
            heap_sort(values.data(), perm.data(), m);
            ASSERT_TRUE(ordered(values, perm)) << m;
        }
    }
}

TEST(SortFrontSorted, ASliceIsLeftAloneWhenTheArraysFrontRises) {
    // The first 100 values rise: a slice of 60 entries elsewhere is not
    // looked at, only the array's first 60 values are.
    std::vector<int32_t> values(20000);
    std::mt19937 rng(5);
    for (size_t i = 0; i < values.size(); ++i) values[i] = i < 100 ? int32_t(i) : int32_t(rng() % 100000);
    Perm perm = identity(values.size());
    qloop<Int4>(values.data(), perm.data() + 200, 60, 20);
    EXPECT_EQ(perm, identity(values.size()));
    // Through the exported sort, such slices stay unsorted in the result.
    zvq_seq_sort_int4(values.data(), perm.data(), perm.size(), SEQ_ORDER_ASC);
    EXPECT_TRUE(is_permutation_of_n(perm));
    EXPECT_FALSE(ordered(values, perm));
}

}  // namespace
}  // namespace zvq::test
