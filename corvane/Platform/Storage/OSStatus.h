// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <cstdint>
#include <string_view>

namespace corvane {

/// How a keychain operation ended. Whatever is not `errSecSuccess` left the stored items as they were; only when several
/// match, in a secret service, may some of them have been changed before one could not.
enum OSStatus : std::int32_t {
    errSecSuccess = 0,

    // Answers of every keychain.
    errSecParam = -50,            ///< the dictionary is not one that the operation understands
    errSecDuplicateItem = -25299, ///< an item with this service, account and access group exists
    errSecItemNotFound = -25300,  ///< nothing matches

    // The keychain cannot be used at the moment, or not in this way.
    errSecIO = -36,                       ///< its files cannot be read or written
    errSecDiskFull = -34,                 ///< no space is left for a write
    errSecUserCanceled = -128,            ///< the user dismissed the question whether to unlock it
    errSecInteractionNotAllowed = -25308, ///< locked: nobody unlocked it in time, or asking is switched off
    errSecAuthFailed = -25293,            ///< it denies access to this process
    errSecNotAvailable = -25291,          ///< it does not exist on this machine, or in this session
    errSecInternalComponent = -2070,      ///< it gave an answer that makes no sense
    errSecTimedOut = -70001,              ///< it gave no answer within the wait
    errSecStoredElsewhere = -70002, ///< the service's items are kept in a keychain other than the chosen one

    // The vault refuses to go on; nothing was decrypted or overwritten.
    errSecVaultFolderUnsafe = -70010, ///< its folder is a link, another user's, or open to others
    errSecVaultKeyMissing = -70011,   ///< there is a vault but not its key file
    errSecVaultKeyExposed = -70012,   ///< users other than the owner may read or write the key file
    errSecVaultKeyForeign = -70013,   ///< the key file belongs to another user
    errSecVaultKeyNotAFile = -70014,  ///< a symbolic link, or something else, stands in the key file's place
    errSecVaultKeyDamaged = -70015,   ///< the key file does not hold a key
    errSecVaultKeyWrong = -70016,     ///< the key file holds the key of another vault
    errSecVaultDamaged = -70017,      ///< the vault cannot be read as one
    errSecVaultItemDamaged = -70018,  ///< bytes of an item were changed
    errSecVaultItemsSwapped = -70019, ///< an item stands in another one's place
    errSecVaultItemsOutdated =
        -70020, ///< an older state of an item was put back, or an item added or removed
};

/// A sentence for a person who is to repair it, without a full stop. Thread-safe.
[[nodiscard]] CORVANE_API std::string_view description(OSStatus status) noexcept;

} // namespace corvane
