// SPDX-License-Identifier: Apache-2.0
#include <corvane/StringsAndText/String.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(StringDeathTests, PositionsOutsideTheTextStopTheProcess)
{
    std::string text = "ab\u00E9";
    EXPECT_DEATH(static_cast<void>(startIntIndexToString(text, 4)),
                 "Fatal error: A position is beyond the end");
    EXPECT_DEATH(static_cast<void>(startIntIndexToString(text, -1)),
                 "Fatal error: A position in a text cannot");
    EXPECT_DEATH(static_cast<void>(endIntIndexToString(text, 4)),
                 "Fatal error: A position is before the start");
    EXPECT_DEATH(static_cast<void>(substringWith(text, {2, 1})), "Fatal error: A range cannot end before");
    EXPECT_DEATH(static_cast<void>(substringWith(text, {1, 4})), "Fatal error: A range ends beyond");
    EXPECT_DEATH(static_cast<void>(substringTo(text, 4)), "Fatal error: A position");
    EXPECT_DEATH(static_cast<void>(substringFrom(text, 4)), "Fatal error: A position");
    EXPECT_DEATH(static_cast<void>(safeSubstringTo(text, -1)), "Fatal error: A position in a text cannot");
    EXPECT_DEATH(static_cast<void>(safeSubstringFrom(text, -1)), "Fatal error: A position in a text cannot");
    EXPECT_DEATH(insert(text, "x", 4), "Fatal error: A position");
    EXPECT_DEATH(insert(text, "xy", 0), "Fatal error: Exactly one character");
    EXPECT_DEATH(removeSubrange(text, {0, 4}), "Fatal error: A range ends beyond");
}

TEST(StringDeathTests, TheEndHoldsNoCharacterToRemove)
{
    std::string text = "abc", empty;
    EXPECT_DEATH(removeLastChar(text), "Fatal error: The end position of a text holds no character");
    EXPECT_DEATH(removeLastChar(empty), "Fatal error: The end position of a text holds no character");
    EXPECT_DEATH(removeFirstChar(empty), "Fatal error: The end position of a text holds no character");
}

TEST(StringDeathTests, WidthsWithoutRoomStopTheProcess)
{
    EXPECT_DEATH(static_cast<void>(reducedStringAtStart("abc", 2)), "Fatal error: A text cannot be reduced");
    EXPECT_DEATH(static_cast<void>(reducedStringAtEnd("abc", 2)), "Fatal error: A text cannot be reduced");
    EXPECT_DEATH(static_cast<void>(reducedStringAtMiddle("abc", 1)), "Fatal error: A text cannot be reduced");
    EXPECT_DEATH(static_cast<void>(reducedStringAtMiddle("abc", -5)),
                 "Fatal error: A text cannot be reduced");
    EXPECT_DEATH(static_cast<void>(zeroPadded(7, -1)), "Fatal error: A number that is not finite");
    EXPECT_DEATH(static_cast<void>(zeroPadded(7, -2)), "Fatal error: A number that is not finite");
}

} // namespace
} // namespace corvane
