// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Storage/Database.h>
#include <corvane/Platform/Storage/OSStatus.h>
#include <corvane/Platform/Storage/PrivateFolder.h>
#include <corvane/Platform/Storage/VaultCipher.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// The vault on the disk: a folder with the key in "vault.key" and the rows in the database "vault.sqlite".
///
/// A row is a place, a box sealed for that place, and the mark of both; beside the rows stands the sealed exclusive or of
/// all marks, which changes in the same transaction as they do. All of it is checked when the vault is opened and
/// whenever another process has written it: a linear pass over the rows. Thread-compatible.
class VaultFile {
public:
    enum class Access { read, change, write };

    VaultFile(std::optional<std::string> path, std::chrono::milliseconds wait);

    /// Begins a transaction, opening the vault first where needed. A missing vault is made for `write`; otherwise the
    /// answer is `errSecItemNotFound`. Unless it succeeds nothing has begun.
    ///
    /// A vault of which single rows are damaged can be read in the rest; `damage()` is their status then.
    OSStatus begin(Access access);
    OSStatus commit();
    /// Ends the transaction, as far as there is one; drops what was not committed.
    void end() noexcept;

    OSStatus damage() const noexcept { return damage_; }
    const VaultCipher& cipher() const noexcept { return *cipher_; }

    /// Calls `use` with each row of a pair, or with all rows, opened, until it answers false. Rows that may not be trusted
    /// end the walk with `damage()`.
    using Use = std::function<bool(const VaultPlace& place, const VaultHash& mark, SecretBytes plain)>;
    OSStatus walk(const std::optional<VaultHash>& pair, const Use& use);

    // In a transaction that is not for reading. The row is known to be there, or not to be there.
    OSStatus insert(const VaultPlace& place, DataView plain);
    OSStatus replace(const VaultPlace& place, const VaultHash& mark, DataView plain);
    OSStatus erase(const VaultPlace& place, const VaultHash& mark);

private:
    using Inode = std::pair<std::uint64_t, std::uint64_t>;

    std::optional<Inode> inodeAtPath() const;
    OSStatus open(Access access, Database::Mode mode);
    OSStatus beginOn(Access access, Database::Mode mode);
    bool hasLog() const;
    OSStatus readKey(const PrivateFolder& folder, bool isNew);
    OSStatus makeDatabase(const PrivateFolder& folder);
    OSStatus verify();
    OSStatus checkRows(const VaultHash& state);
    bool belongsElsewhere(const VaultPlace& place, DataView box, const std::vector<VaultPlace>& places) const;
    void close() noexcept;

    const std::optional<std::string> path_;
    const std::chrono::milliseconds wait_;

    std::unique_ptr<VaultCipher> cipher_;
    std::optional<Inode> inode_; // of the database that is open
    std::optional<Database> database_;
    Statement beginRead_, beginWrite_, commit_, rollback_, findPair_, findAll_, insert_, replace_, erase_,
        setState_;
    bool isOpen_ = false;      // a transaction is
    bool isImmutable_ = false; // for one transaction, as nothing is noticed of what others write

    std::optional<Int> verifiedVersion_;
    OSStatus damage_ = errSecSuccess;
    VaultHash sum_{};     // of the marks of all committed rows
    VaultHash pending_{}; // and as this transaction leaves them
};

} // namespace corvane
