// SPDX-License-Identifier: Apache-2.0
#include "Support/ItemsManagerModel.h"
#include <corvane/ItemsManager/ItemsManagerOperations.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>

namespace corvane {
namespace {

using tests::Positions;

struct Item {
    int value;
    std::string serial; // now and then on the heap, so that a sanitizer sees an item used after its end

    friend bool operator==(const Item&, const Item&) = default;
};

using Order = std::function<bool(const Item&, const Item&)>;

// Drives a manager and its model through the same random operations and compares them after each.
class Twins {
public:
    Twins(std::uint64_t seed, bool observed) : random_(seed)
    {
        const std::vector<Item> items = newItems(below(9));
        manager_.emplace(items);
        model_.rawItems = items;
        if (observed)
            recorder_.emplace(*manager_);
    }

    void step()
    {
        model_.posted.clear();
        if (recorder_)
            recorder_->posted.clear();
        operate();
        compare();
    }

private:
    Int below(Int bound) { return static_cast<Int>(random_() % static_cast<std::uint64_t>(bound)); }
    Int count() const { return model_.count(); }

    std::vector<Item> newItems(Int howMany)
    {
        std::vector<Item> items;
        for (; howMany > 0; --howMany) {
            const int serial = serial_++;
            items.push_back({static_cast<int>(below(6)),
                             std::string(serial % 8 == 0 ? 20 : 0, '#') + std::to_string(serial)});
        }
        return items;
    }

    // Sparse, dense, all or a run of the positions below `bound`.
    Positions positions(Int bound)
    {
        Positions result;
        const Int kind = below(5);
        const Int from = below(bound + 1), to = from + below(bound + 1 - from);
        for (Int i = 0; i < bound; ++i)
            if (kind == 0 ? below(8) == 0 : kind == 1 ? below(3) > 0 : kind == 2 || (i >= from && i < to))
                result.insert(i);
        return result;
    }

    static IndexSet toSet(const Positions& positions)
    {
        return IndexSet::fromIndexes(std::vector<Int>(positions.begin(), positions.end()));
    }

    Positions allPositions() const
    {
        Positions all;
        for (Int i = 0; i < count(); ++i)
            all.insert(i);
        return all;
    }

    std::function<bool(const Item&)> filter()
    {
        switch (below(6)) {
        case 0:
            return nullptr;
        case 1:
            return [](const Item&) { return false; };
        case 2:
            return [](const Item&) { return true; };
        default:
            return [kept = below(64)](const Item& item) { return (kept >> item.value & 1) != 0; };
        }
    }

    // Total orders, so that the outcome does not depend on how one sorts.
    Order order()
    {
        if (below(2) == 0)
            return [](const Item& a, const Item& b) {
                return std::tie(a.value, a.serial) < std::tie(b.value, b.serial);
            };
        return [](const Item& a, const Item& b) { return a.serial > b.serial; };
    }

    // Whether an operation may be done that would stop at one past the last item.
    bool selectionIsInside() const
    {
        return model_.rawSelection.empty() || *model_.rawSelection.rbegin() < count();
    }

