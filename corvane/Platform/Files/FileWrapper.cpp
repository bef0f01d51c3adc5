// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/FileWrapper.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace corvane {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, std::error_code error)
{
    throw fs::filesystem_error("cannot read the item", path, error);
}

[[noreturn]] void failWithLastError(const std::string& path)
{
    fail(path, std::error_code(errno, std::system_category()));
}

Data contentsOf(const std::string& path)
{
    struct Descriptor {
        int number;
        ~Descriptor() { ::close(number); }
    };
    // It was a file a moment ago. What took its place since must not make the process wait.
    const Descriptor file{::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)};
    struct stat found {};
    if (file.number < 0 || ::fstat(file.number, &found) != 0)
        failWithLastError(path);
    // One byte more than it says, to see the end of it; files of the system's own say that they are empty.
    Data contents(static_cast<std::size_t>(std::max<off_t>(found.st_size, 0)) + 1);
    std::size_t length = 0;
    for (;;) {
        const ssize_t got = ::read(file.number, contents.data() + length, contents.size() - length);
        if (got < 0 && errno != EINTR)
            failWithLastError(path);
        if (got == 0)
            break;
        length += static_cast<std::size_t>(std::max<ssize_t>(got, 0));
        if (length == contents.size())
            contents.resize(2 * length + 4096);
    }
    contents.resize(length);
    return contents;
}

FileWrapper read(const std::string& path, std::string name)
{
    FileWrapper result;
    result.filename = std::move(name);
    const auto attributes = FileManager::attributes(path);
    if (!attributes)
        failWithLastError(path);
    result.attributes = *attributes;
    std::error_code error;
    switch (attributes->type) {
    case FileManager::FileType::regular:
        result.contents = contentsOf(path);
        break;
    case FileManager::FileType::symbolicLink:
        result.destination = fs::read_symlink(path, error).string();
        break;
    case FileManager::FileType::directory: {
        std::vector<std::string> names = FileManager::contentsOfDirectory(path);
        std::ranges::sort(names);
        for (std::string& item : names)
            result.children.push_back(read((fs::path(path) / item).string(), item));
        break;
    }
    default:
        error = std::make_error_code(std::errc::operation_not_supported);
    }
    if (error)
        fail(path, error);
    return result;
}

} // namespace

FileWrapper FileWrapper::fromURL(const URL& url)
{
    std::string path = url.path();
    while (path.size() > 1 && path.ends_with('/')) // a link to a folder is a link
        path.pop_back();
    return read(path, url.lastPathComponent());
}

const FileWrapper* FileWrapper::child(std::string_view name) const noexcept
{
    const auto found = std::ranges::lower_bound(children, name, {}, &FileWrapper::filename);
    return found != children.end() && found->filename == name ? &*found : nullptr;
}

} // namespace corvane
