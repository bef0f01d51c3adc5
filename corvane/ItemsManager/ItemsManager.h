// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Collections/Array.h>
#include <corvane/Collections/IndexSet.h>
#include <corvane/ItemsManager/FilterRelations.h>
#include <corvane/ItemsManager/ItemsManagerUpdate.h>
#include <corvane/Platform/Dispatch/NotificationCenter.h>

#include <concepts>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace corvane {

/// The controller of a list or grid view: owns the items in their order and the selected positions, filters,
/// sorts and moves them, and announces every change by a pair of notifications that say exactly what changes.
///
///     ItemsManager<Photo> photos(found);
///     auto token = NotificationCenter::defaultCenter().addObserver(
///         photos.didUpdateContentNotification, &photos, [&](const Notification& note) {
///             view.apply(ItemsManagerInfo(note)); // inserted, removed and moved rows, old and new selection
///         });
///     photos.setFilteringBlock([](const Photo& photo) { return photo.stars > 3; });
///     photos.remove(photos.selection());
///
/// Positions count the visible items. While a filter is set, the full list is kept behind it and edited along;
/// after such an edit, though, the manager takes a visible position for the same position in the full list, so
/// that further insertions, removals and moves fall there among hidden items, and selected items that the filter
/// did not hide may be other ones when it is taken off. Set the filter again after edits to avoid that.
///
/// Every operation is one pass over the items, plus the sort in a sort; nothing is copied but what a filter
/// shows and `selected` returns, so elements may be of a kind that only moves as long as no filter is set.
///
/// Both notifications are posted on the default centre by the manager as `ItemsManager<T>`, on the caller's
/// thread. An observer of the second may change the manager again; an observer of the first, and the blocks and
/// predicates given to the manager, may not: that stops the process. Nor does a filter throw usefully: when it
/// does, the full list is back, without a filter, and the second notification is missing.
/// Positions out of range and overflow stop the process after the first notification; a selection that cannot
/// be is refused silently. Main-thread, or any one thread.
template <std::equality_comparable T>
class ItemsManager {
public:
    using FilteringBlock = std::function<bool(const T&)>;

    static inline const NotificationName willUpdateContentNotification{
        "ItemsManagerWillUpdateContentNotification"};
    static inline const NotificationName didUpdateContentNotification{
        "ItemsManagerDidUpdateContentNotification"};

    explicit ItemsManager(std::vector<T> items = {}) : rawItems_(std::move(items)) {}
    ItemsManager(const ItemsManager&) = delete;
    ItemsManager& operator=(const ItemsManager&) = delete;

    /// The visible items.
    [[nodiscard]] const std::vector<T>& items() const noexcept { return rawItems_; }

    /// Whether an insertion selects its first item, and a removal that takes the selection the item that follows.
    bool enableAutomaticSelection = true;

    // Contents

    void append(std::vector<T> contentOf) { insert(std::move(contentOf), count()); }
    /// Inserts all of them into the full list, and those that the filter accepts at the visible position `at`.
    /// The selection becomes the first of these, or empty without automatic selection.
    void insert(std::vector<T> contentOf, Int at);
    void remove(IndexSet at);
    void removeSelected() { remove(rawSelection_); }
    void removeAll();

    // Selection

    [[nodiscard]] const IndexSet& selection() const noexcept { return rawSelection_; }
    /// Refused when a position is beyond the count; the count itself, one past the last item, is accepted.
    void setSelection(IndexSet selection);

    [[nodiscard]] bool canSelectPrevious(Int step = 1) const;
    [[nodiscard]] bool canSelectNext(Int step = 1) const;
    [[nodiscard]] bool canSelectAll() const noexcept { return !isSelectionFull(); }
    [[nodiscard]] bool canDeselectAll() const noexcept { return !isSelectionEmpty(); }
    [[nodiscard]] bool isSelectionEmpty() const noexcept { return rawSelection_.isEmpty(); }
    [[nodiscard]] bool isSelectionSingle() const noexcept { return rawSelection_.isSingle(); }
    /// Also true of no items.
    [[nodiscard]] bool isSelectionFull() const noexcept { return rawSelection_.count() == count(); }

    // The items at the first, the last and the only selected position: null when there is none, else valid until
    // the next change. One past the last item may be selected; reading there stops the process.
    [[nodiscard]] const T* firstSelectedItem() const { return itemAt(rawSelection_.first()); }
    [[nodiscard]] const T* lastSelectedItem() const { return itemAt(rawSelection_.last()); }
    [[nodiscard]] const T* singleSelectedItem() const { return itemAt(rawSelection_.singleIndex()); }
    /// Copies of the selected items, in their order.
    [[nodiscard]] std::vector<T> selected() const { return elements(rawItems_, rawSelection_); }

    void selectFirst();
    /// Selects the position `step` before the first selected one alone, or the first item; nothing without one.
    void selectPrevious(Int step = 1);
    /// Selects the position `step` behind the last selected one alone, or the last item; nothing without one.
    void selectNext(Int step = 1);
    void selectAll() { setSelection(IndexSet::fromRange(0, count())); }
    void deselectAll() { setSelection({}); }

    // Filter and order

    [[nodiscard]] const FilteringBlock& filteringBlock() const noexcept { return rawFilteringBlock_; }
    /// Shows the items that `block` accepts, asked once for each item of the full list; null shows all again.
    void setFilteringBlock(FilteringBlock block) requires std::copy_constructible<T>;
    /// The bare step of filtering: what is visible becomes the full list, and of it those that `block` accepts
    /// become visible. Posts nothing and does not record the block, so taking the filter off undoes it only if
    /// one is set.
    template <std::predicate<const T&> Block>
    requires std::copy_constructible<T>
    void applyFilteringBlock(Block&& block);

    /// Moves the items at `from` into the gap `to`, as `corvane::move` does, and selects them.
    void move(IndexSet from, Int to);
    void moveSelected(Int to) { move(rawSelection_, to); }

    /// Sorts by a strict weak ordering; not stable. If it throws while the visible items are sorted, nothing has
    /// changed and nothing was posted; while the full list is, that is in no particular order, and the second
    /// notification is missing. Under a filter, positions are taken for what they were before the sort.
    template <std::predicate<const T&, const T&> Less>
    void sort(Less&& by);
    /// Announced as a sort.
    void reverseOrder();

private:
    friend struct ItemsManagerInspector;
    class Change;
    using Update = detail::ItemsManagerUpdate;

    Int count() const noexcept { return static_cast<Int>(rawItems_.size()); }
    const T* itemAt(std::optional<Int> index) const;
    void selectAlone(Int index);
    void will(const Update& update) { post(willUpdateContentNotification, update); }
    void did(Change& change, const Update& update);
    void post(NotificationName name, const Update& update);
    void removeFilteringBlock();
    template <typename Block>
    void applyFiltering(Block& block);
    void updateFilteringIndexes();

    std::vector<T> rawItems_;
    IndexSet rawSelection_;
    std::vector<T> backupItems_;
    FilterRelations relations_;
    FilteringBlock rawFilteringBlock_;
    bool isChanging_ = false;
};

} // namespace corvane

#include <corvane/ItemsManager/ItemsManagerOperations.h>
