// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/ItemsManagerInfo.h>
#include <corvane/ItemsManager/ItemsManagerKey.h>

#include <gtest/gtest.h>

#include <unordered_set>

namespace corvane {
namespace {

const NotificationName name("ItemsManagerInfoTests");

Notification noteWith(UserInfo info)
{
    return Notification(name, nullptr, std::make_shared<const UserInfo>(std::move(info)));
}

TEST(ItemsManagerAction, CountsAsEditingWhatChangesTheVisibleItems)
{
    using enum ItemsManagerAction;
    const ItemsManagerAction all[] = {insert, remove, select, move, sort, filter};
    const bool editing[] = {true, true, false, false, false, true};
    for (int code = 0; code < 6; ++code) {
        EXPECT_EQ(static_cast<int>(all[code]), code);
        EXPECT_EQ(isEditing(all[code]), editing[code]);
    }
}

TEST(ItemsManagerKey, IsItsRawValue)
{
    const std::pair<ItemsManagerKey, const char*> rows[] = {
        {ItemsManagerKey::updateAction, "UpdateAction"},
        {ItemsManagerKey::oldSelection, "OldSelection"},
        {ItemsManagerKey::newSelection, "NewSelection"},
        {ItemsManagerKey::insertedIndexes, "InsertedIndexes"},
        {ItemsManagerKey::removedIndexes, "RemovedIndexes"},
        {ItemsManagerKey::movedFromIndexes, "MovedFromIndexes"},
        {ItemsManagerKey::movedToIndexes, "MovedToIndexes"},
    };
    std::unordered_set<ItemsManagerKey> keys;
    for (const auto& [key, rawValue] : rows) {
        EXPECT_EQ(key.rawValue, rawValue);
        EXPECT_EQ(key, ItemsManagerKey(rawValue));
        keys.insert(key);
    }
    EXPECT_EQ(keys.size(), 7U);
    EXPECT_TRUE(keys.contains(ItemsManagerKey::fromRawValue("OldSelection")));
}

TEST(ItemsManagerInfo, ReadsWhatANotificationCarries)
{
    ItemsManagerInfo full;
    full.updateAction = ItemsManagerAction::move;
    full.oldSelection = IndexSet{1};
    full.newSelection = IndexSet{2};
    full.insertedIndexes = IndexSet{3};
    full.removedIndexes = IndexSet{4};
    full.movedFromIndexes = IndexSet{5};
    full.movedToIndexes = IndexSet{6, 7};
    EXPECT_EQ(ItemsManagerInfo(noteWith(full.userInfo())), full);

    ItemsManagerInfo some;
    some.removedIndexes = IndexSet{};
    EXPECT_EQ(ItemsManagerInfo(noteWith(some.userInfo())), some);

    EXPECT_EQ(ItemsManagerInfo(Notification(name, nullptr)), ItemsManagerInfo());
}

TEST(ItemsManagerInfo, LeavesOutWhatHasAnotherType)
{
    const ItemsManagerInfo info(noteWith({{"UpdateAction", 3},
                                          {"OldSelection", ItemsManagerAction::move},
                                          {"NewSelection", IndexSet{8}},
                                          {"RemovedIndexes", std::string("8")}}));
    ItemsManagerInfo expected;
    expected.newSelection = IndexSet{8};
    EXPECT_EQ(info, expected);
}

} // namespace
} // namespace corvane
