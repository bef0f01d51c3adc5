// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/SwapSort.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <vector>

namespace corvane::detail {
namespace {

// Sequences that quicksorts are known to stumble over, beside random ones.
std::vector<std::vector<int>> sequences()
{
    std::mt19937 random(22);
    std::vector<std::vector<int>> all;
    for (const int count : {0, 1, 2, 3, 16, 17, 18, 127, 128, 129, 3000}) {
        std::vector<int> items(static_cast<std::size_t>(count));
        for (const int kinds : {1, 2, 7, 1000000}) {
            std::ranges::generate(items,
                                  [&] { return static_cast<int>(random() % static_cast<unsigned>(kinds)); });
            all.push_back(items);
        }
        std::ranges::sort(items);
        all.push_back(items);
        std::ranges::reverse(items);
        all.push_back(items);
        for (int i = 0; i < count; ++i) // a pipe organ
            items[static_cast<std::size_t>(i)] = std::min(i, count - i);
        all.push_back(items);
    }
    return all;
}

// The copy is of a kind that only moves and that is not sorted by the branchless path.
std::vector<std::unique_ptr<int>> boxed(const std::vector<int>& items)
{
    std::vector<std::unique_ptr<int>> result;
    for (const int item : items)
        result.push_back(std::make_unique<int>(item));
    return result;
}

TEST(SwapSort, SortsElementsAndTheirTags)
{
    for (const std::vector<int>& items : sequences()) {
        std::vector<int> expected = items;
        std::ranges::sort(expected);
        std::vector<int> sorted = items;
        std::vector<std::size_t> tags(items.size());
        std::iota(tags.begin(), tags.end(), std::size_t{0});
        std::size_t comparisons = 0;
        swapSort(std::span(sorted), std::span(tags), [&](int a, int b) { return ++comparisons, a < b; });
        ASSERT_EQ(sorted, expected);
        ASSERT_LE(comparisons,
                  60 * items.size()); // 3000 elements in their worst order: not the 4500000 of a square
        for (std::size_t i = 0; i < items.size(); ++i)
            ASSERT_EQ(items[tags[i]], sorted[i]);
        std::ranges::sort(tags);
        for (std::size_t i = 0; i < tags.size(); ++i)
            ASSERT_EQ(tags[i], i);

        auto boxes = boxed(items);
        swapSort(std::span(boxes), [](const auto& a, const auto& b) { return *a < *b; });
        for (std::size_t i = 0; i < items.size(); ++i)
            ASSERT_EQ(*boxes[i], expected[i]);
    }
}

TEST(SwapSort, FallsBackWhenEveryPivotIsBad)
{
    // Answers that make each pivot the least element seen so far, decided while sorting: the depth runs out.
    const std::size_t count = 4000;
    std::vector<int> value(count, -1);
    int frozen = 0;
    int candidate = 0;
    const auto adversary = [&](int a, int b) {
        const auto at = [&](int i) -> int& { return value[static_cast<std::size_t>(i)]; };
        if (at(a) < 0 && at(b) < 0)
            at(a == candidate ? a : b) = frozen++;
        if (at(a) < 0)
            candidate = a;
        else if (at(b) < 0)
            candidate = b;
        return (at(a) < 0 ? static_cast<int>(count) : at(a)) < (at(b) < 0 ? static_cast<int>(count) : at(b));
    };
    std::size_t comparisons = 0;
    std::vector<int> items(count);
    std::iota(items.begin(), items.end(), 0);
    swapSort(std::span(items), [&](int a, int b) { return ++comparisons, adversary(a, b); });
    EXPECT_LE(comparisons, 100 * count);
    std::vector<int> order = items;
    std::ranges::sort(order);
    for (std::size_t i = 0; i < count; ++i)
        ASSERT_EQ(order[i], static_cast<int>(i));
    EXPECT_TRUE(std::ranges::is_sorted(items, adversary));
}

TEST(SwapSort, KeepsEveryElementWhenThePredicateThrowsOrMakesNoSense)
{
    std::mt19937 random(23);
    for (int round = 0; round < 2000; ++round) {
        std::vector<int> items(200);
        std::iota(items.begin(), items.end(), 0);
        std::ranges::shuffle(items, random);
        auto boxes = boxed(items);
        auto left = random() % 3000;
        const bool nonsense = round % 4 == 0;
        const auto less = [&](int a, int b) {
            if (left-- == 0)
                throw std::runtime_error("enough");
            return nonsense ? random() % 2 == 0 : a < b;
        };
        std::vector<std::size_t> tags(items.begin(), items.end());
        try {
            swapSort(std::span(items), std::span(tags), less);
            swapSort(std::span(boxes), [&](const auto& a, const auto& b) { return less(*a, *b); });
        } catch (const std::runtime_error&) {
        }
        for (std::size_t i = 0; i < items.size(); ++i)
            ASSERT_EQ(tags[i], static_cast<std::size_t>(items[i]));
        std::ranges::sort(items);
        std::ranges::sort(boxes, {}, [](const auto& box) { return *box; });
        for (int i = 0; i < 200; ++i) {
            ASSERT_EQ(items[static_cast<std::size_t>(i)], i);
            ASSERT_EQ(*boxes[static_cast<std::size_t>(i)], i);
        }
    }
}

} // namespace
} // namespace corvane::detail
