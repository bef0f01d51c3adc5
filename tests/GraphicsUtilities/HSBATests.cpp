// SPDX-License-Identifier: Apache-2.0
#include <corvane/GraphicsUtilities/HSBA.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

static_assert(HSBA::zero == HSBA{0, 0, 0, 0} && HSBA::black == HSBA{0, 0, 0, 1});
static_assert(HSBA::white == HSBA{0, 0, 1, 1} && HSBA::clear == HSBA{0, 0, 0, 0});

TEST(HSBATests, EveryFieldIsPrintedAndCompared)
{
    constexpr HSBA color{0.1, 0.2, 0.3, 0.4};
    EXPECT_EQ(color.description(), "HSBA(0.1, 0.2, 0.3, 0.4)");
    EXPECT_EQ((HSBA{0.5, 1, 0.25}).description(), "HSBA(0.5, 1.0, 0.25, 1.0)");
    EXPECT_NE(color, (HSBA{0.9, 0.2, 0.3, 0.4}));
    EXPECT_NE(color, (HSBA{0.1, 0.9, 0.3, 0.4}));
    EXPECT_NE(color, (HSBA{0.1, 0.2, 0.9, 0.4}));
    EXPECT_NE(color, (HSBA{0.1, 0.2, 0.3, 0.9}));
}

} // namespace
} // namespace corvane
