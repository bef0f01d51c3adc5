// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/CGSize.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

static_assert(CGSize{1, 2} + CGSize{3, 4} * 2 - CGSize{1, 0} == CGSize{6, 10} &&
              CGSize{1, 2} / 2 == CGSize{0.5, 1});

TEST(CGSizeTests, FitsAndFillsKeepingProportions)
{
    EXPECT_EQ(scaledToFit({400, 300}, {160, 160}), (CGSize{160, 120}));
    EXPECT_EQ(scaledToFit({300, 400}, {160, 160}), (CGSize{120, 160}));
    EXPECT_EQ(scaledToFill({400, 200}, {100, 100}), (CGSize{200, 100}));
    EXPECT_TRUE(std::isnan(scaledToFit({0, 0}, {1, 1}).width));
    EXPECT_EQ(aspectRatio({4, 3}), 4.0 / 3);
    EXPECT_EQ(area({4, 3}), 12);
    EXPECT_EQ(minEdge({4, 3}), 3);
    EXPECT_EQ(maxEdge({4, 3}), 4);
}

TEST(CGSizeTests, ComparesWithToleranceAndPrints)
{
    EXPECT_TRUE(isSimilarTo(CGSize{1, 2}, CGSize{1.0000001, 2}));
    EXPECT_FALSE(isSimilarTo(CGSize{1, 2}, CGSize{1, 2.1}));
    EXPECT_TRUE(overlap(CGSize{0, 1}, CGSize{0.5, 0.5}, 0.5));
    EXPECT_FALSE(overlap(CGSize{0, 1}, CGSize{0, 1.00001}));
    EXPECT_EQ(description(CGSize{4, 0.5}), "(4.0, 0.5)");
}

} // namespace
} // namespace corvane
