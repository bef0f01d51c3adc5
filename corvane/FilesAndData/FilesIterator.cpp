// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/FilesIterator.h>
#include <corvane/FilesAndData/URL.h>
#include <corvane/Platform/Files/FileManager.h>

#include <algorithm>
#include <utility>

namespace corvane {

FilesIterator::FilesIterator(std::vector<URL> urls) : urls_(std::move(urls)) {}

std::optional<URL> FilesIterator::next()
{
    using Options = DirectoryEnumerator::Options;
    const Int count = std::ssize(urls_);
    for (;;) {
        if (enumerator_) {
            while (enumerator_->advance())
                if (isValidFile(*enumerator_))
                    return enumerator_->url();
            enumerator_.reset();
        }
        if (index_ == count || ++index_ == count)
            return std::nullopt;
        const URL& url = urls_[static_cast<std::size_t>(index_)];
        bool isDirectory = false;
        if (url.isFileURL())
            FileManager::fileExists(url.path(), &isDirectory);
        if (!isDirectory) {
            if (isValidFile(url))
                return url;
            continue;
        }
        const auto option = [](bool isChosen, Options chosen) { return isChosen ? chosen : Options::none; };
        enumerator_.emplace(url.resolvingSymlinksInPath(),
                            option(skipHiddenFiles, Options::skipsHiddenFiles) |
                                option(skipSubdirectoryDescendants, Options::skipsSubdirectoryDescendants) |
                                option(skipPackageDescendants, Options::skipsPackageDescendants));
    }
}

bool FilesIterator::isValidFile(const URL& at) const
{
    bool isDirectory = false;
    if (!at.isFileURL() || !FileManager::fileExists(at.path(), &isDirectory) || isDirectory)
        return false;
    return passesFilters(at.pathExtension()) && (!skipAlias || checkIsAlias(at) == false);
}

// The same from what the folder's listing says: only what a symbolic link leads to must be asked for.
bool FilesIterator::isValidFile(const DirectoryEnumerator& at) const
{
    using ItemType = DirectoryEnumerator::ItemType;
    if (at.type() == ItemType::directory || (skipAlias && at.type() == ItemType::symbolicLink) ||
        !passesFilters(fileNameExtension(at.name())))
        return false;
    return at.leadsToFile();
}

bool FilesIterator::passesFilters(std::string_view extension) const
{
    const bool hasFiles = allowedFiles && !allowedFiles->empty();
    const bool hasTypes = allowedTypes && !allowedTypes->empty();
    if (!hasFiles && !hasTypes)
        return true;
    if (hasFiles) {
        std::string lowered(extension);
        std::ranges::transform(lowered, lowered.begin(),
                               [](char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c | 0x20) : c; });
        if (allowedFiles->contains(lowered))
            return true;
    }
    if (!hasTypes)
        return false;
    const std::optional<UTIType> type = UTIType::fromFileExtension(extension);
    return type && std::ranges::any_of(*allowedTypes,
                                       [&](const UTIType& allowed) { return type->conforms(allowed); });
}

const std::optional<URL>& FilesIterator::current()
{
    if (std::exchange(isCurrentTaken_, false))
        current_ = next();
    return current_;
}

} // namespace corvane
