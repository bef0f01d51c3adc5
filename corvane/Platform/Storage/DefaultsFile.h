// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Storage/Database.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// One entry as it is written. The checksum tells a flipped bit, which the database itself does not notice
/// inside a value, and whether an entry has changed without decoding it.
struct DefaultsEntry {
    std::string_view key;
    DataView archive;
    Int checksum;
    Int remaining = 1; ///< how many are still to be read, this one included
};

/// Of a key with its archive: 64 bits, any one changed byte changes it.
Int defaultsChecksum(std::string_view key, DataView archive) noexcept;

/// The file of a suite: an SQLite database in write-ahead mode with a row an entry.
///
/// Every operation that fails leaves its reason in `message()`. Thread-compatible.
class DefaultsFile {
public:
    explicit DefaultsFile(std::string path) : path_(std::move(path)) {}

    const std::string& path() const noexcept { return path_; }

    /// Connects anew, making the file when there is none. `damaged` for whatever stands there and cannot be
    /// read as a suite, a folder and a file without permission included. A file that can be read and not
    /// written, for its permissions or for a full disk, answers `ok`; `writability()` then has the reason.
    DatabaseStatus open();
    void close() noexcept;

    /// Of the file that was opened last.
    const std::optional<FileNumber>& number() const noexcept { return opened_; }
    bool isOpen() const noexcept { return database_.has_value(); }
    DatabaseStatus writability() const noexcept { return writability_; }
    /// Whether it is open and the path still leads to the file that was opened.
    bool isCurrent() const;
    /// Whether somebody else has written since the last call.
    bool hasChanged();

    /// Gives `use` every entry; `damaged` when one of them contradicts its checksum and when one is missing.
    DatabaseStatus read(const std::function<void(const DefaultsEntry&)>& use);

    /// To write several entries, or to read and write, as one. A write outside is one by itself.
    DatabaseStatus begin();
    bool isInTransaction() const noexcept { return transaction_.has_value(); }
    DatabaseStatus commit();
    void rollback() noexcept { transaction_.reset(); }

    DatabaseStatus put(const DefaultsEntry& entry)
    {
        return noted(put_.run(entry.key, entry.archive, entry.checksum));
    }
    DatabaseStatus erase(std::string_view key) { return noted(erase_.run(key)); }
    /// Until the disk has what was committed.
    DatabaseStatus synchronize();

    /// Renames what stands there and could not be read. False when that fails; `newPath` stays empty when
    /// another process has done it already.
    bool setAside(std::optional<std::string>& newPath);

    const std::string& message() const noexcept { return message_; }

private:
    bool create();
    DatabaseStatus connect(Database::Mode mode);
    DatabaseStatus noted(DatabaseStatus status);
    DatabaseStatus failed(DatabaseStatus status, std::string message);

    std::string path_;
    std::optional<FileNumber> opened_;
    std::optional<Database> database_;
    DatabaseStatus writability_ = DatabaseStatus::ok;
    Int dataVersion_ = 0;
    Statement read_, count_, put_, erase_;
    std::optional<DatabaseTransaction> transaction_;
    std::string message_;
};

} // namespace corvane
