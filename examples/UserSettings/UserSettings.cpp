// SPDX-License-Identifier: Apache-2.0
// The settings of a picture viewer: keys with defaults, a type of its own, an observer, and what the next run finds.
#include <corvane/AppSupport/NoteSubscriber.h>
#include <corvane/UserSettings/UserSettings.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

using namespace corvane;

namespace {

struct Grid {
    Int columns = 4;
    bool hasTitles = true;

    PropertyValue propertyValue() const
    {
        return PropertyDictionary{{"columns", columns}, {"titles", hasTitles}};
    }
    static std::optional<Grid> fromPropertyValue(const PropertyValue& value)
    {
        const PropertyDictionary* fields = value.asDictionary();
        const PropertyValue* columns = fields ? find(*fields, "columns") : nullptr;
        const PropertyValue* titles = fields ? find(*fields, "titles") : nullptr;
        if (!columns || !titles) // of an older version of this program, perhaps
            return std::nullopt;
        return Grid{UserDefaults::integerValue(*columns), UserDefaults::boolValue(*titles)};
    }
};

const EvaluedUserSettingKey<ObjectUSC<Grid>> gridKey("Grid", Grid());
const EvaluedUserSettingKey<DoubleUSC> zoomKey("Zoom", 1.0);
const OptionalUserSettingKey<StringUSC> authorKey("Author");
const EvaluedUserSettingKey<StringArrayUSC> recentKey("Recent", std::vector<std::string>());

struct Window {
    void settingsDidChange(const Notification& note)
    {
        if (UserSettings::note(note, gridKey, zoomKey))
            std::printf("Drawn anew for %s\n", UserSettings::editedKeyNameOf(note)->c_str());
    }
};

void firstRun(const URL& folder)
{
    // A program has them in its user's data folder: UserSettings::standard().
    auto settings = std::make_shared<UserSettings>(UserDefaults("viewer", folder));
    const auto window = std::make_shared<Window>();
    NoteSubscriber changes;
    changes.name = UserSettings::didEditKeyNotification;
    changes.object = settings;
    changes.subscribe(window, &Window::settingsDidChange);

    UserSettings& mine = *settings;
    std::printf("Zoom %.1f, %d columns\n", mine.value(zoomKey),
                static_cast<int>(mine.value(gridKey).columns));
    mine[zoomKey] = 2.0;
    mine[zoomKey] += 0.5;
    mine[gridKey].modify([](Grid& grid) { grid.columns = 6; });
    mine[recentKey].modify([](std::vector<std::string>& names) { names.emplace_back("sea.jpg"); });
    mine.setIfNil(authorKey, [] { return std::string("Ana"); });
    mine.setIfNil(authorKey, [] { return std::string("nobody asks for this name"); });

    // Several writes as one, on what every other process has written so far.
    mine.suite.transaction([&] { mine.suite.setObject(mine.suite.integerForKey("Runs") + 1, "Runs"); });
    if (const auto failure = mine.suite.lastFailure())
        std::printf("Not stored: %s\n", failure->message.c_str());
}

void nextRun(const URL& folder)
{
    UserSettings settings(UserDefaults("viewer", folder));
    const Grid grid = settings[gridKey];
    const std::optional<std::string> author = settings[authorKey];
    std::printf("Zoom %.1f, %d columns, by %s\n", settings.value(zoomKey), static_cast<int>(grid.columns),
                author.value_or("nobody").c_str());
    std::printf("Recent: %s, run %d\n", settings.value(recentKey).front().c_str(),
                static_cast<int>(settings.suite.integerForKey("Runs")));
    settings[authorKey] = std::nullopt;
    std::printf("An author is %s\n", settings.hasValue(authorKey) ? "there" : "not there any more");
}

} // namespace

int main()
{
    std::string folder = (std::filesystem::temp_directory_path() / "corvane-settings-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr)
        return 1;
    firstRun(URL::fromPath(folder));
    nextRun(URL::fromPath(folder));
    std::filesystem::remove_all(folder);
}
