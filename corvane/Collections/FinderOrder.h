// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/SwapSort.h>
#include <corvane/Platform/Text/Collation.h>

#include <concepts>
#include <functional>
#include <ranges>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace corvane {

// Finder order: the order in which a desktop's file browser shows names, by the user's locale, without regard
// to case, diacritics and width, and with digit runs as numbers.
//
//     std::vector<std::string> names = finderSorted(found);                       // File1, file2, file10
//     finderSort(pictures, [](const Picture& picture) { return picture.name(); }); // asks for names as it
//     compares
//
// Texts alone are sorted many times faster than by a block, which is asked anew for both elements of every
// comparison. What compares the same may end in any order. Any bytes are text. Thread-safe on distinct data.

/// `a` against `b` in Finder order.
[[nodiscard]] CORVANE_API ComparisonResult finderCompare(std::string_view a, std::string_view b);
[[nodiscard]] CORVANE_API ComparisonResult finderCompare(std::string_view a, std::string_view b,
                                                         const Locale& locale);

namespace detail {
CORVANE_API std::shared_ptr<const Collation> finderCollation();

template <typename T>
concept Text = std::convertible_to<const T&, std::string_view>;

/// The elements of a sequence, or the values of a dictionary.
template <typename Sequence>
auto elementsOf(Sequence&& sequence)
{
    if constexpr (requires { typename std::remove_cvref_t<Sequence>::mapped_type; }) {
        std::vector<typename std::remove_cvref_t<Sequence>::mapped_type> result;
        result.reserve(sequence.size());
        for (auto& entry : sequence)
            result.push_back(entry.second);
        return result;
    } else {
        std::vector<std::ranges::range_value_t<Sequence>> result;
        if constexpr (std::ranges::sized_range<Sequence>)
            result.reserve(static_cast<std::size_t>(std::ranges::size(sequence)));
        for (auto&& element : sequence)
            result.push_back(std::forward<decltype(element)>(element));
        return result;
    }
}
} // namespace detail

/// Sorts texts in place.
template <detail::Text T>
void finderSort(std::vector<T>& items)
{
    const std::vector<std::string_view> texts(items.begin(), items.end());
    std::vector<T> sorted;
    sorted.reserve(items.size());
    for (const std::size_t index : detail::finderCollation()->sortedOrder(texts))
        sorted.push_back(std::move(items[index]));
    items = std::move(sorted);
}

/// Sorts in place by the text that `block` gives for an element. What the block throws passes through
/// unchanged; then the order is undefined, but no element is lost.
template <typename T, typename Block>
void finderSort(std::vector<T>& items, Block&& block)
{
    const auto collation = detail::finderCollation();
    detail::swapSort(std::span<T>(items), [&](const T& x, const T& y) {
        const auto& textOfX = std::invoke(block, x);
        const auto& textOfY = std::invoke(block, y);
        return collation->compare(textOfX, textOfY) == ComparisonResult::ascending;
    });
}

/// A sequence's texts, sorted.
template <std::ranges::input_range Sequence>
requires detail::Text<std::ranges::range_value_t<Sequence>>
[[nodiscard]] auto finderSorted(Sequence&& sequence)
{
    auto result = detail::elementsOf(sequence);
    finderSort(result);
    return result;
}

/// A sequence's elements, or a dictionary's values, sorted by the text that `block` gives for each.
template <std::ranges::input_range Sequence, typename Block>
[[nodiscard]] auto finderSorted(Sequence&& sequence, Block&& block)
{
    auto result = detail::elementsOf(sequence);
    finderSort(result, block);
    return result;
}

} // namespace corvane
