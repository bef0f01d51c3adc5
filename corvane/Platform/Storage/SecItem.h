// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Storage/OSStatus.h>

#include <optional>

namespace corvane {

// The keychain's items through dictionaries of attributes, kept by `sharedKeychain()`.
//
//     const PropertyDictionary token{{kSecClass, kSecClassGenericPassword},
//                                    {kSecAttrService, "org.example.Gallery"},
//                                    {kSecAttrAccount, "token"}};
//     auto query = token;
//     query[kSecReturnData] = kCFBooleanTrue;
//     std::optional<PropertyValue> result;
//     if (SecItemCopyMatching(query, &result) == errSecSuccess)
//         use(*result->asData());
//
// Every attribute in a query filters; one that is not there does not, with one exception: a query without
// kSecAttrSynchronizable finds only items that are not synchronisable, one with kSecAttrSynchronizableAny both.
// An item is identified by service, account and access group. Accessibility and synchronisation are kept and
// filtered by; what they promise elsewhere is not done: an item can be read whenever its keychain is unlocked, and
// stays on its machine. Texts are UTF-8 without NUL.
//
// Thread-safe. They wait for a locked or silent keychain as long as that keychain's options say.

inline constexpr char kSecClass[] = "class"; ///< in every dictionary
inline constexpr char kSecClassGenericPassword[] = "generic-password";

// Attributes: text, but for kSecAttrSynchronizable (a truth value or "any") and the dates, which are only returned.
inline constexpr char kSecAttrService[] = "service";
inline constexpr char kSecAttrAccount[] = "account";
inline constexpr char kSecAttrAccessGroup[] = "access-group";
inline constexpr char kSecAttrLabel[] = "label";
inline constexpr char kSecAttrGeneric[] = "generic";
inline constexpr char kSecAttrAccessible[] = "accessible";
inline constexpr char kSecAttrSynchronizable[] = "synchronizable";
inline constexpr char kSecAttrSynchronizableAny[] = "any";
inline constexpr char kSecAttrCreationDate[] = "creation-date";
inline constexpr char kSecAttrModificationDate[] = "modification-date";

inline constexpr char kSecAttrAccessibleAfterFirstUnlock[] = "after-first-unlock";
inline constexpr char kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly[] =
    "after-first-unlock-this-device-only";
inline constexpr char kSecAttrAccessibleAlways[] = "always";
inline constexpr char kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly[] =
    "when-passcode-set-this-device-only";
inline constexpr char kSecAttrAccessibleAlwaysThisDeviceOnly[] = "always-this-device-only";
inline constexpr char kSecAttrAccessibleWhenUnlocked[] = "when-unlocked";
inline constexpr char kSecAttrAccessibleWhenUnlockedThisDeviceOnly[] = "when-unlocked-this-device-only";

// The secret, and what a search is to return and how much of it.
inline constexpr char kSecValueData[] = "value-data";
inline constexpr char kSecValuePersistentRef[] =
    "value-persistent-reference"; ///< stands for service, account and group
inline constexpr char kSecReturnData[] = "return-data";
inline constexpr char kSecReturnAttributes[] = "return-attributes";
inline constexpr char kSecReturnPersistentRef[] = "return-persistent-reference";
inline constexpr char kSecMatchLimit[] = "match-limit";
inline constexpr char kSecMatchLimitOne[] = "one"; ///< also without a limit
inline constexpr char kSecMatchLimitAll[] = "all";

inline constexpr bool kCFBooleanTrue = true;
inline constexpr bool kCFBooleanFalse = false;

/// With one of the return flags the result is that thing (data for a secret or a reference, a dictionary for the
/// attributes); with several, the dictionary of the attributes with kSecValueData and kSecValuePersistentRef in it;
/// with none, nothing: the status alone says whether there is an item. With kSecMatchLimitAll it is an array of
/// these. `result` may be null; it is not touched unless the status is `errSecSuccess`.
CORVANE_API OSStatus SecItemCopyMatching(const PropertyDictionary& query,
                                         std::optional<PropertyValue>* result);

/// Adds the item of `attributes`, with its secret under kSecValueData, empty without. Its accessibility is
/// kSecAttrAccessibleWhenUnlocked where none is given. The return flags work as in a search.
CORVANE_API OSStatus SecItemAdd(const PropertyDictionary& attributes,
                                std::optional<PropertyValue>* result = nullptr);

/// Changes all items that match `query`. What identifies an item cannot be changed.
CORVANE_API OSStatus SecItemUpdate(const PropertyDictionary& query,
                                   const PropertyDictionary& attributesToUpdate);

/// Removes all items that match `query`.
CORVANE_API OSStatus SecItemDelete(const PropertyDictionary& query);

} // namespace corvane
