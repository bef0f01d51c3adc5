// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Characters.h>
#include <corvane/Platform/Text/Utf8.h>

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <functional>
#include <limits>

namespace corvane {

namespace {

bool isAscii(std::string_view text) noexcept
{
    return std::ranges::all_of(text, [](char c) { return static_cast<signed char>(c) >= 0; });
}

// `text` with its valid parts put through `convert`, which appends, and the bytes between them left alone. Parts
// are cut at what ICU can count, too; such a text has worse problems than an accent there.
template <typename Convert>
std::string converted(std::string_view text, Convert convert)
{
    constexpr std::size_t longestPart = std::numeric_limits<std::int32_t>::max() / 4;
    std::string result;
    std::size_t begin = 0;
    const auto flush = [&](std::size_t end) {
        if (end > begin)
            convert(text.substr(begin, end - begin), result);
    };
    for (std::size_t at = 0; at < text.size();) {
        const auto point = detail::codePointAt(text, at);
        if (detail::isBadByte(point)) {
            flush(at);
            result.push_back(text[at]);
            begin = at + 1;
        } else if (at - begin >= longestPart) {
            flush(at);
            begin = at;
        }
        at += point.length;
    }
    flush(text.size());
    return result;
}

} // namespace

std::string canonicalForm(std::string_view text)
{
    if (isAscii(text))
        return std::string(text);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const form = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) // without its data every text is its own form
        return std::string(text);
    return converted(text, [&](std::string_view part, std::string& out) {
        const std::size_t before = out.size();
        UErrorCode failed = U_ZERO_ERROR;
        icu::StringByteSink<std::string> sink(&out);
        form->normalizeUTF8(0, icu::StringPiece(part.data(), static_cast<std::int32_t>(part.size())), sink,
                            nullptr, failed);
        if (U_FAILURE(failed))
            out.replace(before, std::string::npos, part);
    });
}

bool areEquivalent(std::string_view a, std::string_view b)
{
    if (a == b)
        return true;
    if (isAscii(a) && isAscii(b))
        return false;
    return canonicalForm(a) == canonicalForm(b);
}

std::string lowercased(std::string_view text)
{
    return converted(text, [&](std::string_view part, std::string& out) {
        if (isAscii(part)) {
            std::ranges::transform(part, std::back_inserter(out), [](char c) {
                return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            });
            return;
        }
        const std::size_t before = out.size();
        UErrorCode failed = U_ZERO_ERROR;
        icu::StringByteSink<std::string> sink(&out);
        icu::CaseMap::utf8ToLower("", 0,
                                  icu::StringPiece(part.data(), static_cast<std::int32_t>(part.size())), sink,
                                  nullptr, failed);
        if (U_FAILURE(failed))
            out.replace(before, std::string::npos, part);
    });
}

bool isBlank(std::string_view text) noexcept
{
    for (std::size_t at = 0; at < text.size();) {
        const auto point = detail::codePointAt(text, at);
        if (detail::isBadByte(point) || !u_isUWhiteSpace(static_cast<UChar32>(point.value)))
            return false;
        at += point.length;
    }
    return true;
}

} // namespace corvane
