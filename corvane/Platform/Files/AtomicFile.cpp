// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Files/AtomicFile.h>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <filesystem>

namespace corvane {

namespace {

std::error_code lastError() noexcept
{
    return {errno, std::system_category()};
}

// Where writing to `path` ends up: the end of its chain of symbolic links, which need not exist.
std::filesystem::path endOfLinks(std::filesystem::path path, std::error_code& error)
{
    for (int links = 0; links < 40; ++links) {
        std::error_code notALink;
        const std::filesystem::path next = std::filesystem::read_symlink(path, notALink);
        if (notALink)
            return path;
        path = path.parent_path() / next;
    }
    error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    return {};
}

std::string descriptorPath(int descriptor)
{
    return "/proc/self/fd/" + std::to_string(descriptor);
}

std::string freshName()
{
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof number))
        number = reinterpret_cast<std::uintptr_t>(&number) ^ static_cast<std::uint64_t>(::getpid()) << 32U;
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), ".corvane-%016llx", static_cast<unsigned long long>(number));
    return name.data();
}

// A name is drawn until it is free; `make` answers as a system call does.
template <typename Make>
bool underFreshName(std::string& name, Make make)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = freshName();
        if (make(name.c_str()) >= 0)
            return true;
        if (errno != EEXIST)
            break;
    }
    name.clear();
    return false;
}

// Gives `file` what `replaced` was allowed. A group or owner that cannot be kept costs the set-id bits, which
// would otherwise run the new content under somebody it was not meant for.
bool takePermissions(int file, const struct stat& replaced, const std::string& replacedPath) noexcept
{
    mode_t mode = replaced.st_mode & 07777U;
    struct stat made {};
    if (::fstat(file, &made) != 0)
        return false;
    if (made.st_gid != replaced.st_gid && ::fchown(file, static_cast<uid_t>(-1), replaced.st_gid) != 0)
        mode &= ~static_cast<mode_t>(S_ISGID);
    if (made.st_uid != replaced.st_uid && ::fchown(file, replaced.st_uid, static_cast<gid_t>(-1)) != 0)
        mode &= ~static_cast<mode_t>(S_ISUID);
    if (::fchmod(file, mode) != 0)
        return false;
    std::array<char, 4096> accessList{};
    constexpr const char* attribute = "system.posix_acl_access";
    const ssize_t size = ::getxattr(replacedPath.c_str(), attribute, accessList.data(), accessList.size());
    return size <= 0 ||
           ::fsetxattr(file, attribute, accessList.data(), static_cast<std::size_t>(size), 0) == 0;
}

// Whether the file system of a file has its bytes written before a rename of it over another becomes lasting. This
// is how ext4 is set up unless somebody asks for something else.
bool writesBeforeRenaming(int file) noexcept
{
    struct statfs found {};
    return ::fstatfs(file, &found) == 0 && found.f_type == EXT4_SUPER_MAGIC;
}

} // namespace

std::optional<AtomicFile> AtomicFile::create(std::string_view path, std::error_code& error)
{
    AtomicFile result;
    error = result.open(path);
    if (error)
        return std::nullopt;
    return result;
}

