// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Characters.h>
#include <corvane/Platform/Text/RegularExpression.h>
#include <corvane/Platform/Text/Utf8.h>

#include <unicode/uregex.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

namespace corvane::RegularExpression {

namespace {

constexpr std::size_t maximumUnits = std::numeric_limits<std::int32_t>::max() - 1;
constexpr std::int32_t stackBytes = 64 << 20;

bool isLead(UChar unit) noexcept
{
    return (unit & 0xFC00U) == 0xD800;
}
bool isTrail(UChar unit) noexcept
{
    return (unit & 0xFC00U) == 0xDC00;
}

// A text as ICU wants it, and the way back from its units to the bytes they came from.
class Units {
public:
    explicit Units(std::string_view text)
        : text_(text), units_(std::make_unique_for_overwrite<UChar[]>(text.size() + 1))
    {
        isOneEach_ = text.find('\r') == text.npos; // of those below 128 only that joins with another
        std::size_t at = 0;
        while (at < text.size() && size_ < maximumUnits) {
            if (const std::size_t behind = std::min(plainUntil(at), at + (maximumUnits - size_));
                behind > at) {
                for (; at < behind; ++at)
                    units_[size_++] = static_cast<UChar>(text[at]);
                plain_ = at == size_ ? at : plain_;
                continue;
            }
            const auto point = detail::codePointAt(text, at);
            at += point.length;
            isOneEach_ = isOneEach_ && unitsOf(point) == 1 && detail::standsAlone(point);
            if (detail::isBadByte(point)) {
                units_[size_++] = 0xFFFD;
            } else if (point.value < 0x10000) {
                units_[size_++] = static_cast<UChar>(point.value);
            } else {
                units_[size_++] = static_cast<UChar>(0xD7C0 + (point.value >> 10U));
                units_[size_++] = static_cast<UChar>(0xDC00 + (point.value & 0x3FFU));
            }
        }
    }

    const UChar* data() const noexcept { return units_.get(); }
    std::int32_t size() const noexcept { return static_cast<std::int32_t>(size_); }

    // Whether each unit is a character, which is sooner told than how many characters there are.
    bool isOneEach() const noexcept { return isOneEach_; }

    // The bytes that the units from `begin` up to `end` came from. Absent when one of these is between the two
    // units of one code point.
    std::optional<std::string> bytes(std::int32_t begin, std::int32_t end) const
    {
        const auto first = static_cast<std::size_t>(begin), last = static_cast<std::size_t>(end);
        if (last <= plain_)
            return std::string(text_.substr(first, last - first));
        if (isWithinPair(first) || isWithinPair(last))
            return std::nullopt;
        std::string result;
        result.reserve(last - first);
        for (std::size_t i = first; i < last; ++i) {
            if (units_[i] < 0x80) {
                result.push_back(static_cast<char>(units_[i]));
                continue;
            }
            char32_t value = units_[i];
            if (value == 0xFFFD) { // what it stands for, only the text itself tells
                const std::size_t offset = byteOffset(first);
                return std::string(text_.substr(offset, byteOffset(last) - offset));
            }
            if (isLead(units_[i])) // with its other half: no text has one alone
                value = 0x10000 + ((value - 0xD800) << 10U) + (units_[++i] - 0xDC00U);
            detail::appendUtf8(result, value);
        }
        return result;
    }

private:
    static constexpr std::size_t spacing = 64;
    struct Anchor {
        std::size_t unit, offset;
    };

    // Behind the ASCII characters that begin at `at`.
    std::size_t plainUntil(std::size_t at) const noexcept
    {
        for (; text_.size() - at >= 8; at += 8) {
            std::uint64_t word;
            std::memcpy(&word, text_.data() + at, sizeof word);
            if ((word & 0x8080808080808080) != 0)
                break;
        }
        while (at < text_.size() && static_cast<signed char>(text_[at]) >= 0)
            ++at;
        return at;
    }

    bool isWithinPair(std::size_t at) const noexcept
    {
        return at > 0 && at < size_ && isLead(units_[at - 1]) && isTrail(units_[at]);
    }

    static std::size_t unitsOf(detail::CodePoint point) noexcept
    {
        return !detail::isBadByte(point) && point.value >= 0x10000 ? 2 : 1;
    }

    // Of the code point that begins at a unit. Few ask, so the way there is made when the first does.
    std::size_t byteOffset(std::size_t wanted) const
    {
        if (anchors_.empty())
            for (std::size_t unit = 0, at = 0; at < text_.size();) {
                if (unit / spacing >= anchors_.size())
                    anchors_.push_back({unit, at});
                const auto point = detail::codePointAt(text_, at);
                at += point.length;
                unit += unitsOf(point);
            }
        auto anchor = std::min(wanted / spacing, anchors_.size() - 1);
        if (anchors_[anchor].unit > wanted) // an anchor may be a unit late, behind a pair
            --anchor;
        std::size_t unit = anchors_[anchor].unit;
        std::size_t offset = anchors_[anchor].offset;
        while (unit < wanted) {
            const auto point = detail::codePointAt(text_, offset);
            offset += point.length;
            unit += unitsOf(point);
        }
        return offset;
    }

