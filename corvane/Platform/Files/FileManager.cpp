// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Files/AtomicFile.h>
#include <corvane/Platform/Files/CopyContents.h>
#include <corvane/Platform/Files/DirectoryEnumerator.h>
#include <corvane/Platform/Files/FileManager.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace corvane {

namespace {

namespace fs = std::filesystem;
using Options = DirectoryEnumerator::Options;
using ItemType = DirectoryEnumerator::ItemType;

std::error_code lastError() noexcept
{
    return {errno, std::system_category()};
}

FileManager::FileType typeOf(unsigned mode) noexcept
{
    using enum FileManager::FileType;
    switch (mode & S_IFMT) {
    case S_IFREG:
        return regular;
    case S_IFDIR:
        return directory;
    case S_IFLNK:
        return symbolicLink;
    case S_IFCHR:
        return characterDevice;
    case S_IFBLK:
        return blockDevice;
    case S_IFIFO:
        return fifo;
    case S_IFSOCK:
        return socket;
    default:
        return unknown;
    }
}

Date dateOf(const statx_timestamp& time) noexcept
{
    return Date(std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_nsec / 1000));
}

bool isThere(const std::string& path) noexcept
{
    struct stat found {};
    return ::lstat(path.c_str(), &found) == 0;
}

void copyDates(const std::string& from, const std::string& to) noexcept
{
    struct stat source {};
    if (::lstat(from.c_str(), &source) == 0) {
        const std::array times{source.st_atim, source.st_mtim};
        ::utimensat(AT_FDCWD, to.c_str(), times.data(), AT_SYMLINK_NOFOLLOW);
    }
}

// Whether `path`, which need not exist, would be in the folder; a copy of the folder there would never end.
bool isInside(const std::string& path, const std::string& folder)
{
    std::error_code error;
    const fs::path outer = fs::canonical(folder, error);
    const fs::path inner = fs::weakly_canonical(path, error);
    return !error &&
           std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

// Removes what is in a folder, as far as that can be done. Folders go after their items; a folder that
// changed under the walk and still holds some is left to the next one, as long as each gets further.
std::error_code empty(const std::string& folder)
{
    std::error_code firstError;
    for (bool advanced = true; advanced;) {
        advanced = false;
        firstError.clear();
        DirectoryEnumerator walk(URL::fromPath(folder), Options::includesDirectoriesPostOrder);
        while (walk.advance()) {
            if (walk.type() == ItemType::directory && !walk.isPostOrder())
                continue;
            const std::string name(walk.name());
            const int flags = walk.type() == ItemType::directory ? AT_REMOVEDIR : 0;
            if (::unlinkat(walk.folderDescriptor(), name.c_str(), flags) == 0)
                advanced = true;
            else if (errno != ENOENT && !firstError)
                firstError = lastError();
        }
        if (!firstError)
            break;
    }
    return firstError;
}

std::error_code createWithIntermediates(const fs::path& path)
{
    std::vector<fs::path> missing;
    std::error_code error;
    for (fs::path item = path; !item.empty() && !fs::exists(item, error) && !error; item = item.parent_path())
        missing.push_back(item);
    fs::create_directories(path, error);
    for (std::size_t i = 0; error && i < missing.size(); ++i)
        ::rmdir(missing[i].c_str()); // as much of the way as was made; fails where somebody has put something
    return error;
}

} // namespace

bool FileManager::fileExists(std::string_view path, bool* isDirectory)
{
    struct stat found {};
    const bool exists = ::stat(std::string(path).c_str(), &found) == 0;
    if (isDirectory != nullptr)
        *isDirectory = exists && S_ISDIR(found.st_mode);
    return exists;
}

std::optional<FileManager::Attributes> FileManager::attributes(std::string_view path)
{
    struct statx found {};
    if (::statx(AT_FDCWD, std::string(path).c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME,
                &found) != 0)
        return std::nullopt;
    Attributes result;
    result.type = typeOf(found.stx_mode);
    result.size = static_cast<Int>(found.stx_size);
    result.permissions = found.stx_mode & 07777U;
    result.ownerID = found.stx_uid;
    result.groupID = found.stx_gid;
    result.device = ::makedev(found.stx_dev_major, found.stx_dev_minor);
    result.inode = found.stx_ino;
    result.linkCount = found.stx_nlink;
    result.modificationDate = dateOf(found.stx_mtime);
    // Some file systems claim to know when an item was made, and say zero.
    const bool isKnown =
        (found.stx_mask & STATX_BTIME) != 0 && (found.stx_btime.tv_sec != 0 || found.stx_btime.tv_nsec != 0);
    if (isKnown)
        result.creationDate = dateOf(found.stx_btime);
    return result;
}

