// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Collections/IndexSet.h>
#include <corvane/ItemsManager/ItemsManagerAction.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Dispatch/Notification.h>

#include <optional>

namespace corvane {

/// What a notification of an `ItemsManager` tells of one update.
///
///     const ItemsManagerInfo info(note);
///     if (info.updateAction == ItemsManagerAction::remove)
///         list.removeRows(*info.removedIndexes);
///
/// Positions count visible items: removed ones and the old selection as before the update, the others as after
/// it. A field is absent when the notification does not carry it, or carries something else under its key.
/// A value; thread-compatible.
struct CORVANE_API ItemsManagerInfo {
    std::optional<ItemsManagerAction> updateAction;
    std::optional<IndexSet> oldSelection;
    std::optional<IndexSet> newSelection;     ///< of a move or filter only when it is done
    std::optional<IndexSet> insertedIndexes;  ///< of an insertion
    std::optional<IndexSet> removedIndexes;   ///< of a removal
    std::optional<IndexSet> movedFromIndexes; ///< of a move
    std::optional<IndexSet> movedToIndexes;   ///< of a move that is done

    ItemsManagerInfo() = default;
    explicit ItemsManagerInfo(const Notification& note);

    /// The user information that this is read from.
    [[nodiscard]] UserInfo userInfo() const;

    friend bool operator==(const ItemsManagerInfo&, const ItemsManagerInfo&) = default;
};

} // namespace corvane
