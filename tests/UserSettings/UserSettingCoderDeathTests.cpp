// SPDX-License-Identifier: Apache-2.0
#include <corvane/UserSettings/UserSettingCoder.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(UserSettingCoderDeathTests, NegativeUnsignedNumbersAndOverflowStopTheProcess)
{
    const UserDefaults defaults = UserDefaults::inMemory();
    defaults.setObject(-1, "key");
    EXPECT_DEATH(UIntUSC().decode(defaults, "key"), "Fatal error: A negative stored number");
    EXPECT_DEATH(increment(IntUSC(), std::numeric_limits<Int>::min(), defaults, "key"),
                 "Fatal error: Integer overflow");
    defaults.setObject(0U, "key");
    EXPECT_DEATH(decrement(UIntUSC(), 1, defaults, "key"), "Fatal error: Integer overflow");
}

} // namespace
} // namespace corvane
