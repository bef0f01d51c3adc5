// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <map>
#include <optional>
#include <string_view>

namespace corvane {

/// When a secret may be read: the accessibility class that is stored with it, and that a query can ask for.
///
///     attributeValue(UserKeychainAccess::whenUnlocked);               // kSecAttrAccessibleWhenUnlocked
///     userKeychainAccess(kSecAttrAccessibleAlways);                   // UserKeychainAccess::always
///
/// It is kept and compared; no keychain here enforces it. Thread-safe.
enum class UserKeychainAccess {
    afterFirstUnlock,
    afterFirstUnlockThisDeviceOnly,
    always,
    whenPasscodeSetThisDeviceOnly,
    alwaysThisDeviceOnly,
    whenUnlocked,
    whenUnlockedThisDeviceOnly
};

/// Each case's value of kSecAttrAccessible.
[[nodiscard]] CORVANE_API const std::map<UserKeychainAccess, std::string_view>& userKeychainAccessLookup();

[[nodiscard]] CORVANE_API std::string_view attributeValue(UserKeychainAccess access);

/// The case with this value of kSecAttrAccessible; otherwise absent.
[[nodiscard]] CORVANE_API std::optional<UserKeychainAccess>
userKeychainAccess(std::string_view attributeValue);

} // namespace corvane
