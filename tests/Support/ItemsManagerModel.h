// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/ItemsManager/ItemsManager.h>
#include <corvane/ItemsManager/ItemsManagerInfo.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace corvane::tests {

using Positions = std::set<Int>;

/// `corvane::move`, one element after the other.
template <typename T, typename Indexes>
Int moveStepByStep(std::vector<T>& array, const Indexes& ascending, Int destination)
{
    std::vector<T> moving;
    Int removedSoFar = 0, below = 0;
    for (const Int i : ascending) {
        if (i < destination)
            ++below;
        moving.push_back(array.at(static_cast<std::size_t>(i - removedSoFar)));
        array.erase(array.begin() + (i - removedSoFar));
        ++removedSoFar;
    }
    const Int insertionIndex = destination - below;
    array.insert(array.begin() + insertionIndex, moving.begin(), moving.end());
    return insertionIndex;
}

/// One notification, with what the manager showed when it was posted.
template <typename T>
struct Posted {
    bool isDid = false;
    ItemsManagerAction action{};
    std::map<std::string_view, Positions> sets; // the entries beside the action
    std::vector<T> items;
    Positions selection;

    friend bool operator==(const Posted&, const Posted&) = default;
};

/// An items manager made of plain vectors, sets and maps, each step done one after the other in the most
/// literal way: what `ItemsManager` must be indistinguishable from.
template <typename T>
class ItemsManagerModel {
public:
    using Block = std::function<bool(const T&)>;

    explicit ItemsManagerModel(std::vector<T> items = {}) : rawItems(std::move(items)) {}

    std::vector<T> rawItems;
    Positions rawSelection;
    std::vector<T> backupItems;
    std::map<Int, Int> relations;
    Block filteringBlock;
    bool enableAutomaticSelection = true;
    std::vector<Posted<T>> posted;

    Int count() const { return static_cast<Int>(rawItems.size()); }

    void setSelection(const Positions& candidate)
    {
        if (candidate == rawSelection)
            return;
        if (!((candidate.empty() || *candidate.begin() >= 0) &&
              count() >= (candidate.empty() ? -1 : *candidate.rbegin())))
            return;
        Info info{ItemsManagerAction::select, {{"OldSelection", rawSelection}, {"NewSelection", candidate}}};
        post(false, info);
        rawSelection = candidate;
        post(true, info);
    }

    void insert(const std::vector<T>& newItems, Int index)
    {
        if (newItems.empty())
            return;
        std::vector<T> visible;
        for (const T& item : newItems)
            if (!filteringBlock || filteringBlock(item))
                visible.push_back(item);
        Positions newSelection, inserted;
        if (enableAutomaticSelection && !visible.empty())
            newSelection = {index};
        for (Int i = index; i < index + static_cast<Int>(visible.size()); ++i)
            inserted.insert(i);
        Info info{
            ItemsManagerAction::insert,
            {{"InsertedIndexes", inserted}, {"OldSelection", rawSelection}, {"NewSelection", newSelection}}};
        post(false, info);
        rawItems.insert(rawItems.begin() + index, visible.begin(), visible.end());
        rawSelection = newSelection;
        if (filteringBlock) {
            backupItems.insert(backupItems.begin() + convertToBackup(index), newItems.begin(),
                               newItems.end());
            updateFilteringIndexes();
        }
        post(true, info);
    }

    void remove(const Positions& indexes)
    {
        if (rawItems.empty() || indexes.empty())
            return;
        Positions newSelection;
        for (const Int s : rawSelection)
            if (!indexes.contains(s))
                newSelection.insert(s - std::distance(indexes.begin(), indexes.lower_bound(s)));
        const Int removals = static_cast<Int>(indexes.size());
        if (enableAutomaticSelection && newSelection.empty() && count() != removals)
            newSelection.insert(std::min(*indexes.begin(), count() - removals - 1));
        Info info{
            ItemsManagerAction::remove,
            {{"RemovedIndexes", indexes}, {"OldSelection", rawSelection}, {"NewSelection", newSelection}}};
        post(false, info);
        for (auto i = indexes.rbegin(); i != indexes.rend(); ++i)
            rawItems.erase(rawItems.begin() + *i);
        rawSelection = newSelection;
        if (filteringBlock) {
            for (auto i = indexes.rbegin(); i != indexes.rend(); ++i)
                backupItems.erase(backupItems.begin() + convertToBackup(*i));
            updateFilteringIndexes();
        }
        post(true, info);
    }

    void applyFilteringBlock(const Block& block)
    {
        const Positions oldSelection = rawSelection;
        rawSelection.clear();
        backupItems = rawItems;
        rawItems.clear();
        relations.clear();
        for (Int p = 0; p < static_cast<Int>(backupItems.size()); ++p) {
            const T& item = backupItems[static_cast<std::size_t>(p)];
            if (!block(item))
                continue;
            relations[count()] = p;
            if (oldSelection.contains(p))
                rawSelection.insert(count());
            rawItems.push_back(item);
        }
    }

    void setFilteringBlock(const Block& block)
    {
        if (!filteringBlock && !block)
            return;
        Info info{ItemsManagerAction::filter, {{"OldSelection", rawSelection}}};
        post(false, info);
        if (filteringBlock) {
            rawItems = backupItems;
            backupItems.clear();
            rawSelection = convertToBackup(rawSelection);
        }
        if (block)
            applyFilteringBlock(block);
        filteringBlock = block;
        info.sets["NewSelection"] = rawSelection;
        post(true, info);
    }

