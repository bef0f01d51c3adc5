// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Text/Locale.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace corvane {

/// A value for a placeholder of a format: a whole number, a real one or a text, which it copies.
class FormatArgument {
public:
    template <std::integral T>
    FormatArgument(T value)
    {
        if constexpr (std::is_signed_v<T>)
            value_ = static_cast<std::int64_t>(value);
        else
            value_ = static_cast<std::uint64_t>(value);
    }
    FormatArgument(double value) : value_(value) {}
    FormatArgument(std::string value) : value_(std::move(value)) {}
    FormatArgument(std::string_view value) : value_(std::string(value)) {}
    FormatArgument(const char* value) : value_(std::string(value)) {}

    const std::variant<std::int64_t, std::uint64_t, double, std::string>& value() const noexcept
    {
        return value_;
    }

private:
    std::variant<std::int64_t, std::uint64_t, double, std::string> value_;
};

/// What a placeholder takes.
enum class PlaceholderKind { integer, real, text };

/// The placeholders of a format: what the argument of each position, from 0, has to be; absent for a position
/// that no placeholder names. Nothing at all when `format` breaks the grammar or wants one argument as two kinds.
[[nodiscard]] CORVANE_API std::optional<std::vector<std::optional<PlaceholderKind>>>
placeholders(std::string_view format);

/// `format` with its placeholders replaced, in the grammar of printf: "%d", "%-8.3f", "%2$s", "%*d", "%%". "%d",
/// "%i", "%u" and "%f" group their digits as `locale` does, and all real numbers have its decimal sign; the root
/// locale groups nothing. "%s" and "%@" take a text. Widths count characters. Length modifiers say nothing: whole
/// numbers are printed whole.
///
/// A format outside the grammar, an argument of another kind than its placeholder, one that is missing, or a width
/// or precision above 1000 stops the process. Thread-safe.
[[nodiscard]] CORVANE_API std::string
formatted(std::string_view format, std::span<const FormatArgument> arguments, const Locale& locale);

} // namespace corvane
