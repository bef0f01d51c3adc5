// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/User.h>
#include <corvane/Platform/Text/Characters.h>
#include <corvane/StringsAndText/String.h>

#include <array>
#include <cmath>
#include <cstdio>

namespace corvane {

namespace {

constexpr std::string_view dots = "...";

void requirePosition(Int i)
{
    precondition(i >= 0, "A position in a text cannot be negative");
}

// The offset behind the prefix, or nothing when the text does not begin with it.
std::optional<std::size_t> endOfPrefix(std::string_view text, std::string_view prefix)
{
    const Characters characters(text);
    auto at = characters.begin();
    for (const std::string_view wanted : Characters(prefix)) {
        if (at == characters.end() || !areEquivalent(*at, wanted))
            return std::nullopt;
        ++at;
    }
    return at.offset();
}

// The last `count` characters of a text that has `all`.
std::string_view last(std::string_view text, Int all, Int count)
{
    return text.substr(startIntIndexToString(text, all - count));
}

// The count of characters when it is above `width`; nothing otherwise. No text has more characters than bytes.
std::optional<Int> countAbove(std::string_view text, Int width)
{
    if (static_cast<Int>(text.size()) <= width)
        return std::nullopt;
    const Int count = characterCount(text);
    return count > width ? std::optional(count) : std::nullopt;
}

Int requireRoom(Int count)
{
    precondition(count >= 0, "A text cannot be reduced to a width without room for three full stops");
    return count;
}

} // namespace

std::optional<std::string_view> nonEmptyValue(std::string_view text) noexcept
{
    return text.empty() ? std::nullopt : std::optional(text);
}

std::optional<std::string_view> nonBlankValue(std::string_view text) noexcept
{
    return isBlank(text) ? std::nullopt : std::optional(text);
}

std::string incremented(std::string_view text)
{
    const Int count = characterCount(text);
    std::string result(text);
    if (count >= 5) {
        const std::string_view end = last(text, count, 4);
        if (end.size() == 4 && end.starts_with(" (") && end[2] >= '0' && end[2] <= '9' && end[3] == ')') {
            result.resize(text.size() - 4);
            return result + " (" + std::to_string(end[2] - '0' + 1) + ")";
        }
    }
    return result + " (1)";
}

std::string decapitalized(std::string_view text)
{
    const std::size_t first = nextCharacterOffset(text, 0);
    return lowercased(text.substr(0, first)).append(text.substr(first));
}

bool replacePrefix(std::string& text, std::string_view prefix, std::string_view by)
{
    const auto end = prefix.empty() ? std::nullopt : endOfPrefix(text, prefix);
    if (end)
        text.replace(0, *end, by);
    return end.has_value();
}

std::string replacingPrefix(std::string_view text, std::string_view prefix, std::string_view by)
{
    std::string result(text);
    replacePrefix(result, prefix, by);
    return result;
}

std::string_view removedPrefix(std::string_view text, std::string_view prefix)
{
    return text.substr(endOfPrefix(text, prefix).value_or(0));
}

bool abreviateTildeInPath(std::string& path)
{
    return replacePrefix(path, "/Users/" + userName(), "~");
}

std::string abreviatingTildeInPath(std::string_view path)
{
    std::string result(path);
    abreviateTildeInPath(result);
    return result;
}

std::size_t startIntIndexToString(std::string_view text, Int i)
{
    requirePosition(i);
    const std::size_t offset = skipCharacters(text, 0, i);
    precondition(i == 0, "A position is beyond the end of the text");
    return offset;
}

std::size_t endIntIndexToString(std::string_view text, Int i)
{
    requirePosition(i);
    const Int count = characterCount(text);
    precondition(i <= count, "A position is before the start of the text");
    return startIntIndexToString(text, count - i);
}

StringRange rangeToStringRange(std::string_view text, IntRange range)
{
    precondition(range.lower <= range.upper, "A range cannot end before it begins");
    const std::size_t lower = startIntIndexToString(text, range.lower);
    Int length = range.upper - range.lower;
    const std::size_t upper = skipCharacters(text, lower, length);
    precondition(length == 0, "A range ends beyond the end of the text");
    return {lower, upper};
}

void insert(std::string& text, std::string_view character, Int at)
{
    precondition(!character.empty() && nextCharacterOffset(character, 0) == character.size(),
                 "Exactly one character can be inserted");
    text.insert(startIntIndexToString(text, at), character);
}

std::string remove(std::string& text, Int at)
{
    const std::size_t begin = startIntIndexToString(text, at);
    precondition(begin < text.size(), "The end position of a text holds no character to remove");
    const std::size_t length = nextCharacterOffset(text, begin) - begin;
    std::string removed = text.substr(begin, length);
    text.erase(begin, length);
    return removed;
}

std::string removeFirstChar(std::string& text)
{
    return remove(text, 0);
}

std::string removeLastChar(std::string& text)
{
    return remove(text, characterCount(text));
}

void removeSubrange(std::string& text, IntRange range)
{
    const StringRange bytes = rangeToStringRange(text, range);
    text.erase(bytes.lower, bytes.upper - bytes.lower);
}

std::string_view substringWith(std::string_view text, IntRange range)
{
    const StringRange bytes = rangeToStringRange(text, range);
    return text.substr(bytes.lower, bytes.upper - bytes.lower);
}

std::string_view substringTo(std::string_view text, Int i)
{
    return text.substr(0, startIntIndexToString(text, i));
}

std::string_view substringFrom(std::string_view text, Int i)
{
    return text.substr(startIntIndexToString(text, i));
}

std::string_view safeSubstringTo(std::string_view text, Int i)
{
    requirePosition(i);
    return text.substr(0, skipCharacters(text, 0, i));
}

std::string_view safeSubstringFrom(std::string_view text, Int i)
{
    requirePosition(i);
    return text.substr(skipCharacters(text, 0, i));
}

std::string reducedStringAtStart(std::string_view text, Int to)
{
    const auto count = countAbove(text, to);
    if (!count)
        return std::string(text);
    return std::string(dots).append(last(text, *count, requireRoom(to - 3)));
}

std::string reducedStringAtMiddle(std::string_view text, Int to)
{
    const auto count = countAbove(text, to);
    if (!count)
        return std::string(text);
    const Int kept = requireRoom(to / 2 - 1);
    return std::string(substringTo(text, kept)).append(dots).append(last(text, *count, kept));
}

std::string reducedStringAtEnd(std::string_view text, Int to)
{
    if (!countAbove(text, to))
        return std::string(text);
    return std::string(substringTo(text, requireRoom(to - 3))).append(dots);
}

std::string zeroPadded(Int value, Int maximum)
{
    const double digits = std::log(static_cast<double>(maximum) + 1) / 2.302585092994046;
    const auto width = static_cast<int>(checkedInt(std::ceil(digits)));
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%0*lld", width, static_cast<long long>(value));
    return text.data();
}

} // namespace corvane
