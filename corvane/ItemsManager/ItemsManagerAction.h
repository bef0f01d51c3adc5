// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvane {

/// What an `ItemsManager` did or is about to do. Codes are stable.
enum class ItemsManagerAction : int { insert = 0, remove = 1, select = 2, move = 3, sort = 4, filter = 5 };

/// Whether the set of visible items may change. Moving and sorting only order them anew and do not count.
[[nodiscard]] constexpr bool isEditing(ItemsManagerAction action) noexcept
{
    using enum ItemsManagerAction;
    return action == insert || action == remove || action == filter;
}

} // namespace corvane
