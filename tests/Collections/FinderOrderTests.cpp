// SPDX-License-Identifier: Apache-2.0
#include "Support/EnvironmentVariable.h"
#include <corvane/Collections/FinderOrder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>

namespace corvane {
namespace {

using ::testing::ElementsAre;

using Texts = std::vector<std::string>;

TEST(FinderOrder, ComparesInTheCurrentOrAGivenLocale)
{
    const tests::EnvironmentVariable swedish("LC_ALL", "sv_SE.UTF-8");
    EXPECT_EQ(finderCompare("ö", "z"), ComparisonResult::descending);
    EXPECT_EQ(finderCompare("ö", "z", Locale("de_DE")), ComparisonResult::ascending);
    EXPECT_EQ(finderCompare("File02", "file2"), ComparisonResult::same);
    EXPECT_THAT(finderSorted(Texts{"ö", "z", "o"}), ElementsAre("o", "z", "ö"));
}

TEST(FinderOrder, SortsTexts)
{
    EXPECT_THAT(finderSorted(Texts{"file10", "file2", "File1"}), ElementsAre("File1", "file2", "file10"));
    EXPECT_THAT(finderSorted(Texts{}), ElementsAre());
    EXPECT_THAT(finderSorted(std::set<std::string>{"b", "C", "a"}), ElementsAre("a", "b", "C"));
    EXPECT_THAT(finderSorted(std::list<std::string_view>{"one"}), ElementsAre("one"));
    Texts names{"x9", "X10", "x1"};
    finderSort(names);
    EXPECT_THAT(names, ElementsAre("x1", "x9", "X10"));
}

TEST(FinderOrder, SortsElementsByTheTextOfABlock)
{
    const std::vector<int> numbers{30, 1, 200, 4};
    const auto asked = [](int number) { return "n" + std::to_string(number); };
    EXPECT_THAT(finderSorted(numbers, asked), ElementsAre(1, 4, 30, 200));
    const std::map<std::string, int> sizes{{"a", 30}, {"b", 4}, {"c", 200}}; // the values; keys play no part
    EXPECT_THAT(finderSorted(sizes, asked), ElementsAre(4, 30, 200));

    std::vector<std::unique_ptr<std::string>> owned;
    for (const char* text : {"b2", "B10", "a"})
        owned.push_back(std::make_unique<std::string>(text));
    finderSort(owned, [](const auto& element) -> const std::string& { return *element; });
    EXPECT_THAT(owned, ElementsAre(::testing::Pointee(Texts::value_type("a")),
                                   ::testing::Pointee(Texts::value_type("b2")),
                                   ::testing::Pointee(Texts::value_type("B10"))));
}

TEST(FinderOrder, AsksTheBlockAnewForEachComparison)
{
    int calls = 0;
    const auto counted = [&](const std::string& text) { return ++calls, text; };
    EXPECT_THAT(finderSorted(Texts{"b", "a"}, counted), ElementsAre("a", "b"));
    EXPECT_EQ(calls, 2);
    std::ignore = finderSorted(Texts{"b", "a", "d", "c"}, counted);
    EXPECT_GE(calls, 2 + 2 * 4); // four elements cannot be sorted in fewer than four comparisons of two each
    EXPECT_EQ(calls % 2, 0);
}

TEST(FinderOrder, LosesNoElementWhenTheBlockThrows)
{
    for (int allowed = 0; allowed < 12; ++allowed) {
        Texts names{"d", "b", "e", "a", "c"};
        int left = allowed;
        const auto failing = [&](const std::string& text) {
            if (left-- == 0)
                throw std::runtime_error("no name");
            return text;
        };
        EXPECT_THROW(finderSort(names, failing), std::runtime_error);
        EXPECT_THAT(names, ::testing::UnorderedElementsAre("a", "b", "c", "d", "e"));
    }
}

} // namespace
} // namespace corvane
