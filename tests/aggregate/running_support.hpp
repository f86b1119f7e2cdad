// Shared by the window, cumulative and grid tests: each member's constructors
// by type tag, and a drain that reads a record's outputs as (value, count)
// stretches after checking that every output run has repeat 1.
#pragma once

#include <type_traits>

#include "aggregate/whole.hpp"
#include "support/scripted_source.hpp"

namespace zvq::test {

using Sized = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*, uint64_t);
using Plain = zvq_seq_status (*)(zvq_seq_iterator*, zvq_seq_iterator*);

// Every family of each kind, min and max third and fourth.
template <class Tag>
struct Running : Api<Tag> {
    using A = Api<Tag>;
    static constexpr Sized windows[] = {A::window_agg_sum, A::window_agg_avg,      A::window_agg_min,
                                        A::window_agg_max, A::window_agg_var,      A::window_agg_var_samp,
                                        A::window_agg_dev, A::window_agg_dev_samp, A::window_agg_ema,
                                        A::window_agg_atr};
    static constexpr Plain cums[] = {A::cum_agg_sum, A::cum_agg_prd,      A::cum_agg_min,
                                     A::cum_agg_max, A::cum_agg_avg,      A::cum_agg_var,
                                     A::cum_agg_var_samp, A::cum_agg_dev, A::cum_agg_dev_samp};
    static constexpr Sized grids[] = {A::grid_agg_sum, A::grid_agg_avg,      A::grid_agg_min, A::grid_agg_max,
                                      A::grid_agg_var, A::grid_agg_var_samp, A::grid_agg_dev, A::grid_agg_dev_samp};
};

// Equal neighbouring outputs gathered, so that long results read as short
// literal tables. Values compare bitwise, so that -0 is not 0, except that
// a NaN equals any NaN (sqrt of a negative gives one with the sign set).
template <class V>
struct Stretch {
    V value;
    size_t count;
    bool operator==(const Stretch& o) const {
        const bool nans = value != value && o.value != o.value;
        return (nans || std::memcmp(&value, &o.value, sizeof(V)) == 0) && count == o.count;
    }
};

template <class V>
using Stretches = std::vector<Stretch<V>>;

template <class V>
Stretches<V> stretches(const std::vector<V>& values) {
    Stretches<V> out;
    for (const V& v : values) {
        if (!out.empty() && out.back() == Stretch<V>{v, out.back().count})
            ++out.back().count;
        else
            out.push_back({v, 1});
    }
    return out;
}

// Literal outputs, converted to V and gathered.
template <class V, class From = double>
Stretches<V> seq(std::initializer_list<std::type_identity_t<From>> values) {
    std::vector<V> out;
    for (From v : values) out.push_back(static_cast<V>(v));
    return stretches(out);
}

// The outputs of a record as stretches, each output a run of repeat 1.
template <class V>
Stretches<V> outputs(zvq_seq_iterator& r, zvq_seq_status* last = nullptr) {
    std::vector<V> values;
    for (const auto& run : drain_runs<V>(r, last)) {
        EXPECT_EQ(run.repeat, 1);
        values.push_back(run.value);
    }
    return stretches(values);
}

// Builds ctor(result, operand, arg...) over the chunks and drains it.
template <class V, class Tag, class Ctor, class... Arg>
Stretches<V> run_over(Ctor ctor, const std::vector<Chunk<value_t<Tag>>>& chunks, Arg... arg) {
    auto s = Script::of<Tag>(chunks);
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, s.rec(), arg...), SEQ_OK);
    return outputs<V>(r);
}

// Builds ctor over an empty operand and checks the declared shape, that the
// record takes no part in merging and that it ends at once; gives its reset.
template <class Tag, class Ctor, class... Arg>
zvq_seq_next_fn empty_shape(Ctor ctor, uint8_t type, uint16_t size, Arg... arg) {
    auto s = Script::of<Tag>({});
    zvq_seq_iterator r{};
    EXPECT_EQ(ctor(&r, s.rec(), arg...), SEQ_OK);
    EXPECT_EQ(r.elem_type, type);
    EXPECT_EQ(r.elem_size, size);
    EXPECT_TRUE(r.prepare == nullptr && r.merge == nullptr);
    EXPECT_EQ(r.next(&r), SEQ_END);
    return r.reset;
}

}  // namespace zvq::test
