// SPDX-License-Identifier: Apache-2.0
#include <corvane/Collections/IndexSet.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace corvane {
namespace {

using ::testing::ElementsAre;

// What every set must be at any time: ascending runs that neither are empty nor touch, and a right count.
void expectSound(const IndexSet& set)
{
    Int count = 0;
    Int previousUpper = -1;
    for (const IndexRun& run : set.runs()) {
        ASSERT_LT(previousUpper, run.lower);
        ASSERT_LT(run.lower, run.upper);
        previousUpper = run.upper;
        count += run.upper - run.lower;
    }
    ASSERT_EQ(set.count(), count);
}

std::vector<Int> membersOf(const IndexSet& set)
{
    return {set.begin(), set.end()};
}

TEST(IndexSet, IsMadeOfRangesAndIndexes)
{
    EXPECT_THAT(IndexSet(), ElementsAre());
    EXPECT_THAT(toIndexSet(7), ElementsAre(7));
    EXPECT_THAT((IndexSet{5, 2, 3, 2}), ElementsAre(2, 3, 5));
    EXPECT_THAT(IndexSet::fromRange(2, 5), ElementsAre(2, 3, 4));
    EXPECT_THAT(IndexSet::fromRange(5, 5), ElementsAre());
    EXPECT_THAT(IndexSet::fromClosedRange(2, 5), ElementsAre(2, 3, 4, 5));
    EXPECT_EQ(IndexSet::fromI1I2(5, 2), IndexSet::fromI1I2(2, 5));
    EXPECT_THAT(IndexSet::fromI1I2(5, 2), ElementsAre(2, 3, 4, 5));
    EXPECT_THAT(IndexSet::fromI1I2(4, 4), ElementsAre(4));
    EXPECT_THAT(IndexSet::fromLocLen(3, 0), ElementsAre());
    EXPECT_THAT(IndexSet::fromLocLen(3, 2), ElementsAre(3, 4));

    const Int largest = std::numeric_limits<Int>::max() - 1;
    EXPECT_THAT(IndexSet::fromI1I2(largest, largest), ElementsAre(largest));
}

TEST(IndexSet, TellsItsOnlyMember)
{
    EXPECT_EQ(IndexSet{4}.singleIndex(), 4);
    EXPECT_TRUE(IndexSet{4}.isSingle());
    for (const IndexSet& several : {IndexSet{}, IndexSet{1, 2}, IndexSet{1, 5}}) {
        EXPECT_EQ(several.singleIndex(), std::nullopt);
        EXPECT_FALSE(several.isSingle());
    }
}

TEST(IndexSet, EditsCopiesWithoutTouchingTheOriginal)
{
    // One set that lives inline and one whose runs are shared between copies.
    for (const IndexSet& original : {IndexSet{1, 3}, IndexSet{1, 3, 5, 7, 9, 11}}) {
        const std::vector<Int> before = membersOf(original);
        EXPECT_TRUE(original.inserting(4).contains(4));
        EXPECT_FALSE(original.removing(3).contains(3));
        EXPECT_FALSE(original.toggling(3).contains(3));
        EXPECT_TRUE(original.toggling(4).contains(4));
        IndexSet copy = original;
        copy.insert(1000);
        copy.removeRange(0, 6);
        IndexSet assigned;
        assigned = original;
        assigned.insertRange(0, 100);
        EXPECT_EQ(membersOf(original), before);
        expectSound(original);
    }
}

TEST(IndexSet, IsCopiedByManyThreadsAtOnce)
{
    IndexSet original;
    for (Int i = 0; i < 20; i += 2)
        original.insert(i);
    const auto copyAndExtend = [&original = std::as_const(original)] {
        for (Int i = 0; i < 2000; ++i) {
            IndexSet copy = original;
            copy.insert(19); // extends the last run, which is shared
            EXPECT_EQ(copy.count(), 11);
        }
    };
    std::thread other(copyAndExtend);
    copyAndExtend();
    other.join();
    original.insert(19);
    EXPECT_EQ(original.last(), 19);
}

TEST(IndexSet, AsksAndRemovesWhatItCannotHold)
{
    IndexSet set{0, 1};
    EXPECT_FALSE(set.contains(-1));
    EXPECT_FALSE(set.contains(std::numeric_limits<Int>::max()));
    set.remove(-1);
    set.remove(std::numeric_limits<Int>::max());
    set.removeRange(-5, 0);
    EXPECT_EQ(set.countInRange(-5, std::numeric_limits<Int>::max()), 2);
    EXPECT_THAT(set, ElementsAre(0, 1));
}

TEST(IndexSet, MatchesAnOrderedSetOverRandomOperations)
{
    std::mt19937_64 random(20);
    const auto below = [&](Int bound) {
        return static_cast<Int>(random() % static_cast<std::uint64_t>(bound));
    };
    for (const Int universe : {6, 40, 400}) {
        IndexSet set;
        std::set<Int> model;
        IndexSet other;
        std::set<Int> otherModel;
        for (int step = 0; step < 20000; ++step) {
            const Int index = below(universe);
            const Int upper = index + below(universe / 3);
            switch (below(9)) {
            case 0:
            case 1:
                set.insert(index);
                model.insert(index);
                break;
            case 2:
                set.remove(index);
                model.erase(index);
                break;
            case 3:
                set.toggle(index);
                if (!model.erase(index))
                    model.insert(index);
                break;
            case 4:
                set.insertRange(index, upper);
                for (Int i = index; i < upper; ++i)
                    model.insert(i);
                break;
            case 5:
                set.removeRange(index, upper);
                model.erase(model.lower_bound(index), model.lower_bound(upper));
                break;
            case 6: // from here on `set` may share its runs with `other`
                other = set;
                otherModel = model;
                break;
            case 7:
                std::swap(set, other);
                std::swap(model, otherModel);
                break;
            default: {
                std::vector<Int> both, either, only, shifted;
                std::ranges::set_intersection(model, otherModel, std::back_inserter(both));
                std::ranges::set_union(model, otherModel, std::back_inserter(either));
                std::ranges::set_difference(model, otherModel, std::back_inserter(only));
                for (const Int i : only)
                    shifted.push_back(i - std::distance(otherModel.begin(), otherModel.lower_bound(i)));
                const IndexSet results[] = {set.intersection(other), set.union_(other),
                                            set.subtracting(other), set.shiftedByRemoving(other)};
                for (const IndexSet& result : results)
                    ASSERT_NO_FATAL_FAILURE(expectSound(result));
                ASSERT_EQ(membersOf(results[0]), both);
                ASSERT_EQ(membersOf(results[1]), either);
                ASSERT_EQ(membersOf(results[2]), only);
                ASSERT_EQ(membersOf(results[3]), shifted);
            }
            }
            ASSERT_NO_FATAL_FAILURE(expectSound(set));
            ASSERT_TRUE(std::equal(set.begin(), set.end(), model.begin(), model.end()));
            ASSERT_TRUE(std::equal(set.rbegin(), set.rend(), model.rbegin(), model.rend()));
            ASSERT_EQ(set.first(), model.empty() ? std::nullopt : std::optional(*model.begin()));
            ASSERT_EQ(set.last(), model.empty() ? std::nullopt : std::optional(*model.rbegin()));
            ASSERT_EQ(set.contains(index), model.contains(index));
            ASSERT_EQ(set.countInRange(index, upper),
                      std::distance(model.lower_bound(index), model.lower_bound(upper)));
            ASSERT_EQ(set == other, model == otherModel);
            ASSERT_EQ(IndexSet::fromIndexes(std::vector<Int>(model.rbegin(), model.rend())), set);
        }
    }
}

} // namespace
} // namespace corvane
