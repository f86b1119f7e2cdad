#include <gtest/gtest.h>
#include "support/scripted_source.hpp"
TEST(Smoke, Builds) { zvq_seq_iterator r{}; int32_t v[3] = {1,2,3}; ASSERT_EQ(zvq_seq_unget_int4(&r, v, 3), SEQ_OK); int32_t x; ASSERT_EQ(zvq_seq_next_int4(&r, &x), SEQ_OK); EXPECT_EQ(x, 1); }
