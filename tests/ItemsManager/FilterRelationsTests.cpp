// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/FilterRelations.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace corvane {
namespace {

using ::testing::ElementsAre;

FilterRelations relationsTo(const IndexSet& positions, Int fullCount)
{
    return FilterRelations::toAccepted(fullCount, [&](Int full) { return positions.contains(full); });
}

TEST(FilterRelations, ConvertOnePosition)
{
    const FilterRelations relations = relationsTo({1, 3, 200}, 300);
    EXPECT_EQ(relations.convertToBackup(0), 1);
    EXPECT_EQ(relations.convertToBackup(2), 200);
    EXPECT_EQ(relations.convertToBackup(3), 201); // behind its neighbour
    EXPECT_EQ(relations.convertToBackup(4), 0);   // it has none
    EXPECT_EQ(relations.convertToBackup(-1), 0);
    EXPECT_EQ(FilterRelations().convertToBackup(0), 0);
    const FilterRelations identity = FilterRelations::identity(3);
    EXPECT_EQ(identity.convertToBackup(2), 2);
    EXPECT_EQ(identity.convertToBackup(3), 3);
    EXPECT_EQ(identity.find(3), std::nullopt);
}

TEST(FilterRelations, ConvertSetsWithTheAbsentAsZero)
{
    const FilterRelations relations = relationsTo({1, 3, 200}, 300);
    EXPECT_THAT(relations.convertToBackup(IndexSet{0, 2}), ElementsAre(1, 200));
    EXPECT_THAT(relations.convertToBackup(IndexSet{1, 3, 4}), ElementsAre(0, 3));
    EXPECT_THAT(relations.convertToBackup(IndexSet{}), ElementsAre());
    EXPECT_THAT(FilterRelations().convertToBackup(IndexSet{5}), ElementsAre(0));
    const FilterRelations identity = FilterRelations::identity(3);
    EXPECT_THAT(identity.convertToBackup(IndexSet{1, 2, 3}), ElementsAre(0, 1, 2));
}

TEST(FilterRelations, FindTheVisibleOfAnySetAndBack)
{
    std::mt19937 random(26);
    for (unsigned round = 0; round < 2000; ++round) {
        const bool identity = round % 10 == 0;
        const Int fullCount = static_cast<Int>(round % 300);
        IndexSet positions, full, expected;
        for (Int p = 0; p < fullCount; ++p)
            if (identity || random() % (1 + round % 5) == 0)
                positions.insert(p);
        for (Int p = 0; p < fullCount + 10; ++p)
            if (random() % (1 + round % 7) == 0)
                full.insert(p);
        const auto relations =
            identity ? FilterRelations::identity(fullCount) : relationsTo(positions, fullCount);
        Int visible = 0;
        for (const Int p : positions) {
            ASSERT_EQ(relations.find(visible), p);
            if (full.contains(p))
                expected.insert(visible);
            ++visible;
        }
        ASSERT_EQ(relations.convertToVisible(full), expected);
        ASSERT_EQ(relations.convertToBackup(expected), full.intersection(positions));
    }
}

} // namespace
} // namespace corvane
