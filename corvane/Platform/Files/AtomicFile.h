// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace corvane {

/// A file that appears under its name only when it is complete: at every moment, a killed process and a lost
/// power supply included, the name holds either what it held before or all of the new bytes.
///
///     std::error_code error;
///     if (auto file = AtomicFile::create("/home/ana/sheet.png", error))
///         if (!file->write(bytes) && !file->commit())
///             return true;
///
/// The bytes go to an unnamed file in the folder of the target (under a name of its own, hidden, where the
/// file system has no unnamed files), are synced, and take the target's place by a rename. A target that is a
/// symbolic link stays one: what it leads to is replaced. A replaced file's permissions, access list and, as
/// far as the process may give them, owner and group carry over; a file that was not there gets the process's
/// usual ones. Without `commit`, nothing of it remains.
///
/// It does not keep other processes from writing the same target: the last commit wins. Hard links to a
/// replaced file keep the old bytes, and write protection of the file itself (not of its folder) does not
/// hinder it. Thread-compatible.
class CORVANE_API AtomicFile {
public:
    /// Absent, with `error` set, when the folder does not exist or cannot be written, when `path` is empty,
    /// or when it names something that is neither a file nor missing.
    static std::optional<AtomicFile> create(std::string_view path, std::error_code& error);

    AtomicFile(AtomicFile&& other) noexcept;
    AtomicFile& operator=(AtomicFile&& other) noexcept;
    /// Drops what was written unless it was committed.
    ~AtomicFile();

    /// Appends `bytes`; the error is empty when all of them are written.
    std::error_code write(DataView bytes) noexcept;

    /// When the bytes have to be on the disk: before `commit` returns, or, for bytes that are somewhere else too,
    /// not later than the name, so that a lost power supply leaves the old bytes or the new ones all the same. That
    /// costs no waiting on file systems that keep this order by themselves (ext4 does), and is `synced` on others.
    enum class Durability { synced, ordered };

    /// Puts the file in the target's place. To be called at most once, as the last call. On failure the target is
    /// as it was.
    std::error_code commit(Durability durability = Durability::synced) noexcept;

    /// The open file, for code that writes and seeks by itself. Stays owned by this object.
    int descriptor() const noexcept { return file_; }

private:
    AtomicFile() = default;
    std::error_code open(std::string_view path);
    std::error_code takePlace(Durability durability) noexcept;
    void discard() noexcept;

    int folder_ = -1;
    int file_ = -1;
    std::string target_;    // name in the folder
    std::string temporary_; // name in the folder; empty while the file has none
};

/// Replaces the content of the file at `path` by `bytes` as `AtomicFile` does. Throws
/// `std::filesystem::filesystem_error`; the file is then as it was. Thread-safe.
CORVANE_API void replaceFile(std::string_view path, DataView bytes);

} // namespace corvane
