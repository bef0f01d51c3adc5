// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Files/DirectoryEnumerator.h>
#include <corvane/Platform/Files/TypeIdentifiers.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

namespace {

constexpr std::size_t bufferSize = std::size_t{32} * 1024;
constexpr std::size_t mostOpenLevels = 48;
constexpr int openFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

using Buffer = std::unique_ptr<std::byte[]>;

DirectoryEnumerator::ItemType typeOf(mode_t mode) noexcept
{
    using enum DirectoryEnumerator::ItemType;
    return S_ISREG(mode) ? file : S_ISDIR(mode) ? directory : S_ISLNK(mode) ? symbolicLink : other;
}

struct Identity {
    dev_t device = 0;
    ino_t inode = 0;

    friend bool operator==(const Identity&, const Identity&) = default;
};

// Absent when it cannot be had; an absent identity is nobody's.
std::optional<Identity> identityOf(int descriptor) noexcept
{
    struct stat found {};
    if (::fstat(descriptor, &found) != 0)
        return std::nullopt;
    return Identity{found.st_dev, found.st_ino};
}

bool isSameFolder(int descriptor, const std::optional<Identity>& known) noexcept
{
    return known && identityOf(descriptor) == known;
}

} // namespace

// A stack of the folders on the way to the current item. Only the innermost are open: one further out is
// parked, which is to say closed, with its identity and the place in its listing kept, and opened again
// through ".." of the folder that the walk comes back from.
struct DirectoryEnumerator::State {
    struct Level {
        int descriptor = -1;
        Buffer buffer;
        std::size_t position = 0, end = 0; // in the buffer
        off_t resume = 0;                  // in the listing, behind the last entry that was looked at
        std::size_t pathSize = 0;          // of this folder's path with its slash
        std::optional<Identity> identity;  // set when parked
    };

