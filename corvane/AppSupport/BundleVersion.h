// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <compare>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// The version of a bundle: three numbers, and the text that they were read from.
///
///     Version("1.10") > Version("1.9.9");   // true: numbers, not text
///     Version("1.2") == Version("1.2.0");   // true: `rawValue` takes no part
///     Version("1.x.3").description();       // "1.0.3"
///     Version::first() <= Version::current();
///
/// Any text is a version. Spaces and tabs (every horizontal space of Unicode, but no line break) are trimmed
/// from both ends; empty text then counts as "0.0.0". The pieces between full stops are read as decimal
/// integers; a missing piece, and one that is no `Int`, is 0; pieces after the third are ignored.
/// Thread-compatible.
struct CORVANE_API Version {
    Int major = 0;
    Int minor = 0;
    Int patch = 0;
    std::string rawValue; ///< what was parsed, after trimming

    explicit Version(std::string_view rawValue);
    /// Always present: the optional is the form that readers of stored text expect.
    static std::optional<Version> fromString(std::string_view text) { return Version(text); }

    static const Version& zero();  ///< 0.0.0
    static const Version& first(); ///< 1.0.0
    /// The main bundle's version. The process stops when its Info dictionary names none.
    static Version current();
    /// Whether this is the main bundle's version; stops the process as `current()` does.
    bool isCurrent() const;

    /// The three numbers joined with ".".
    std::string description() const;

    friend bool operator==(const Version& a, const Version& b) noexcept { return (a <=> b) == 0; }
    friend CORVANE_API std::weak_ordering operator<=>(const Version& a, const Version& b) noexcept;
};

} // namespace corvane

template <>
struct CORVANE_API std::hash<corvane::Version> {
    std::size_t operator()(const corvane::Version& version) const noexcept;
};
