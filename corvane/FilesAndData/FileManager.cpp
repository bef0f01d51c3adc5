// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/Bundle.h>
#include <corvane/FilesAndData/FileManager.h>
#include <corvane/FilesAndData/URL.h>
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/Random.h>
#include <corvane/Platform/Base/User.h>
#include <corvane/Platform/Files/AtomicFile.h>
#include <corvane/Platform/Files/CopyContents.h>
#include <corvane/Platform/Files/FileManager.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace corvane {

namespace {

using std::filesystem::filesystem_error;

// The names for an item beside it, one after the other: its own, then with " (0)", " (1)" and so on.
class Candidates {
public:
    explicit Candidates(const URL& url) : url_(url) {}

    URL next()
    {
        const Int number = number_;
        number_ = checkedAdd(number_, Int{1});
        if (number < 0)
            return url_;
        std::string name = lastPathTitle(url_) + " (" + std::to_string(number) + ")";
        if (const std::string extension = url_.pathExtension(); !extension.empty())
            name += "." + extension;
        if (url_.hasDirectoryPath())
            name += "/";
        return url_.deletingLastPathComponent().appendingPathComponent(name);
    }

private:
    URL url_;
    Int number_ = -1;
};

std::string randomUUIDString()
{
    std::array<std::byte, 16> bytes{};
    fillRandom(bytes);
    bytes[6] = (bytes[6] & std::byte{0x0F}) | std::byte{0x40}; // version 4, of random numbers
    bytes[8] = (bytes[8] & std::byte{0x3F}) | std::byte{0x80};
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            text += '-';
        for (const unsigned shift : {4U, 0U})
            text += "0123456789ABCDEF"[std::to_integer<unsigned>(bytes[i]) >> shift & 0xFU];
    }
    return text;
}

URL temporaryURL(const URL& folder, std::string_view pathExt)
{
    std::string name = randomUUIDString();
    if (!pathExt.empty())
        name.append(".").append(pathExt);
    return folder.appendingPathComponent(name);
}

URL temporaryFolder()
{
    return URL::fromPath(FileManager::temporaryDirectory());
}

// The folder if it could be made.
std::optional<URL> made(const URL& folder)
{
    try {
        createDirectory(folder);
    } catch (const filesystem_error&) {
        return std::nullopt;
    }
    return folder;
}

std::error_code copyContents(const std::string& from, AtomicFile& file)
{
    const int source = ::open(from.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (source < 0)
        return {errno, std::system_category()};
    struct stat found {};
    std::error_code error;
    if (::fstat(source, &found) == 0 && !S_ISREG(found.st_mode))
        error = std::make_error_code(S_ISDIR(found.st_mode) ? std::errc::is_a_directory
                                                            : std::errc::operation_not_supported);
    else
        error = detail::copyContents(source, file.descriptor());
    ::close(source);
    return error;
}

} // namespace

ContentExistence contentExists(const URL& at)
{
    ContentExistence result;
    result.exist = FileManager::fileExists(at.path(), &result.isDir);
    return result;
}

std::string noSandboxHomePath()
{
    return "/Users/" + userName() + "/";
}

URL noSandboxHomeURL()
{
    return URL::fromPath(noSandboxHomePath());
}

URL availableItemURL(const URL& url)
{
    Candidates candidates(url);
    for (;;)
        if (URL candidate = candidates.next(); !contentExists(candidate).exist)
            return candidate;
}

URL availableItemURL(std::string_view name, const URL& in)
{
    return availableItemURL(in.appendingPathComponent(name));
}

URL createAvailableItem(const URL& url, NewItem item)
{
    Candidates candidates(url);
    for (;;) {
        URL candidate = candidates.next();
        const std::string path = candidate.path();
        const int result = item == NewItem::directory
                               ? ::mkdir(path.c_str(), 0777)
                               : ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (result < 0 && errno == EEXIST)
            continue;
        if (result < 0)
            throw filesystem_error("cannot make the item", path,
                                   std::error_code(errno, std::system_category()));
        if (item == NewItem::file)
            ::close(result);
        return candidate;
    }
}

std::optional<Date> modifyDateForFile(const URL& at)
{
    const auto attributes = FileManager::attributes(at.path());
    return attributes ? std::optional(attributes->modificationDate) : std::nullopt;
}

std::optional<Date> createDateForFile(const URL& at)
{
    const auto attributes = FileManager::attributes(at.path());
    return attributes ? attributes->creationDate : std::nullopt;
}

URL temporaryURL(std::string_view pathExt)
{
    return temporaryURL(temporaryFolder(), pathExt);
}

URL temporaryURL(const URL& url)
{
    return temporaryURL(url.pathExtension());
}

URL temporaryURL(std::string_view pathExt, const Bundle& bundle)
{
    const URL folder =
        temporaryFolder().appendingPathComponent(bundle.bundleIdentifier().value_or("CorvaneDefaultPrefix"));
    made(folder);
    return temporaryURL(folder, pathExt);
}

URL temporaryURL(const URL& url, const Bundle& bundle)
{
    return temporaryURL(url.pathExtension(), bundle);
}

std::optional<URL> bundleSupportDirectoryURL()
{
    const auto data = userDataDirectory();
    if (!data)
        return std::nullopt;
    return URL::fromPath(*data).appendingPathComponent(name(Bundle::main()));
}

std::optional<URL> noSandboxBundleSupportDirectoryURL()
{
    return noSandboxHomeURL()
        .appendingPathComponent("Library/Application Support")
        .appendingPathComponent(name(Bundle::main()));
}

void createDirectory(const URL& at)
{
    FileManager::createDirectory(at.path(), FileManager::Intermediates::create);
}

void createDirectory(const URL& at, std::string_view appendPathComponent)
{
    createDirectory(at.appendingPathComponent(appendPathComponent));
}

std::optional<URL> createBundleSupportDirectory()
{
    const auto folder = bundleSupportDirectoryURL();
    return folder ? made(*folder) : std::nullopt;
}

std::optional<URL> createBundleSupportDirectoryWithComponent(std::string_view component)
{
    const auto folder = bundleSupportDirectoryURL();
    return folder ? made(folder->appendingPathComponent(component)) : std::nullopt;
}

void overwritingCopy(const URL& at, const URL& to)
{
    const std::string from = at.path(), destination = to.path();
    if (!FileManager::fileExists(destination)) {
        FileManager::copyItem(from, destination);
        return;
    }
    // Beside the destination rather than in the temporary folder, which may be on another file system.
    std::error_code error;
    std::optional<AtomicFile> file = AtomicFile::create(destination, error);
    if (file)
        error = copyContents(from, *file);
    if (!error)
        error = file->commit(AtomicFile::Durability::ordered); // the source has the bytes as well
    if (error)
        throw filesystem_error("cannot copy over the file", from, destination, error);
}

} // namespace corvane
