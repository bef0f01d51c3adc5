// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>

#include <memory>
#include <optional>

namespace corvane {

/// How far the search for an item goes that is no longer at its path. It ends at whichever comes first.
struct BookmarkSearchLimits {
    Int entries = 100'000;   ///< items of folders looked at; 0 and below: no search
    TimeInterval time{0.25}; ///< seconds
};

/// A handle to a file or a folder, to be stored in place of its path: it finds the item again after it, or a
/// folder on the way to it, was renamed or moved within its file system.
///
///     if (auto bookmark = Bookmark::fromURL(file))
///         store(bookmark->data());
///     // in a later run of the program
///     if (auto bookmark = Bookmark::fromData(stored))
///         if (auto found = bookmark->resolve(); found && !found->isStale)
///             open(found->url);
///
/// An item is known again by its inode together with the generation and the birth time that the file system
/// keeps, so another file in the old place, even one that was given the old one's inode, is not taken for it.
/// A symbolic link is an item of its own: the bookmark is of the link. FAT and FUSE file systems number their
/// items anew each time; there the path is all there is, and whatever is of the same kind there is the item.
///
/// Bookmarks say where items are, they grant nothing: what permissions forbid stays forbidden. They do not
/// follow an item to another file system, where it is a copy. Data are for this machine. Thread-safe.
class CORVANE_API Bookmark {
public:
    struct Resolution {
        URL url;              ///< as it was bookmarked, where that still leads to the item
        bool isStale = false; ///< it is another item, in the old place of the one bookmarked
    };

    /// Absent when it is no file URL and when the item is not there or may not be looked at.
    static std::optional<Bookmark> fromURL(const URL& url);

    /// Absent when the bytes are not, completely and undamaged, what `data` gave.
    static std::optional<Bookmark> fromData(DataView data);

    /// A few dozen bytes for each folder on the way.
    Data data() const;

    /// Where the item is now. An item that is in its place is found at once. For one that is not, the folders
    /// are searched whose names it may have kept or come into, the nearest first: from the last folder of the
    /// old way that is still there outwards, up and down, in this file system. Hidden folders, and the bin
    /// with them, are not gone down into, unless one is on the old way.
    ///
    /// What the search does not find within its limits counts as gone. Then the answer is stale when another
    /// item is in the old place, and absent when nothing is. It is stale, too, when the item is found beside
    /// its own replacement with something added to its name ("letter.txt~"): programs that save a file by
    /// writing a new one leave the old one behind so.
    std::optional<Resolution> resolve() const { return resolve(BookmarkSearchLimits()); }
    std::optional<Resolution> resolve(const BookmarkSearchLimits& limits) const;

    /// The URL that was bookmarked.
    const URL& url() const noexcept;

private:
    struct Record;
    class Search;
    explicit Bookmark(std::shared_ptr<const Record> record) noexcept;

    std::shared_ptr<const Record> record_;
};

/// Asks for access to what a bookmark led to, and gives it back. No rights are handed out with a bookmark
/// here: a process may open what the permissions allow, from the start and for good. So the first says whether
/// it may read the item now (false for anything but a file URL), and the second does nothing. Thread-safe.
CORVANE_API bool startAccessing(const URL& url);
CORVANE_API void stopAccessing(const URL& url) noexcept;

} // namespace corvane
