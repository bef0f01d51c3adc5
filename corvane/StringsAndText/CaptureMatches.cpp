// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/RegularExpression.h>
#include <corvane/StringsAndText/String.h>

#include <cstdio>
#include <utility>

namespace corvane {

std::vector<std::vector<std::string>> captureMatches(std::string_view text, std::string_view pattern)
{
    auto found = RegularExpression::captures(text, pattern);
    if (const auto* failure = std::get_if<RegularExpression::Failure>(&found)) {
        const bool isInvalid = failure->kind == RegularExpression::Failure::Kind::invalidPattern;
        std::printf("%s%s\n",
                    isInvalid ? "invalid regex: " : "regex stopped: ", failure->description.c_str());
        return {};
    }
    return std::get<0>(std::move(found));
}

} // namespace corvane
