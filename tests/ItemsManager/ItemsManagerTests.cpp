// SPDX-License-Identifier: Apache-2.0
#include "Support/ItemsManagerModel.h"
#include <corvane/ItemsManager/ItemsManager.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::Pointee;

using Manager = ItemsManager<char>;

std::vector<char> letters(std::string_view text)
{
    return {text.begin(), text.end()};
}
std::string textOf(const Manager& manager)
{
    return {manager.items().begin(), manager.items().end()};
}

// The did-notification of the one update that `operation` makes, after a check of the will-notification.
template <typename Operation>
std::optional<tests::Posted<char>> updateOf(Manager& manager, Operation&& operation)
{
    tests::NotificationRecorder<char> recorder(manager);
    operation();
    if (recorder.posted.empty())
        return std::nullopt;
    EXPECT_EQ(recorder.posted.size(), 2U);
    const auto& [will, did] = std::tie(recorder.posted.front(), recorder.posted.back());
    EXPECT_TRUE(!will.isDid && did.isDid && will.action == did.action);
    return did;
}

TEST(ItemsManager, AcceptsOnePastTheEndAsSelection)
{
    Manager manager(letters("abc"));
    EXPECT_FALSE(updateOf(manager, [&] { manager.setSelection({}); }));
    EXPECT_TRUE(updateOf(manager, [&] { manager.setSelection({0, 3}); }));
    EXPECT_FALSE(updateOf(manager, [&] { manager.setSelection({0, 3}); }));
    EXPECT_FALSE(updateOf(manager, [&] { manager.setSelection({4}); }));
    EXPECT_THAT(manager.selection(), ElementsAre(0, 3));
}

TEST(ItemsManager, SelectsTheFirstInsertedItemIfAnyIsVisible)
{
    Manager manager(letters("abcd"));
    manager.setSelection({1, 2});
    const auto update = updateOf(manager, [&] { manager.insert(letters("xy"), 1); });
    EXPECT_EQ(update->sets.at("InsertedIndexes"), (tests::Positions{1, 2}));
    EXPECT_EQ(textOf(manager), "axybcd");
    EXPECT_THAT(manager.selection(), ElementsAre(1));
    EXPECT_FALSE(updateOf(manager, [&] { manager.append({}); }));

    manager.enableAutomaticSelection = false;
    manager.append(letters("z"));
    EXPECT_THAT(manager.selection(), ElementsAre());

    manager.enableAutomaticSelection = true;
    manager.setSelection({0});
    manager.setFilteringBlock([](char c) { return c < 'x'; });
    const auto hidden = updateOf(manager, [&] { manager.insert(letters("yz"), 1); });
    EXPECT_THAT(hidden->sets.at("InsertedIndexes"), ElementsAre());
    EXPECT_THAT(hidden->sets.at("NewSelection"), ElementsAre());
    EXPECT_EQ(textOf(manager), "abcd");
}

TEST(ItemsManager, KeepsOrMovesTheSelectionOnRemoval)
{
    struct Row {
        IndexSet selected;
        IndexSet removed;
        IndexSet left;
    };
    for (const auto& [selected, removed, left] : {
             Row{{3, 4}, {1, 2}, {1, 2}}, Row{{3}, {3, 4}, {2}},
             Row{{1}, {1}, {1}}, // what slid into its place
             Row{{}, {0}, {0}}, Row{{0, 4}, {0}, {3}}, Row{{2}, {0, 1, 2, 3, 4}, {}},
             Row{{5}, {0}, {4}}, // one past the end stays that
         }) {
        Manager manager(letters("abcde"));
        manager.setSelection(selected);
        manager.remove(removed);
        EXPECT_EQ(manager.selection(), left);
    }
    Manager manager(letters("abcde"));
    manager.enableAutomaticSelection = false;
    manager.setSelection({1});
    manager.removeSelected();
    EXPECT_THAT(manager.selection(), ElementsAre());
    EXPECT_TRUE(updateOf(manager, [&] { manager.removeAll(); }));
    EXPECT_FALSE(updateOf(manager, [&] { manager.removeAll(); }));
    EXPECT_FALSE(updateOf(manager, [&] { manager.remove({7}); })); // nothing to remove from
}

