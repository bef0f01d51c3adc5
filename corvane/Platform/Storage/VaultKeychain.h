// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Storage/Keychain.h>

#include <memory>

namespace corvane {

/// Secrets in an encrypted file: the keychain of a machine without a desktop.
///
///     VaultKeychain vault; // in the user's data directory, shared by all programs of the user
///     vault.add({.service = "backup", .account = "server"}, bytes);
///
/// What it protects from. The key lies beside the vault, readable by its owner alone. So the vault is as safe as the
/// user's account and not safer: it keeps secrets from other users, from whoever gets hold of the database without the
/// key (leave "vault.key" out of what is copied elsewhere), and from going unnoticed when somebody who can write the
/// database, but has not the key, changes it. Only sizes, and the number of items, can be seen without the key.
///
/// What it notices. The whole is checked when it is opened and when another process has written it; every item again
/// when it is read. Bytes changed, items swapped, removed or added, an older version of one put back, a key that is
/// missing, exposed to others, somebody else's or the wrong one: each is refused with a status of its own and nothing is
/// overwritten. Where single items are damaged the others can be read, and nothing can be written; remove or restore
/// the files to go on. What it cannot notice is the whole database put back as it once was, as from a backup.
///
/// A write survives a killed process. Reading or writing an item by service and account takes constant time, any other
/// search time linear in the number of all items. Several processes may use one vault. Thread-safe.
class CORVANE_API VaultKeychain final : public Keychain {
public:
    /// Nothing is opened or made before the first operation, and nothing is made by a read.
    explicit VaultKeychain(const KeychainOptions& options = {});
    ~VaultKeychain() override;

    OSStatus find(const KeychainFilter& filter, KeychainFetch fetch,
                  std::vector<KeychainMatch>& found) override;
    OSStatus add(const KeychainItem& item, DataView secret) override;
    OSStatus update(const KeychainFilter& filter, const KeychainChanges& changes) override;
    OSStatus remove(const KeychainFilter& filter) override;
    KeychainUse use(std::string_view service) override;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace corvane
