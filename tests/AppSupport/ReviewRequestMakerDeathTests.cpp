// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/ReviewRequestMaker.h>
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/UserSettings/UserSettings.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(ReviewRequestMakerDeathTests, AProgramWithoutVersionAndACountThatOverflowsStop)
{
    UserSettings settings(UserDefaults::inMemory());
    const char* const version = "Fatal error: Bundle should have a version with the format XXX.XXX.XXX\n";
    Bundle::setMain(Bundle::fromInfoDictionary({}));
    for (int call = 0; call < 4; ++call) // which need no version
        EXPECT_FALSE(ReviewRequestMaker::make(settings, currentDate()));
    EXPECT_DEATH(ReviewRequestMaker::make(settings, currentDate()), version);
    settings.set(UserSettingKeys::reviewRequestsCount(), std::numeric_limits<Int>::max());
    EXPECT_DEATH(ReviewRequestMaker::make(settings, currentDate()), "Fatal error: .*overflow");
    settings.set(UserSettingKeys::lastReviewVersion(), Version("1"));
    EXPECT_DEATH(ReviewRequestMaker::make(settings, currentDate()), version);
}

} // namespace
} // namespace corvane
