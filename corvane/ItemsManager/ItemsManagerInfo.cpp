// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/ItemsManagerInfo.h>
#include <corvane/ItemsManager/ItemsManagerKey.h>

#include <utility>

namespace corvane {

namespace {

constexpr std::pair<std::optional<IndexSet> ItemsManagerInfo::*, const ItemsManagerKey*> sets[] = {
    {&ItemsManagerInfo::oldSelection, &ItemsManagerKey::oldSelection},
    {&ItemsManagerInfo::newSelection, &ItemsManagerKey::newSelection},
    {&ItemsManagerInfo::insertedIndexes, &ItemsManagerKey::insertedIndexes},
    {&ItemsManagerInfo::removedIndexes, &ItemsManagerKey::removedIndexes},
    {&ItemsManagerInfo::movedFromIndexes, &ItemsManagerKey::movedFromIndexes},
    {&ItemsManagerInfo::movedToIndexes, &ItemsManagerKey::movedToIndexes},
};

} // namespace

ItemsManagerInfo::ItemsManagerInfo(const Notification& note)
{
    if (const auto* action = note.value<ItemsManagerAction>(ItemsManagerKey::updateAction.rawValue))
        updateAction = *action;
    for (const auto& [field, key] : sets)
        if (const auto* set = note.value<IndexSet>(key->rawValue))
            this->*field = *set;
}

UserInfo ItemsManagerInfo::userInfo() const
{
    UserInfo info;
    if (updateAction)
        info.set(ItemsManagerKey::updateAction.rawValue, *updateAction);
    for (const auto& [field, key] : sets)
        if (const std::optional<IndexSet>& set = this->*field)
            info.set(key->rawValue, *set);
    return info;
}

} // namespace corvane
