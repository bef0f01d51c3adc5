// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/FilesAndData/UTIType.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Files/DirectoryEnumerator.h>

#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// The files among and inside a list of locations, one at a time, chosen by extension, type and kind.
///
///     FilesIterator files({URL::fromPath("/home/ana/Pictures")});
///     files.skipSubdirectoryDescendants = false;
///     files.allowedTypes = {UTIType::image};
///     for (const URL& file : files)
///         add(file);
///
/// Whatever exists and is no folder counts as a file; a symbolic link counts as what it leads to, and one to
/// a folder is neither yielded nor followed inside a folder. Locations come in the order given, the files of
/// a folder in the order of the file system. Missing and unreadable locations and URLs that are no file URLs
/// are passed over.
///
/// The walk is made once: the object is its own iterator, so a second loop goes on where the first one
/// stopped, and `next` and loops share the walk. Filters set in between count from the next file on, the
/// options (the three about folders) from the next folder of the list on. As an input range it goes into
/// `std::ranges`; `take` and its like leave what they do not need in the walk. Thread-compatible.
class CORVANE_API FilesIterator {
public:
    explicit FilesIterator(std::vector<URL> urls);
    FilesIterator(const FilesIterator&) = delete;
    FilesIterator& operator=(const FilesIterator&) = delete;

    bool skipAlias = false;                  ///< reject symbolic links
    bool skipHiddenFiles = true;             ///< inside folders; a hidden location that is given is walked
    bool skipSubdirectoryDescendants = true; ///< stay out of the folders of a folder
    bool skipPackageDescendants = true;      ///< stay out of packages inside a folder
    /// A file passes that is of one of these types or, with `allowedFiles` set too, has one of those
    /// extensions. Empty is as good as absent.
    std::optional<std::vector<UTIType>> allowedTypes;
    /// Extensions in lower case, without full stop; files match in any case (of ASCII letters).
    std::optional<std::set<std::string, std::less<>>> allowedFiles;

    const std::vector<URL>& urls() const noexcept { return urls_; }
    /// The position in `urls()` of the location being walked: -1 before the first, the number of them at the
    /// end.
    Int index() const noexcept { return index_; }
    /// The walk through the folder at `index()`; absent between folders.
    const std::optional<DirectoryEnumerator>& enumerator() const noexcept { return enumerator_; }

    /// The next file; absent at the end, and then every time.
    std::optional<URL> next();

    class Iterator {
    public:
        using iterator_concept = std::input_iterator_tag;
        using iterator_category = std::input_iterator_tag;
        using value_type = URL;
        using difference_type = std::ptrdiff_t;
        using pointer = const URL*;
        using reference = const URL&;

        Iterator() = default;

        const URL& operator*() const { return *files_->current(); }
        const URL* operator->() const { return &**this; }
        Iterator& operator++()
        {
            files_->isCurrentTaken_ = true;
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(std::default_sentinel_t) const { return !files_->current(); }

    private:
        friend class FilesIterator;
        explicit Iterator(FilesIterator* files) noexcept : files_(files) {}

        FilesIterator* files_ = nullptr;
    };

    /// The rest of the walk. A file that an earlier loop was given is not given again.
    Iterator begin() noexcept
    {
        isCurrentTaken_ = true;
        return Iterator(this);
    }
    std::default_sentinel_t end() const noexcept { return {}; }

private:
    bool isValidFile(const URL& at) const;
    bool isValidFile(const DirectoryEnumerator& at) const;
    bool passesFilters(std::string_view extension) const;
    const std::optional<URL>& current();

    std::vector<URL> urls_;
    Int index_ = -1;
    std::optional<DirectoryEnumerator> enumerator_;
    // For loops. The next file is looked for only when it is asked for, not when a loop steps past the last
    // one, or a loop over the first three would swallow a fourth.
    std::optional<URL> current_;
    bool isCurrentTaken_ = true;
};

} // namespace corvane
