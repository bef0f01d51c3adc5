// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <utility>

namespace corvane {

/// A key of the user information that an `ItemsManager` posts.
///
///     const auto* removed = note.value<IndexSet>(ItemsManagerKey::removedIndexes.rawValue);
///
/// `updateAction` holds an `ItemsManagerAction`, the others an `IndexSet`. A value; thread-compatible.
struct ItemsManagerKey {
    std::string rawValue;

    explicit ItemsManagerKey(std::string value) : rawValue(std::move(value)) {}
    static ItemsManagerKey fromRawValue(std::string value) { return ItemsManagerKey(std::move(value)); }

    static const ItemsManagerKey updateAction;
    static const ItemsManagerKey oldSelection;
    static const ItemsManagerKey newSelection;
    static const ItemsManagerKey insertedIndexes;
    static const ItemsManagerKey removedIndexes;
    static const ItemsManagerKey movedFromIndexes;
    static const ItemsManagerKey movedToIndexes;

    friend bool operator==(const ItemsManagerKey&, const ItemsManagerKey&) = default;
};

inline const ItemsManagerKey ItemsManagerKey::updateAction("UpdateAction");
inline const ItemsManagerKey ItemsManagerKey::oldSelection("OldSelection");
inline const ItemsManagerKey ItemsManagerKey::newSelection("NewSelection");
inline const ItemsManagerKey ItemsManagerKey::insertedIndexes("InsertedIndexes");
inline const ItemsManagerKey ItemsManagerKey::removedIndexes("RemovedIndexes");
inline const ItemsManagerKey ItemsManagerKey::movedFromIndexes("MovedFromIndexes");
inline const ItemsManagerKey ItemsManagerKey::movedToIndexes("MovedToIndexes");

} // namespace corvane

template <>
struct std::hash<corvane::ItemsManagerKey> {
    std::size_t operator()(const corvane::ItemsManagerKey& key) const noexcept
    {
        return std::hash<std::string>()(key.rawValue);
    }
};
