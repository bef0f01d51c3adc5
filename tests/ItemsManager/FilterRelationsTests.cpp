// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/FilterRelations.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <vector>

namespace corvane {
namespace {

using ::testing::ElementsAre;

FilterRelations relationsTo(const std::vector<Int>& positions)
{
    auto copy = std::make_unique<Int[]>(positions.size());
    std::ranges::copy(positions, copy.get());
    FilterRelations relations;
    relations.set(std::move(copy), static_cast<Int>(positions.size()));
    return relations;
}

TEST(FilterRelations, ConvertOnePosition)
{
    const FilterRelations relations = relationsTo({1, 3, 8});
    EXPECT_EQ(relations.convertToBackup(0), 1);
    EXPECT_EQ(relations.convertToBackup(2), 8);
    EXPECT_EQ(relations.convertToBackup(3), 9); // behind its neighbour
    EXPECT_EQ(relations.convertToBackup(4), 0); // it has none
    EXPECT_EQ(relations.convertToBackup(-1), 0);
    EXPECT_EQ(FilterRelations().convertToBackup(0), 0);
    FilterRelations identity;
    identity.setIdentity(3);
    EXPECT_EQ(identity.convertToBackup(2), 2);
    EXPECT_EQ(identity.convertToBackup(3), 3);
    EXPECT_EQ(identity.find(3), std::nullopt);
}

TEST(FilterRelations, ConvertSetsWithTheAbsentAsZero)
{
    const FilterRelations relations = relationsTo({1, 3, 8});
    EXPECT_THAT(relations.convertToBackup(IndexSet{0, 2}), ElementsAre(1, 8));
    EXPECT_THAT(relations.convertToBackup(IndexSet{1, 3, 4}), ElementsAre(0, 3));
    EXPECT_THAT(relations.convertToBackup(IndexSet{}), ElementsAre());
    EXPECT_THAT(FilterRelations().convertToBackup(IndexSet{5}), ElementsAre(0));
    FilterRelations identity;
    identity.setIdentity(3);
    EXPECT_THAT(identity.convertToBackup(IndexSet{1, 2, 3}), ElementsAre(0, 1, 2));
}

TEST(FilterRelations, FindTheVisibleOfAnySet)
{
    std::mt19937 random(26);
    for (int round = 0; round < 3000; ++round) {
        const bool identity = round % 10 == 0;
        std::vector<Int> positions;
        for (Int p = 0; p < 60; ++p)
            if (identity || random() % (1 + static_cast<unsigned>(round) % 5) == 0)
                positions.push_back(p);
        FilterRelations relations = relationsTo(positions);
        if (identity)
            relations.setIdentity(static_cast<Int>(positions.size()));
        IndexSet full, expected;
        for (Int p = 0; p < 70; ++p)
            if (random() % (1 + static_cast<unsigned>(round) % 7) == 0)
                full.insert(p);
        for (std::size_t v = 0; v < positions.size(); ++v)
            if (full.contains(positions[v]))
                expected.insert(static_cast<Int>(v));
        ASSERT_EQ(relations.convertToVisible(full), expected);
    }
}

} // namespace
} // namespace corvane
