// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <ranges>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace corvane {

// Mapping a sequence into a set or a dictionary.
//
//     auto extensions = flatMapToSet(urls, [](const URL& url) { return extensionOf(url); }); // absent ones
//     skipped auto byName = mapEntries(layers, [](const Layer& layer) { return std::pair(layer.name, &layer);
//     });
//
// The transform is called once an element, in sequence order; what it throws passes through unchanged.
// Results are unordered, keyed by `std::hash`. Thread-compatible: nothing is kept between calls.

template <typename Sequence, typename Transform>
using TransformResult =
    std::remove_cvref_t<std::invoke_result_t<Transform&, std::ranges::range_reference_t<Sequence>>>;

/// The set of the transform's results.
template <std::ranges::input_range Sequence, typename Transform>
[[nodiscard]] auto mapToSet(Sequence&& sequence, Transform&& transform)
{
    std::unordered_set<TransformResult<Sequence, Transform>> result;
    for (auto&& element : sequence)
        result.insert(std::invoke(transform, std::forward<decltype(element)>(element)));
    return result;
}

/// The set of the transform's results that are present; the transform returns an optional (or a pointer).
template <std::ranges::input_range Sequence, typename Transform>
[[nodiscard]] auto flatMapToSet(Sequence&& sequence, Transform&& transform)
{
    std::unordered_set<std::remove_cvref_t<decltype(*std::declval<TransformResult<Sequence, Transform>>())>>
        result;
    for (auto&& element : sequence)
        if (auto value = std::invoke(transform, std::forward<decltype(element)>(element)))
            result.insert(*std::move(value));
    return result;
}

/// A dictionary of the (key, value) pairs that the transform returns; of equal keys the last one's value
/// stays.
template <std::ranges::input_range Sequence, typename Transform>
[[nodiscard]] auto mapEntries(Sequence&& sequence, Transform&& transform)
{
    using Entry = TransformResult<Sequence, Transform>;
    std::unordered_map<std::remove_cvref_t<std::tuple_element_t<0, Entry>>,
                       std::remove_cvref_t<std::tuple_element_t<1, Entry>>>
        result;
    for (auto&& element : sequence) {
        auto [key, value] = std::invoke(transform, std::forward<decltype(element)>(element));
        result.insert_or_assign(std::move(key), std::move(value));
    }
    return result;
}

/// As `mapEntries`, skipping the elements for which the transform returns no pair.
template <std::ranges::input_range Sequence, typename Transform>
[[nodiscard]] auto flatMapEntries(Sequence&& sequence, Transform&& transform)
{
    using Entry = std::remove_cvref_t<decltype(*std::declval<TransformResult<Sequence, Transform>>())>;
    std::unordered_map<std::remove_cvref_t<std::tuple_element_t<0, Entry>>,
                       std::remove_cvref_t<std::tuple_element_t<1, Entry>>>
        result;
    for (auto&& element : sequence) {
        if (auto entry = std::invoke(transform, std::forward<decltype(element)>(element))) {
            auto& [key, value] = *entry;
            result.insert_or_assign(std::move(key), std::move(value));
        }
    }
    return result;
}

} // namespace corvane
