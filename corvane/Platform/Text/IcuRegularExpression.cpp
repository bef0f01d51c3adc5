// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/RegularExpression.h>
#include <corvane/Platform/Text/Utf8.h>

#include <unicode/uregex.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>
#include <memory>
#include <optional>

namespace corvane::RegularExpression {

namespace {

constexpr std::int32_t maximumUnits = std::numeric_limits<std::int32_t>::max() - 1;
constexpr std::int32_t stackBytes = 64 << 20;

// A text as ICU wants it, and the way back from its units to the bytes they came from.
class Units {
public:
    explicit Units(std::string_view text) : text_(text)
    {
        units_.reserve(text.size());
        const auto plain = std::ranges::find_if(text, [](char c) { return static_cast<signed char>(c) < 0; });
        units_.assign(text.begin(), plain);
        plain_ = units_.size();
        for (std::size_t at = plain_; at < text.size() && units_.size() < maximumUnits;) {
            if ((units_.size() - plain_) / spacing >= anchors_.size())
                anchors_.push_back({units_.size(), at});
            const auto point = detail::codePointAt(text, at);
            at += point.length;
            if (detail::isBadByte(point)) {
                units_.push_back(0xFFFD);
            } else if (point.value < 0x10000) {
                units_.push_back(static_cast<UChar>(point.value));
            } else {
                units_.push_back(static_cast<UChar>(0xD7C0 + (point.value >> 10U)));
                units_.push_back(static_cast<UChar>(0xDC00 + (point.value & 0x3FFU)));
            }
        }
    }

    const std::vector<UChar>& all() const noexcept { return units_; }

    // Absent between the two units of one code point.
    std::optional<std::size_t> byteOffset(std::int32_t unit) const
    {
        const auto wanted = static_cast<std::size_t>(unit);
        if (wanted <= plain_)
            return wanted;
        auto anchor = std::min((wanted - plain_) / spacing, anchors_.size() - 1);
        if (anchors_[anchor].unit > wanted) // an anchor may be a unit late, behind a pair
            --anchor;
        std::size_t at = anchors_[anchor].unit;
        std::size_t offset = anchors_[anchor].offset;
        while (at < wanted) {
            const auto point = detail::codePointAt(text_, offset);
            offset += point.length;
            at += !detail::isBadByte(point) && point.value >= 0x10000 ? 2U : 1U;
        }
        return at == wanted ? std::optional(offset) : std::nullopt;
    }

private:
    static constexpr std::size_t spacing = 64;
    struct Anchor {
        std::size_t unit, offset;
    };

    std::string_view text_;
    std::vector<UChar> units_;
    std::size_t plain_; // so many units are the bytes themselves
    std::vector<Anchor> anchors_;
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

Captures capturesOf(URegularExpression* regex, const Units& units, std::string_view text, UErrorCode& status)
{
    Captures result;
    const std::int32_t groups = uregex_groupCount(regex, &status);
    for (std::int32_t group = 1; group <= groups; ++group) {
        const std::int32_t start = uregex_start(regex, group, &status);
        const std::int32_t end = uregex_end(regex, group, &status);
        if (U_FAILURE(status) || start < 0 || end < start)
            continue;
        const auto from = units.byteOffset(start);
        const auto to = units.byteOffset(end);
        if (from && to)
            result.emplace_back(text.substr(*from, *to - *from));
    }
    return result;
}

} // namespace

std::variant<std::vector<Captures>, Failure> captures(std::string_view text, std::string_view pattern,
                                                      Int limit)
{
    using enum Failure::Kind;
    const std::vector<UChar> rule = Units(pattern).all();
    UErrorCode status = U_ZERO_ERROR;
    UParseError place{};
    // ICU refuses a pattern of no characters, which matches everywhere.
    static constexpr UChar nothing[] = {'(', '?', ':', ')'};
    const std::unique_ptr<URegularExpression, Close> regex(
        rule.empty() ? uregex_open(nothing, 4, 0, &place, &status)
                     : uregex_open(rule.data(), static_cast<std::int32_t>(rule.size()), 0, &place, &status));
    if (U_FAILURE(status)) {
        std::string description = describe(status);
        if (place.offset >= 0 && status != U_REGEX_PATTERN_TOO_BIG)
            description += ", near character " + std::to_string(place.offset) + " of its line " +
                           std::to_string(std::max(place.line, 1));
        return Failure{invalidPattern, std::move(description)};
    }

    const Units units(text);
    const auto size = static_cast<std::int32_t>(units.all().size());
    static constexpr UChar noUnits[] = {0};
    uregex_setStackLimit(regex.get(), stackBytes, &status); // first: it undoes a region
    uregex_setText(regex.get(), size == 0 ? noUnits : units.all().data(), size, &status);
    if (limit < size)
        uregex_setRegion(regex.get(), 0, static_cast<std::int32_t>(limit), &status);
    const std::int64_t deadline = processorNanoseconds() + 2'000'000'000 + std::int64_t{100} * size;
    uregex_setMatchCallback(
        regex.get(),
        [](const void* end, std::int32_t) -> UBool {
            return processorNanoseconds() < *static_cast<const std::int64_t*>(end) ? 1 : 0;
        },
        &deadline, &status);

    std::vector<Captures> matches;
    while (U_SUCCESS(status) && uregex_findNext(regex.get(), &status))
        matches.push_back(capturesOf(regex.get(), units, text, status));
    if (U_FAILURE(status))
        return Failure{stopped, describe(status)};
    return matches;
}

} // namespace corvane::RegularExpression
