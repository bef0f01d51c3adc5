// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Complex.h>

#include <gtest/gtest.h>

#include <cmath>

namespace corvane {
namespace {

TEST(ComplexDeathTests, TruncateRefusesPartsThatNoIntHolds)
{
    EXPECT_DEATH(static_cast<void>(Complex{0, std::nan("")}.truncate(2)), "cannot become an integer");
    EXPECT_DEATH(static_cast<void>(Complex{1e12, 0}.truncate(8)), "cannot become an integer");
}

} // namespace
} // namespace corvane
