// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/NumberText.h>

#include <concepts>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace corvane {

// The text form of a value inside the description of a collection: numbers as they are (`1`, `0.1`, `true`),
// text in quotes with escapes (`"a\n"`), an absent value `nil`, an array `[1, 2]`; a type of your own by its
// member `description()` or a function `to_string(value)` beside it. Thread-safe.

/// Text in quotes; `"`, `\` and control characters escaped, everything else as it is.
CORVANE_API std::string quotedText(std::string_view text);

template <typename T>
[[nodiscard]] std::string describe(const T& value);

namespace detail {

template <typename T>
concept SelfDescribing = requires(const T& value)
{
    {
        value.description()
        } -> std::convertible_to<std::string>;
};

template <typename T>
struct IsOptional : std::false_type {};
template <typename T>
struct IsOptional<std::optional<T>> : std::true_type {};
template <typename T>
struct IsVector : std::false_type {};
template <typename T>
struct IsVector<std::vector<T>> : std::true_type {};

template <typename Iterator>
std::string describeElements(Iterator begin, Iterator end)
{
    std::string text = "[";
    for (Iterator element = begin; element != end; ++element) {
        if (element != begin)
            text += ", ";
        text += describe<typename std::iterator_traits<Iterator>::value_type>(*element);
    }
    text += ']';
    return text;
}

} // namespace detail

template <typename T>
std::string describe(const T& value)
{
    if constexpr (detail::SelfDescribing<T>)
        return value.description();
    else if constexpr (std::same_as<T, bool>)
        return value ? "true" : "false";
    else if constexpr (std::same_as<T, char>)
        return quotedText(std::string_view(&value, 1));
    else if constexpr (std::same_as<T, float> || std::same_as<T, double>)
        return numberText(value);
    else if constexpr (std::convertible_to<const T&, std::string_view>)
        return quotedText(value);
    else if constexpr (detail::IsOptional<T>::value)
        return value ? describe(*value) : "nil";
    else if constexpr (detail::IsVector<T>::value)
        return detail::describeElements(value.begin(), value.end());
    else {
        using std::to_string;
        return to_string(value);
    }
}

} // namespace corvane
