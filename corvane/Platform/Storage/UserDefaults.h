// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Dispatch/Notification.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

class DefaultsStore;

/// What stands behind a suite at the moment.
enum class UserDefaultsState {
    memory,     ///< nothing, on purpose
    ready,      ///< a file that is read and written
    readOnly,   ///< a file that can be read; every write fails
    unavailable ///< no file: what was read before can be read, every write fails
};

/// Why something was not written.
struct UserDefaultsFailure {
    enum class Kind {
        busy,    ///< another process held the file for more than 5 s
        full,    ///< no space left
        denied,  ///< no permission, or no such place
        damaged, ///< the file is broken and could not be set aside
        other
    };
    Kind kind;
    std::string message; ///< for a person to read
};

/// The settings of a program, or of one of its suites: property values by key, kept in a file and shared by
/// all processes that have it open.
///
///     UserDefaults defaults = UserDefaults::standard();
///     defaults.setObject(4, "Columns");
///     defaults.integerForKey("Columns");       // 4
///     defaults.transaction([&] { defaults.setObject(defaults.integerForKey("Starts") + 1, "Starts"); });
///
/// Reads come from memory. A write is in the file when its call returns and outlives a process that is killed;
/// `synchronize` waits until it outlives a loss of power too. Writes of other processes arrive by themselves
/// within 100 ms. When a write fails its call says so, the value stays what it was, and the next write tries
/// anew. Without a suite's file, or with one that cannot be read, a program starts with an empty suite; the
/// unreadable file is renamed, never overwritten.
///
/// What the typed reads make of a stored value (an absent one gives absence, false or 0):
///
///     stored            string      bool    integer          double, float   data  array  dictionary  url
///     truth value       "1" "0"     itself  1, 0             1, 0            –     –      –           –
///     whole number      decimal     ≠ 0     itself (1)       nearest         –     –      –           –
///     real number       shortest(2) ≠ 0     toward zero (1)  itself          –     –      –           –
///     text              itself      (3)     (4)              (4)             –     –      –           (5)
///     bytes             –           false   0                0               itself –     –           –
///     array             –           false   0                0               –     itself –           –
///     dictionary        –           false   0                0               –     –      itself      –
///     date              –           false   0                0               –     –      –           –
///
/// (1) at most the nearest end of `Int`, NaN as 0; (2) the fewest digits that read back as the same value, 1.0,
/// 1e-05, inf; (3) true when, after white space, a sign and zeros, it goes on with one of YyTt1-9; (4) the
/// decimal number that it begins with after white space, 0 when there is none, for an integer at most the
/// nearest end of `Int`; (5) parsed as a URL.
///
/// A handle: copies, and handles made for the same file, are the same suite, and const says nothing about its
/// content. Thread-safe; not to be used in a child after fork.
class CORVANE_API UserDefaults {
public:
    /// The program's own suite: `UserDefaults(name)` with the main bundle's identifier, or with the name of the
    /// executable where it has none.
    static UserDefaults standard();
    /// Puts another suite in that place: one in memory for a guest's session, say. Meant for the start of a
    /// program; whoever has asked before keeps what he was given.
    static void setStandard(UserDefaults suite);

    /// In "$XDG_DATA_HOME/<main bundle's identifier>/", that is "~/.local/share/…" where that is not set.
    explicit UserDefaults(std::string_view suiteName);
    /// In the file "<suiteName>.sqlite" of `folder`, which is made with its parents when it is first needed. A
    /// slash in the name, a full stop at its start and "%" are written as "%2F" and so on.
    UserDefaults(std::string_view suiteName, const URL& folder);
    /// A fresh suite that is in no file and shared by nobody but copies: for tests, and for a private session.
    static UserDefaults inMemory();

    std::optional<PropertyValue> objectForKey(std::string_view key) const;
    bool hasObjectForKey(std::string_view key) const;
    std::optional<std::string> stringForKey(std::string_view key) const;
    std::optional<PropertyArray> arrayForKey(std::string_view key) const;
    std::optional<PropertyDictionary> dictionaryForKey(std::string_view key) const;
    std::optional<Data> dataForKey(std::string_view key) const;
    std::optional<URL> urlForKey(std::string_view key) const;
    bool boolForKey(std::string_view key) const;
    Int integerForKey(std::string_view key) const;
    float floatForKey(std::string_view key) const;
    double doubleForKey(std::string_view key) const;
    // The conversions alone, of a value that was read before.
    static std::optional<std::string> stringValue(const PropertyValue& value);
    static bool boolValue(const PropertyValue& value);
    static Int integerValue(const PropertyValue& value);
    static float floatValue(const PropertyValue& value);
    static double doubleValue(const PropertyValue& value);

    /// Everything that is stored. Linear.
    PropertyDictionary dictionaryRepresentation() const;

    // Writes. True when the file has it; false, with the reason in `lastFailure`, when nothing was changed.

    /// An absent value removes the entry. More than 256 values inside one another are refused.
    bool setObject(std::optional<PropertyValue> value, std::string_view key) const;
    /// As its text.
    bool setURL(const std::optional<URL>& value, std::string_view key) const;
    bool setDouble(double value, std::string_view key) const { return setObject(value, key); }
    bool removeObjectForKey(std::string_view key) const { return setObject(std::nullopt, key); }

    /// Runs `body` while no other process and no other thread can write the suite, on what all of them have
    /// written so far. Its writes are seen by nobody else before they all are in the file, by a true answer;
    /// after false, or when `body` throws, none is. False without a call when the file cannot be written. Inside
    /// another one of the same thread it becomes part of that. `body` should be short: others wait.
    bool transaction(const std::function<void()>& body) const;

    /// Waits until the disk has all that was written. Takes milliseconds; a program rarely needs it. False when
    /// that failed, and inside a transaction.
    bool synchronize() const;

    const std::string& suiteName() const noexcept;
    /// Absent in memory.
    std::optional<URL> fileURL() const;
    UserDefaultsState state() const;
    /// Why the last write, or opening the file, failed; absent once one succeeds.
    std::optional<UserDefaultsFailure> lastFailure() const;
    /// Under what names this process has kept files of the suite that could not be read.
    std::vector<URL> filesSetAside() const;

    /// "UserDefaultsDidChangeElsewhereNotification": posted without a sender after writes of other processes
    /// have arrived, on a thread of the library, which an observer moves away from by naming its queue. Under
    /// "SuiteName" is the suite's name (`std::string`), under "ChangedKeys" the keys (`std::vector<std::string>`).
    static const NotificationName didChangeElsewhereNotification;
    static constexpr std::string_view suiteNameKey = "SuiteName";
    static constexpr std::string_view changedKeysKey = "ChangedKeys";

    friend bool operator==(const UserDefaults&, const UserDefaults&) noexcept = default;

private:
    explicit UserDefaults(std::shared_ptr<DefaultsStore> store) noexcept;

    std::shared_ptr<DefaultsStore> store_;
};

} // namespace corvane
