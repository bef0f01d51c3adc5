// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Complex.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(ComplexDeathTests, TruncateRefusesPartsThatNoIntHolds)
{
    EXPECT_DEATH(static_cast<void>(Complex{0, NAN}.truncate(2)), "cannot become an integer");
    EXPECT_DEATH(static_cast<void>(Complex{1e12, 0}.truncate(8)), "cannot become an integer");
}

} // namespace
} // namespace corvane
