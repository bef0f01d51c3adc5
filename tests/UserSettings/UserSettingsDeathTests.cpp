// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/UserSettings/UserSettings.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(UserSettingsDeathTests, StatisticsNeedAVersionAndACountThatCanGrow)
{
    UserSettings settings(UserDefaults::inMemory());
    Bundle::setMain(Bundle::fromInfoDictionary({}));
    EXPECT_DEATH(settings.updateStatistics(),
                 "Fatal error: Bundle should have a version with the format XXX.XXX.XXX");
    Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleShortVersionString", "1.0.0"}}));
    settings.set(UserSettingKeys::launchesCount(), std::numeric_limits<Int>::max());
    EXPECT_DEATH(settings.updateStatistics(), "Fatal error: Integer overflow");
}

} // namespace
} // namespace corvane
