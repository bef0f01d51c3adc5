// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/URL.h>
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Files/FileManager.h>

#include <algorithm>
#include <vector>

namespace corvane {

URL rootURL()
{
    return URL::fromPath("/");
}

std::string lastPathTitle(const URL& url)
{
    return url.deletingPathExtension().lastPathComponent();
}

URL replacingPathExtension(const URL& url, std::string_view extension)
{
    return url.deletingPathExtension().appendingPathExtension(extension);
}

bool isParent(const URL& url, const URL& of)
{
    const std::vector<std::string> mine = url.pathComponents();
    const std::vector<std::string> others = of.pathComponents();
    // From the end, where neighbours differ.
    return others.size() >= mine.size() &&
           std::equal(mine.rbegin(), mine.rend(), others.rend() - std::ssize(mine));
}

bool isFileParent(const URL& url, const URL& of)
{
    return of.path().starts_with(url.path());
}

std::optional<bool> checkIsAlias(const URL& url)
{
    const auto found = url.isFileURL() ? FileManager::attributes(url.path()) : std::nullopt;
    return found ? std::optional(found->type == FileManager::FileType::symbolicLink) : std::nullopt;
}

std::optional<bool> checkIsOnMainDisk(const URL& url)
{
    return url.isFileURL() ? FileManager::areOnSameFileSystem(url.path(), "/") : std::nullopt;
}

std::optional<bool> checkIsReadAndWrite(const URL& url)
{
    return url.isFileURL() ? FileManager::isReadableAndWritable(url.path()) : std::nullopt;
}

std::optional<UTIType> utiType(const URL& url)
{
    return UTIType::fromFileExtension(url.pathExtension());
}

bool conforms(const URL& url, const UTIType& to)
{
    return conforms(url, to.identifier());
}

bool conforms(const URL& url, std::string_view to)
{
    const std::optional<UTIType> type = utiType(url);
    return type && type->conforms(to);
}

bool conforms(const URL& url, std::span<const UTIType> toOneOf)
{
    const std::optional<UTIType> type = utiType(url);
    return type && std::ranges::any_of(toOneOf, [&](const UTIType& to) { return type->conforms(to); });
}

std::optional<URL> commonDirectoryURL(std::span<const URL> urls)
{
    if (urls.empty())
        return std::nullopt;
    const std::vector<std::string> first = urls.front().pathComponents();
    precondition(!first.empty(), "A URL without path components has no directory");
    std::size_t shared = first.size();
    for (const URL& url : urls.subspan(1)) {
        const std::vector<std::string> components = url.pathComponents();
        const auto end = first.begin() + static_cast<std::ptrdiff_t>(shared);
        shared = static_cast<std::size_t>(
            std::mismatch(first.begin(), end, components.begin(), components.end()).first - first.begin());
        if (shared == 0)
            return std::nullopt;
    }
    URL result = urls.front();
    for (std::size_t left = first.size(); left > shared; --left)
        result = result.deletingLastPathComponent();
    return result;
}

} // namespace corvane
