// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/Array.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(ArrayDeathTest, RefusesIndexesBeyondTheEnd)
{
    std::vector<int> array{1, 2, 3, 4, 5};
    EXPECT_DEATH(remove(array, {1, 7}), "Fatal error: remove: index 7 is out of range in an array of 5");
    EXPECT_DEATH(move(array, {5}, 0), "move: index 5 is out of range in an array of 5");
    EXPECT_DEATH((void)elements(array, {4, 5}), "elements: index 5 is out of range in an array of 5");
}

TEST(ArrayDeathTest, RefusesADestinationBeyondTheEnds)
{
    std::vector<int> array{1, 2, 3, 4, 5};
    EXPECT_DEATH(move(array, {1, 2}, 6),
                 "move: destination 6 is out of range for 2 of the elements of an array of 5");
    EXPECT_DEATH(move(array, {1}, -1), "move: destination -1 is out of range");
    EXPECT_DEATH(move(array, {1}, std::numeric_limits<Int>::min()),
                 "destination -9223372036854775808 is out of");
}

TEST(ArrayDeathTest, RefusesAPointerToNothing)
{
    EXPECT_DEATH((void)fromPtrCount<int>(nullptr, 2),
                 "An array cannot be made of 2 elements at a null pointer");
    const int one = 1;
    EXPECT_DEATH((void)fromPtrCount(&one, -1), "An array cannot be made of -1 elements at a pointer");
}

} // namespace
} // namespace corvane
