// SPDX-License-Identifier: Apache-2.0
#include <corvane/UserSettings/UserSettingKey.h>

namespace corvane {

// Kept for good: work that outlives main() may still ask.

const EvaluedUserSettingKey<BundleVersionUSC>& UserSettingKeys::versionNumber()
{
    static const auto* const key =
        new EvaluedUserSettingKey<BundleVersionUSC>("VersionNumber", Version::zero());
    return *key;
}

const EvaluedUserSettingKey<BoolUSC>& UserSettingKeys::versionDidUpdate()
{
    static const auto* const key = new EvaluedUserSettingKey<BoolUSC>("VersionDidUpdate", false);
    return *key;
}

const EvaluedUserSettingKey<IntUSC>& UserSettingKeys::launchesCount()
{
    static const auto* const key = new EvaluedUserSettingKey<IntUSC>("LaunchesCount", 0);
    return *key;
}

const OptionalUserSettingKey<DateUSC>& UserSettingKeys::firstLaunchDate()
{
    static const auto* const key = new OptionalUserSettingKey<DateUSC>("FirstLaunchDate");
    return *key;
}

const OptionalUserSettingKey<DateUSC>& UserSettingKeys::updateLaunchDate()
{
    static const auto* const key = new OptionalUserSettingKey<DateUSC>("UpdateLaunchDate");
    return *key;
}

const EvaluedUserSettingKey<IntUSC>& UserSettingKeys::reviewRequestsCount()
{
    static const auto* const key = new EvaluedUserSettingKey<IntUSC>("ReviewRequestsCount", 0);
    return *key;
}

const OptionalUserSettingKey<DateUSC>& UserSettingKeys::lastReviewRequestDate()
{
    static const auto* const key = new OptionalUserSettingKey<DateUSC>("LastReviewRequestDate");
    return *key;
}

const OptionalUserSettingKey<BundleVersionUSC>& UserSettingKeys::lastReviewVersion()
{
    static const auto* const key = new OptionalUserSettingKey<BundleVersionUSC>("LastReviewVersion");
    return *key;
}

} // namespace corvane
