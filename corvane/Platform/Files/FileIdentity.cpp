// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/FileIdentity.h>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

namespace corvane::detail {

namespace {

// FAT, exFAT, FUSE and shared folders of virtual machines make up an inode when they first meet an item.
constexpr std::array<std::uint32_t, 4> fileSystemsThatNumberAnew{MSDOS_SUPER_MAGIC, 0x2011bab0,
                                                                 FUSE_SUPER_MAGIC, 0x786f4256};

void readHandle(int item, FileIdentity& identity)
{
    alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> memory{};
    auto* handle = reinterpret_cast<file_handle*>(memory.data());
    handle->handle_bytes = MAX_HANDLE_SZ;
    int mount = 0;
    if (::name_to_handle_at(item, "", handle, &mount, AT_EMPTY_PATH) != 0)
        return;
    identity.handleType = handle->handle_type;
    identity.handle.assign(memory.data() + offsetof(file_handle, f_handle), handle->handle_bytes);
}

} // namespace

std::optional<FileIdentity> FileIdentity::at(int folder, const char* path)
{
    const int item = ::openat(folder, path, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (item < 0)
        return std::nullopt;
    std::optional<FileIdentity> result;
    struct statx found {};
    struct statfs system {};
    if (::statx(item, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &found) == 0 &&
        ::fstatfs(item, &system) == 0) {
        result.emplace();
        result->fileSystem = std::bit_cast<std::uint64_t>(system.f_fsid);
        result->inode = found.stx_ino;
        if ((found.stx_mask & STATX_BTIME) != 0) { // claimed and zero on some file systems
            result->birthSeconds = found.stx_btime.tv_sec;
            result->birthNanoseconds = found.stx_btime.tv_nsec;
        }
        result->kind = found.stx_mode & S_IFMT;
        result->isNumberedAnew =
            std::ranges::find(fileSystemsThatNumberAnew, static_cast<std::uint32_t>(system.f_type)) !=
            fileSystemsThatNumberAnew.end();
        if (!result->isNumberedAnew)
            readHandle(item, *result);
    }
    ::close(item);
    return result;
}

bool isSameItem(const FileIdentity& a, const FileIdentity& b) noexcept
{
    if (a.kind != b.kind || a.isNumberedAnew != b.isNumberedAnew)
        return false;
    if (a.isNumberedAnew)
        return true;
    if (a.inode != b.inode)
        return false;
    // Inodes are given to new items soon after the old ones are gone, and birth times come from a clock that
    // ticks a few hundred times a second: only the generation in the handle tells those two apart.
    const bool haveHandles = !a.handle.empty() && !b.handle.empty() && a.handleType == b.handleType;
    if (haveHandles && a.handle != b.handle)
        return false;
    const auto knowsBirth = [](const FileIdentity& i) {
        return i.birthSeconds != 0 || i.birthNanoseconds != 0;
    };
    const bool haveBirths = knowsBirth(a) && knowsBirth(b);
    if (haveBirths && (a.birthSeconds != b.birthSeconds || a.birthNanoseconds != b.birthNanoseconds))
        return false;
    return haveHandles || haveBirths || a.fileSystem == b.fileSystem;
}

} // namespace corvane::detail
