// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/UserSettings/UserSettings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class UserSettingsTests : public testing::Test {
protected:
    UserSettingsTests()
        : observer_(NotificationCenter::defaultCenter().addObserver(
              UserSettings::didEditKeyNotification, &settings, [this](const Notification& note) {
                  EXPECT_EQ(note.object<UserSettings>(), &settings);
                  EXPECT_EQ(note.userInfo()->size(), 1U);
                  edited_.push_back(UserSettings::editedKeyNameOf(note).value_or("no name"));
              }))
    {}
    ~UserSettingsTests() override { NotificationCenter::defaultCenter().removeObserver(observer_); }

    // The keys announced since the last call.
    std::vector<std::string> edited() { return std::exchange(edited_, {}); }

    UserSettings settings{UserDefaults::inMemory()};
    const EvaluedUserSettingKey<IntUSC> columns{"Columns", 4};
    const OptionalUserSettingKey<StringUSC> author{"Author"};
    const OptionalUserSettingKey<StringUSC> editor{"Editor", "Ana"};

private:
    std::vector<std::string> edited_;
    std::shared_ptr<NotificationObserver> observer_;
};

TEST_F(UserSettingsTests, ReadsAndWritesThroughKeys)
{
    EXPECT_EQ(settings[columns], 4);
    EXPECT_EQ(settings.value(author), std::nullopt);
    EXPECT_EQ(settings.value(editor), "Ana");
    EXPECT_FALSE(settings.hasValue(columns) || settings.hasValue(editor));
    EXPECT_TRUE(settings.suite.dictionaryRepresentation().empty()) << "reading writes nothing";
    EXPECT_THAT(edited(), IsEmpty());

    settings[columns] = 4; // what it is already: announced all the same
    EXPECT_THAT(edited(), ElementsAre("Columns"));
    EXPECT_TRUE(settings.hasValue(columns));
    settings[columns] += 2;
    settings[columns].modify([](Int& value) { value *= 10; });
    EXPECT_EQ(settings[columns], 60);
    EXPECT_THAT(edited(), ElementsAre("Columns", "Columns"));

    settings[author] = "Bo";
    const std::optional<std::string> name = settings[author];
    EXPECT_EQ(name, "Bo");
    settings[author] = settings[editor];
    EXPECT_EQ(std::as_const(settings)[author], "Ana");
    settings[author] = std::nullopt;
    EXPECT_FALSE(settings.hasValue(author));
    EXPECT_THAT(edited(), ElementsAre("Author", "Author", "Author"));
}

TEST_F(UserSettingsTests, ExpressionsAreCalledOnlyWhenTheyAreStored)
{
    int calls = 0;
    const auto next = [&calls] { return ++calls; };
    settings.setIfNil(columns, next);
    EXPECT_THAT(edited(), ElementsAre("Columns"));
    settings.setIfNil(columns, next);
    settings.setOptIfNil(columns, next);
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(edited(), IsEmpty());
    settings.set(columns, next);
    settings.set(columns, 9);
    EXPECT_EQ(settings.value(columns), 9);
    settings.setOpt(columns, [] { return std::optional<Int>(); });
    EXPECT_FALSE(settings.hasValue(columns));
    settings.setOptIfNil(author, [] { return std::optional<std::string>("Bo"); });
    EXPECT_EQ(settings.value(author), "Bo");
    EXPECT_THAT(edited(), ElementsAre("Columns", "Columns", "Columns", "Author"));
}

TEST_F(UserSettingsTests, ObserversRunInsideTheSetterAndSeeWhatWasWritten)
{
    Int seen = 0;
    const auto observer = NotificationCenter::defaultCenter().addObserver(
        UserSettings::didEditKeyNotification, [&](const Notification& note) {
            if (UserSettings::note(note, columns))
                seen = note.object<UserSettings>()->value(columns);
        });
    settings[columns] = 7;
    EXPECT_EQ(seen, 7);
    settings[author] = "Bo";
    EXPECT_EQ(seen, 7);
    NotificationCenter::defaultCenter().removeObserver(observer);
}