std::optional<bool> FileManager::isReadableAndWritable(std::string_view path)
{
    const std::string item(path);
    struct stat found {};
    if (::stat(item.c_str(), &found) != 0)
        return std::nullopt;
    return ::faccessat(AT_FDCWD, item.c_str(), R_OK | W_OK, AT_EACCESS) == 0;
}

std::optional<bool> FileManager::areOnSameFileSystem(std::string_view path, std::string_view other)
{
    struct statx a {
    }, b{};
    constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
    if (::statx(AT_FDCWD, std::string(path).c_str(), flags, STATX_MNT_ID, &a) != 0 ||
        ::statx(AT_FDCWD, std::string(other).c_str(), flags, STATX_MNT_ID, &b) != 0)
        return std::nullopt;
    // One mount may show several devices (overlays do), and one device may be mounted twice.
    const bool oneMount = (a.stx_mask & b.stx_mask & STATX_MNT_ID) != 0 && a.stx_mnt_id == b.stx_mnt_id;
    return oneMount || (a.stx_dev_major == b.stx_dev_major && a.stx_dev_minor == b.stx_dev_minor);
}

void FileManager::createDirectory(std::string_view path, Intermediates intermediates)
{
    std::error_code error;
    if (intermediates == Intermediates::create)
        error = createWithIntermediates(path);
    else if (!fs::create_directory(path, error) && !error)
        error = std::make_error_code(std::errc::file_exists);
    if (!error && !fs::is_directory(path))
        error = std::make_error_code(std::errc::not_a_directory);
    if (error)
        throw fs::filesystem_error("cannot create the folder", path, error);
}

void FileManager::removeItem(std::string_view path)
{
    const std::string item(path);
    if (::unlink(item.c_str()) == 0)
        return;
    std::error_code error = lastError();
    struct stat found {};
    if (::lstat(item.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) {
        error = empty(item);
        if (::rmdir(item.c_str()) == 0)
            return;
        if (!error)
            error = lastError();
    }
    throw fs::filesystem_error("cannot remove the item", path, error);
}

void FileManager::moveItem(std::string_view path, std::string_view destination)
{
    const std::string from(path), to(destination);
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return;
    std::error_code error = lastError();
    if (error == std::errc::invalid_argument && !isThere(to)) // a file system that cannot keep from replacing
        error = ::rename(from.c_str(), to.c_str()) == 0 ? std::error_code() : lastError();
    if (error == std::errc::cross_device_link) {
        copyItem(path, destination);
        removeItem(path);
        return;
    }
    if (error)
        throw fs::filesystem_error("cannot move the item", path, destination, error);
}

void FileManager::copyItem(std::string_view path, std::string_view destination)
{
    const std::string from(path), to(destination);
    std::error_code error;
    if (isThere(to))
        error = std::make_error_code(std::errc::file_exists);
    else if (isInside(to, from))
        error = std::make_error_code(std::errc::invalid_argument);
    if (error)
        throw fs::filesystem_error("cannot copy the item", path, destination, error);
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    if (error) {
        if (isThere(to)) {
            std::error_code ignored;
            fs::remove_all(to, ignored);
        }
        throw fs::filesystem_error("cannot copy the item", path, destination, error);
    }
    struct stat found {};
    if (::lstat(from.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) {
        const URL source = URL::fromPath(from);
        DirectoryEnumerator walk(source, Options::includesDirectoriesPostOrder);
        const std::size_t start = source.path().size();
        while (walk.advance())
            copyDates(std::string(walk.path()), to + std::string(walk.path().substr(start)));
    }
    copyDates(from, to);
}

void FileManager::replaceItem(std::string_view destination, std::string_view path)
{
    const std::string from(path);
    std::error_code error;
    std::optional<AtomicFile> file;
    const int source = ::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (source < 0)
        error = lastError();
    else
        file = AtomicFile::create(destination, error);
    if (file)
        error = detail::copyContents(source, file->descriptor());
    if (source >= 0)
        ::close(source);
    if (!error)
        error = file->commit();
    if (error)
        throw fs::filesystem_error("cannot replace the item", destination, path, error);
    removeItem(path);
}

std::vector<std::string> FileManager::contentsOfDirectory(std::string_view path)
{
    const int descriptor = ::open(std::string(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        throw fs::filesystem_error("cannot list the folder", path, lastError());
    ::close(descriptor);
    std::vector<std::string> names;
    DirectoryEnumerator walk(URL::fromPath(path), Options::skipsSubdirectoryDescendants);
    while (walk.advance())
        names.emplace_back(walk.name());
    return names;
}

std::string FileManager::temporaryDirectory()
{
    std::error_code error;
    const fs::path found = fs::temp_directory_path(error);
    std::string path = error ? std::string("/tmp") : found.string();
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    return path;
}

} // namespace corvane
