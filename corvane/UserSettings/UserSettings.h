// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Notification.h>
#include <corvane/Platform/Storage/UserDefaults.h>
#include <corvane/UserSettings/UserSettingKey.h>

#include <concepts>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace corvane {

class UserSettings;

/// A setting as something to read and assign to, `settings[key]`; it refers to both. Thread-compatible.
template <GenericUserSettingKey Key>
class UserSettingReference {
public:
    using Value = typename Key::Value;

    UserSettingReference(UserSettings& settings, const Key& key) noexcept : settings_(settings), key_(key) {}
    UserSettingReference(const UserSettingReference&) = delete;

    operator Value() const;
    UserSettingReference& operator=(Value value);
    UserSettingReference& operator=(const UserSettingReference& other)
    {
        *this = Value(other);
        return *this;
    }

    /// Reads the setting, has `change` change it and writes it back: one notification.
    template <std::invocable<Value&> F>
    void modify(F&& change)
    {
        Value value = *this;
        std::invoke(std::forward<F>(change), value);
        *this = std::move(value);
    }
    template <typename T>
    UserSettingReference& operator+=(const T& amount)
    {
        return modify([&](Value& value) { value += amount; }), *this;
    }
    template <typename T>
    UserSettingReference& operator-=(const T& amount)
    {
        return modify([&](Value& value) { value -= amount; }), *this;
    }

private:
    UserSettings& settings_;
    const Key& key_;
};

/// Typed settings over a defaults database; every write tells the process which setting was written.
///
///     const EvaluedUserSettingKey<IntUSC> columns("Columns", 4);
///     UserSettings& settings = UserSettings::standard();
///     Int now = settings[columns];       // 4 until something is stored
///     settings[columns] = now + 1;
///     settings[columns] += 1;
///
/// `auto x = settings[columns]` is the setting, not what it is now: name the type, or ask `value(columns)`.
///
/// A write posts "UserSettingsDidEditKeyNotification" on the default centre, with these settings as its sender
/// and the key's name (`std::string`) under "EditedKeyName", on the calling thread after the write, also when
/// the value is what it was. Nothing is reported to the caller: `suite.lastFailure()` says whether a write
/// failed. Writes of other processes and of other `UserSettings` over the same suite are seen, not announced
/// by this one. As thread-safe as its observers are; `UserDefaults` is.
class CORVANE_API UserSettings {
public:
    static const NotificationName didEditKeyNotification;
    static constexpr std::string_view editedKeyName = "EditedKeyName";

    explicit UserSettings(UserDefaults database) : suite(std::move(database)) {}
    UserSettings(const UserSettings&) = delete;
    UserSettings& operator=(const UserSettings&) = delete;

    /// Over `UserDefaults::standard()`.
    static UserSettings& standard();

    const UserDefaults suite;

    /// What is stored, otherwise the key's default.
    template <UserSettingCoder C>
    typename C::CodableType value(const EvaluedUserSettingKey<C>& key) const
    {
        auto stored = key.coder.decode(suite, key.name);
        return stored ? *std::move(stored) : key.value;
    }
    template <UserSettingCoder C>
    std::optional<typename C::CodableType> value(const OptionalUserSettingKey<C>& key) const
    {
        auto stored = key.coder.decode(suite, key.name);
        return stored ? std::move(stored) : key.value;
    }
    template <GenericUserSettingKey Key>
    typename Key::Value operator[](const Key& key) const
    {
        return value(key);
    }
    template <GenericUserSettingKey Key>
    UserSettingReference<Key> operator[](const Key& key)
    {
        return {*this, key};
    }

    /// Whether anything is stored, a key's default left aside.
    template <GenericUserSettingKey Key>
    bool hasValue(const Key& forKey) const
    {
        return suite.hasObjectForKey(forKey.name);
    }

    /// Stores a value, or what the expression makes when it is called.
    template <GenericUserSettingKey Key, detail::Yields<typename Key::CodableType> Expression>
    void set(const Key& key, Expression&& expr)
    {
        setOpt(key, [&] {
            return std::optional(
                detail::evaluated<typename Key::CodableType>(std::forward<Expression>(expr)));
        });
    }
    /// The same for a value that may be absent, which removes the entry.
    template <GenericUserSettingKey Key, detail::Yields<std::optional<typename Key::CodableType>> Expression>
    void setOpt(const Key& key, Expression&& expr)
    {
        using Value = std::optional<typename Key::CodableType>;
        const Value value = detail::evaluated<Value>(std::forward<Expression>(expr));
        key.coder.encode(value, suite, key.name);
        postDidEdit(key.name);
    }
    /// `set` unless something is stored; the expression is not called then.
    template <GenericUserSettingKey Key, detail::Yields<typename Key::CodableType> Expression>
    void setIfNil(const Key& key, Expression&& expr)
    {
        if (!hasValue(key))
            set(key, std::forward<Expression>(expr));
    }
    template <GenericUserSettingKey Key, detail::Yields<std::optional<typename Key::CodableType>> Expression>
    void setOptIfNil(const Key& key, Expression&& expr)
    {
        if (!hasValue(key))
            setOpt(key, std::forward<Expression>(expr));
    }

    /// Counts a launch and notes whether the main bundle's version is higher than at the last one; to be called
    /// once a launch. On the very first one any version above 0.0.0 counts as an update; a lower version than
    /// before is none. The process stops when the main bundle has no version.
    void updateStatistics();

    /// The name that a notification carries; absent when it carries none.
    static std::optional<std::string> editedKeyNameOf(const Notification& note);
    /// Whether the notification is of one of these keys, by name.
    template <GenericUserSettingKey... Keys>
    static bool note(const Notification& note, const Keys&... didEditKeys)
    {
        const std::optional<std::string> edited = editedKeyNameOf(note);
        return edited && ((didEditKeys.name == *edited) || ...);
    }

private:
    void postDidEdit(const std::string& keyName);
};

template <GenericUserSettingKey Key>
UserSettingReference<Key>::operator Value() const
{
    return settings_.value(key_);
}

template <GenericUserSettingKey Key>
UserSettingReference<Key>& UserSettingReference<Key>::operator=(Value value)
{
    settings_.setOpt(key_, [&] { return std::optional<typename Key::CodableType>(std::move(value)); });
    return *this;
}

} // namespace corvane
