// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Collections/IndexSet.h>
#include <corvane/Platform/Base/Random.h>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace corvane {

// Edits of a vector by sets of positions. Each is one pass over the vector, however many positions are given.
//
//     std::vector<char> letters{'a', 'b', 'c', 'd', 'e'};
//     Int at = move(letters, {1, 3}, 4); // a c b d e, and at is 2
//     remove(letters, {0, 2});           // c d e
//
// A position outside the vector stops the process, except where an operation says what it does instead.
// Thread-compatible.

namespace detail {
/// Stops the process unless every member of `indexes` is below `count`.
CORVANE_API void checkIndexes(const char* operation, const IndexSet& indexes, Int count);
[[noreturn]] CORVANE_API void failDestination(Int to, Int moved, Int count);
CORVANE_API void checkPointer(const void* ptr, Int count);
/// The positions to draw, in draw order, from an array of `count`.
CORVANE_API std::vector<Int> distinctSampleIndexes(Int count, Int drawCount,
                                                   const std::function<std::uint32_t()>& random);

template <typename T>
Int countOf(const std::vector<T>& items) noexcept
{
    return static_cast<Int>(items.size());
}
} // namespace detail

/// Removes the elements at `at`.
template <typename T>
void remove(std::vector<T>& items, const IndexSet& at)
{
    if (at.isEmpty())
        return;
    detail::checkIndexes("remove", at, detail::countOf(items));
    const auto runs = at.runs();
    auto out = items.begin() + runs.front().lower;
    for (std::size_t k = 0; k < runs.size(); ++k) {
        const Int next = k + 1 < runs.size() ? runs[k + 1].lower : detail::countOf(items);
        out = std::move(items.begin() + runs[k].upper, items.begin() + next, out);
    }
    items.erase(out, items.end());
}

/// Moves the elements at `from`, their order kept, into the gap `to` and returns where the first of them
/// stands now. A gap is counted before the move: 0 is before the first element, the size is after the last.
/// Moving nothing returns `to`, whatever it is.
template <typename T>
Int move(std::vector<T>& items, const IndexSet& from, Int to)
{
    if (from.isEmpty())
        return to;
    const Int count = detail::countOf(items);
    detail::checkIndexes("move", from, count);
    const Int insertionIndex = to - (to > 0 ? from.countInRange(0, to) : 0);
    if (insertionIndex < 0 || insertionIndex > count - from.count())
        detail::failDestination(to, from.count(), count);

    const auto runs = from.runs();
    const auto at = [&](Int index) { return items.begin() + index; };
    std::vector<T> moving;
    moving.reserve(static_cast<std::size_t>(from.count()));
    for (const IndexRun& run : runs)
        moving.insert(moving.end(), std::move_iterator(at(run.lower)), std::move_iterator(at(run.upper)));

    // What stays before the gap closes up towards the front, what stays behind it towards the end; between
    // them just the room for the moved elements opens.
    const auto split = std::ranges::lower_bound(runs, to, {}, &IndexRun::lower);
    auto out = at(runs.front().lower);
    for (auto run = runs.begin(); run != split; ++run) {
        const Int next = run + 1 != runs.end() ? std::min(run[1].lower, to) : to;
        if (run->upper < next)
            out = std::move(at(run->upper), at(next), out);
    }
    out = at(runs.back().upper);
    for (auto run = runs.end(); run != runs.begin() && run[-1].upper > to; --run) {
        const Int previous = run - 1 != runs.begin() ? std::max(run[-2].upper, to) : to;
        if (previous < run[-1].lower)
            out = std::move_backward(at(previous), at(run[-1].lower), out);
    }
    std::move(moving.begin(), moving.end(), at(insertionIndex));
    return insertionIndex;
}

/// The same, for indexes written in place: `std::move`, found by the argument's type, would otherwise also
/// fit.
template <typename T, std::integral Destination>
Int move(std::vector<T>& items, std::initializer_list<Int> from, Destination to)
{
    return move(items, IndexSet(from), static_cast<Int>(to));
}

/// Swaps the element at `at` with the one before it; false if there is no such element or none before it.
template <typename T>
bool moveUp(std::vector<T>& items, Int at)
{
    if (at < 1 || detail::countOf(items) <= at)
        return false;
    std::iter_swap(items.begin() + at, items.begin() + (at - 1));
    return true;
}

/// Swaps the element at `at` with the one after it; false if there is no such element or none after it.
template <typename T>
bool moveDown(std::vector<T>& items, Int at)
{
    if (at < 0 || detail::countOf(items) - 1 <= at)
        return false;
    std::iter_swap(items.begin() + at, items.begin() + (at + 1));
    return true;
}

/// Copies of the elements at `at`, in ascending order of position.
template <typename T>
[[nodiscard]] std::vector<T> elements(const std::vector<T>& items, const IndexSet& at)
{
    detail::checkIndexes("elements", at, detail::countOf(items));
    std::vector<T> result;
    result.reserve(static_cast<std::size_t>(at.count()));
    for (const IndexRun& run : at.runs())
        result.insert(result.end(), items.begin() + run.lower, items.begin() + run.upper);
    return result;
}

/// A copy of the element at `at`, or nothing when there is none.
template <typename T>
[[nodiscard]] std::optional<T> safeAccess(const std::vector<T>& items, Int at)
{
    if (at < 0 || at >= detail::countOf(items))
        return std::nullopt;
    return items[static_cast<std::size_t>(at)];
}

/// Removes and returns the matching element with the highest position: the search runs from the end, despite
/// the name. Nothing if none matches.
template <typename T, typename Predicate>
std::optional<T> removeFirst(std::vector<T>& items, Predicate&& where)
{
    for (auto at = items.end(); at != items.begin();) {
        if (std::invoke(where, std::as_const(*--at))) {
            std::optional<T> removed(std::move(*at));
            items.erase(at);
            return removed;
        }
    }
    return std::nullopt;
}

/// Elements at distinct random positions, in draw order. A draw that hits a position again is lost, so there
/// may be fewer than `drawCount`; and a draw has 100 outcomes, so that of a larger array some elements are
/// never drawn. `random` gives uniform 32-bit values.
template <typename T>
[[nodiscard]] std::vector<T> distinctSamples(const std::vector<T>& items, Int drawCount,
                                             const std::function<std::uint32_t()>& random = randomUInt32)
{
    std::vector<T> result;
    for (const Int index : detail::distinctSampleIndexes(detail::countOf(items), drawCount, random))
        result.push_back(items[static_cast<std::size_t>(index)]);
    return result;
}

/// A copy of `count` elements that begin at `ptr`, which may be null only when `count` is 0.
template <typename T>
[[nodiscard]] std::vector<T> fromPtrCount(const T* ptr, Int count)
{
    detail::checkPointer(ptr, count);
    return std::vector<T>(ptr, ptr + count);
}

} // namespace corvane
