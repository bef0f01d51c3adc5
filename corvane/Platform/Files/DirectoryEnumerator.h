// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace corvane {

/// Walks the items below a folder, each folder before what is in it, in the order of the file system.
///
///     DirectoryEnumerator walk(URL::fromPath("/home/ana/Pictures"),
///                              DirectoryEnumerator::Options::skipsHiddenFiles);
///     while (walk.advance())
///         if (walk.type() == DirectoryEnumerator::ItemType::file)
///             add(walk.path());
///
/// The folder given may itself be a symbolic link to one; below it symbolic links are yielded and never
/// followed, so no circle of them holds the walk. A folder that is missing, unreadable or no folder yields
/// nothing, wherever it is met, and the walk goes on beside it. Items that come or go during the walk may be
/// yielded or not; nothing else happens. Names are bytes, yielded as they are.
///
/// An item costs its share of one system call for hundreds of items: nothing is asked about it that the
/// folder's own listing does not say, and no text is made until it is asked for. Memory is bounded for a
/// folder of any size; depth is bounded by nothing (paths may be longer than the system takes in one call),
/// and at most some fifty descriptors are open. Thread-compatible.
class CORVANE_API DirectoryEnumerator {
public:
    enum class Options : unsigned {
        none = 0,
        skipsSubdirectoryDescendants = 1, ///< stays in the folder itself
        skipsPackageDescendants = 2,      ///< does not enter packages, which are yielded
        skipsHiddenFiles = 4,             ///< neither yields nor enters what begins with a full stop
        includesDirectoriesPostOrder = 8, ///< yields each folder it goes into once more, after its items
    };
    enum class ItemType { file, directory, symbolicLink, other };

    /// A URL that is not a file URL yields nothing.
    explicit DirectoryEnumerator(const URL& folder, Options options = Options::none);
    DirectoryEnumerator(DirectoryEnumerator&&) noexcept;
    DirectoryEnumerator& operator=(DirectoryEnumerator&&) noexcept;
    ~DirectoryEnumerator();

    /// Goes to the next item; false when there is none, and then every time. The accessors below may be
    /// called only after it returned true; the texts they look into live until it is called again.
    bool advance();

    std::string_view name() const noexcept;
    ItemType type() const noexcept;
    /// As the folder's listing has it: where another file system is mounted on the item, of what lies beneath.
    /// 0 for a folder seen a second time.
    std::uint64_t inode() const noexcept;
    /// Whether the item, or what it leads to when it is a symbolic link, exists and is no folder. Asks the
    /// file system for symbolic links only.
    bool leadsToFile() const noexcept;
    /// The path of the folder given, a slash and the way to the item.
    std::string_view path() const;
    /// With a trailing slash for a folder.
    URL url() const;
    /// 1 for the items of the folder given.
    Int level() const noexcept;
    /// Whether this is the second sight of a folder, after its items.
    bool isPostOrder() const noexcept;
    /// The open folder that holds the item, for `openat` and its like. Stays owned by the walk.
    int folderDescriptor() const noexcept;

    /// Keeps the walk out of the folder just yielded. Nothing for any other item.
    void skipDescendants() noexcept;

    /// `advance` and `url` in one; absent at the end.
    std::optional<URL> next();

    /// Whether a folder of this name is a package: a folder that users see as one file. It is one when the
    /// type of its extension conforms to "com.apple.package" or "com.apple.bundle".
    static bool isPackage(std::string_view name) noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

constexpr DirectoryEnumerator::Options operator|(DirectoryEnumerator::Options a,
                                                 DirectoryEnumerator::Options b) noexcept
{
    return static_cast<DirectoryEnumerator::Options>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool contains(DirectoryEnumerator::Options options, DirectoryEnumerator::Options option) noexcept
{
    return (static_cast<unsigned>(options) & static_cast<unsigned>(option)) != 0;
}

} // namespace corvane
