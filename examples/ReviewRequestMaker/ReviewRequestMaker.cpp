// SPDX-License-Identifier: Apache-2.0
// An application that asks for a review when a picture was exported: not at once, and never a nuisance.
#include <corvane/AppSupport/ReviewRequestMaker.h>
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/UserSettings/UserSettings.h>

#include <chrono>
#include <cstdio>

using namespace corvane;
using std::chrono::days;
using std::chrono::sys_days;

namespace {

// A program takes its version from its own bundle and calls `make()`, on its own settings and the present
// time. This one plays some weeks through: with settings in memory, a version and a clock of its own.
void runVersion(const char* version)
{
    Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleShortVersionString", version}}));
    std::printf("Version %s\n", version);
}

void exportPictures(int count, UserSettings& settings, const char* day, Date now)
{
    for (int picture = 1; picture <= count; ++picture)
        if (!ReviewRequestMaker::make(settings, now))
            std::printf("%s, picture %d: nothing\n", day, picture);
}

} // namespace

int main()
{
    UserSettings settings(UserDefaults::inMemory());
    ReviewRequestMaker::setRequestReview([] { std::printf("Do you like the gallery? Tell others.\n"); });
    const Date monday = sys_days(std::chrono::year(2026) / 3 / 2) + std::chrono::hours(12);

    runVersion("1.0");
    exportPictures(3, settings, "Monday", monday);
    exportPictures(3, settings, "Tuesday", monday + days(1)); // the second of them is the fifth in all

    runVersion("1.1");
    exportPictures(5, settings, "Tuesday", monday + days(1)); // asked today already
    exportPictures(1, settings, "Wednesday", monday + days(2));

    const Int remembered = settings[UserSettingKeys::reviewRequestsCount()];
    std::printf("%lld exports since the last request\n", static_cast<long long>(remembered));
}
