// SPDX-License-Identifier: Apache-2.0
#include <corvane/GraphicsUtilities/RGBA.h>

#include <gtest/gtest.h>

#include <cmath>

namespace corvane {
namespace {

TEST(RGBADeathTests, HexStringRefusesComponentsThatNoIntHolds)
{
    EXPECT_DEATH(static_cast<void>(RGBA(std::nan(""), 0, 0).hexString()), "cannot become an integer");
    EXPECT_DEATH(static_cast<void>(RGBA(0, HUGE_VAL, 0).hexString()), "cannot become an integer");
    EXPECT_DEATH(static_cast<void>(RGBA(0, 0, 0, 1e17).hexString()), "cannot become an integer");
}

} // namespace
} // namespace corvane
