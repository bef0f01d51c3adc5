// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <any>
#include <atomic>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace corvane {

struct NotificationRecord;

/// A notification's name, interned: names of equal text are one pointer. Making one takes a lock and a
/// look-up, so keep it, as a static member of what posts it. Thread-safe.
class CORVANE_API NotificationName {
public:
    explicit NotificationName(std::string_view text);

    std::string_view text() const noexcept { return interned_->text; }

    friend bool operator==(const NotificationName&, const NotificationName&) = default;

private:
    friend class NotificationCenter;
    friend struct std::hash<NotificationName>;

    struct Interned {
        std::string text;
        std::atomic<Int> observerCount{0}; // in all centres
        std::atomic<NotificationRecord*> records{nullptr};
    };
    Interned* interned_; // lives as long as the process
};

/// What a notification tells, by key: a few values of any type, in the order they were set.
///
///     UserInfo info{{"EditedKeyName", std::string("Columns")}};
///     if (const auto* name = info.value<std::string>("EditedKeyName")) …
///
/// Look-up is linear. Thread-compatible.
class UserInfo {
public:
    UserInfo() = default;
    UserInfo(std::initializer_list<std::pair<std::string_view, std::any>> values)
    {
        for (const auto& [key, value] : values)
            set(key, value);
    }

    /// Replaces a value under an equal key.
    void set(std::string_view key, std::any value)
    {
        for (auto& [known, old] : values_)
            if (known == key) {
                old = std::move(value);
                return;
            }
        values_.emplace_back(key, std::move(value));
    }

    /// The value under `key`; null when there is none, and when its type is not exactly `T`.
    template <typename T>
    const T* value(std::string_view key) const noexcept
    {
        for (const auto& [known, any] : values_)
            if (known == key)
                return std::any_cast<T>(&any);
        return nullptr;
    }

    std::size_t size() const noexcept { return values_.size(); }

private:
    std::vector<std::pair<std::string, std::any>> values_;
};

/// Who posts: an object by identity, with the type it is posted as.
struct NotificationSender {
    NotificationSender(std::nullptr_t = nullptr) noexcept {}
    template <typename T>
    NotificationSender(T* sender) noexcept
        : object(const_cast<std::remove_const_t<T>*>(sender)), type(&typeid(T)), isConst(std::is_const_v<T>)
    {}

    void* object = nullptr;
    const std::type_info* type = &typeid(void);
    bool isConst = false;
};

/// What an observer is called with. Copies share the user information. A copy may be kept; the sender is not
/// kept alive by it. Thread-compatible.
class Notification {
public:
    Notification(NotificationName name, NotificationSender sender,
                 std::shared_ptr<const UserInfo> info = nullptr)
        : name_(name), sender_(sender), info_(std::move(info))
    {}

    NotificationName name() const noexcept { return name_; }
    const void* sender() const noexcept { return sender_.object; }
    /// The sender as the type it was posted as; null for another type, for a non-const access to what was
    /// posted const, and without a sender.
    template <typename T>
    T* object() const noexcept
    {
        const bool fits = *sender_.type == typeid(T) && (std::is_const_v<T> || !sender_.isConst);
        return fits ? static_cast<T*>(sender_.object) : nullptr;
    }

    /// Null when it was posted without.
    const UserInfo* userInfo() const noexcept { return info_.get(); }
    /// `userInfo()->value<T>(key)`, and null without user information.
    template <typename T>
    const T* value(std::string_view key) const noexcept
    {
        return info_ ? info_->value<T>(key) : nullptr;
    }

private:
    NotificationName name_;
    NotificationSender sender_;
    std::shared_ptr<const UserInfo> info_;
};

} // namespace corvane

template <>
struct std::hash<corvane::NotificationName> {
    std::size_t operator()(const corvane::NotificationName& name) const noexcept
    {
        return std::hash<const void*>()(name.interned_);
    }
};
