// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/UserSettings/UserSettingCoder.h>

#include <concepts>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace corvane {

template <UserSettingCoder C>
class EvaluedUserSettingKey;
template <UserSettingCoder C>
class OptionalUserSettingKey;

/// A key of either kind: the name of an entry and the coder that reads and writes it.
template <typename Key>
concept GenericUserSettingKey = requires(const Key& key)
{
    requires UserSettingCoder<typename Key::Coder>;
    {
        key.name
        } -> std::convertible_to<const std::string&>;
    {
        key.coder
        } -> std::convertible_to<const typename Key::Coder&>;
};

/// The base of the keys, and where the keys that the library itself writes are found. Each is made on first
/// use. Thread-safe.
class CORVANE_API UserSettingKeys {
public:
    // Written by `UserSettings::updateStatistics`.
    static const EvaluedUserSettingKey<BundleVersionUSC>& versionNumber(); ///< "VersionNumber", 0.0.0
    static const EvaluedUserSettingKey<BoolUSC>& versionDidUpdate();       ///< "VersionDidUpdate", false
    static const EvaluedUserSettingKey<IntUSC>& launchesCount();           ///< "LaunchesCount", 0
    static const OptionalUserSettingKey<DateUSC>& firstLaunchDate();       ///< "FirstLaunchDate"
    static const OptionalUserSettingKey<DateUSC>& updateLaunchDate();      ///< "UpdateLaunchDate"

    // Written by `ReviewRequestMaker`.
    static const EvaluedUserSettingKey<IntUSC>& reviewRequestsCount();          ///< "ReviewRequestsCount", 0
    static const OptionalUserSettingKey<DateUSC>& lastReviewRequestDate();      ///< "LastReviewRequestDate"
    static const OptionalUserSettingKey<BundleVersionUSC>& lastReviewVersion(); ///< "LastReviewVersion"

protected:
    UserSettingKeys() = default;
    ~UserSettingKeys() = default;
};

namespace detail {

// A value given as it is, or by something that makes it when it is called, here and once.
template <typename T, typename Expression>
T evaluated(Expression&& expression)
{
    if constexpr (std::is_invocable_r_v<T, Expression>)
        return std::invoke(std::forward<Expression>(expression));
    else
        return T(std::forward<Expression>(expression));
}

template <typename Expression, typename T>
concept Yields = std::is_invocable_r_v<T, Expression> || std::convertible_to<Expression, T>;

} // namespace detail

/// The key of a setting that always has a value: what is stored, or the key's own.
///
///     const EvaluedUserSettingKey<IntUSC> columns("Columns", 4);
///     const EvaluedUserSettingKey<StringUSC> author("Author", [] { return userName(); });
///
/// Of a default given as something to call, the result is taken, once, while the key is made. Keys are usually
/// constants of the program; copies are equal in every respect. Thread-compatible.
template <UserSettingCoder C>
class EvaluedUserSettingKey : public UserSettingKeys {
public:
    using Coder = C;
    using CodableType = typename C::CodableType;
    using Value = CodableType; ///< what reading a setting gives

    template <detail::Yields<CodableType> Default>
    EvaluedUserSettingKey(std::string keyName, Default&& defaultValue)
        : EvaluedUserSettingKey(std::move(keyName), C(), std::forward<Default>(defaultValue))
    {}
    template <detail::Yields<CodableType> Default>
    EvaluedUserSettingKey(std::string keyName, C itsCoder, Default&& defaultValue)
        : name(std::move(keyName)),
          value(detail::evaluated<CodableType>(std::forward<Default>(defaultValue))),
          coder(std::move(itsCoder))
    {}

    const std::string name;
    const CodableType value; ///< the default
    const C coder;
};

/// The key of a setting that may be absent: what is stored, otherwise the key's own value, which may be absent
/// too. Made and used as `EvaluedUserSettingKey` is.
template <UserSettingCoder C>
class OptionalUserSettingKey : public UserSettingKeys {
public:
    using Coder = C;
    using CodableType = typename C::CodableType;
    using Value = std::optional<CodableType>;

    explicit OptionalUserSettingKey(std::string keyName)
        : OptionalUserSettingKey(std::move(keyName), C(), std::nullopt)
    {}
    template <detail::Yields<Value> Default>
    OptionalUserSettingKey(std::string keyName, Default&& defaultValue)
        : OptionalUserSettingKey(std::move(keyName), C(), std::forward<Default>(defaultValue))
    {}
    template <detail::Yields<Value> Default>
    OptionalUserSettingKey(std::string keyName, C itsCoder, Default&& defaultValue)
        : name(std::move(keyName)),
          coder(std::move(itsCoder)),
          value(detail::evaluated<Value>(std::forward<Default>(defaultValue)))
    {}

    const std::string name;
    const C coder;
    const Value value; ///< the default
};

} // namespace corvane
