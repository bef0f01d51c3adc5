// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/IndexSet.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

constexpr Int largest = std::numeric_limits<Int>::max();

TEST(IndexSetDeathTest, RefusesNegativeMembers)
{
    EXPECT_DEATH(IndexSet(-1), "Fatal error: An IndexSet cannot hold -1: its members are not negative");
    EXPECT_DEATH((IndexSet{3, -2}), "cannot hold -2: its members are not negative");
    EXPECT_DEATH(IndexSet().toggle(-5), "cannot hold -5: its members are not negative");
    EXPECT_DEATH(IndexSet::fromI1I2(2, -3), "cannot hold -3: its members are not negative");
    EXPECT_DEATH(IndexSet::fromLocLen(-4, 0), "cannot hold -4: its members are not negative");
}

TEST(IndexSetDeathTest, RefusesReversedRanges)
{
    EXPECT_DEATH(IndexSet::fromRange(5, 2), "The range 5 ..< 2 of an IndexSet is reversed");
    EXPECT_DEATH(IndexSet::fromClosedRange(5, 2), "The range 5 ..< 3 of an IndexSet is reversed");
    EXPECT_DEATH(IndexSet::fromLocLen(5, -1), "The range of -1 indexes at 5 is reversed");
    EXPECT_DEATH(IndexSet{1}.removeRange(5, 2), "The range 5 ..< 2 of an IndexSet is reversed");
}

TEST(IndexSetDeathTest, RefusesWhatOverflows)
{
    EXPECT_DEATH(IndexSet{largest}, "cannot hold 9223372036854775807: a run that ends there overflows");
    EXPECT_DEATH(IndexSet::fromI1I2(0, largest), "cannot hold 9223372036854775807");
    EXPECT_DEATH(IndexSet::fromLocLen(largest, 1), "The range of 1 indexes at 9223372036854775807 overflows");
}

} // namespace
} // namespace corvane
