// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/BundleVersion.h>
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>
#include <corvane/UserSettings/UserSettings.h>

namespace corvane {

const NotificationName UserSettings::didEditKeyNotification("UserSettingsDidEditKeyNotification");

UserSettings& UserSettings::standard()
{
    static auto* const standard = new UserSettings(UserDefaults::standard()); // work may outlive main()
    return *standard;
}

void UserSettings::postDidEdit(const std::string& keyName)
{
    NotificationCenter::defaultCenter().post(didEditKeyNotification, this, [&] {
        return UserInfo{{editedKeyName, keyName}};
    });
}

std::optional<std::string> UserSettings::editedKeyNameOf(const Notification& note)
{
    const auto* const name = note.value<std::string>(editedKeyName);
    return name ? std::optional(*name) : std::nullopt;
}

void UserSettings::updateStatistics()
{
    const Version previous = value(UserSettingKeys::versionNumber());
    const Version current = Version::current();
    set(UserSettingKeys::versionNumber(), current);
    set(UserSettingKeys::launchesCount(), checkedAdd(value(UserSettingKeys::launchesCount()), Int{1}));
    if (value(UserSettingKeys::launchesCount()) == 1)
        set(UserSettingKeys::firstLaunchDate(), currentDate());
    const bool didUpdate = previous < current;
    set(UserSettingKeys::versionDidUpdate(), didUpdate);
    if (didUpdate)
        set(UserSettingKeys::updateLaunchDate(), currentDate());
}

} // namespace corvane
