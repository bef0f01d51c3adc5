// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/FilterRelations.h>

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace corvane {
namespace {

TEST(FilterRelations, AgreeWithAMapFromVisibleToFullPositions)
{
    std::mt19937 random(26);
    const auto scattered = [&](Int bound, unsigned oneOf) {
        IndexSet result;
        for (Int p = 0; p < bound; ++p)
            if (random() % oneOf == 0)
                result.insert(p);
        return result;
    };
    for (unsigned round = 0; round < 2000; ++round) {
        const Int fullCount = static_cast<Int>(round % 300); // up to five words of bits
        const bool isIdentity = round % 10 == 0;
        const IndexSet shown = scattered(fullCount, isIdentity ? 1 : 1 + round % 70);
        const auto isShown = [&](Int full) { return shown.contains(full); };
        const auto relations = isIdentity ? FilterRelations::identity(fullCount)
                                          : FilterRelations::toAccepted(fullCount, isShown);
        std::map<Int, std::optional<Int>> map;
        for (const Int full : shown)
            map.emplace(static_cast<Int>(map.size()), full);
        const auto count = static_cast<Int>(map.size());
        ASSERT_EQ(relations.count(), count);
        const auto entry = [&](Int visible) {
            const auto found = map.find(visible);
            return found == map.end() ? std::nullopt : found->second;
        };
        for (Int visible = -1; visible < count + 3; ++visible) {
            ASSERT_EQ(relations.find(visible), entry(visible));
            // Behind its predecessor where it has no relation, and 0 where that has none either.
            ASSERT_EQ(relations.convertToBackup(visible),
                      entry(visible).value_or(entry(visible - 1).value_or(-1) + 1));
        }
        const IndexSet asked = scattered(count + 3, 1 + round % 7);
        IndexSet backup, visible;
        for (const Int index : asked)
            backup.insert(entry(index).value_or(0)); // not as one alone
        ASSERT_EQ(relations.convertToBackup(asked), backup);
        const IndexSet full = scattered(fullCount + 70, 1 + round % 7);
        for (const auto& [index, position] : map)
            if (full.contains(*position))
                visible.insert(index);
        ASSERT_EQ(relations.convertToVisible(full), visible);
    }
}

} // namespace
} // namespace corvane
