// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Collections/IndexSet.h>
#include <corvane/Platform/Base/Export.h>

#include <memory>
#include <optional>

namespace corvane {

/// Where the visible items of a filtered list stand in the full list: a map from 0, 1, 2 … to ascending
/// positions. Eight bytes an item, none while the map is the identity. Thread-compatible.
class CORVANE_API FilterRelations {
public:
    void clear() noexcept { setIdentity(0); }
    void setIdentity(Int count) noexcept;
    void set(std::unique_ptr<Int[]> ascending, Int count) noexcept;

    [[nodiscard]] Int count() const noexcept { return count_; }
    /// The full position of a visible one.
    [[nodiscard]] std::optional<Int> find(Int visible) const noexcept;

    /// The full position of a visible one, or else the one behind that of its predecessor, or else 0.
    [[nodiscard]] Int convertToBackup(Int visible) const noexcept;
    /// The full positions of visible ones; one that has none counts as 0, not as its neighbour does above.
    [[nodiscard]] IndexSet convertToBackup(const IndexSet& visible) const;
    /// The visible positions of those in `full` that are visible. One pass.
    [[nodiscard]] IndexSet convertToVisible(const IndexSet& full) const;

private:
    std::unique_ptr<Int[]> positions_; // null: the identity
    Int count_ = 0;
};

} // namespace corvane