std::error_code AtomicFile::open(std::string_view path)
{
    // A path with a zero byte would silently name another file.
    if (path.empty() || path.find('\0') != std::string_view::npos)
        return std::make_error_code(std::errc::invalid_argument);
    std::error_code error;
    const std::filesystem::path target = endOfLinks(path, error);
    if (error)
        return error;
    target_ = target.filename();
    if (target_.empty() || target_ == "." || target_ == "..")
        return std::make_error_code(std::errc::is_a_directory);
    const std::string folder = target.has_parent_path() ? target.parent_path().string() : std::string(".");
    folder_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder_ < 0 && errno == EACCES) // may be written and searched though not listed
        folder_ = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (folder_ < 0)
        return lastError();

    struct stat replaced {};
    mode_t mode = 0666;
    if (::fstatat(folder_, target_.c_str(), &replaced, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISDIR(replaced.st_mode))
            return std::make_error_code(std::errc::is_a_directory);
        if (!S_ISREG(replaced.st_mode))
            return std::make_error_code(std::errc::operation_not_supported);
        mode = replaced.st_mode & 0777U; // never more open than the file it replaces
    } else if (errno != ENOENT) {
        return lastError();
    }

    file_ = ::openat(folder_, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode | 0600U);
    if (file_ >= 0 && ::access(descriptorPath(file_).c_str(), F_OK) != 0) {
        ::close(file_); // without /proc an unnamed file can never be given a name
        file_ = -1;
        errno = EOPNOTSUPP;
    }
    if (file_ < 0 && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL || errno == ENOENT))
        underFreshName(temporary_, [&](const char* name) {
            return file_ = ::openat(folder_, name, O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW,
                                    mode | 0600U);
        });
    return file_ < 0 ? lastError() : std::error_code();
}

AtomicFile::AtomicFile(AtomicFile&& other) noexcept
    : folder_(std::exchange(other.folder_, -1)),
      file_(std::exchange(other.file_, -1)),
      target_(std::move(other.target_)),
      temporary_(std::exchange(other.temporary_, {}))
{}

AtomicFile& AtomicFile::operator=(AtomicFile&& other) noexcept
{
    if (this != &other) {
        discard();
        folder_ = std::exchange(other.folder_, -1);
        file_ = std::exchange(other.file_, -1);
        target_ = std::move(other.target_);
        temporary_ = std::exchange(other.temporary_, {});
    }
    return *this;
}

AtomicFile::~AtomicFile()
{
    discard();
}

void AtomicFile::discard() noexcept
{
    if (!temporary_.empty())
        ::unlinkat(folder_, temporary_.c_str(), 0);
    temporary_.clear();
    if (file_ >= 0)
        ::close(std::exchange(file_, -1));
    if (folder_ >= 0)
        ::close(std::exchange(folder_, -1));
}

std::error_code AtomicFile::write(DataView bytes) noexcept
{
    precondition(file_ >= 0, "A file that has been committed cannot be written");
    while (!bytes.empty()) {
        const ssize_t written = ::write(file_, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return lastError();
        if (written > 0)
            bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return {};
}

std::error_code AtomicFile::commit(Durability durability) noexcept
{
    precondition(file_ >= 0, "A file can be committed only once");
    const std::error_code error = takePlace(durability);
    discard();
    return error;
}

std::error_code AtomicFile::takePlace(Durability durability) noexcept
{
    struct stat replaced {};
    if (::fstatat(folder_, target_.c_str(), &replaced, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(replaced.st_mode))
        if (!takePermissions(file_, replaced, descriptorPath(folder_) + "/" + target_))
            return lastError();
    const bool waits = durability == Durability::synced || !writesBeforeRenaming(file_);
    if (waits && ::fsync(file_) != 0)
        return lastError();
    if (temporary_.empty()) {
        const std::string unnamed = descriptorPath(file_);
        const bool named = underFreshName(temporary_, [&](const char* name) {
            return ::linkat(AT_FDCWD, unnamed.c_str(), folder_, name, AT_SYMLINK_FOLLOW);
        });
        if (!named)
            return lastError();
    }
    if (::renameat(folder_, temporary_.c_str(), folder_, target_.c_str()) != 0)
        return lastError();
    temporary_.clear();
    // The content is whole under its name already; a folder that cannot be synced only delays when that is
    // sure.
    if (waits)
        ::fsync(folder_);
    return {};
}

void replaceFile(std::string_view path, DataView bytes)
{
    std::error_code error;
    std::optional<AtomicFile> file = AtomicFile::create(path, error);
    if (file)
        error = file->write(bytes);
    if (!error)
        error = file->commit();
    if (error)
        throw std::filesystem::filesystem_error("cannot replace the file", path, error);
}

} // namespace corvane
