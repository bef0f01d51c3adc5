// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Collections/IndexSet.h>
#include <corvane/ItemsManager/ItemsManagerAction.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Notification.h>

namespace corvane::detail {

/// An update of an items manager on its way, by reference: what nobody observes is never put together. The
/// names and order are those of `ItemsManagerInfo`.
struct ItemsManagerUpdate {
    ItemsManagerAction updateAction;
    const IndexSet* oldSelection = nullptr;
    const IndexSet* newSelection = nullptr;
    const IndexSet* insertedIndexes = nullptr;
    const IndexSet* removedIndexes = nullptr;
    const IndexSet* movedFromIndexes = nullptr;
    const IndexSet* movedToIndexes = nullptr;

    [[nodiscard]] CORVANE_API UserInfo userInfo() const;
};

// The programmer's mistakes that an items manager can be the first to see.
[[noreturn]] CORVANE_API void failNestedChange();
[[noreturn]] CORVANE_API void failItemIndex(Int index, Int count);
[[noreturn]] CORVANE_API void failInsertion(Int index, Int count);
[[noreturn]] CORVANE_API void failRelations(Int index, Int count);
/// `index + step`, or `index - step`; overflow stops the process.
CORVANE_API Int steppedForward(Int index, Int step);
CORVANE_API Int steppedBack(Int index, Int step);

} // namespace corvane::detail
