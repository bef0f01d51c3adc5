// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <compare>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvane {

/// The extension of a file's name (bytes, nothing percent-encoded): what follows its last full stop; empty
/// when there is none, when the full stop leads the name or when it ends it. Looks into `name`. Thread-safe.
CORVANE_API std::string_view fileNameExtension(std::string_view name) noexcept;

/// A uniform resource locator, as a value over its text; most are file URLs.
///
///     URL folder = URL::fromPath("/home/ana/Pictures");
///     URL file = folder.appendingPathComponent("Sea 1.jpg");
///     file.absoluteString();  // "file:///home/ana/Pictures/Sea%201.jpg"
///     file.path();            // "/home/ana/Pictures/Sea 1.jpg"
///
/// A path is bytes, as the file system has it: bytes that are not valid UTF-8 survive the way into a URL and
/// back. Equality is of the text; nothing is resolved or normalised behind the caller's back: "." and ".."
/// stay as they are until the file system is asked, and a folder with its trailing slash differs from one
/// without. Thread-compatible.
class CORVANE_API URL {
public:
    /// Parses an absolute or relative reference by the strict grammar of RFC 3986. Absent for empty text, for
    /// anything outside the grammar, for a port above 65535 and for a file URL with a zero byte in its path,
    /// which no file system has. Linear.
    static std::optional<URL> fromString(std::string_view text);

    /// The file URL of `path`. A relative path is taken from the current folder. A trailing slash is kept, so
    /// it says that the item is a folder; the file system is not asked. An empty path is the current folder.
    /// A path ends at its first zero byte, as it does for the operating system.
    static URL fromPath(std::string_view path);

    const std::string& absoluteString() const noexcept { return text_; }
    /// Lower-cased; empty for a relative reference.
    std::string scheme() const;
    /// Percent-decoded, an IPv6 address without its brackets; absent when there is no authority, empty for
    /// "file:///…".
    std::optional<std::string> host() const;
    std::optional<int> port() const;
    /// Query and fragment as they are written, still percent-encoded: decoding one as a whole would lose
    /// which "&" and "=" are data.
    std::optional<std::string> query() const;
    std::optional<std::string> fragment() const;
    bool isFileURL() const noexcept;

    /// The percent-decoded path without a trailing slash ("/" for the root itself). For a file URL this is
    /// what the operating system takes.
    std::string path() const;
    bool hasDirectoryPath() const noexcept;

    /// The decoded parts of the path. An absolute path begins with "/"; a trailing slash adds none.
    std::vector<std::string> pathComponents() const;
    /// The last of `pathComponents()`, or empty text when there is none.
    std::string lastPathComponent() const;
    /// What follows the last full stop of the last component; empty when there is none, when the full stop
    /// leads the name or when it ends it.
    std::string pathExtension() const;

    // The edits change the path only; a query and a fragment stay. What they are given is plain text, encoded
    // here.

    /// Joined by one slash. A component may hold slashes itself and may end in one, to name a folder.
    URL appendingPathComponent(std::string_view component) const;
    /// Without its last component and without a trailing slash: it undoes `appendingPathComponent`. The root
    /// gives itself, a relative reference of one component gives ".".
    URL deletingLastPathComponent() const;
    /// Before the trailing slash, if there is one. Itself for an empty extension, for one with a slash and
    /// where there is no name to extend.
    URL appendingPathExtension(std::string_view extension) const;
    /// Without what `pathExtension` gives and the full stop before it.
    URL deletingPathExtension() const;

    /// With every symbolic link that leads to the item resolved by the file system; itself where that fails
    /// and when it is no file URL.
    URL resolvingSymlinksInPath() const;

    friend bool operator==(const URL&, const URL&) = default;
    friend std::strong_ordering operator<=>(const URL&, const URL&) = default;

private:
    explicit URL(std::string text) noexcept : text_(std::move(text)) {}

    std::string text_;
};

} // namespace corvane

template <>
struct std::hash<corvane::URL> {
    std::size_t operator()(const corvane::URL& url) const noexcept
    {
        return std::hash<std::string>()(url.absoluteString());
    }
};
