// SPDX-License-Identifier: Apache-2.0
#include "Support/ItemsManagerModel.h"
#include <corvane/Collections/Array.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <string>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<char> letters(std::string_view text)
{
    return {text.begin(), text.end()};
}
std::string text(const std::vector<char>& items)
{
    return {items.begin(), items.end()};
}

TEST(Array, RemovesAtASetOfIndexes)
{
    struct Row {
        const char* items;
        IndexSet at;
        const char* left;
    };
    for (const auto& [items, at, left] : {Row{"abc", {}, "abc"}, Row{"abc", {0, 2}, "b"}, Row{"", {}, ""},
                                          Row{"abcde", {0, 1, 2, 3, 4}, ""}, Row{"abcde", {1, 2, 4}, "ad"}}) {
        std::vector<char> array = letters(items);
        remove(array, at);
        EXPECT_EQ(text(array), left);
    }
}

TEST(Array, MovesIntoAGap)
{
    struct Row {
        const char* items;
        IndexSet from;
        Int to;
        const char* result;
        Int at;
    };
    for (const auto& [items, from, to, result, at] : {
             Row{"abcde", {1, 3}, 4, "acbde", 2},
             Row{"abcde", {1, 3}, 0, "bdace", 0},
             Row{"abcde", {0}, 5, "bcdea", 4},
             Row{"abcde", {2}, 2, "abcde", 2},
             Row{"abcde", {2}, 3, "abcde", 2},
             Row{"abcde", {1, 2, 3}, 2, "abcde", 1}, // the gap lies inside the run
             Row{"abcde", {0, 1, 2, 3, 4}, 3, "abcde", 0},
             Row{"abcde", {}, 3, "abcde", 3},
             Row{"abcde", {}, -70, "abcde", -70},
         }) {
        std::vector<char> array = letters(items);
        EXPECT_EQ(move(array, from, to), at);
        EXPECT_EQ(text(array), result);
    }
}

TEST(Array, EditsAsStepByStepEditsWould)
{
    std::mt19937_64 random(21);
    const auto below = [&](std::size_t bound) { return static_cast<Int>(random() % bound); };
    for (int step = 0; step < 20000; ++step) {
        std::vector<std::string> model;
        std::vector<std::unique_ptr<std::string>> array; // elements that only move
        for (Int count = below(12); count > 0; --count) {
            model.push_back(std::string(30, static_cast<char>('a' + count)));
            array.push_back(std::make_unique<std::string>(model.back()));
        }
        IndexSet indexes;
        for (std::size_t i = 0; i < model.size(); ++i)
            if (below(3) == 0)
                indexes.insert(static_cast<Int>(i));
        if (below(2) == 0) {
            remove(array, indexes);
            for (auto at = indexes.rbegin(); at != indexes.rend(); ++at)
                model.erase(model.begin() + *at);
        } else {
            const Int to = below(model.size() + 1);
            ASSERT_EQ(move(array, indexes, to), tests::moveStepByStep(model, indexes, to));
        }
        ASSERT_EQ(array.size(), model.size());
        for (std::size_t i = 0; i < model.size(); ++i)
            ASSERT_EQ(*array[i], model[i]);
    }
}

TEST(Array, MovesUpAndDownWhereItCan)
{
    std::vector<char> array = letters("abc");
    for (const Int at : {Int{0}, Int{-1}, Int{3}, std::numeric_limits<Int>::min()})
        EXPECT_FALSE(moveUp(array, at));
    for (const Int at : {Int{2}, Int{-1}, Int{3}, std::numeric_limits<Int>::max()})
        EXPECT_FALSE(moveDown(array, at));
    EXPECT_EQ(text(array), "abc");
    EXPECT_TRUE(moveUp(array, 2));
    EXPECT_EQ(text(array), "acb");
    EXPECT_TRUE(moveDown(array, 0));
    EXPECT_EQ(text(array), "cab");
    std::vector<char> one = letters("a"), none;
    EXPECT_FALSE(moveDown(one, 0));
    EXPECT_FALSE(moveDown(none, 0) || moveUp(none, 0));
}

TEST(Array, GivesElements)
{
    const std::vector<char> array = letters("abcde");
    EXPECT_EQ(text(elements(array, {4, 0, 1})), "abe");
    EXPECT_THAT(elements(array, {}), IsEmpty());
    EXPECT_EQ(safeAccess(array, 4), 'e');
    EXPECT_EQ(safeAccess(array, 5), std::nullopt);
    EXPECT_EQ(safeAccess(array, -1), std::nullopt);
    EXPECT_EQ(text(fromPtrCount(array.data() + 1, 3)), "bcd");
    EXPECT_THAT(fromPtrCount<char>(nullptr, 0), IsEmpty());
}

TEST(Array, RemovesTheLastMatchDespiteTheName)
{
    std::vector<int> array{1, 2, 3, 2};
    std::vector<int> asked;
    const auto isTwo = [&](int i) { return asked.push_back(i), i == 2; };
    EXPECT_EQ(removeFirst(array, isTwo), 2);
    EXPECT_THAT(array, ElementsAre(1, 2, 3));
    EXPECT_EQ(removeFirst(array, isTwo), 2);
    EXPECT_THAT(asked, ElementsAre(2, 3, 2));
    EXPECT_EQ(removeFirst(array, isTwo), std::nullopt);
    EXPECT_THAT(array, ElementsAre(1, 3));
}

TEST(Array, DrawsDistinctSamplesInHundredths)
{
    std::vector<int> thousand(1000), hundred(100);
    std::iota(thousand.begin(), thousand.end(), 0);
    std::iota(hundred.begin(), hundred.end(), 0);
    std::uint32_t draws = 0;
    const auto scripted = [&](std::vector<std::uint32_t> values) {
        draws = 0;
        return [&draws, values = std::move(values)] { return values.at(draws++); };
    };
    // The repeat of 7 is a lost draw.
    EXPECT_THAT(distinctSamples(thousand, 4, scripted({7, 4294967199, 107, 50})), ElementsAre(70, 990, 500));
    EXPECT_EQ(draws, 4U);
    EXPECT_THAT(distinctSamples(thousand, 0), IsEmpty());
    EXPECT_THAT(distinctSamples(thousand, -3), IsEmpty());
    EXPECT_THAT(distinctSamples(std::vector<int>{}, 5), IsEmpty());
    EXPECT_THAT(distinctSamples(std::vector<int>{8}, 5), ElementsAre(8));

    // Even an endless draw count ends, once all that can be drawn has been: of a thousand the multiples of
    // ten, of a hundred all but two, whose hundredths round down to their neighbours in single precision.
    std::vector<int> all = distinctSamples(thousand, std::numeric_limits<Int>::max());
    std::ranges::sort(all);
    ASSERT_EQ(all.size(), 100U);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(all[static_cast<std::size_t>(i)], 10 * i);
    std::vector<int> most = distinctSamples(hundred, std::numeric_limits<Int>::max()), never;
    std::ranges::sort(most);
    std::ranges::set_difference(hundred, most, std::back_inserter(never));
    EXPECT_THAT(never, ElementsAre(53, 59));
}

} // namespace
} // namespace corvane
