// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/ItemsManager.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <utility>

namespace corvane {
namespace {

using Manager = ItemsManager<int>;

// Observes the will-notification for as long as it lives.
class WillObserver {
public:
    WillObserver(const Manager& manager, NotificationCenter::Handler handler)
        : token_(NotificationCenter::defaultCenter().addObserver(Manager::willUpdateContentNotification,
                                                                 &manager, std::move(handler)))
    {}
    WillObserver(const WillObserver&) = delete;
    WillObserver& operator=(const WillObserver&) = delete;
    ~WillObserver() { NotificationCenter::defaultCenter().removeObserver(token_); }

private:
    std::shared_ptr<NotificationObserver> token_;
};

TEST(ItemsManagerDeathTest, RefusesPositionsOutOfRangeAfterTheWillNotification)
{
    Manager manager({1, 2, 3});
    // Says on standard error that the notification came before the end.
    const WillObserver observer(manager, [](const Notification&) { std::fputs("will; ", stderr); });
    EXPECT_DEATH(manager.insert({4}, 4),
                 "will; Fatal error: insert: position 4 is out of range in a list of 3");
    EXPECT_DEATH(manager.remove({1, 3}),
                 "will; Fatal error: remove: index 3 is out of range in an array of 3");
    EXPECT_DEATH(manager.move({3}, 0), "will; Fatal error: move: index 3 is out of range in an array of 3");
    EXPECT_DEATH(manager.move({0}, 4),
                 "will; Fatal error: move: destination 4 is out of range for 1 of the ele");
    EXPECT_DEATH(manager.insert({4}, -1), "An IndexSet cannot hold -1");
    manager.enableAutomaticSelection = false;
    EXPECT_DEATH(manager.insert({4}, std::numeric_limits<Int>::max()),
                 "The range of 1 indexes at 9223372036854775807 overflows");
}

TEST(ItemsManagerDeathTest, StopsAtTheSelectedPositionOnePastTheLastItem)
{
    Manager manager({1, 2, 3});
    manager.setSelection({3});
    EXPECT_DEATH((void)manager.firstSelectedItem(), "The selected position 3 has no item in a list of 3");
    EXPECT_DEATH((void)manager.lastSelectedItem(), "The selected position 3 has no item in a list of 3");
    EXPECT_DEATH((void)manager.singleSelectedItem(), "The selected position 3 has no item in a list of 3");
    EXPECT_DEATH((void)manager.selected(), "elements: index 3 is out of range in an array of 3");
    EXPECT_DEATH(manager.reverseOrder(), "An IndexSet cannot hold -1: its members are not negative");
    EXPECT_DEATH(manager.removeSelected(), "remove: index 3 is out of range in an array of 3");
}

TEST(ItemsManagerDeathTest, RefusesStepsThatOverflow)
{
    Manager manager({1, 2, 3});
    manager.setSelection({1});
    const Int largest = std::numeric_limits<Int>::max(), least = std::numeric_limits<Int>::min();
    EXPECT_DEATH(manager.selectNext(largest), "The position 9223372036854775807 behind 1 overflows");
    EXPECT_DEATH((void)manager.canSelectNext(largest), "The position 9223372036854775807 behind 1 overflows");
    EXPECT_DEATH(manager.selectPrevious(least), "The position -9223372036854775808 before 1 overflows");
    EXPECT_DEATH((void)manager.canSelectPrevious(least),
                 "The position -9223372036854775808 before 1 overflows");
}

TEST(ItemsManagerDeathTest, RefusesChangesFromTheWillNotificationAndFromBlocks)
{
    Manager manager({3, 1, 2});
    const char* const sentence = "cannot be changed by an observer of its will-notification";
    EXPECT_DEATH(manager.setFilteringBlock([&](int) { return manager.removeAll(), true; }), sentence);
    EXPECT_DEATH(
        manager.sort([&](int a, int b) { return manager.deselectAll(), manager.selectFirst(), a < b; }),
        sentence);
    const WillObserver observer(manager, [&](const Notification&) { manager.selectFirst(); });
    EXPECT_DEATH(manager.append({4}), sentence);
    EXPECT_DEATH(manager.remove({0}), sentence);
    EXPECT_DEATH(manager.setSelection({2}), sentence);
    EXPECT_DEATH(manager.move({0}, 2), sentence);
    EXPECT_DEATH(manager.reverseOrder(), sentence);
}

TEST(ItemsManagerDeathTest, StopsAtAnItemThatEqualsNothing)
{
    ItemsManager<double> manager({1, 2, 3});
    manager.setFilteringBlock([](double) { return true; });
    EXPECT_DEATH(manager.insert({std::nan("")}, 1),
                 "The item at 1 of 4 does not equal itself: it cannot be found again");
}

} // namespace
} // namespace corvane
