// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Random.h>
#include <corvane/Platform/Base/User.h>
#include <corvane/Platform/Storage/PrivateFolder.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <thread>

namespace corvane {

namespace {

constexpr mode_t ofOthers = S_IRWXG | S_IRWXO;

PrivateFolder::FileState stateOf(const struct stat& file)
{
    using State = PrivateFolder::FileState;
    if (!S_ISREG(file.st_mode))
        return State::notAFile;
    if (file.st_uid != ::geteuid())
        return State::foreign;
    return (file.st_mode & ofOthers) != 0 ? State::exposed : State::sound;
}

bool writeAll(int file, DataView bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        bytes = bytes.subspan(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

bool makeFolders(const std::string& path)
{
    const std::filesystem::path folder = path;
    std::error_code error;
    if (folder.has_parent_path() && !std::filesystem::exists(folder.parent_path(), error) &&
        !makeFolders(folder.parent_path()))
        return false;
    return ::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST;
}

Descriptor::~Descriptor()
{
    if (number_ >= 0)
        ::close(number_);
}

std::optional<std::string> PrivateFolder::pathFor(const std::string& folder)
{
    if (!folder.empty())
        return folder;
    std::optional<std::string> path = userDataDirectory();
    if (path)
        *path += "/corvane/keychain";
    return path;
}

OSStatus PrivateFolder::open(const std::string& path, Creation creation, PrivateFolder& folder)
{
    for (bool made = false;; made = true) {
        folder.folder_ = Descriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (folder.folder_ || errno != ENOENT || made)
            break;
        if (creation == Creation::never)
            return errSecItemNotFound;
        if (!makeFolders(path))
            return errno == ENOSPC ? errSecDiskFull : errSecIO;
    }
    if (!folder.folder_)
        return errno == ELOOP || errno == ENOTDIR ? errSecVaultFolderUnsafe : errSecIO;
    struct stat state {};
    if (::fstat(folder.folder_.get(), &state) != 0)
        return errSecIO;
    if (state.st_uid != ::geteuid() || (state.st_mode & ofOthers) != 0)
        return errSecVaultFolderUnsafe;
    folder.path_ = path;
    return errSecSuccess;
}

PrivateFolder::FileState PrivateFolder::state(const std::string& name) const
{
    struct stat file {};
    if (::fstatat(folder_.get(), name.c_str(), &file, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? FileState::missing : FileState::unreadable;
    return stateOf(file);
}

PrivateFolder::FileState PrivateFolder::read(const std::string& name, std::size_t limit,
                                             SecretBytes& content) const
{
    // Not to wait for a pipe that somebody put there.
    const Descriptor file(
        ::openat(folder_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file && errno == ENOENT)
        return FileState::missing;
    if (!file && errno == ELOOP)
        return FileState::notAFile;
    struct stat found {};
    if (!file || ::fstat(file.get(), &found) != 0) {
        const FileState why = state(name);
        return why == FileState::sound ? FileState::unreadable : why;
    }
    if (const FileState known = stateOf(found); known != FileState::sound)
        return known;
    SecretBytes bytes(limit);
    std::size_t size = 0;
    while (size < limit) {
        const ssize_t count = ::read(file.get(), bytes.bytes().data() + size, limit - size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return FileState::unreadable;
        if (count == 0)
            break;
        size += static_cast<std::size_t>(count);
    }
    content = SecretBytes(bytes.view().first(size));
    return FileState::sound;
}

PrivateFolder::Written PrivateFolder::link(const std::string& from, const std::string& name) const
{
    if (::linkat(folder_.get(), from.c_str(), folder_.get(), name.c_str(), 0) != 0)
        return errno == EEXIST ? Written::before : Written::failed;
    ::unlinkat(folder_.get(), from.c_str(), 0);
    return ::fsync(folder_.get()) == 0 ? Written::now : Written::failed;
}

PrivateFolder::Written PrivateFolder::write(const std::string& name, DataView content) const
{
    const std::string temporary = name + ".new-" + std::to_string(randomUInt32());
    const Descriptor file(::openat(folder_.get(), temporary.c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file)
        return Written::failed;
    const bool isWhole = writeAll(file.get(), content) && ::fsync(file.get()) == 0;
    const int error = errno;
    const Written written = isWhole ? link(temporary, name) : Written::failed;
    if (written != Written::now)
        ::unlinkat(folder_.get(), temporary.c_str(), 0);
    if (!isWhole)
        errno = error; // for a caller that tells a full disk from other failures
    return written;
}

bool PrivateFolder::remove(const std::string& name) const
{
    return ::unlinkat(folder_.get(), name.c_str(), 0) == 0 || errno == ENOENT;
}

Descriptor PrivateFolder::lock(const std::string& name, std::chrono::milliseconds wait) const
{
    Descriptor file(
        ::openat(folder_.get(), name.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    const auto giveUp = std::chrono::steady_clock::now() + wait;
    while (file && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() >= giveUp)
            return Descriptor();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return file;
}

} // namespace corvane
