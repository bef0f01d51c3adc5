// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/Bookmark.h>
#include <corvane/Platform/Files/DirectoryEnumerator.h>
#include <corvane/Platform/Files/FileIdentity.h>

#include <fcntl.h>
#include <stdlib.h> // realpath
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvane {

namespace {

using detail::FileIdentity;
using detail::isSameItem;

constexpr std::string_view magic = "corvbmk1";

std::uint64_t checksum(DataView bytes) noexcept // FNV-1a: against damage, not against intent
{
    std::uint64_t sum = 0xcbf29ce484222325;
    for (const std::byte byte : bytes)
        sum = (sum ^ std::to_integer<std::uint64_t>(byte)) * 0x100000001b3;
    return sum;
}

class Writer {
public:
    template <class T>
    void number(T value)
    {
        const auto* start = reinterpret_cast<const std::byte*>(&value);
        data.insert(data.end(), start, start + sizeof value);
    }
    void text(std::string_view value)
    {
        number(static_cast<std::uint32_t>(value.size()));
        const auto* start = reinterpret_cast<const std::byte*>(value.data());
        data.insert(data.end(), start, start + value.size());
    }

    Data data;
};

// Past the end everything reads as zero and empty, and `isGood` tells.
class Reader {
public:
    explicit Reader(DataView bytes) noexcept : rest_(bytes) {}

    template <class T>
    void number(T& value) noexcept
    {
        value = T();
        if (const DataView bytes = take(sizeof value); !bytes.empty())
            std::memcpy(&value, bytes.data(), sizeof value);
    }
    void number(bool& value) noexcept
    {
        std::uint8_t byte = 0;
        number(byte);
        value = byte != 0;
    }
    void text(std::string& value)
    {
        std::uint32_t size = 0;
        number(size);
        const DataView bytes = take(size);
        value.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    bool isGood() const noexcept { return isGood_; }
    std::size_t left() const noexcept { return rest_.size(); }

private:
    DataView take(std::size_t size) noexcept
    {
        isGood_ = isGood_ && size <= rest_.size();
        if (!isGood_)
            return {};
        const DataView taken = rest_.first(size);
        rest_ = rest_.subspan(size);
        return taken;
    }

    DataView rest_;
    bool isGood_ = true;
};

// Both ways of the fields of an identity in one place.
template <class Archive, class Identity>
void exchange(Archive& archive, Identity& identity)
{
    archive.number(identity.fileSystem);
    archive.number(identity.inode);
    archive.number(identity.birthSeconds);
    archive.number(identity.birthNanoseconds);
    archive.number(identity.kind);
    archive.number(identity.isNumberedAnew);
    archive.number(identity.handleType);
    archive.text(identity.handle);
}

std::string joined(const std::string& folder, std::string_view name)
{
    std::string path = folder;
    if (!path.ends_with('/'))
        path += '/';
    return path += name;
}

// Without symbolic links on the way to it; the item itself may be one. Empty when that fails.
std::string realPath(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string name = path.substr(slash + 1); // all of it where there is no slash
    const bool isNamed = !name.empty() && name != "." && name != "..";
    std::string folder = path;
    if (isNamed)
        folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    char* real = ::realpath(folder.c_str(), nullptr);
    if (real == nullptr)
        return {};
    std::string result = isNamed ? joined(real, name) : std::string(real);
    std::free(real);
    return result;
}

} // namespace

struct Bookmark::Record {
    struct Place {
        std::string name;
        FileIdentity identity;
    };

    URL url;
    std::vector<Place> way; // from below the root to the item, without symbolic links; empty for the root

    std::string prefix(std::size_t count) const
    {
        std::string path = "/";
        for (std::size_t i = 0; i < count; ++i)
            path = joined(path, way[i].name);
        return path;
    }
};

// Breadth first over the tree of folders seen from where the item was: what is one step up or down first.
class Bookmark::Search {
public:
    Search(const Record& record, const BookmarkSearchLimits& limits)
        : way_(record.way), entries_(limits.entries), time_(limits.time)
    {
        firstLost_ = way_.size() - 1;
        while (firstLost_ > 0 && !isInPlace(record.prefix(firstLost_), firstLost_ - 1))
            --firstLost_;
        start_ = record.prefix(firstLost_);
    }

    /// The path of the item, or empty.
    std::string run()
    {
        const FileIdentity& item = way_.back().identity;
        const auto start = FileIdentity::at(AT_FDCWD, start_.c_str());
        if (!start || item.isNumberedAnew)
            return {};
        // A disk that is not there now is no place to search for in the folder that it was mounted in.
        if (firstLost_ > 0 && way_[firstLost_ - 1].identity.fileSystem != item.fileSystem)
            return {};
        fileSystem_ = start->fileSystem;
        queue_.push_back({start_, {}, true});
        while (!queue_.empty() && hasTime()) {
            const Folder folder = std::move(queue_.front());
            queue_.pop_front();
            if (std::string found = look(folder); !found.empty())
                return found;
        }
        return {};
    }

private:
    using Clock = std::chrono::steady_clock;

    struct Folder {
        std::string path;
        std::string cameFrom; // name of the item that is not looked into again
        bool goesUp = false;  // to the folder around it, too
    };

    bool hasTime() const { return entries_ > 0 && Clock::now() - began_ < time_; }

    bool isInPlace(const std::string& path, std::size_t step) const
    {
        const auto found = FileIdentity::at(AT_FDCWD, path.c_str());
        return found && isSameItem(*found, way_[step].identity);
    }

    std::string look(const Folder& folder)
    {
        const auto identity = FileIdentity::at(AT_FDCWD, folder.path.c_str());
        if (!identity || identity->fileSystem != fileSystem_)
            return {};
        DirectoryEnumerator walk(URL::fromPath(folder.path),
                                 DirectoryEnumerator::Options::skipsSubdirectoryDescendants);
        while (hasTime() && walk.advance()) {
            --entries_;
            if (const auto step = recognise(walk)) {
                std::string path = follow(joined(folder.path, walk.name()), *step);
                if (!path.empty())
                    return path;
            } else if (walk.type() == DirectoryEnumerator::ItemType::directory &&
                       !walk.name().starts_with('.') && walk.name() != folder.cameFrom)
                queue_.push_back({joined(folder.path, walk.name()), {}, false});
        }
        if (folder.goesUp && folder.path != "/") {
            const std::size_t slash = folder.path.rfind('/');
            queue_.push_back({folder.path.substr(0, std::max<std::size_t>(slash, 1)),
                              folder.path.substr(slash + 1), true});
        }
        return {};
    }

    // Which step of the old way, among those lost, the current item of the walk is.
    std::optional<std::size_t> recognise(const DirectoryEnumerator& walk) const
    {
        for (std::size_t step = firstLost_; step < way_.size(); ++step)
            if (way_[step].identity.inode == walk.inode()) {
                const auto found = FileIdentity::at(walk.folderDescriptor(), walk.name().data());
                if (found && isSameItem(*found, way_[step].identity))
                    return step;
            }
        return std::nullopt;
    }

    // Goes on by the old names from a step that was found again. When they end before the item, the search
    // goes on from there first.
    std::string follow(std::string path, std::size_t step)
    {
        while (step + 1 < way_.size()) {
            std::string next = joined(path, way_[step + 1].name);
            if (!isInPlace(next, step + 1)) {
                queue_.push_front({std::move(path), {}, false});
                return {};
            }
            path = std::move(next);
            ++step;
        }
        return path;
    }

    const std::vector<Record::Place>& way_;
    std::size_t firstLost_ = 0; // step of the way
    std::string start_;         // the last folder of the way that is in its place
    std::uint64_t fileSystem_ = 0;
    std::deque<Folder> queue_;
    Int entries_;
    TimeInterval time_;
    Clock::time_point began_ = Clock::now();
};

Bookmark::Bookmark(std::shared_ptr<const Record> record) noexcept : record_(std::move(record)) {}

const URL& Bookmark::url() const noexcept
{
    return record_->url;
}

std::optional<Bookmark> Bookmark::fromURL(const URL& url)
{
    if (!url.isFileURL())
        return std::nullopt;
    const std::string path = realPath(url.path());
    if (path.empty())
        return std::nullopt;
    Record record{url, {}};
    for (std::size_t start = 1; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const auto identity = FileIdentity::at(AT_FDCWD, path.substr(0, end).c_str());
        if (!identity)
            return std::nullopt;
        record.way.push_back({path.substr(start, end - start), *identity});
        start = end + 1;
    }
    return Bookmark(std::make_shared<const Record>(std::move(record)));
}

Data Bookmark::data() const
{
    Writer writer;
    writer.text(magic);
    writer.text(record_->url.absoluteString());
    for (const Record::Place& place : record_->way) {
        writer.text(place.name);
        exchange(writer, place.identity);
    }
    writer.number(checksum(writer.data));
    return std::move(writer.data);
}

std::optional<Bookmark> Bookmark::fromData(DataView data)
{
    std::uint64_t sum = 0;
    if (data.size() < sizeof sum)
        return std::nullopt;
    Reader(data.last(sizeof sum)).number(sum);
    const DataView content = data.first(data.size() - sizeof sum);
    Reader reader(content);
    std::string head, address;
    reader.text(head);
    reader.text(address);
    const auto url = URL::fromString(address);
    if (sum != checksum(content) || head != magic || !url || !url->isFileURL())
        return std::nullopt;
    Record record{*url, {}};
    while (reader.isGood() && reader.left() > 0) {
        Record::Place& place = record.way.emplace_back();
        reader.text(place.name);
        exchange(reader, place.identity);
    }
    if (!reader.isGood())
        return std::nullopt;
    return Bookmark(std::make_shared<const Record>(std::move(record)));
}

std::optional<Bookmark::Resolution> Bookmark::resolve(const BookmarkSearchLimits& limits) const
{
    const Record& record = *record_;
    if (record.way.empty())
        return Resolution{record.url, false};
    const std::string oldPath = record.url.path();
    const auto inOldPlace = FileIdentity::at(AT_FDCWD, oldPath.c_str());
    if (inOldPlace && isSameItem(*inOldPlace, record.way.back().identity))
        return Resolution{record.url, false};
    std::string path = Search(record, limits).run();
    const std::string realOldPath = record.prefix(record.way.size());
    const bool isBackup = inOldPlace && path.size() > realOldPath.size() && path.starts_with(realOldPath) &&
                          path.find('/', realOldPath.size()) == std::string::npos;
    if (path.empty() || isBackup)
        return inOldPlace ? std::optional(Resolution{record.url, true}) : std::nullopt;
    if (record.url.hasDirectoryPath())
        path += '/';
    return Resolution{URL::fromPath(path), false};
}

bool startAccessing(const URL& url)
{
    return url.isFileURL() && ::faccessat(AT_FDCWD, url.path().c_str(), R_OK, AT_EACCESS) == 0;
}

void stopAccessing(const URL&) noexcept {}

} // namespace corvane
