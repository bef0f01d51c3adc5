// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// What applications do with names, paths and labels, in the characters that people see.
//
//     incremented("Photo");                   // "Photo (1)"
//     reducedStringAtMiddle("Holidays.jpg", 9); // "Hol...jpg"
//     zeroPadded(7, 100);                     // "007"
//
// Positions and counts are of characters (see Characters.h), from 0; a position outside the text stops the
// process except where an operation guards against it. Text is UTF-8, and bytes that are not are characters too.
// Views look into the text they were made from. A position costs the way to it: linear. Thread-safe on distinct
// texts.

/// Positions from `lower` up to, without, `upper`.
struct IntRange {
    Int lower = 0;
    Int upper = 0;

    friend constexpr bool operator==(const IntRange&, const IntRange&) = default;
};

/// The same in bytes.
struct StringRange {
    std::size_t lower = 0;
    std::size_t upper = 0;

    friend constexpr bool operator==(const StringRange&, const StringRange&) = default;
};

/// Absent for the empty text.
[[nodiscard]] CORVANE_API std::optional<std::string_view> nonEmptyValue(std::string_view text) noexcept;
/// Absent when the text has nothing but white space and line ends; otherwise the text as it is, untrimmed.
[[nodiscard]] CORVANE_API std::optional<std::string_view> nonBlankValue(std::string_view text) noexcept;

/// The next name in a row of copies: "abc" gives "abc (1)" and that "abc (2)". Only a counter of one digit is
/// taken up: "a (9)" gives "a (10)", and "a (10)" gives "a (10) (1)". A text of fewer than five characters gets
/// its first counter.
[[nodiscard]] CORVANE_API std::string incremented(std::string_view text);
/// With its first character in lower case.
[[nodiscard]] CORVANE_API std::string decapitalized(std::string_view text);

/// Puts `by` in the place of `prefix` if the text begins with it, character by character up to canonical
/// equivalence; says whether it did. Nothing begins with the empty prefix.
CORVANE_API bool replacePrefix(std::string& text, std::string_view prefix, std::string_view by);
[[nodiscard]] CORVANE_API std::string replacingPrefix(std::string_view text, std::string_view prefix,
                                                      std::string_view by);
/// What follows `prefix`, or the whole text if it does not begin with that.
[[nodiscard]] CORVANE_API std::string_view removedPrefix(std::string_view text, std::string_view prefix);

/// Puts "~" in the place of "/Users/" and the user's login name; says whether it did. It is that folder on every
/// system, whatever the user's home is, and the name is not looked at to its end: for the user "ann",
/// "/Users/anne" becomes "~e".
CORVANE_API bool abreviateTildeInPath(std::string& path);
[[nodiscard]] CORVANE_API std::string abreviatingTildeInPath(std::string_view path);

/// Where the character at position `i` begins, in bytes; the text's size for the end position.
[[nodiscard]] CORVANE_API std::size_t startIntIndexToString(std::string_view text, Int i);
/// The same for the position `i` characters before the end.
[[nodiscard]] CORVANE_API std::size_t endIntIndexToString(std::string_view text, Int i);
[[nodiscard]] CORVANE_API StringRange rangeToStringRange(std::string_view text, IntRange range);

/// Inserts one character before the one at `at`.
CORVANE_API void insert(std::string& text, std::string_view character, Int at);
/// Takes out the character at `at`, which must hold one: the end position does not.
CORVANE_API std::string remove(std::string& text, Int at);
CORVANE_API std::string removeFirstChar(std::string& text);
/// `remove` at the end position. No character is there, so this stops the process, whatever the text.
CORVANE_API std::string removeLastChar(std::string& text);
CORVANE_API void removeSubrange(std::string& text, IntRange range);

[[nodiscard]] CORVANE_API std::string_view substringWith(std::string_view text, IntRange range);
/// The first `i` characters.
[[nodiscard]] CORVANE_API std::string_view substringTo(std::string_view text, Int i);
/// From position `i` to the end.
[[nodiscard]] CORVANE_API std::string_view substringFrom(std::string_view text, Int i);
/// The whole text for an `i` beyond its end; a negative one stops the process.
[[nodiscard]] CORVANE_API std::string_view safeSubstringTo(std::string_view text, Int i);
/// Empty for an `i` beyond the end; a negative one stops the process.
[[nodiscard]] CORVANE_API std::string_view safeSubstringFrom(std::string_view text, Int i);

// Shortened to a width of `to` characters, with "..." for what is left out. A text that is not wider comes back
// unchanged; otherwise a width that has no room for the three full stops stops the process.
[[nodiscard]] CORVANE_API std::string reducedStringAtStart(std::string_view text, Int to);
[[nodiscard]] CORVANE_API std::string reducedStringAtEnd(std::string_view text, Int to);
/// Has as many characters before the full stops as behind them, so one more than asked for an even width.
[[nodiscard]] CORVANE_API std::string reducedStringAtMiddle(std::string_view text, Int to);

/// `value` with zeros in front, as many digits as `maximum` has; a longer number is not cut, and a minus sign
/// takes the place of a zero. A negative `maximum` stops the process.
[[nodiscard]] CORVANE_API std::string zeroPadded(Int value, Int maximum);

/// A subsequence that all texts have in common: of the first two the longest, of that and the third the longest,
/// and so on; absent for no texts. Characters are the same when canonically equivalent, and come as the first text
/// has them. Where several are equally long, the one found walking back from the ends and staying in the earlier
/// text for as long as that costs nothing.
///
/// Time is the product of the counts of characters over 64, in memory that grows with the counts alone: two texts
/// of 50,000 characters take about a twentieth of a second and a few megabytes.
[[nodiscard]] CORVANE_API std::optional<std::string> commonSubsequence(std::span<const std::string> of);

/// What the groups of `pattern` (ICU's syntax) captured, match by match: groups that took no part are left out,
/// and so is the whole match. Only as many UTF-16 units are searched as the text has characters: behind a
/// character of several units the same number of units is missing at the end.
///
/// A pattern that is none prints "invalid regex: " and why to standard output, and gives nothing. A search stops
/// after two seconds of processor time and 0.1 microseconds for each byte of text, or at 64 MB of memory for its
/// way back; it prints "regex stopped: " and why, and gives nothing.
[[nodiscard]] CORVANE_API std::vector<std::vector<std::string>> captureMatches(std::string_view text,
                                                                               std::string_view pattern);

} // namespace corvane
