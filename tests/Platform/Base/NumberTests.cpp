// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Number.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace corvane {
namespace {

constexpr Int intMin = std::numeric_limits<Int>::min();
constexpr Int intMax = std::numeric_limits<Int>::max();
constexpr std::uint64_t unsignedMax = std::numeric_limits<std::uint64_t>::max();

TEST(NumberTests, ConversionsGiveTheNearestValueOfTheAskedType)
{
    struct Row {
        Number number;
        Int asInt;
        std::uint64_t asUnsigned;
        bool asBool;
    };
    const Row rows[] = {
        {true, 1, 1, true},
        {intMin, intMin, 0, true},
        {unsignedMax, intMax, unsignedMax, true},
        {-2.9, -2, 0, true},
        {2.9F, 2, 2, true},
        {1e300, intMax, unsignedMax, true},
        {-1e300, intMin, 0, true},
        {0x1p63, intMax, 0x8000'0000'0000'0000U, true},
        {std::nan(""), 0, 0, true},
        {-0.0, 0, 0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.number.doubleValue());
        EXPECT_EQ(row.number.intValue(), row.asInt);
        EXPECT_EQ(row.number.unsignedValue(), row.asUnsigned);
        EXPECT_EQ(row.number.boolValue(), row.asBool);
    }
}

TEST(NumberTests, EqualityComparesValuesExactlyAcrossKinds)
{
    EXPECT_EQ(Number(true), Number(1.0));
    EXPECT_EQ(Number(0.5F), Number(0.5));
    EXPECT_NE(Number(0.1F), Number(0.1));
    EXPECT_NE(Number(-1), Number(unsignedMax));
    // 2^53 + 1 has no double of its own; rounding it to compare would call these equal.
    EXPECT_NE(Number(Int{9007199254740993}), Number(9007199254740992.0));
    EXPECT_NE(Number(intMax), Number(0x1p63));
    EXPECT_EQ(Number(intMin), Number(-0x1p63));
    EXPECT_NE(Number(std::nan("")), Number(std::nan("")));
}

TEST(NumberTests, ExactIntRefusesWhatAnIntCannotHold)
{
    EXPECT_EQ(Number(3.0).exactInt(), 3);
    EXPECT_EQ(Number(intMin).exactInt(), intMin);
    EXPECT_EQ(Number(3.5).exactInt(), std::nullopt);
    EXPECT_EQ(Number(unsignedMax).exactInt(), std::nullopt);
    EXPECT_EQ(Number(0x1p63).exactInt(), std::nullopt);
    EXPECT_EQ(Number(std::nan("")).exactInt(), std::nullopt);
}

} // namespace
} // namespace corvane