    void move(const Positions& indexes, Int destination)
    {
        if (indexes.empty())
            return;
        Info info{ItemsManagerAction::move, {{"MovedFromIndexes", indexes}, {"OldSelection", rawSelection}}};
        post(false, info);
        const Int insertionIndex = moveStepByStep(rawItems, indexes, destination);
        rawSelection.clear();
        for (Int i = 0; i < static_cast<Int>(indexes.size()); ++i)
            rawSelection.insert(insertionIndex + i);
        info.sets["MovedToIndexes"] = rawSelection;
        info.sets["NewSelection"] = rawSelection;
        if (filteringBlock) {
            moveStepByStep(backupItems, convertToBackup(indexes), convertToBackup(destination));
            updateFilteringIndexes();
        }
        post(true, info);
    }

    /// `by` orders the items totally.
    void sort(const std::function<bool(const T&, const T&)>& by, bool failsInFullList = false)
    {
        if (rawItems.empty())
            return;
        struct Triple {
            Int position;
            T item;
            bool selected;
        };
        std::vector<Triple> triples;
        for (Int p = 0; p < count(); ++p)
            triples.push_back({p, rawItems[static_cast<std::size_t>(p)], rawSelection.contains(p)});
        std::sort(triples.begin(), triples.end(),
                  [&](const Triple& a, const Triple& b) { return by(a.item, b.item); });
        Positions newSelection;
        for (std::size_t p = 0; p < triples.size(); ++p)
            if (triples[p].selected)
                newSelection.insert(static_cast<Int>(p));
        Info info{ItemsManagerAction::sort, {{"OldSelection", rawSelection}, {"NewSelection", newSelection}}};
        post(false, info);
        for (std::size_t p = 0; p < triples.size(); ++p)
            rawItems[p] = triples[p].item;
        rawSelection = newSelection;
        if (failsInFullList)
            return;
        std::sort(backupItems.begin(), backupItems.end(), by);
        post(true, info);
    }

    void reverseOrder()
    {
        if (rawItems.empty())
            return;
        Positions newSelection;
        for (const Int s : rawSelection)
            newSelection.insert(count() - 1 - s);
        Info info{ItemsManagerAction::sort, {{"OldSelection", rawSelection}, {"NewSelection", newSelection}}};
        post(false, info);
        std::reverse(rawItems.begin(), rawItems.end());
        std::reverse(backupItems.begin(), backupItems.end());
        rawSelection = newSelection;
        post(true, info);
    }

private:
    struct Info {
        ItemsManagerAction action;
        std::map<std::string_view, Positions> sets;
    };

    void post(bool isDid, const Info& info)
    {
        posted.push_back({isDid, info.action, info.sets, rawItems, rawSelection});
    }

    Int convertToBackup(Int i) const
    {
        if (const auto entry = relations.find(i); entry != relations.end())
            return entry->second;
        const auto before = relations.find(i - 1);
        return (before == relations.end() ? -1 : before->second) + 1;
    }

    Positions convertToBackup(const Positions& positions) const
    {
        Positions result;
        for (const Int i : positions) {
            const auto entry = relations.find(i);
            result.insert(entry == relations.end() ? 0 : entry->second);
        }
        return result;
    }

    void updateFilteringIndexes()
    {
        relations.clear();
        std::size_t j = 0;
        for (std::size_t p = 0; p < rawItems.size(); ++p) {
            while (!(rawItems.at(j) == rawItems[p]))
                ++j;
            relations[static_cast<Int>(p)] = static_cast<Int>(j);
            ++j;
        }
    }
};

} // namespace corvane::tests

namespace corvane {

/// Sees what an items manager keeps to itself.
struct ItemsManagerInspector {
    template <typename T>
    static const std::vector<T>& backupItems(const ItemsManager<T>& manager)
    {
        return manager.backupItems_;
    }
    template <typename T>
    static const FilterRelations& relations(const ItemsManager<T>& manager)
    {
        return manager.relations_;
    }
};

namespace tests {

inline Positions positionsOf(const IndexSet& set)
{
    return Positions(set.begin(), set.end());
}

/// Records what a manager posts, for as long as it lives.
template <typename T>
class NotificationRecorder {
public:
    explicit NotificationRecorder(const ItemsManager<T>& manager) : manager_(manager)
    {
        auto& center = NotificationCenter::defaultCenter();
        const auto record = [this](const Notification& note) { add(note); };
        will_ = center.addObserver(ItemsManager<T>::willUpdateContentNotification, &manager, record);
        did_ = center.addObserver(ItemsManager<T>::didUpdateContentNotification, &manager, record);
    }
    NotificationRecorder(const NotificationRecorder&) = delete;
    NotificationRecorder& operator=(const NotificationRecorder&) = delete;
    ~NotificationRecorder()
    {
        NotificationCenter::defaultCenter().removeObserver(will_);
        NotificationCenter::defaultCenter().removeObserver(did_);
    }

    std::vector<Posted<T>> posted;

private:
    void add(const Notification& note)
    {
        const ItemsManagerInfo info(note);
        Posted<T> seen{note.name() == ItemsManager<T>::didUpdateContentNotification,
                       info.updateAction.value(),
                       {},
                       manager_.items(),
                       positionsOf(manager_.selection())};
        const std::pair<std::string_view, const std::optional<IndexSet>*> sets[] = {
            {"OldSelection", &info.oldSelection},         {"NewSelection", &info.newSelection},
            {"InsertedIndexes", &info.insertedIndexes},   {"RemovedIndexes", &info.removedIndexes},
            {"MovedFromIndexes", &info.movedFromIndexes}, {"MovedToIndexes", &info.movedToIndexes}};
        for (const auto& [key, set] : sets)
            if (*set)
                seen.sets.emplace(key, positionsOf(**set));
        posted.push_back(std::move(seen));
    }

    const ItemsManager<T>& manager_;
    std::shared_ptr<NotificationObserver> will_, did_;
};

} // namespace tests
} // namespace corvane
