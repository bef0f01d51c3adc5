// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/Collection.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace corvane {
namespace {

using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

const std::vector<std::string> words{"one", "three", "five", "nine"};

TEST(Collection, MapsToASet)
{
    EXPECT_THAT(mapToSet(words, &std::string::size), UnorderedElementsAre(3, 4, 5));
    EXPECT_THAT(mapToSet(std::vector<int>{}, [](int i) { return i; }), IsEmpty());
    // Any sequence will do, and results may be of a kind that only moves.
    EXPECT_EQ(mapToSet(std::list<int>{0, 1, 2}, [](int i) { return std::make_unique<int>(i); }).size(), 3U);
}

TEST(Collection, MapsToASetWithoutTheAbsent)
{
    const auto shortOnly = [](const std::string& word) {
        return word.size() < 5 ? std::optional(word.front()) : std::nullopt;
    };
    EXPECT_THAT(flatMapToSet(words, shortOnly), UnorderedElementsAre('o', 'f', 'n'));
}

TEST(Collection, MapsToADictionaryWhoseLastEqualKeyWins)
{
    const std::vector<std::pair<int, char>> pairs{{1, 'a'}, {2, 'x'}, {1, 'b'}};
    EXPECT_THAT(mapEntries(pairs, [](const auto& pair) { return pair; }),
                UnorderedElementsAre(Pair(1, 'b'), Pair(2, 'x')));
    const auto ones = [](const auto& pair) { return pair.first == 1 ? std::optional(pair) : std::nullopt; };
    EXPECT_THAT(flatMapEntries(pairs, ones), UnorderedElementsAre(Pair(1, 'b')));
}

TEST(Collection, PassesOnWhatTheTransformThrows)
{
    int calls = 0;
    const auto failing = [&](const std::string& word) -> std::optional<std::pair<std::string, int>> {
        if (++calls == 3)
            throw std::runtime_error("third");
        return std::pair(word, calls);
    };
    EXPECT_THROW((void)flatMapEntries(words, failing), std::runtime_error);
    EXPECT_EQ(calls, 3);
}

} // namespace
} // namespace corvane
