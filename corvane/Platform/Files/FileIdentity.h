// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <cstdint>
#include <optional>
#include <string>

namespace corvane::detail {

/// What tells an item of a file system from every other that is or was there, and stays its own over renames,
/// moves within the file system and restarts of the machine. Thread-compatible.
struct CORVANE_API FileIdentity {
    std::uint64_t fileSystem =
        0; ///< as statfs has it; on some file systems it changes with the device's number
    std::uint64_t inode = 0;
    std::int64_t birthSeconds = 0;
    std::uint32_t birthNanoseconds = 0; ///< both zero where the birth time is not known
    std::uint32_t kind = 0;             ///< the file type bits of the mode
    bool isNumberedAnew = false;        ///< inodes mean nothing beyond the mount: known by its place alone
    std::int32_t handleType = 0;
    std::string
        handle; ///< the kernel's handle, which holds the inode's generation; empty where there is none

    /// Of the item itself; a symbolic link is not followed. `folder` as for `openat`. Absent when there is no
    /// such item or it may not be looked at.
    static std::optional<FileIdentity> at(int folder, const char* path);
};

/// Whether both are of one item. Of items that are numbered anew: whether they are of one kind, as they may be
/// the same when they are met in the same place.
CORVANE_API bool isSameItem(const FileIdentity& a, const FileIdentity& b) noexcept;

} // namespace corvane::detail