    std::string_view text_;
    std::unique_ptr<UChar[]> units_;
    std::size_t size_ = 0;
    bool isOneEach_;
    std::size_t plain_ = 0; // so many units are the bytes themselves
    mutable std::vector<Anchor> anchors_;
};

std::string describe(UErrorCode status)
{
    switch (status) {
    case U_REGEX_RULE_SYNTAX:
        return "the pattern has a syntax error";
    case U_REGEX_BAD_ESCAPE_SEQUENCE:
        return "the pattern has an unknown escape";
    case U_REGEX_PROPERTY_SYNTAX:
        return "the pattern names an unknown property";
    case U_REGEX_UNIMPLEMENTED:
        return "the pattern asks for something that is not implemented";
    case U_REGEX_MISMATCHED_PAREN:
        return "the pattern's parentheses do not match";
    case U_REGEX_BAD_INTERVAL:
    case U_REGEX_MAX_LT_MIN:
    case U_REGEX_NUMBER_TOO_BIG:
        return "the pattern has a wrong repetition count";
    case U_REGEX_INVALID_BACK_REF:
        return "the pattern refers back to a group that it does not have";
    case U_REGEX_INVALID_FLAG:
        return "the pattern has an unknown flag";
    case U_REGEX_LOOK_BEHIND_LIMIT:
        return "the pattern looks behind without a limit";
    case U_REGEX_MISSING_CLOSE_BRACKET:
    case U_REGEX_INVALID_RANGE:
    case U_REGEX_SET_CONTAINS_STRING:
        return "the pattern has a broken set";
    case U_REGEX_INVALID_CAPTURE_GROUP_NAME:
        return "the pattern has a broken group name";
    case U_REGEX_PATTERN_TOO_BIG:
        return "the pattern is too long";
    case U_REGEX_INTERNAL_ERROR: // what ICU says of more than a hundred parentheses in each other
        return "the pattern is nested too deeply";
    case U_REGEX_STACK_OVERFLOW:
        return "it needs more memory than its bound";
    case U_REGEX_STOPPED_BY_CALLER:
    case U_REGEX_TIME_OUT:
        return "it took longer than its bound";
    default:
        return u_errorName(status);
    }
}

// Processor time, so that a busy machine stops nothing that an idle one would finish.
std::int64_t processorNanoseconds()
{
    std::timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

struct Close {
    void operator()(URegularExpression* regex) const noexcept { uregex_close(regex); }
};

Captures capturesOf(URegularExpression* regex, std::int32_t groups, const Units& units, UErrorCode& status)
{
    Captures result;
    result.reserve(static_cast<std::size_t>(groups));
    for (std::int32_t group = 1; group <= groups; ++group) {
        const std::int32_t start = uregex_start(regex, group, &status);
        const std::int32_t end = uregex_end(regex, group, &status);
        if (U_FAILURE(status) || start < 0 || end < start)
            continue;
        if (auto bytes = units.bytes(start, end))
            result.push_back(std::move(*bytes));
    }
    return result;
}

} // namespace

std::variant<std::vector<Captures>, Failure> captures(std::string_view text, std::string_view pattern)
{
    using enum Failure::Kind;
    const Units rule(pattern);
    UErrorCode status = U_ZERO_ERROR;
    UParseError place{};
    // ICU refuses a pattern of no characters, which matches everywhere.
    static constexpr UChar nothing[] = {'(', '?', ':', ')'};
    const std::unique_ptr<URegularExpression, Close> regex(
        rule.size() == 0 ? uregex_open(nothing, 4, 0, &place, &status)
                         : uregex_open(rule.data(), rule.size(), 0, &place, &status));
    if (U_FAILURE(status)) {
        std::string description = describe(status);
        if (place.offset >= 0 && status != U_REGEX_PATTERN_TOO_BIG)
            description += ", near character " + std::to_string(place.offset) + " of its line " +
                           std::to_string(std::max(place.line, 1));
        return Failure{invalidPattern, std::move(description)};
    }

    const Units units(text);
    const std::int32_t size = units.size();
    uregex_setStackLimit(regex.get(), stackBytes, &status); // first: it undoes a region
    uregex_setText(regex.get(), units.data(), size, &status);
    // The count of characters stands for that of units, so a text of longer characters is not searched to its end.
    const Int limit = units.isOneEach() ? size : characterCount(text);
    if (limit < size)
        uregex_setRegion(regex.get(), 0, static_cast<std::int32_t>(limit), &status);
    const std::int64_t deadline = processorNanoseconds() + 2'000'000'000 + std::int64_t{100} * size;
    uregex_setMatchCallback(
        regex.get(),
        [](const void* end, std::int32_t) -> UBool {
            return processorNanoseconds() < *static_cast<const std::int64_t*>(end) ? 1 : 0;
        },
        &deadline, &status);

    const std::int32_t groups = uregex_groupCount(regex.get(), &status);
    std::vector<Captures> matches;
    while (U_SUCCESS(status) && uregex_findNext(regex.get(), &status))
        matches.push_back(capturesOf(regex.get(), groups, units, status));
    if (U_FAILURE(status))
        return Failure{stopped, describe(status)};
    return matches;
}

} // namespace corvane::RegularExpression
