// SPDX-License-Identifier: Apache-2.0
#include <corvane/GraphicsUtilities/CMYKA.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

static_assert(CMYKA::zero == CMYKA{0, 0, 0, 0, 0} && CMYKA::black == CMYKA{0, 0, 0, 1, 1});
static_assert(CMYKA::white == CMYKA{0, 0, 0, 0, 1} && CMYKA::clear == CMYKA{0, 0, 0, 1, 0});

TEST(CMYKATests, EveryFieldIsPrintedAndCompared)
{
    constexpr CMYKA color{0.1, 0.2, 0.3, 0.4, 0.5};
    EXPECT_EQ(color.description(), "CMYKA(0.1, 0.2, 0.3, 0.4, 0.5)");
    EXPECT_EQ((CMYKA{0, 0.5, 1, 0.25}).description(), "CMYKA(0.0, 0.5, 1.0, 0.25, 1.0)");
    EXPECT_NE(color, (CMYKA{0.9, 0.2, 0.3, 0.4, 0.5}));
    EXPECT_NE(color, (CMYKA{0.1, 0.9, 0.3, 0.4, 0.5}));
    EXPECT_NE(color, (CMYKA{0.1, 0.2, 0.9, 0.4, 0.5}));
    EXPECT_NE(color, (CMYKA{0.1, 0.2, 0.3, 0.9, 0.5}));
    EXPECT_NE(color, (CMYKA{0.1, 0.2, 0.3, 0.4, 0.9}));
    EXPECT_NE(CMYKA::clear, CMYKA::black); // black ink both, but without alpha
    EXPECT_NE(CMYKA::clear, CMYKA::zero);
}

} // namespace
} // namespace corvane
