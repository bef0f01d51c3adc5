// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// The file system, by paths.
///
///     FileManager::createDirectory(folder, FileManager::Intermediates::create);
///     FileManager::moveItem(folder + "/draft.txt", folder + "/letter.txt");
///     for (const std::string& name : FileManager::contentsOfDirectory(folder))
///         print(name);
///
/// Operations that change something throw `std::filesystem::filesystem_error` and never replace an item that
/// is already there; `replaceFile` in AtomicFile.h and `replaceItem` are the ones that do. All are
/// thread-safe; what other processes do in between is theirs.
class CORVANE_API FileManager {
public:
    enum class FileType {
        regular,
        directory,
        symbolicLink,
        characterDevice,
        blockDevice,
        fifo,
        socket,
        unknown
    };

    /// What is known of an item itself; a symbolic link is not followed.
    struct Attributes {
        FileType type = FileType::unknown;
        Int size = 0;                  ///< bytes
        std::uint32_t permissions = 0; ///< the twelve permission bits
        std::uint32_t ownerID = 0, groupID = 0;
        std::uint64_t device = 0, inode = 0;
        Int linkCount = 0;
        Date modificationDate;
        std::optional<Date> creationDate; ///< absent where the file system does not keep it
    };

    enum class Intermediates { require, create };

    FileManager() = delete;

    /// Whether something is at `path`, at the end of a chain of symbolic links: a dangling link is not. The
    /// flag is written in both cases.
    static bool fileExists(std::string_view path, bool* isDirectory = nullptr);

    /// Absent when there is no such item or it may not be looked at.
    static std::optional<Attributes> attributes(std::string_view path);

    /// Whether the process may both read and write what is at `path` (links followed), by all that the system
    /// considers: permissions, access lists, a file system mounted read-only. Absent when nothing is there.
    static std::optional<bool> isReadableAndWritable(std::string_view path);

    /// Whether the two items themselves are on one file system. Absent when one of them is not there.
    static std::optional<bool> areOnSameFileSystem(std::string_view path, std::string_view other);

    /// Makes a folder. With `Intermediates::create` those that lead to it as well, and one that is there
    /// already is no error; when the way cannot be made to its end, nothing of it stays.
    static void createDirectory(std::string_view path, Intermediates intermediates = Intermediates::require);

    /// Removes the item; a folder with all it holds, however deep; a symbolic link itself. When an item
    /// inside a folder cannot be removed, the others are, and the first failure is thrown.
    static void removeItem(std::string_view path);

    /// Between file systems it copies, completely, before it removes. Nothing may be at `destination`.
    static void moveItem(std::string_view path, std::string_view destination);

    /// A folder with all it holds; symbolic links as links. Keeps permissions and modification dates. Nothing
    /// may be at `destination`; when the copy fails, nothing is left there.
    static void copyItem(std::string_view path, std::string_view destination);

    /// Puts the file at `path` in the place of the one at `destination` (of its link's target where that is a
    /// link) in one step, with the permissions of the one replaced; `path` is gone afterwards. Both must be
    /// files; `destination` need not exist.
    static void replaceItem(std::string_view destination, std::string_view path);

    /// The names in a folder, hidden ones too, in the order of the file system.
    static std::vector<std::string> contentsOfDirectory(std::string_view path);

    /// TMPDIR when it names a folder, otherwise "/tmp". Without a trailing slash.
    static std::string temporaryDirectory();
};

} // namespace corvane
