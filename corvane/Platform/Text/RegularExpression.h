// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace corvane::RegularExpression {

/// Why there are no matches: a pattern that is none, or a search that would not end.
struct Failure {
    enum class Kind { invalidPattern, stopped } kind;
    std::string description;
};

/// What the groups of a match captured, in order; those that took no part are left out.
using Captures = std::vector<std::string>;

/// All matches of `pattern`, in ICU's syntax, in the first UTF-16 units of `text`, as many as it has characters.
/// Each byte that is no UTF-8 is a unit, which reads as U+FFFD and is captured as it was. Bounded in time and
/// memory as `captureMatches` says; texts are searched up to two thousand million units. Thread-safe.
[[nodiscard]] CORVANE_API std::variant<std::vector<Captures>, Failure> captures(std::string_view text,
                                                                                std::string_view pattern);

} // namespace corvane::RegularExpression
