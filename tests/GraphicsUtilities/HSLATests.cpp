// SPDX-License-Identifier: Apache-2.0
#include <corvane/GraphicsUtilities/HSLA.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

static_assert(HSLA::zero == HSLA{0, 0, 0, 0} && HSLA::black == HSLA{0, 0, 0, 1});
static_assert(HSLA::white == HSLA{0, 0, 1, 1} && HSLA::clear == HSLA{0, 0, 0, 0});

TEST(HSLATests, EveryFieldIsPrintedAndCompared)
{
    constexpr HSLA color{0.1, 0.2, 0.3, 0.4};
    EXPECT_EQ(color.description(), "HSLA(0.1, 0.2, 0.3, 0.4)");
    EXPECT_EQ((HSLA{0.5, 1, 0.25}).description(), "HSLA(0.5, 1.0, 0.25, 1.0)");
    EXPECT_NE(color, (HSLA{0.9, 0.2, 0.3, 0.4}));
    EXPECT_NE(color, (HSLA{0.1, 0.9, 0.3, 0.4}));
    EXPECT_NE(color, (HSLA{0.1, 0.2, 0.9, 0.4}));
    EXPECT_NE(color, (HSLA{0.1, 0.2, 0.3, 0.9}));
}

} // namespace
} // namespace corvane