    void operate()
    {
        switch (count() > 60 ? 3 : below(30)) {
        case 0:
        case 1:
        case 2: {
            const Int at = below(count() + 1);
            const auto items = newItems(below(5));
            manager_->insert(items, at);
            return model_.insert(items, at);
        }
        case 3:
        case 4: {
            const Positions at = positions(count());
            manager_->remove(toSet(at));
            return model_.remove(at);
        }
        case 5:
            if (!selectionIsInside())
                return;
            manager_->removeSelected();
            return model_.remove(Positions(model_.rawSelection));
        case 6:
            if (below(8) != 0)
                return;
            manager_->removeAll();
            return model_.remove(allPositions());
        case 7: {
            const auto items = newItems(below(4));
            manager_->append(items);
            return model_.insert(items, count());
        }
        case 8:
        case 9:
        case 10:
        case 11: {
            const Positions candidate = positions(count() + below(4)); // up to two beyond what is accepted
            manager_->setSelection(toSet(candidate));
            return model_.setSelection(candidate);
        }
        case 12:
            manager_->enableAutomaticSelection = model_.enableAutomaticSelection = below(3) > 0;
            return;
        case 13:
        case 14:
        case 15:
        case 16: {
            const auto block = filter();
            manager_->setFilteringBlock(block);
            return model_.setFilteringBlock(block);
        }
        case 17:
            if (const auto block = filter(); block && below(3) == 0) {
                manager_->applyFilteringBlock(block);
                model_.applyFilteringBlock(block);
            }
            return;
        case 18:
        case 19:
        case 20: {
            const Positions from = positions(count());
            const Int to = below(count() + 1);
            manager_->move(toSet(from), to);
            return model_.move(from, to);
        }
        case 21: {
            if (!selectionIsInside())
                return;
            const Int to = below(count() + 1);
            manager_->moveSelected(to);
            return model_.move(Positions(model_.rawSelection), to);
        }
        case 22:
        case 23: {
            const Order by = order();
            manager_->sort(by);
            return model_.sort(by);
        }
        case 24:
            return sortPerhapsFailing();
        case 25:
            if (!selectionIsInside())
                return;
            manager_->reverseOrder();
            return model_.reverseOrder();
        case 26:
            manager_->selectFirst();
            if (count() > 0)
                model_.setSelection({0});
            return;
        case 27: {
            const Int step = below(4) - 1;
            manager_->selectPrevious(step);
            if (!model_.rawSelection.empty())
                model_.setSelection({std::max<Int>(*model_.rawSelection.begin() - step, 0)});
            return;
        }
        case 28: {
            const Int step = below(4) - 1;
            manager_->selectNext(step);
            if (!model_.rawSelection.empty())
                model_.setSelection({std::min(*model_.rawSelection.rbegin() + step, count() - 1)});
            return;
        }
        default:
            if (below(2) == 0) {
                manager_->selectAll();
                return model_.setSelection(allPositions());
            }
            manager_->deselectAll();
            return model_.setSelection({});
        }
    }

    // Only observed: what was posted tells whether the visible or the full list was being sorted.
    void sortPerhapsFailing()
    {
        if (!recorder_)
            return;
        const Order by = order();
        Int left = below(150);
        try {
            manager_->sort([&](const Item& a, const Item& b) {
                if (left-- == 0)
                    throw std::runtime_error("cannot compare");
                return by(a, b);
            });
            model_.sort(by);
        } catch (const std::runtime_error&) {
            if (recorder_->posted.empty())
                return; // and nothing has changed
            model_.sort(by, true);
            const auto& full = ItemsManagerInspector::backupItems(*manager_);
            ASSERT_TRUE(std::ranges::is_permutation(full, model_.backupItems));
            model_.backupItems = full;
        }
    }

    void compare()
    {
        ASSERT_EQ(manager_->items(), model_.rawItems);
        ASSERT_EQ(tests::positionsOf(manager_->selection()), model_.rawSelection);
        ASSERT_EQ(ItemsManagerInspector::backupItems(*manager_), model_.backupItems);
        const FilterRelations& relations = ItemsManagerInspector::relations(*manager_);
        ASSERT_EQ(relations.count(), static_cast<Int>(model_.relations.size()));
        for (const auto& [visible, full] : model_.relations)
            ASSERT_EQ(relations.find(visible), full);
        ASSERT_EQ(static_cast<bool>(manager_->filteringBlock()), static_cast<bool>(model_.filteringBlock));
        if (recorder_) {
            ASSERT_EQ(recorder_->posted, model_.posted);
        }
    }