TEST(ItemsManager, AnswersAboutTheSelection)
{
    Manager manager;
    EXPECT_TRUE(manager.isSelectionFull() && !manager.canSelectAll());
    EXPECT_FALSE(manager.canSelectPrevious() || manager.canSelectNext() || manager.canDeselectAll());
    EXPECT_EQ(manager.firstSelectedItem(), nullptr);

    manager.append(letters("abcd"));
    manager.setSelection({1, 2});
    EXPECT_TRUE(manager.canSelectPrevious() && manager.canSelectPrevious(1) && !manager.canSelectPrevious(2));
    EXPECT_TRUE(manager.canSelectNext() && !manager.canSelectNext(2));
    EXPECT_TRUE(manager.canSelectAll() && manager.canDeselectAll());
    EXPECT_FALSE(manager.isSelectionEmpty() || manager.isSelectionSingle() || manager.isSelectionFull());
    EXPECT_THAT(manager.firstSelectedItem(), Pointee('b'));
    EXPECT_THAT(manager.lastSelectedItem(), Pointee('c'));
    EXPECT_EQ(manager.singleSelectedItem(), nullptr);
    EXPECT_THAT(manager.selected(), ElementsAre('b', 'c'));
    manager.selectFirst();
    EXPECT_THAT(manager.singleSelectedItem(), Pointee('a'));
}

