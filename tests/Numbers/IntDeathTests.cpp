// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Int.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(IntDeathTests, ResultsThatAnIntCannotHoldStopTheProcess)
{
    EXPECT_DEATH(static_cast<void>(abs(std::numeric_limits<Int>::min())), "overflow");
    EXPECT_DEATH(static_cast<void>(corvane::pow(2, 63)), "cannot become an integer");
    EXPECT_DEATH(static_cast<void>(corvane::pow(0, -1)), "cannot become an integer");
    EXPECT_DEATH(static_cast<void>(factorial(21)), "overflow");
    const Int most = std::numeric_limits<Int>::max(); // 2^63 as a float
    EXPECT_DEATH(static_cast<void>(randomValue<Int>(most, most)), "cannot become an integer");
}

TEST(IntDeathTests, FactorialsBeginAtTwo)
{
    for (const Int value : {1, 0, -1})
        EXPECT_DEATH(static_cast<void>(factorial(value)), "A factorial is formed from 2 on");
}

} // namespace
} // namespace corvane
