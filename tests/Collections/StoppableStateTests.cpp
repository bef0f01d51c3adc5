// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/StoppableState.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(StoppableState, StopsWhenEitherSideStops)
{
    using enum StoppableState;
    static_assert(static_cast<int>(pursue) == 0 && static_cast<int>(stop) == 1);
    EXPECT_EQ(pursue || pursue, pursue);
    EXPECT_EQ(pursue || stop, stop);
    EXPECT_EQ(stop || pursue, stop);
    EXPECT_EQ(stop || stop, stop);
}

} // namespace
} // namespace corvane