    std::mt19937_64 random_;
    int serial_ = 0;
    std::optional<ItemsManager<Item>> manager_;
    tests::ItemsManagerModel<Item> model_;
    std::optional<tests::NotificationRecorder<Item>> recorder_;
};

// CORVANE_MODEL_STEPS=10000000 for the long run.
TEST(ItemsManagerOperations, MatchTheLiteralModelOverRandomSequences)
{
    const char* wanted = std::getenv("CORVANE_MODEL_STEPS");
    const long steps = wanted ? std::atol(wanted) : 150000;
    constexpr long stepsPerPair = 500;
    for (long done = 0; done < steps; done += stepsPerPair) {
        const auto seed = static_cast<std::uint64_t>(done / stepsPerPair);
        Twins twins(seed, seed % 4 != 3);
        for (long step = 0; step < stepsPerPair; ++step) {
            twins.step();
            ASSERT_FALSE(::testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
    }
}

// Every call of the predicate at which it can throw, with and without an observer, of items that only move and
// of plain ones.
template <typename T, typename Make>
void expectSoundAfterAnyThrow(Make make, int fullCount, int visibleCount)
{
    for (const bool observed : {false, true}) {
        bool finished = false;
        bool failedInFullList = false;
        for (int allowed = 0; !finished; ++allowed) {
            std::vector<T> items, expected;
            for (int i = 0; i < fullCount; ++i) {
                items.push_back(make(i * 7919 % fullCount));
                expected.push_back(make(i * 7919 % fullCount));
            }
            ItemsManager<T> manager(std::move(items));
            if constexpr (std::copy_constructible<T>)
                if (visibleCount < fullCount)
                    manager.setFilteringBlock([&](const T& item) { return item < make(visibleCount); });
            std::erase_if(expected, [&](const T& item) { return !(item < make(visibleCount)); });
            manager.setSelection({1, 3, 4});
            const auto selectedBefore = manager.selection();
            int wills = 0, dids = 0;
            auto& center = NotificationCenter::defaultCenter();
            std::shared_ptr<NotificationObserver> tokens[2];
            if (observed) {
                tokens[0] = center.addObserver(manager.willUpdateContentNotification, &manager,
                                               [&](const Notification&) {
                                                   ++wills;
                                                   EXPECT_EQ(manager.items(), expected) << "sorted too early";
                                               });
                tokens[1] = center.addObserver(manager.didUpdateContentNotification, &manager,
                                               [&](const Notification&) { ++dids; });
            }
            int left = allowed;
            const auto less = [&](const T& a, const T& b) {
                if (left-- == 0)
                    throw std::runtime_error("cannot compare");
                return a < b;
            };
            try {
                manager.sort(less);
                finished = true;
            } catch (const std::runtime_error&) {
            }
            for (const auto& token : tokens)
                center.removeObserver(token);
            const bool visibleIsSorted = std::ranges::is_sorted(manager.items());
            if (finished || visibleIsSorted) {
                EXPECT_TRUE(visibleIsSorted);
                EXPECT_EQ(wills, observed);
                EXPECT_EQ(dids, observed && finished);
                failedInFullList |= !finished;
                // The same three items are selected, wherever they stand now.
                Positions ranks;
                for (const Int s : selectedBefore)
                    ranks.insert(std::ranges::count_if(expected, [&](const T& item) {
                        return item < expected[static_cast<std::size_t>(s)];
                    }));
                EXPECT_EQ(tests::positionsOf(manager.selection()), ranks);
            } else {
                EXPECT_EQ(manager.items(), expected) << "thrown at call " << allowed;
                EXPECT_EQ(manager.selection(), selectedBefore);
                EXPECT_EQ(wills + dids, 0);
            }
            const auto& full = ItemsManagerInspector::backupItems(manager);
            EXPECT_EQ(full.size(), visibleCount < fullCount ? static_cast<std::size_t>(fullCount) : 0U);
            for (std::size_t i = 0; i < full.size(); ++i)
                EXPECT_EQ(std::ranges::count(full, make(static_cast<int>(i))), 1) << "an item was lost";
        }
        EXPECT_EQ(failedInFullList, visibleCount < fullCount);
    }
}

// Moves only, and compares by what it owns.
struct Owned {
    std::unique_ptr<int> value;

    friend bool operator==(const Owned& a, const Owned& b) { return *a.value == *b.value; }
    friend auto operator<=>(const Owned& a, const Owned& b) { return *a.value <=> *b.value; }
};

TEST(ItemsManagerOperations, ChangeNothingWhenAPredicateThrows)
{
    const auto number = [](int i) { return i; };
    const auto text = [](int i) { return std::string(20, 'a') + static_cast<char>('0' + i); };
    const auto owned = [](int i) { return Owned{std::make_unique<int>(i)}; };
    expectSoundAfterAnyThrow<int>(number, 40, 40);
    expectSoundAfterAnyThrow<int>(number, 45, 25);
    expectSoundAfterAnyThrow<std::string>(text, 33, 33);
    expectSoundAfterAnyThrow<std::string>(text, 33, 20);
    expectSoundAfterAnyThrow<Owned>(owned, 150, 150);
}

} // namespace
} // namespace corvane
