// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/URL.h>

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// The errands that every application has at the file system: where its files belong, a name that is free, a
// place for the moment, a copy over what is there.
//
//     if (auto folder = createBundleSupportDirectory())
//         overwritingCopy(draft, folder->appendingPathComponent("Letter.txt"));
//     URL copy = createAvailableItem(photo); // "Photo (0).jpg", made and ours
//
// Operations that change something throw `std::filesystem::filesystem_error` unless they give an optional result,
// which is then absent; a failure leaves nothing behind. What needs the main bundle's name stops the process with
// "Bundle should have a name" where it has none. All are thread-safe.

struct ContentExistence {
    bool exist = false;
    bool isDir = false;

    friend constexpr bool operator==(const ContentExistence&, const ContentExistence&) = default;
};

/// Links are followed: a dangling one does not exist.
[[nodiscard]] CORVANE_API ContentExistence contentExists(const URL& at);

/// "/Users/", the login name and "/": that path on every system, whatever the user's home is.
[[nodiscard]] CORVANE_API std::string noSandboxHomePath();
[[nodiscard]] CORVANE_API URL noSandboxHomeURL();

/// `url` if nothing exists there; otherwise the first of "Report (0).txt", "Report (1).txt" and so on beside it
/// where nothing does.
///
/// The name is free at that moment only: another process that asks at the same time is told the same. Who wants
/// to write there takes `createAvailableItem`.
[[nodiscard]] CORVANE_API URL availableItemURL(const URL& url);
/// The same for a name in a folder.
[[nodiscard]] CORVANE_API URL availableItemURL(std::string_view name, const URL& in);

enum class NewItem { file, directory };

/// Makes an empty file or folder under the first of the names that `availableItemURL` goes through that nothing
/// has, not even a dangling link, and gives its URL. Of any number of processes that do this at once each gets an
/// item of its own.
CORVANE_API URL createAvailableItem(const URL& url, NewItem item = NewItem::file);

/// Of the item itself, not of what it leads to. Absent when it is missing or may not be asked.
[[nodiscard]] CORVANE_API std::optional<Date> modifyDateForFile(const URL& at);
/// Absent also where the file system does not keep it.
[[nodiscard]] CORVANE_API std::optional<Date> createDateForFile(const URL& at);

/// A place in the temporary folder under a name of its own (a random UUID), with an extension unless that is
/// empty. Nothing is made.
[[nodiscard]] CORVANE_API URL temporaryURL(std::string_view pathExt);
/// With the extension of `url`.
[[nodiscard]] CORVANE_API URL temporaryURL(const URL& url);
/// The same in a subfolder named after the bundle's identifier ("CorvaneDefaultPrefix" for one without), which is
/// made first. Where it cannot be made, whoever writes to the URL finds out.
[[nodiscard]] CORVANE_API URL temporaryURL(std::string_view pathExt, const Bundle& bundle);
[[nodiscard]] CORVANE_API URL temporaryURL(const URL& url, const Bundle& bundle);

/// The folder of the main bundle's name in the user's application support folder: XDG_DATA_HOME where that is an
/// absolute path, otherwise ".local/share" in the home folder. Absent for a user without a home.
[[nodiscard]] CORVANE_API std::optional<URL> bundleSupportDirectoryURL();
/// "/Users/", the login name, "/Library/Application Support/" and the main bundle's name, on every system.
[[nodiscard]] CORVANE_API std::optional<URL> noSandboxBundleSupportDirectoryURL();

/// With the folders that lead to it; one that is there already is no error.
CORVANE_API void createDirectory(const URL& at);
CORVANE_API void createDirectory(const URL& at, std::string_view appendPathComponent);
CORVANE_API std::optional<URL> createBundleSupportDirectory();
CORVANE_API std::optional<URL> createBundleSupportDirectoryWithComponent(std::string_view component);

/// Copies a file onto `to`. What is there is replaced in one step: whoever opens it meets either the old content
/// or all of the new, its permissions stay, and a symbolic link stays and leads to the new content. Where nothing
/// is, this is `FileManager::copyItem`. File systems that can share the bytes of copies do. A lost power supply leaves
/// the old content or all of the new as well; which of them is sure only once the system has written it.
CORVANE_API void overwritingCopy(const URL& at, const URL& to);

} // namespace corvane
