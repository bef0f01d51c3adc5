// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/FilesAndData/UTIType.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/URL.h>

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvane {

// What file facilities ask about URLs.
//
//     utiType(photo);                                   // "public.jpeg"
//     conforms(photo, UTIType::image);                  // true
//     commonDirectoryURL(std::vector{photo, letter});   // the folder that holds both
//
// The questions about names and components look at the text alone; those that begin with `check` ask the file
// system, and give an absent result for anything that cannot be asked: a missing item, a URL that is no file
// URL. All are thread-safe.

/// The file URL of "/". A function, since a URL's own `root` would be taken for part of that URL.
CORVANE_API URL rootURL();

/// The last path component without its extension.
CORVANE_API std::string lastPathTitle(const URL& url);

/// The URL with `extension` (without full stop) in the place of its own, or appended where it has none.
CORVANE_API URL replacingPathExtension(const URL& url, std::string_view extension);

/// Whether the path components of `url` are the first ones of `other`. A URL is its own parent.
CORVANE_API bool isParent(const URL& url, const URL& of);

/// Whether the path text of `of` begins with that of `url`: "/a/b" is the file parent of "/a/bc" too, where
/// `isParent` is false.
CORVANE_API bool isFileParent(const URL& url, const URL& of);

/// Whether the item is both an alias and a symbolic link; an alias is a symbolic link here, so: whether it is
/// one.
CORVANE_API std::optional<bool> checkIsAlias(const URL& url);

/// Whether the item itself is on the file system of "/".
CORVANE_API std::optional<bool> checkIsOnMainDisk(const URL& url);

/// Whether this process may both read and write the item, as the system would decide it now: permissions,
/// access lists and a file system mounted read-only are all considered. Links are followed.
CORVANE_API std::optional<bool> checkIsReadAndWrite(const URL& url);

/// The type of the path extension; absent for a URL without one.
CORVANE_API std::optional<UTIType> utiType(const URL& url);

/// Whether the URL has a type and that conforms to `to`.
CORVANE_API bool conforms(const URL& url, const UTIType& to);
/// The same for a type identifier.
CORVANE_API bool conforms(const URL& url, std::string_view to);

/// Whether the URL has a type and that conforms to one of the types, tested in order up to the first match.
CORVANE_API bool conforms(const URL& url, std::span<const UTIType> toOneOf);

inline bool conforms(const URL& url, std::initializer_list<UTIType> toOneOf)
{
    return conforms(url, std::span(toOneOf.begin(), toOneOf.size()));
}

/// The deepest location that all URLs share; for one URL, or for equal ones, that URL itself, file name
/// included. Absent for none and for URLs that differ from the first component on. Scheme, host and what
/// follows the path are the first URL's. A URL without any component stops the process.
CORVANE_API std::optional<URL> commonDirectoryURL(std::span<const URL> urls);

} // namespace corvane
