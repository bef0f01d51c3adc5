// SPDX-License-Identifier: Apache-2.0
#pragma once

// The operations of ItemsManager; include ItemsManager.h.

#include <corvane/ItemsManager/ItemsManager.h>
#include <corvane/Platform/Base/SwapSort.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <string>
#include <type_traits>

namespace corvane {

// From the beginning of an operation to its did-notification, or to the exception that ends it.
template <std::equality_comparable T>
class ItemsManager<T>::Change {
public:
    explicit Change(ItemsManager& manager) : isChanging_(&manager.isChanging_)
    {
        if (manager.isChanging_) [[unlikely]]
            detail::failNestedChange();
        manager.isChanging_ = true;
    }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    ~Change() { end(); }

    void end() noexcept
    {
        if (isChanging_)
            *std::exchange(isChanging_, nullptr) = false;
    }

private:
    bool* isChanging_; // null once ended: an observer may destroy the manager
};

template <std::equality_comparable T>
void ItemsManager<T>::post(NotificationName name, const Update& update)
{
    NotificationCenter::defaultCenter().post(name, this, [&] { return update.userInfo(); });
}

template <std::equality_comparable T>
void ItemsManager<T>::did(Change& change, const Update& update)
{
    change.end(); // from here on observers may change the manager, and nothing of it is used
    post(didUpdateContentNotification, update);
}

template <std::equality_comparable T>
void ItemsManager<T>::insert(std::vector<T> contentOf, Int at)
{
    if (contentOf.empty())
        return;
    Change change(*this);
    std::vector<T> shown; // copies, when a filter is set; otherwise the new items themselves are moved in
    if constexpr (std::copy_constructible<T>)
        if (rawFilteringBlock_)
            std::ranges::copy_if(contentOf, std::back_inserter(shown), rawFilteringBlock_);
    std::vector<T>& visible = rawFilteringBlock_ ? shown : contentOf;

    const IndexSet oldSelection = rawSelection_;
    const IndexSet newSelection = enableAutomaticSelection && !visible.empty() ? IndexSet(at) : IndexSet();
    const IndexSet inserted = IndexSet::fromLocLen(at, detail::countOf(visible));
    const Update update{.updateAction = ItemsManagerAction::insert,
                        .oldSelection = &oldSelection,
                        .newSelection = &newSelection,
                        .insertedIndexes = &inserted};
    will(update);
    if (at > count())
        detail::failInsertion(at, count());
    rawItems_.insert(rawItems_.begin() + at, std::move_iterator(visible.begin()),
                     std::move_iterator(visible.end()));
    rawSelection_ = newSelection;
    if (rawFilteringBlock_) {
        backupItems_.insert(backupItems_.begin() + relations_.convertToBackup(at),
                            std::move_iterator(contentOf.begin()), std::move_iterator(contentOf.end()));
        updateFilteringIndexes();
    }
    did(change, update);
}

template <std::equality_comparable T>
void ItemsManager<T>::remove(IndexSet at)
{
    if (rawItems_.empty() || at.isEmpty())
        return;
    Change change(*this);
    const IndexSet oldSelection = rawSelection_;
    IndexSet newSelection = rawSelection_.shiftedByRemoving(at);
    const Int left = count() - at.count();
    if (enableAutomaticSelection && newSelection.isEmpty() && left != 0)
        newSelection.insert(
            std::min(*at.first(), left - 1)); // what slides into the first gap, or the new last
    const Update update{.updateAction = ItemsManagerAction::remove,
                        .oldSelection = &oldSelection,
                        .newSelection = &newSelection,
                        .removedIndexes = &at};
    will(update);
    corvane::remove(rawItems_, at);
    rawSelection_ = newSelection;
    if (rawFilteringBlock_) {
        corvane::remove(backupItems_, relations_.convertToBackup(at));
        updateFilteringIndexes();
    }
    did(change, update);
}

template <std::equality_comparable T>
void ItemsManager<T>::removeAll()
{
    if (!rawItems_.empty())
        remove(IndexSet::fromRange(0, count()));
}

template <std::equality_comparable T>
void ItemsManager<T>::setSelection(IndexSet selection)
{
    // Not `>=`: one past the last item is accepted.
    if (selection == rawSelection_ || selection.last().value_or(-1) > count())
        return;
    Change change(*this);
    IndexSet oldSelection = rawSelection_;
    const Update update{.updateAction = ItemsManagerAction::select,
                        .oldSelection = &oldSelection,
                        .newSelection = &selection};
    will(update);
    rawSelection_ = selection;
    did(change, update);
}

template <std::equality_comparable T>
void ItemsManager<T>::selectAlone(Int index)
{
    if (index >= 0 && index <= count()) // else refused; a set could not hold it
        setSelection(IndexSet(index));
}

template <std::equality_comparable T>
bool ItemsManager<T>::canSelectPrevious(Int step) const
{
    return !isSelectionEmpty() && detail::steppedBack(*rawSelection_.first(), step) >= 0;
}

template <std::equality_comparable T>
bool ItemsManager<T>::canSelectNext(Int step) const
{
    return !isSelectionEmpty() && detail::steppedForward(*rawSelection_.last(), step) <= count() - 1;
}

template <std::equality_comparable T>
void ItemsManager<T>::selectFirst()
{
    if (!rawItems_.empty())
        selectAlone(0);
}

template <std::equality_comparable T>
void ItemsManager<T>::selectPrevious(Int step)
{
    if (!isSelectionEmpty())
        selectAlone(std::max<Int>(detail::steppedBack(*rawSelection_.first(), step), 0));
}

template <std::equality_comparable T>
void ItemsManager<T>::selectNext(Int step)
{
    if (!isSelectionEmpty())
        selectAlone(std::min(detail::steppedForward(*rawSelection_.last(), step), count() - 1));
}

template <std::equality_comparable T>
const T* ItemsManager<T>::itemAt(std::optional<Int> index) const
{
    if (!index)
        return nullptr;
    if (*index >= count()) [[unlikely]]
        detail::failItemIndex(*index, count());
    return &rawItems_[static_cast<std::size_t>(*index)];
}

template <std::equality_comparable T>
void ItemsManager<T>::setFilteringBlock(FilteringBlock block) requires std::copy_constructible<T>
{
    if (!rawFilteringBlock_ && !block)
        return;
    Change change(*this);
    const IndexSet oldSelection = rawSelection_;
    Update update{.updateAction = ItemsManagerAction::filter, .oldSelection = &oldSelection};
    will(update);
    // The filter counts as taken off before the new one is asked, so that one that throws leaves a sound list.
    if (const FilteringBlock old = std::exchange(rawFilteringBlock_, nullptr))
        removeFilteringBlock();
    if (block)
        applyFiltering(block);
    rawFilteringBlock_ = std::move(block);
    const IndexSet newSelection = rawSelection_;
    update.newSelection = &newSelection;
    did(change, update);
}

template <std::equality_comparable T>
template <std::predicate<const T&> Block>
requires std::copy_constructible<T>
void ItemsManager<T>::applyFilteringBlock(Block&& block)
{
    const Change change(*this);
    applyFiltering(block);
}

template <std::equality_comparable T>
template <typename Block>
void ItemsManager<T>::applyFiltering(Block& block)
{
    // First which, then the copies, whose number is known by then. Nothing changes until the block has been asked
    // for all.
    const auto itemAt = [this](Int full) -> const T& { return rawItems_[static_cast<std::size_t>(full)]; };
    FilterRelations relations =
        FilterRelations::toAccepted(count(), [&](Int full) { return block(itemAt(full)); });
    std::vector<T> visible;
    visible.reserve(static_cast<std::size_t>(relations.count()));
    relations.visit(0, relations.count(), [&](Int full) { visible.push_back(itemAt(full)); });

    relations_ = std::move(relations);
    rawSelection_ = relations_.convertToVisible(rawSelection_);
    backupItems_ = std::exchange(rawItems_, std::move(visible));
}

template <std::equality_comparable T>
void ItemsManager<T>::removeFilteringBlock()
{
    rawItems_ = std::exchange(backupItems_, {});
    // The relations are left as they are. Nothing reads them until another filter is applied.
    rawSelection_ = relations_.convertToBackup(rawSelection_);
}

// Meant to find each visible item in the full list, from behind the one before it on, but searches the visible list
// itself. So an item is found in its own place, and the relations become the identity; and one that does not even
// equal itself leaves too few places for those that follow, so that the search runs past the end.
template <std::equality_comparable T>
void ItemsManager<T>::updateFilteringIndexes()
{
    constexpr bool equalsItself =
        std::is_integral_v<T> || std::is_enum_v<T> || std::is_pointer_v<T> || std::is_same_v<T, std::string>;
    if constexpr (!equalsItself)
        for (const T& item : rawItems_)
            if (!(item == item)) [[unlikely]]
                detail::failRelations(&item - rawItems_.data(), count());
    relations_ = FilterRelations::identity(count());
}

template <std::equality_comparable T>
void ItemsManager<T>::move(IndexSet from, Int to)
{
    if (from.isEmpty())
        return;
    Change change(*this);
    const IndexSet oldSelection = rawSelection_;
    Update update{
        .updateAction = ItemsManagerAction::move, .oldSelection = &oldSelection, .movedFromIndexes = &from};
    will(update);
    const Int insertionIndex = corvane::move(rawItems_, from, to);
    const IndexSet moved = IndexSet::fromLocLen(insertionIndex, from.count());
    rawSelection_ = moved;
    update.movedToIndexes = &moved;
    update.newSelection = &moved;
    if (rawFilteringBlock_) {
        corvane::move(backupItems_, relations_.convertToBackup(from), relations_.convertToBackup(to));
        updateFilteringIndexes();
    }
    did(change, update);
}

template <std::equality_comparable T>
template <std::predicate<const T&, const T&> Less>
void ItemsManager<T>::sort(Less&& by)
{
    if (rawItems_.empty())
        return;
    Change change(*this);
    // The items are sorted where they are. Their tags are twice their old positions, and one more if selected:
    // enough to put all back if the predicate throws, or for as long as an observer of the will-notification
    // looks.
    std::vector<std::size_t> tags(rawItems_.size());
    for (std::size_t p = 0; p < tags.size(); ++p)
        tags[p] = 2 * p;
    for (const IndexRun& run : rawSelection_.runs())
        for (Int p = run.lower; p < std::min(run.upper, count()); ++p)
            ++tags[static_cast<std::size_t>(p)];
    const auto oldPosition = [&](std::size_t p) { return tags[p] / 2; };
    const std::span<T> items(rawItems_);
    try {
        detail::swapSort(items, std::span(tags), by);
    } catch (...) {
        detail::scatter(items, oldPosition);
        throw;
    }
    IndexSet newSelection;
    for (std::size_t p = 0; p < tags.size(); ++p)
        if (tags[p] % 2 == 1)
            newSelection.insert(static_cast<Int>(p));

    const IndexSet oldSelection = rawSelection_;
    const Update update{.updateAction = ItemsManagerAction::sort,
                        .oldSelection = &oldSelection,
                        .newSelection = &newSelection};
    bool putBack = false;
    NotificationCenter::defaultCenter().post(willUpdateContentNotification, this, [&] {
        detail::scatter(items, oldPosition);
        putBack = true;
        return update.userInfo();
    });
    if (putBack)
        detail::gather(items, oldPosition);
    tags = {};
    rawSelection_ = newSelection;
    // The relations are left as they are, also while a filter is set.
    detail::swapSort(std::span<T>(backupItems_), by);
    did(change, update);
}

template <std::equality_comparable T>
void ItemsManager<T>::reverseOrder()
{
    if (rawItems_.empty())
        return;
    Change change(*this);
    const IndexSet oldSelection = rawSelection_;
    IndexSet newSelection;
    const auto runs = oldSelection.runs();
    for (auto run = runs.rbegin(); run != runs.rend(); ++run)
        newSelection.insertRange(count() - run->upper, count() - run->lower);
    const Update update{.updateAction = ItemsManagerAction::sort,
                        .oldSelection = &oldSelection,
                        .newSelection = &newSelection};
    will(update);
    std::ranges::reverse(rawItems_);
    std::ranges::reverse(backupItems_);
    rawSelection_ = newSelection;
    // The relations are left as they are, also while a filter is set.
    did(change, update);
}

} // namespace corvane