TEST(ItemsManager, StepsFromTheEndsOfTheSelection)
{
    Manager manager(letters("abcd"));
    const auto after = [&](IndexSet start, auto command) {
        manager.setSelection(std::move(start));
        command();
        return manager.selection();
    };
    EXPECT_THAT(after({1}, [&] { manager.selectNext(3); }), ElementsAre(3));
    EXPECT_THAT(after({2}, [&] { manager.selectPrevious(5); }), ElementsAre(0));
    EXPECT_THAT(after({0, 2}, [&] { manager.selectNext(); }), ElementsAre(3));
    EXPECT_THAT(after({1, 3}, [&] { manager.selectPrevious(); }), ElementsAre(0));
    EXPECT_THAT(after({}, [&] { manager.selectNext(); }), ElementsAre());
    EXPECT_THAT(after({1}, [&] { manager.selectNext(-5); }), ElementsAre(1));     // below zero: refused
    EXPECT_THAT(after({1}, [&] { manager.selectPrevious(-3); }), ElementsAre(4)); // one past the end
    EXPECT_THAT(after({1}, [&] { manager.selectPrevious(-4); }), ElementsAre(1));
    EXPECT_THAT(after({1}, [&] { manager.selectAll(); }), ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(after({1}, [&] { manager.deselectAll(); }), ElementsAre());

    Manager none;
    none.selectFirst();
    none.setSelection({0}); // one past the end of nothing
    none.selectNext();      // to the last item, which would be -1: refused
    EXPECT_THAT(none.selection(), ElementsAre(0));
}

TEST(ItemsManager, FiltersAndShowsAllAgain)
{
    Manager manager(letters("abcd"));
    manager.setSelection({1, 3});
    EXPECT_FALSE(updateOf(manager, [&] { manager.setFilteringBlock(nullptr); }));
    int asked = 0;
    manager.setFilteringBlock([&](char c) { return ++asked, c == 'b' || c == 'd'; });
    EXPECT_EQ(asked, 4);
    EXPECT_EQ(textOf(manager), "bd");
    EXPECT_THAT(manager.selection(), ElementsAre(0, 1));
    EXPECT_EQ(ItemsManagerInspector::relations(manager).find(1), 3);
    manager.setFilteringBlock(manager.filteringBlock()); // runs again, over the full list
    EXPECT_EQ(asked, 8);
    manager.setFilteringBlock(nullptr);
    EXPECT_EQ(textOf(manager), "abcd");
    EXPECT_THAT(manager.selection(), ElementsAre(1, 3));
    EXPECT_EQ(ItemsManagerInspector::relations(manager).find(1), 3); // stale, and kept

    const auto update = updateOf(manager, [&] { manager.setFilteringBlock([](char) { return false; }); });
    EXPECT_EQ(update->action, ItemsManagerAction::filter);
    EXPECT_THAT(update->sets.at("NewSelection"), ElementsAre());
    EXPECT_EQ(update->sets.at("OldSelection"), (tests::Positions{1, 3}));
    EXPECT_EQ(textOf(manager), "");
}

TEST(ItemsManager, TakesVisiblePositionsForFullOnesAfterAnEditUnderAFilter)
{
    Manager manager(letters("abcd"));
    manager.setFilteringBlock([](char c) { return c == 'b' || c == 'd'; });
    manager.remove({1}); // d, still found at its own place
    EXPECT_EQ(ItemsManagerInspector::relations(manager).find(0), 0);
    manager.remove({0}); // b; behind the filter a goes
    EXPECT_EQ(textOf(manager), "");
    manager.setFilteringBlock(nullptr);
    EXPECT_EQ(textOf(manager), "bc");
}

TEST(ItemsManager, FiltersDirectlyWithoutRecordingTheBlock)
{
    Manager manager(letters("abcd"));
    EXPECT_FALSE(updateOf(manager, [&] { manager.applyFilteringBlock([](char c) { return c > 'b'; }); }));
    EXPECT_EQ(textOf(manager), "cd");
    EXPECT_FALSE(manager.filteringBlock());
    EXPECT_FALSE(updateOf(manager, [&] { manager.setFilteringBlock(nullptr); })); // no filter to take off
    EXPECT_EQ(textOf(manager), "cd");
}

TEST(ItemsManager, KeepsASoundListWhenAFilterThrows)
{
    Manager manager(letters("abcd"));
    manager.setFilteringBlock([](char c) { return c != 'a'; });
    const auto failing = [](char c) { return c == 'c' ? throw std::runtime_error("c") : true; };
    EXPECT_THROW(manager.setFilteringBlock(failing), std::runtime_error);
    EXPECT_EQ(textOf(manager), "abcd");
    EXPECT_FALSE(manager.filteringBlock());
    EXPECT_THROW(manager.applyFilteringBlock(failing), std::runtime_error);
    EXPECT_EQ(textOf(manager), "abcd");
    manager.append(letters("e")); // not taken for a change within the change
    EXPECT_EQ(textOf(manager), "abcde");
}

TEST(ItemsManager, MovesAndSelectsWhatMoved)
{
    Manager manager(letters("abcd"));
    manager.enableAutomaticSelection = false;
    const auto update = updateOf(manager, [&] { manager.move({0}, 3); });
    EXPECT_EQ(textOf(manager), "bcad");
    EXPECT_EQ(update->sets.at("MovedFromIndexes"), (tests::Positions{0}));
    EXPECT_EQ(update->sets.at("MovedToIndexes"), (tests::Positions{2}));
    EXPECT_EQ(update->sets.at("NewSelection"), (tests::Positions{2}));
    manager.moveSelected(0);
    EXPECT_EQ(textOf(manager), "abcd");
    manager.deselectAll();
    EXPECT_FALSE(updateOf(manager, [&] { manager.moveSelected(0); }));
}

TEST(ItemsManager, SortsAndReversesWithTheSelection)
{
    Manager manager(letters("cab"));
    manager.setSelection({0});
    EXPECT_EQ(updateOf(manager, [&] { manager.sort(std::less<>()); })->action, ItemsManagerAction::sort);
    EXPECT_EQ(textOf(manager), "abc");
    EXPECT_THAT(manager.selection(), ElementsAre(2));
    const auto update = updateOf(manager, [&] { manager.reverseOrder(); });
    EXPECT_EQ(update->action, ItemsManagerAction::sort);
    EXPECT_EQ(textOf(manager), "cba");
    EXPECT_THAT(manager.selection(), ElementsAre(0));
    Manager none;
    EXPECT_FALSE(updateOf(none, [&] { none.sort(std::less<>()), none.reverseOrder(); }));
}

TEST(ItemsManager, MayBeChangedFromTheDidNotification)
{
    Manager manager(letters("abc"));
    std::vector<ItemsManagerAction> wills, dids;
    auto& center = NotificationCenter::defaultCenter();
    const auto action = [](const Notification& note) { return *ItemsManagerInfo(note).updateAction; };
    const auto will = center.addObserver(Manager::willUpdateContentNotification, &manager,
                                         [&](const Notification& note) { wills.push_back(action(note)); });
    const auto did =
        center.addObserver(Manager::didUpdateContentNotification, &manager, [&](const Notification& note) {
            dids.push_back(action(note));
            EXPECT_EQ(note.object<Manager>(), &manager);
            if (dids.back() == ItemsManagerAction::remove)
                manager.selectAll();
        });
    manager.remove({1});
    using enum ItemsManagerAction;
    EXPECT_THAT(wills, ElementsAre(remove, select));
    EXPECT_THAT(dids, ElementsAre(remove, select));
    EXPECT_THAT(manager.selection(), ElementsAre(0, 1));
    center.removeObserver(will);
    center.removeObserver(did);
}

TEST(ItemsManager, MayBeDestroyedFromTheDidNotification)
{
    auto manager = std::make_unique<Manager>(letters("abc"));
    const auto token = NotificationCenter::defaultCenter().addObserver(
        Manager::didUpdateContentNotification, manager.get(), [&](const Notification&) { manager.reset(); });
    manager->remove({0});
    EXPECT_EQ(manager, nullptr);
    NotificationCenter::defaultCenter().removeObserver(token);
}

TEST(ItemsManager, NeedsNoCopiesOfItsItems)
{
    // Counts its copies; of a million items the stated ones are expected and no other.
    struct Counted {
        int value = 0;
        int* copies = nullptr;
        Counted(int v, int* c) : value(v), copies(c) {}
        Counted(const Counted& other) : value(other.value), copies(other.copies) { ++*copies; }
        Counted(Counted&&) noexcept = default;
        Counted& operator=(const Counted& other)
        {
            value = other.value;
            copies = other.copies;
            ++*copies;
            return *this;
        }
        Counted& operator=(Counted&&) noexcept = default;
        ~Counted() = default;
        bool operator==(const Counted& other) const { return value == other.value; }
    };
    int copies = 0;
    const auto make = [&](int count) {
        std::vector<Counted> items;
        for (int i = 0; i < count; ++i)
            items.emplace_back(i, &copies);
        return items;
    };
    ItemsManager<Counted> manager(make(100));
    manager.insert(make(10), 50);
    manager.remove({3, 5, 60});
    manager.move({1, 2, 80}, 40);
    manager.sort([](const Counted& a, const Counted& b) { return a.value > b.value; });
    manager.reverseOrder();
    EXPECT_EQ(copies, 0);
    manager.setFilteringBlock([](const Counted& item) { return item.value < 20; });
    EXPECT_EQ(copies, static_cast<int>(manager.items().size())); // the visible items, beside the full list
    const int shown = copies;
    manager.append(make(30)); // 20 of them are shown
    EXPECT_EQ(copies, shown + 20);
    manager.move({0, 5}, 9);
    manager.remove({0, 1, 2});
    manager.setFilteringBlock(nullptr);
    EXPECT_EQ(copies, shown + 20);
}

} // namespace
} // namespace corvane
