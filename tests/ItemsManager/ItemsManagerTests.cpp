// SPDX-License-Identifier: Apache-2.0
#include "Support/ItemsManagerModel.h"
#include <corvane/ItemsManager/ItemsManager.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
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

struct Change {
    const char* items;
    IndexSet selected;
    std::function<void(Manager&)> change;
    const char* itemsAfter;
    IndexSet selectedAfter;
    std::map<std::string, tests::Positions> says = {}; // some of what the did-notification carries
};

void expectChange(const Change& row, bool automaticSelection = true)
{
    Manager manager(letters(row.items));
    manager.setSelection(row.selected);
    manager.enableAutomaticSelection = automaticSelection;
    const auto update = updateOf(manager, [&] { row.change(manager); });
    EXPECT_EQ(textOf(manager), row.itemsAfter);
    EXPECT_EQ(manager.selection(), row.selectedAfter);
    // Whatever changes is announced, and nothing else.
    EXPECT_EQ(update.has_value(), textOf(manager) != row.items || manager.selection() != row.selected);
    for (const auto& [key, positions] : row.says)
        EXPECT_EQ(update->sets.at(key), positions) << key;
}

const auto selecting = [](IndexSet set) { return [=](Manager& manager) { manager.setSelection(set); }; };
const auto inserting = [](const char* text, Int at) {
    return [=](Manager& manager) { manager.insert(letters(text), at); };
};
const auto removing = [](IndexSet set) { return [=](Manager& manager) { manager.remove(set); }; };
const auto moving = [](IndexSet from, Int to) { return [=](Manager& manager) { manager.move(from, to); }; };
const auto stepping = [](void (Manager::*select)(Int), Int by) {
    return [=](Manager& manager) { (manager.*select)(by); };
};

TEST(ItemsManager, ChangesItemsAndSelection)
{
    constexpr auto next = &Manager::selectNext, previous = &Manager::selectPrevious;
    const Change rows[] = {
        {"abc", {}, selecting({}), "abc", {}},
        {"abc", {}, selecting({0, 3}), "abc", {0, 3}}, // one past the end
        {"abc", {0, 3}, selecting({0, 3}), "abc", {0, 3}},
        {"abc", {0, 3}, selecting({4}), "abc", {0, 3}},
        {"abcd", {1}, &Manager::selectAll, "abcd", {0, 1, 2, 3}},
        {"abcd", {1}, &Manager::deselectAll, "abcd", {}},
        {"", {}, &Manager::selectFirst, "", {}},
        {"abcd", {1}, stepping(next, 3), "abcd", {3}},
        {"abcd", {2}, stepping(previous, 5), "abcd", {0}},
        {"abcd", {0, 2}, stepping(next, 1), "abcd", {3}},
        {"abcd", {1, 3}, stepping(previous, 1), "abcd", {0}},
        {"abcd", {}, stepping(next, 1), "abcd", {}},
        {"abcd", {1}, stepping(next, -5), "abcd", {1}},     // below zero: refused
        {"abcd", {1}, stepping(previous, -3), "abcd", {4}}, // one past the end
        {"abcd", {1}, stepping(previous, -4), "abcd", {1}},
        {"", {0}, stepping(next, 1), "", {0}}, // one past the end of nothing; the last item would be -1
        {"abcd", {1, 2}, inserting("xy", 1), "axybcd", {1}, {{"InsertedIndexes", {1, 2}}}},
        {"abcd", {1, 2}, inserting("", 1), "abcd", {1, 2}},
        {"abcde", {3, 4}, removing({1, 2}), "ade", {1, 2}, {{"RemovedIndexes", {1, 2}}}},
        {"abcde", {3}, removing({3, 4}), "abc", {2}},
        {"abcde", {1}, removing({1}), "acde", {1}}, // what slid into its place
        {"abcde", {}, removing({0}), "bcde", {0}},
        {"abcde", {0, 4}, removing({0}), "bcde", {3}},
        {"abcde", {2}, &Manager::removeAll, "", {}},
        {"abcde", {5}, removing({0}), "bcde", {4}}, // one past the end stays that
        {"", {}, &Manager::removeAll, "", {}},
        {"", {}, removing({7}), "", {}}, // nothing to remove from
        {"abcd", {}, moving({0}, 3), "bcad", {2}, {{"MovedFromIndexes", {0}}, {"MovedToIndexes", {2}}}},
        {"bcad", {2}, [](Manager& manager) { manager.moveSelected(0); }, "abcd", {0}},
        {"abcd", {}, [](Manager& manager) { manager.moveSelected(0); }, "abcd", {}},
        {"cab", {0}, [](Manager& manager) { manager.sort(std::less<>()); }, "abc", {2}},
        {"", {}, [](Manager& manager) { manager.sort(std::less<>()), manager.reverseOrder(); }, "", {}},
        {"abc", {2}, &Manager::reverseOrder, "cba", {0}},
    };
    for (const Change& row : rows) {
        SCOPED_TRACE(&row - rows);
        expectChange(row);
    }
    const Change withoutAutomaticSelection[] = {
        {"abcd", {0}, inserting("z", 4), "abcdz", {}},
        {"abcde", {1}, &Manager::removeSelected, "acde", {}},
        {"abcd", {}, moving({0}, 3), "bcad", {2}, {{"NewSelection", {2}}}},
    };
    for (const Change& row : withoutAutomaticSelection) {
        SCOPED_TRACE(row.itemsAfter);
        expectChange(row, false);
    }
    Manager manager(letters("ba"));
    EXPECT_EQ(updateOf(manager, [&] { manager.sort(std::less<>()); })->action, ItemsManagerAction::sort);
    EXPECT_EQ(updateOf(manager, [&] { manager.reverseOrder(); })->action, ItemsManagerAction::sort);
}

TEST(ItemsManager, SelectsNothingWhenWhatIsInsertedIsHidden)
{
    Manager manager(letters("abcd"));
    manager.setSelection({0});
    manager.setFilteringBlock([](char c) { return c < 'x'; });
    const auto hidden = updateOf(manager, [&] { manager.insert(letters("yz"), 1); });
    EXPECT_THAT(hidden->sets.at("InsertedIndexes"), ElementsAre());
    EXPECT_THAT(hidden->sets.at("NewSelection"), ElementsAre());
    EXPECT_EQ(textOf(manager), "abcd");
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