TEST_F(UserSettingsTests, NotificationsAreToldApartByTheirKey)
{
    const NotificationName name = UserSettings::didEditKeyNotification;
    const auto noteWith = [name](std::any value) {
        return Notification(
            name, nullptr,
            std::make_shared<const UserInfo>(UserInfo{{UserSettings::editedKeyName, std::move(value)}}));
    };
    EXPECT_EQ(name.text(), "UserSettingsDidEditKeyNotification");
    EXPECT_EQ(UserSettings::editedKeyName, "EditedKeyName");
    EXPECT_TRUE(UserSettings::note(noteWith(std::string("Author")), columns, author));
    EXPECT_FALSE(UserSettings::note(noteWith(std::string("author")), author));
    EXPECT_FALSE(UserSettings::note(noteWith(std::string("Author"))));
    EXPECT_FALSE(UserSettings::editedKeyNameOf(noteWith(7)));
    EXPECT_FALSE(UserSettings::note(Notification(name, nullptr), author));
}

TEST_F(UserSettingsTests, StatisticsOfLaunches)
{
    const Bundle before = Bundle::main();
    const auto launch = [this](const char* version) {
        Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleShortVersionString", version}}));
        settings.updateStatistics();
    };
    using Keys = UserSettingKeys;
    launch("1.0.0");
    EXPECT_EQ(settings.value(Keys::launchesCount()), 1);
    EXPECT_EQ(settings.value(Keys::versionNumber()).rawValue, "1.0.0");
    EXPECT_TRUE(settings.value(Keys::versionDidUpdate())) << "from no version at all";
    const auto first = settings.value(Keys::firstLaunchDate());
    const auto update = settings.value(Keys::updateLaunchDate());
    const auto now = std::chrono::system_clock::now();
    ASSERT_TRUE(first && update);
    EXPECT_LE(*first, *update);
    EXPECT_LE(*update, now);
    EXPECT_GT(*first, now - std::chrono::minutes(1));
    EXPECT_THAT(edited(), ElementsAre("VersionNumber", "LaunchesCount", "FirstLaunchDate", "VersionDidUpdate",
                                      "UpdateLaunchDate"));

    launch("1.0.0");
    EXPECT_EQ(settings.value(Keys::launchesCount()), 2);
    EXPECT_FALSE(settings.value(Keys::versionDidUpdate()));
    EXPECT_THAT(edited(), ElementsAre("VersionNumber", "LaunchesCount", "VersionDidUpdate"));
    EXPECT_EQ(settings.value(Keys::firstLaunchDate()), first);
    EXPECT_EQ(settings.value(Keys::updateLaunchDate()), update);

    launch("1.10.0");
    EXPECT_TRUE(settings.value(Keys::versionDidUpdate()));
    EXPECT_GT(*settings.value(Keys::updateLaunchDate()), *update);
    EXPECT_THAT(edited(),
                ElementsAre("VersionNumber", "LaunchesCount", "VersionDidUpdate", "UpdateLaunchDate"));
    launch("1.9.9");
    EXPECT_FALSE(settings.value(Keys::versionDidUpdate())) << "numbers, not text";
    launch("no version");
    EXPECT_EQ(settings.value(Keys::versionNumber()), Version::zero());
    EXPECT_EQ(settings.value(Keys::firstLaunchDate()), first);
    Bundle::setMain(before);
}

TEST_F(UserSettingsTests, StandardSettingsAreOverTheStandardSuite)
{
    UserDefaults::setStandard(settings.suite); // a test leaves the user's own alone
    EXPECT_EQ(UserSettings::standard().suite, settings.suite);
    EXPECT_EQ(&UserSettings::standard(), &UserSettings::standard());
}

} // namespace
} // namespace corvane
