// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <string>

namespace corvane {

/// The name of a secret in a `UserKeychain`: account, label and generic attribute of its item. UTF-8 without NUL, or
/// nothing is found or stored under it.
///
///     const UserKeychainKey token{"token"};
///
/// Thread-compatible.
struct UserKeychainKey {
    std::string rawValue;

    friend bool operator==(const UserKeychainKey&, const UserKeychainKey&) = default;
    friend auto operator<=>(const UserKeychainKey&, const UserKeychainKey&) = default;
};

} // namespace corvane
