// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/ReviewRequestMaker.h>
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/UserSettings/UserSettings.h>

#include <Support/EnvironmentVariable.h>
#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace corvane {
namespace {

using namespace std::chrono;
using testing::ElementsAre;

class ReviewRequestMakerTests : public testing::Test {
protected:
    ReviewRequestMakerTests()
    {
        runVersion("1.0.0");
        ReviewRequestMaker::setRequestReview([this] { ++asked; });
    }
    ~ReviewRequestMakerTests() override
    {
        ReviewRequestMaker::setRequestReview({});
        Bundle::setMain(before);
    }

    static void runVersion(const char* version)
    {
        Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleShortVersionString", version}}));
    }
    bool make(Date now) { return ReviewRequestMaker::make(settings, now); }
    Int count() const { return settings.value(UserSettingKeys::reviewRequestsCount()); }

    const Bundle before = Bundle::main();
    const tests::EnvironmentVariable zone{"TZ", "Europe/Berlin"};
    const Date noon = Date(sys_days(year(2026) / 3 / 29)) + hours(10); // of the day that has 23 hours
    UserSettings settings{UserDefaults::inMemory()};
    int asked = 0;
};

TEST_F(ReviewRequestMakerTests, TheFifthCallAsksOnceForEachVersion)
{
    std::vector<std::string> edited;
    const auto token = NotificationCenter::defaultCenter().addObserver(
        UserSettings::didEditKeyNotification, &settings, [&edited](const Notification& note) {
            edited.push_back(UserSettings::editedKeyNameOf(note).value_or("?"));
        });
    for (Int call = 1; call <= 4; ++call) {
        EXPECT_FALSE(make(noon));
        EXPECT_EQ(count(), call);
    }
    EXPECT_THAT(edited, testing::Each("ReviewRequestsCount"));
    EXPECT_EQ(asked, 0);
    edited.clear();
    EXPECT_TRUE(make(noon));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(settings.value(UserSettingKeys::lastReviewRequestDate()), noon);
    EXPECT_EQ(settings.value(UserSettingKeys::lastReviewVersion())->rawValue, "1.0.0");
    EXPECT_EQ(count(), 0);
    EXPECT_THAT(edited, ElementsAre("ReviewRequestsCount", "LastReviewRequestDate", "LastReviewVersion",
                                    "ReviewRequestsCount"));

    edited.clear();
    for (int call = 0; call < 6; ++call)
        EXPECT_FALSE(make(noon + days(call)));
    EXPECT_THAT(edited, ElementsAre()); // the count, too, is left alone

    runVersion("1.0.1");
    for (int call = 0; call < 4; ++call)
        EXPECT_FALSE(make(noon + days(1)));
    EXPECT_TRUE(make(noon + days(1)));
    EXPECT_EQ(asked, 2);
    NotificationCenter::defaultCenter().removeObserver(token);
}

TEST_F(ReviewRequestMakerTests, NobodyIsAskedTwiceInADayOfTheirCalendarNorBeforeTheLastTime)
{
    const Date midnight = noon - hours(11), nextMidnight = noon + hours(12);
    struct Row {
        const char* name;
        Date last, now;
        bool asks;
    };
    const Row rows[] = {
        {"the same moment", noon, noon, false},
        {"later that day", midnight, nextMidnight - microseconds(1), false},
        {"23 hours later, the next day", midnight, nextMidnight, true},
        {"across midnight", nextMidnight - microseconds(1), nextMidnight, true},
        {"half a year", noon - days(180), noon, true},
        {"the clock set back within the day", nextMidnight - microseconds(1), midnight, false},
        {"the clock set back to yesterday", midnight, midnight - microseconds(1), false},
        {"a date in the far future", Date::max(), noon, false},
    };
    for (const Row& row : rows) {
        settings.setOpt(UserSettingKeys::lastReviewVersion(), std::nullopt);
        settings.set(UserSettingKeys::lastReviewRequestDate(), row.last);
        settings.set(UserSettingKeys::reviewRequestsCount(), Int{4});
        asked = 0;
        EXPECT_EQ(make(row.now), row.asks) << row.name;
        EXPECT_EQ(asked, row.asks) << row.name;
        EXPECT_EQ(count(), row.asks ? 0 : 5) << row.name; // a blocked call counts, and the next may ask
    }
}

TEST_F(ReviewRequestMakerTests, WithoutAHookTheRequestCountsAsMade)
{
    settings.set(UserSettingKeys::reviewRequestsCount(), Int{4});
    ReviewRequestMaker::setRequestReview([] { throw std::runtime_error("no window"); });
    EXPECT_THROW(make(noon), std::runtime_error);
    EXPECT_FALSE(settings.hasValue(UserSettingKeys::lastReviewVersion()));
    ReviewRequestMaker::setRequestReview({});
    EXPECT_TRUE(make(noon));
    EXPECT_FALSE(make(noon));
    EXPECT_EQ(asked, 0);
}

} // namespace
} // namespace corvane
