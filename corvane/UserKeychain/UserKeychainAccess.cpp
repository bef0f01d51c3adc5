// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Storage/SecItem.h>
#include <corvane/UserKeychain/UserKeychainAccess.h>

namespace corvane {

const std::map<UserKeychainAccess, std::string_view>& userKeychainAccessLookup()
{
    using enum UserKeychainAccess;
    static const auto* const lookup = new std::map<UserKeychainAccess, std::string_view>{
        {afterFirstUnlock, kSecAttrAccessibleAfterFirstUnlock},
        {afterFirstUnlockThisDeviceOnly, kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly},
        {always, kSecAttrAccessibleAlways},
        {whenPasscodeSetThisDeviceOnly, kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly},
        {alwaysThisDeviceOnly, kSecAttrAccessibleAlwaysThisDeviceOnly},
        {whenUnlocked, kSecAttrAccessibleWhenUnlocked},
        {whenUnlockedThisDeviceOnly, kSecAttrAccessibleWhenUnlockedThisDeviceOnly}};
    return *lookup;
}

std::string_view attributeValue(UserKeychainAccess access)
{
    const auto entry = userKeychainAccessLookup().find(access);
    precondition(entry != userKeychainAccessLookup().end(), "There is no such access");
    return entry->second;
}

std::optional<UserKeychainAccess> userKeychainAccess(std::string_view attributeValue)
{
    for (const auto& [access, value] : userKeychainAccessLookup())
        if (value == attributeValue)
            return access;
    return std::nullopt;
}

} // namespace corvane
