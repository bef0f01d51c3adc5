// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/ItemsManagerInfo.h>
#include <corvane/ItemsManager/ItemsManagerUpdate.h>
#include <corvane/Platform/Base/Fatal.h>

#include <string>

namespace corvane::detail {

UserInfo ItemsManagerUpdate::userInfo() const
{
    const auto copy = [](const IndexSet* set) { return set ? std::optional(*set) : std::nullopt; };
    ItemsManagerInfo info;
    info.updateAction = updateAction;
    info.oldSelection = copy(oldSelection);
    info.newSelection = copy(newSelection);
    info.insertedIndexes = copy(insertedIndexes);
    info.removedIndexes = copy(removedIndexes);
    info.movedFromIndexes = copy(movedFromIndexes);
    info.movedToIndexes = copy(movedToIndexes);
    return info.userInfo();
}

void failNestedChange()
{
    fatalError("An ItemsManager cannot be changed by an observer of its will-notification, nor by a block or "
               "predicate that it calls");
}

void failItemIndex(Int index, Int count)
{
    fatalError("The selected position " + std::to_string(index) + " has no item in a list of " +
               std::to_string(count));
}

void failInsertion(Int index, Int count)
{
    fatalError("insert: position " + std::to_string(index) + " is out of range in a list of " +
               std::to_string(count));
}

void failRelations(Int index, Int count)
{
    fatalError("The item at " + std::to_string(index) + " of " + std::to_string(count) +
               " does not equal itself: it cannot be found again in the filtered list");
}

Int steppedForward(Int index, Int step)
{
    Int result = 0;
    if (__builtin_add_overflow(index, step, &result)) [[unlikely]]
        fatalError("The position " + std::to_string(step) + " behind " + std::to_string(index) +
                   " overflows");
    return result;
}

Int steppedBack(Int index, Int step)
{
    Int result = 0;
    if (__builtin_sub_overflow(index, step, &result)) [[unlikely]]
        fatalError("The position " + std::to_string(step) + " before " + std::to_string(index) +
                   " overflows");
    return result;
}

} // namespace corvane::detail
