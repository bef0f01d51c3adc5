// SPDX-License-Identifier: Apache-2.0
#include <corvane/UserSettings/UserSettingKey.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(UserSettingKeyTests, DefaultsAreEvaluatedOnceWhileTheKeyIsMade)
{
    int calls = 0;
    const EvaluedUserSettingKey<IntUSC> evalued("Columns", [&] { return ++calls; });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(evalued.value, 1);
    EXPECT_EQ(evalued.name, "Columns");
    const OptionalUserSettingKey<StringUSC> optional("Author", StringUSC(),
                                                     [&]() -> std::optional<std::string> {
                                                         ++calls;
                                                         return std::nullopt;
                                                     });
    EXPECT_EQ(calls, 2);
    EXPECT_FALSE(optional.value);
    EXPECT_EQ(OptionalUserSettingKey<StringUSC>("Author", "Ana").value, "Ana");
    EXPECT_FALSE(OptionalUserSettingKey<StringUSC>("Author").value);
    const PersistentURLUSC coder; // the key shares what it holds
    const OptionalUserSettingKey<PersistentURLUSC> file("File", coder, std::nullopt);
    coder.cacheURL() = URL::fromPath("/x");
    EXPECT_EQ(file.coder.cacheURL(), coder.cacheURL());
}

TEST(UserSettingKeyTests, PredefinedKeys)
{
    using Keys = UserSettingKeys;
    EXPECT_EQ(Keys::versionNumber().name, "VersionNumber");
    EXPECT_EQ(Keys::versionNumber().value, Version::zero());
    EXPECT_EQ(Keys::versionDidUpdate().name, "VersionDidUpdate");
    EXPECT_FALSE(Keys::versionDidUpdate().value);
    EXPECT_EQ(Keys::launchesCount().name, "LaunchesCount");
    EXPECT_EQ(Keys::launchesCount().value, 0);
    EXPECT_EQ(Keys::firstLaunchDate().name, "FirstLaunchDate");
    EXPECT_EQ(Keys::updateLaunchDate().name, "UpdateLaunchDate");
    EXPECT_EQ(Keys::reviewRequestsCount().name, "ReviewRequestsCount");
    EXPECT_EQ(Keys::reviewRequestsCount().value, 0);
    EXPECT_EQ(Keys::lastReviewRequestDate().name, "LastReviewRequestDate");
    EXPECT_EQ(Keys::lastReviewVersion().name, "LastReviewVersion");
    EXPECT_FALSE(Keys::firstLaunchDate().value || Keys::updateLaunchDate().value ||
                 Keys::lastReviewRequestDate().value || Keys::lastReviewVersion().value);
    EXPECT_EQ(&Keys::launchesCount(), &Keys::launchesCount());
}

} // namespace
} // namespace corvane
