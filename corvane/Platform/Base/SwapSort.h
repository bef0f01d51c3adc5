// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace corvane::detail {

/// What `SwapSort` carries along with the elements: nothing.
struct NoTags {
    void swap(std::size_t, std::size_t) noexcept {}
    void rotateDown(std::size_t, std::size_t) noexcept {}
};

/// What `SwapSort` carries along with the elements: a number for each of them.
struct Tags {
    std::size_t* tags;

    void swap(std::size_t i, std::size_t j) noexcept { std::swap(tags[i], tags[j]); }
    void rotateDown(std::size_t to, std::size_t from) noexcept
    {
        const std::size_t moving = tags[from];
        for (; from > to; --from)
            tags[from] = tags[from - 1];
        tags[to] = moving;
    }
};

/// Sorts in place and never holds an element outside the array while the predicate runs: when it throws,
/// every element is still there, just in another order, with its tag. (`std::sort` would lose the one in its
/// hand.) A quicksort without branches on the comparison where elements are cheap to swap; with a bound on
/// its depth. A predicate that is no strict weak ordering gives some order, never a fault. Not stable.
template <typename T, typename Less, typename Companion = NoTags>
class SwapSort {
public:
    SwapSort(std::span<T> items, Less& less, Companion companion = {})
        : items_(items.data()), less_(less), companion_(companion)
    {
        if (items.size() > 1)
            sort(0, items.size(), 2 * static_cast<int>(std::bit_width(items.size())));
    }

private:
    static constexpr bool cheapToSwap = std::is_trivially_copyable_v<T> && sizeof(T) <= 64;
    static constexpr std::size_t smallCount = 16;

    bool less(std::size_t i, std::size_t j) const
    {
        return less_(std::as_const(items_[i]), std::as_const(items_[j]));
    }

    void swap(std::size_t i, std::size_t j)
    {
        using std::swap;
        swap(items_[i], items_[j]);
        companion_.swap(i, j);
    }

    // Of `begin ..< end`; a range that does not begin the array is bounded below by the element before it.
    void sort(std::size_t begin, std::size_t end, int depth)
    {
        while (end - begin > smallCount) {
            if (depth-- == 0)
                return heapSort(begin, end);
            swap(begin, pivotOf(begin, end));
            if (begin > 0 && !less(begin - 1, begin)) {
                // The pivot equals the bound below: so does all that is not greater, which is thereby in
                // place.
                std::size_t to = begin + 1;
                for (std::size_t i = to; i < end; ++i)
                    if (!less(begin, i))
                        swap(i, to++);
                begin = to;
                continue;
            }
            const std::size_t middle = partition(begin, end);
            swap(begin, middle);
            if (middle - begin < end - middle) {
                sort(begin, middle, depth);
                begin = middle + 1;
            } else {
                sort(middle + 1, end, depth);
                end = middle;
            }
        }
        insertionSort(begin, end);
    }

    // Where the pivot at `begin` belongs: what is less than it stands below, the rest above.
    std::size_t partition(std::size_t begin, std::size_t end)
    {
        std::size_t left = begin + 1;
        if constexpr (cheapToSwap) {
            for (std::size_t i = left; i < end; ++i) {
                const bool below = less(i, begin);
                swap(i, left);
                left += below;
            }
        } else {
            for (std::size_t right = end;;) {
                while (left < right && less(left, begin))
                    ++left;
                while (left < right && !less(right - 1, begin))
                    --right;
                if (left >= right) // past each other only by a predicate that contradicts itself
                    break;
                swap(left++, --right);
            }
        }
        return left - 1;
    }

    std::size_t medianOf(std::size_t a, std::size_t b, std::size_t c) const
    {
        if (less(b, a))
            std::swap(a, b);
        if (!less(c, b))
            return b;
        return less(c, a) ? a : c;
    }

    std::size_t pivotOf(std::size_t begin, std::size_t end) const
    {
        const std::size_t middle = begin + (end - begin) / 2;
        if (end - begin < 128)
            return medianOf(begin, middle, end - 1);
        const std::size_t step = (end - begin) / 8;
        return medianOf(medianOf(begin, begin + step, begin + 2 * step),
                        medianOf(middle - step, middle, middle + step),
                        medianOf(end - 1 - 2 * step, end - 1 - step, end - 1));
    }

    void insertionSort(std::size_t begin, std::size_t end)
    {
        for (std::size_t i = begin + 1; i < end; ++i) {
            std::size_t to = i;
            while (to > begin && less(i, to - 1))
                --to;
            if (to == i)
                continue;
            T moving = std::move(items_[i]);
            for (std::size_t j = i; j > to; --j)
                items_[j] = std::move(items_[j - 1]);
            items_[to] = std::move(moving);
            companion_.rotateDown(to, i);
        }
    }

    void heapSort(std::size_t begin, std::size_t end)
    {
        const std::size_t count = end - begin;
        const auto siftDown = [&](std::size_t parent, std::size_t size) {
            for (std::size_t child; (child = 2 * parent + 1) < size; parent = child) {
                if (child + 1 < size && less(begin + child, begin + child + 1))
                    ++child;
                if (!less(begin + parent, begin + child))
                    break;
                swap(begin + parent, begin + child);
            }
        };
        for (std::size_t parent = count / 2; parent-- > 0;)
            siftDown(parent, count);
        for (std::size_t size = count; --size > 0;) {
            swap(begin, begin + size);
            siftDown(0, size);
        }
    }

    T* items_;
    Less& less_;
    Companion companion_;
};

/// Sorts by a predicate that may throw; then the order is undefined, but no element is lost.
template <typename T, typename Less>
void swapSort(std::span<T> items, Less&& less)
{
    SwapSort<T, std::remove_reference_t<Less>>(items, less);
}

/// The same with `tags`, one for each element, which go where the elements go.
template <typename T, typename Less>
void swapSort(std::span<T> items, std::span<std::size_t> tags, Less&& less)
{
    SwapSort<T, std::remove_reference_t<Less>, Tags>(items, less, Tags{tags.data()});
}

/// Undoes a permutation in place: the element at `i` goes to `position(i)`.
template <typename T, typename Position>
void scatter(std::span<T> items, Position&& position)
{
    std::vector<bool> done(items.size());
    for (std::size_t start = 0; start < items.size(); ++start) {
        if (done[start] || position(start) == start)
            continue;
        T moving = std::move(items[start]);
        for (std::size_t i = position(start); i != start; i = position(i)) {
            std::swap(moving, items[i]);
            done[i] = true;
        }
        items[start] = std::move(moving);
    }
}

/// Does a permutation in place: the element at `position(i)` goes to `i`.
template <typename T, typename Position>
void gather(std::span<T> items, Position&& position)
{
    std::vector<bool> done(items.size());
    for (std::size_t start = 0; start < items.size(); ++start) {
        if (done[start] || position(start) == start)
            continue;
        T first = std::move(items[start]);
        std::size_t to = start;
        for (std::size_t from = position(to); from != start; to = from, from = position(to)) {
            items[to] = std::move(items[from]);
            done[to] = true;
        }
        items[to] = std::move(first);
        done[to] = true;
    }
}

} // namespace corvane::detail