    State(const URL& folder, Options chosen) : options(chosen)
    {
        if (!folder.isFileURL())
            return;
        path = folder.path();
        const int descriptor = ::open(path.c_str(), openFlags);
        if (!path.ends_with('/'))
            path += '/';
        if (descriptor >= 0)
            push(descriptor);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State()
    {
        for (const Level& level : levels)
            if (level.descriptor >= 0)
                ::close(level.descriptor);
    }

    bool advance()
    {
        isSecondSight = false;
        if (std::exchange(descends, false) && !enter() &&
            contains(options, Options::includesDirectoriesPostOrder))
            return showAgain(name);
        while (!levels.empty()) {
            Level& level = levels.back();
            if (level.position == level.end && !fill(level)) {
                if (leave())
                    return true;
                continue;
            }
            const auto* entry = reinterpret_cast<const dirent64*>(level.buffer.get() + level.position);
            level.position += entry->d_reclen;
            level.resume = entry->d_off;
            if (accept(*entry))
                return true;
        }
        return false;
    }

    bool accept(const dirent64& entry)
    {
        const char* text = entry.d_name;
        if (text[0] == '.') {
            if (text[1] == '\0' || (text[1] == '.' && text[2] == '\0'))
                return false;
            if (contains(options, Options::skipsHiddenFiles))
                return false;
        }
        name = text;
        inode = entry.d_ino;
        switch (entry.d_type) {
        case DT_REG:
            type = ItemType::file;
            return true;
        case DT_LNK:
            type = ItemType::symbolicLink;
            return true;
        case DT_DIR:
            type = ItemType::directory;
            break;
        case DT_UNKNOWN: { // file systems that keep no types in their listings
            struct stat found {};
            if (::fstatat(levels.back().descriptor, text, &found, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0)
                return false;
            type = typeOf(found.st_mode);
            break;
        }
        default:
            type = ItemType::other;
            return true;
        }
        descends = type == ItemType::directory && !contains(options, Options::skipsSubdirectoryDescendants) &&
                   !(contains(options, Options::skipsPackageDescendants) && isPackage(name));
        return true;
    }

    static bool fill(Level& level) noexcept
    {
        const ssize_t size = ::getdents64(level.descriptor, level.buffer.get(), bufferSize);
        level.position = 0;
        level.end = size > 0 ? static_cast<std::size_t>(size) : 0;
        return size > 0; // an error ends this folder: it was removed or its disk went away
    }

    bool enter()
    {
        const int folder = levels.back().descriptor;
        int descriptor = ::openat(folder, name.data(), openFlags | O_NOFOLLOW);
        while (descriptor < 0 && (errno == EMFILE || errno == ENFILE) && firstOpen + 1 < levels.size()) {
            park();
            descriptor = ::openat(folder, name.data(), openFlags | O_NOFOLLOW);
        }
        if (descriptor < 0)
            return false;
        path.resize(levels.back().pathSize);
        path += name;
        path += '/';
        push(descriptor);
        return true;
    }

    void push(int descriptor)
    {
        if (levels.size() - firstOpen >= mostOpenLevels)
            park();
        Level level;
        level.descriptor = descriptor;
        level.buffer = takeBuffer();
        level.pathSize = path.size();
        levels.push_back(std::move(level));
    }

    // Closes the outermost open folder.
    void park()
    {
        Level& level = levels[firstOpen++];
        level.identity = identityOf(level.descriptor);
        ::close(std::exchange(level.descriptor, -1));
        spare.push_back(std::move(level.buffer));
        level.position = level.end = 0;
    }

    bool unpark(Level& level, int descriptor)
    {
        if (descriptor < 0)
            return false;
        if (!isSameFolder(descriptor, level.identity) || ::lseek(descriptor, level.resume, SEEK_SET) < 0) {
            ::close(descriptor);
            return false;
        }
        level.descriptor = descriptor;
        level.buffer = takeBuffer();
        --firstOpen;
        return true;
    }

    // Ends the innermost folder; true when it is to be shown a second time.
    bool leave()
    {
        Level done = std::move(levels.back());
        levels.pop_back();
        spare.push_back(std::move(done.buffer));
        const std::size_t depth = levels.size();
        if (depth > 0 && levels.back().descriptor < 0 &&
            !unpark(levels.back(), ::openat(done.descriptor, "..", openFlags)))
            findWayBack();
        ::close(done.descriptor);
        firstOpen = std::min(firstOpen, levels.size());
        if (levels.size() != depth || depth == 0 || !contains(options, Options::includesDirectoriesPostOrder))
            return false;
        const std::size_t start = levels.back().pathSize;
        return showAgain(std::string_view(path).substr(start, done.pathSize - 1 - start));
    }

    bool showAgain(std::string_view folder)
    {
        name = folder;
        inode = 0;
        type = ItemType::directory;
        return isSecondSight = true;
    }

    // The folder that the walk came from has been moved, so ".." leads elsewhere. Follows the way from the
    // start as far as it is still the same, and gives up what is beyond.
    void findWayBack()
    {
        std::size_t reached = 0;
        int descriptor = ::open(path.substr(0, levels[0].pathSize).c_str(), openFlags);
        if (descriptor >= 0 && !isSameFolder(descriptor, levels[0].identity))
            ::close(std::exchange(descriptor, -1));
        while (descriptor >= 0 && reached + 1 < levels.size()) {
            const std::size_t start = levels[reached].pathSize;
            const std::string step = path.substr(start, levels[reached + 1].pathSize - 1 - start);
            const int next = ::openat(descriptor, step.c_str(), openFlags | O_NOFOLLOW);
            if (next < 0)
                break;
            if (!isSameFolder(next, levels[reached + 1].identity)) {
                ::close(next);
                break;
            }
            ::close(std::exchange(descriptor, next));
            ++reached;
        }
        levels.resize(descriptor < 0 ? 0 : reached + 1);
        firstOpen = levels.size();
        if (descriptor >= 0 && !unpark(levels.back(), descriptor))
            levels.clear();
    }

    Buffer takeBuffer()
    {
        if (spare.empty())
            return std::make_unique_for_overwrite<std::byte[]>(bufferSize);
        Buffer buffer = std::move(spare.back());
        spare.pop_back();
        return buffer;
    }

    Options options;
    std::vector<Level> levels;
    std::size_t firstOpen = 0; // levels before it are parked
    std::vector<Buffer> spare;
    std::string path; // of the innermost folder with its slash; may go on with the current name

    std::string_view name;
    ItemType type = ItemType::other;
    ino64_t inode = 0;
    bool descends = false;
    bool isSecondSight = false;
};

DirectoryEnumerator::DirectoryEnumerator(const URL& folder, Options options)
    : state_(std::make_unique<State>(folder, options))
{}

DirectoryEnumerator::DirectoryEnumerator(DirectoryEnumerator&&) noexcept = default;
DirectoryEnumerator& DirectoryEnumerator::operator=(DirectoryEnumerator&&) noexcept = default;
DirectoryEnumerator::~DirectoryEnumerator() = default;

bool DirectoryEnumerator::advance()
{
    return state_->advance();
}

std::string_view DirectoryEnumerator::name() const noexcept
{
    return state_->name;
}

DirectoryEnumerator::ItemType DirectoryEnumerator::type() const noexcept
{
    return state_->type;
}

std::uint64_t DirectoryEnumerator::inode() const noexcept
{
    return state_->inode;
}

bool DirectoryEnumerator::leadsToFile() const noexcept
{
    if (state_->type != ItemType::symbolicLink)
        return state_->type != ItemType::directory;
    struct stat found {};
    return ::fstatat(folderDescriptor(), state_->name.data(), &found, AT_NO_AUTOMOUNT) == 0 &&
           !S_ISDIR(found.st_mode);
}

std::string_view DirectoryEnumerator::path() const
{
    precondition(!state_->levels.empty(), "A directory enumerator at its end has no item");
    std::string& path = state_->path;
    const std::size_t folder = state_->levels.back().pathSize;
    // The name of a folder seen again is in the path already, and is looked at there.
    const bool isThere = state_->name.data() == path.data() + folder;
    if (!isThere) {
        path.resize(folder);
        path += state_->name;
    }
    return std::string_view(path).substr(0, folder + state_->name.size());
}

URL DirectoryEnumerator::url() const
{
    if (type() != ItemType::directory)
        return URL::fromPath(path());
    return URL::fromPath(std::string(path()) + '/');
}

Int DirectoryEnumerator::level() const noexcept
{
    return static_cast<Int>(state_->levels.size());
}

bool DirectoryEnumerator::isPostOrder() const noexcept
{
    return state_->isSecondSight;
}

int DirectoryEnumerator::folderDescriptor() const noexcept
{
    return state_->levels.empty() ? -1 : state_->levels.back().descriptor;
}

void DirectoryEnumerator::skipDescendants() noexcept
{
    state_->descends = false;
}

std::optional<URL> DirectoryEnumerator::next()
{
    return advance() ? std::optional(url()) : std::nullopt;
}

bool DirectoryEnumerator::isPackage(std::string_view name) noexcept
{
    const std::string_view extension = fileNameExtension(name);
    if (extension.empty())
        return false;
    const std::string_view type =
        TypeIdentifiers::declaredIdentifierForTag(TypeIdentifiers::TagClass::filenameExtension, extension);
    return !type.empty() && (TypeIdentifiers::conforms(type, "com.apple.package") ||
                             TypeIdentifiers::conforms(type, "com.apple.bundle"));
}

} // namespace corvane
