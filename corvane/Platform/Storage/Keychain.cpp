// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Storage/Keychain.h>
#include <corvane/Platform/Storage/SystemKeychain.h>

#include <sodium.h>

#include <utility>

namespace corvane {

namespace {

Mutex sharedMutex;

std::shared_ptr<Keychain>& sharedSlot() CORVANE_REQUIRES(sharedMutex)
{
    // Never destroyed: other threads may still store something while the process ends.
    static auto* const slot = new std::shared_ptr<Keychain>(std::make_shared<SystemKeychain>());
    return *slot;
}

} // namespace

Keychain::~Keychain() = default;

std::shared_ptr<Keychain> sharedKeychain()
{
    const MutexLock lock(sharedMutex);
    return sharedSlot();
}

void setSharedKeychain(std::shared_ptr<Keychain> keychain)
{
    if (!keychain)
        keychain = std::make_shared<SystemKeychain>();
    const MutexLock lock(sharedMutex);
    sharedSlot().swap(keychain);
}

bool KeychainFilter::matches(const KeychainItem& item) const
{
    const auto fits = [](const auto& wanted, const auto& value) { return !wanted || *wanted == value; };
    return fits(service, item.service) && fits(account, item.account) &&
           fits(accessGroup, item.accessGroup) && fits(label, item.label) && fits(generic, item.generic) &&
           fits(accessible, item.accessible) && fits(isSynchronizable, item.isSynchronizable);
}

void KeychainChanges::apply(KeychainItem& item) const
{
    item.label = label.value_or(item.label);
    item.generic = generic.value_or(item.generic);
    item.accessible = accessible.value_or(item.accessible);
    item.isSynchronizable = isSynchronizable.value_or(item.isSynchronizable);
}

void wipe(std::span<std::byte> bytes) noexcept
{
    if (!bytes.empty())
        sodium_memzero(bytes.data(), bytes.size());
}

std::string_view description(OSStatus status) noexcept
{
    switch (status) {
    case errSecSuccess:
        return "No error";
    case errSecParam:
        return "The request makes no sense to a keychain";
    case errSecDuplicateItem:
        return "There is already an item of this service, account and access group";
    case errSecItemNotFound:
        return "There is no such item";
    case errSecIO:
        return "The keychain's files cannot be read or written";
    case errSecDiskFull:
        return "There is no space left to store the item";
    case errSecUserCanceled:
        return "The keychain is locked, and unlocking it was refused";
    case errSecInteractionNotAllowed:
        return "The keychain is locked, and nobody unlocked it";
    case errSecAuthFailed:
        return "The keychain denies access";
    case errSecNotAvailable:
        return "The keychain is not available in this session";
    case errSecInternalComponent:
        return "The keychain gave an answer that makes no sense";
    case errSecTimedOut:
        return "The keychain does not answer";
    case errSecStoredElsewhere:
        return "The items of this service are kept in another keychain than the chosen one";
    case errSecVaultFolderUnsafe:
        return "The vault's folder is a link, belongs to another user, or is open to others";
    case errSecVaultKeyMissing:
        return "The vault's key file is missing";
    case errSecVaultKeyExposed:
        return "The vault's key file may be read or written by other users";
    case errSecVaultKeyForeign:
        return "The vault's key file belongs to another user";
    case errSecVaultKeyNotAFile:
        return "A link or something else stands in the place of the vault's key file";
    case errSecVaultKeyDamaged:
        return "The vault's key file does not hold a key";
    case errSecVaultKeyWrong:
        return "The vault's key file holds the key of another vault";
    case errSecVaultDamaged:
        return "The vault is damaged";
    case errSecVaultItemDamaged:
        return "An item of the vault was changed by somebody else";
    case errSecVaultItemsSwapped:
        return "Items of the vault were swapped by somebody else";
    case errSecVaultItemsOutdated:
        return "Items of the vault were put back, added or removed by somebody else";
    }
    return "An unknown error of the keychain";
}

} // namespace corvane
