// SPDX-License-Identifier: Apache-2.0
#include "Pictures.h"

#include <corvane/Collections/FinderOrder.h>
#include <corvane/ItemsManager/ItemsManager.h>
#include <corvane/ItemsManager/ItemsManagerInfo.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace contactsheet {
namespace {

using namespace corvane;

// "0-3 7"
std::string textOf(const IndexSet& set)
{
    std::string text;
    for (const IndexRun& run : set.runs()) {
        text += (text.empty() ? "" : " ") + std::to_string(run.lower);
        if (run.upper - run.lower > 1)
            text += "-" + std::to_string(run.upper - 1);
    }
    return text.empty() ? "none" : text;
}

std::string textOf(const ItemsManagerInfo& info)
{
    constexpr const char* actions[] = {"insert", "remove", "select", "move", "sort", "filter"};
    std::string text = info.updateAction ? actions[static_cast<int>(*info.updateAction)] : "update";
    const std::pair<const char*, const std::optional<IndexSet>*> sets[] = {
        {"inserted", &info.insertedIndexes},      {"removed", &info.removedIndexes},
        {"moved from", &info.movedFromIndexes},   {"moved to", &info.movedToIndexes},
        {"selection before", &info.oldSelection}, {"selection after", &info.newSelection}};
    const char* separator = ": ";
    for (const auto& [name, set] : sets)
        if (*set)
            text += std::exchange(separator, ", ") + std::string(name) + " " + textOf(**set);
    return text;
}

char lowered(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
}

} // namespace

std::vector<URL> chosenPictures(std::vector<URL> found, const Options& options,
                                const std::function<void(std::string)>& tell)
{
    ItemsManager<URL> pictures;
    auto& center = NotificationCenter::defaultCenter();
    std::shared_ptr<NotificationObserver> observers[2];
    if (options.isVerbose) {
        const auto observe = [&](NotificationName name, const char* when) {
            return center.addObserver(name, &pictures, [&tell, &pictures, when](const Notification& note) {
                tell(std::string(when) + textOf(ItemsManagerInfo(note)) + ", " +
                     std::to_string(pictures.items().size()) + " pictures");
            });
        };
        observers[0] = observe(pictures.willUpdateContentNotification, "will ");
        observers[1] = observe(pictures.didUpdateContentNotification, "did ");
    }

    pictures.append(std::move(found));
    pictures.sort([](const URL& a, const URL& b) {
        return finderCompare(a.path(), b.path()) == ComparisonResult::ascending;
    });
    if (!options.filter.empty())
        pictures.setFilteringBlock([&](const URL& url) {
            const std::string name = url.lastPathComponent();
            const auto matches = [](char a, char b) { return lowered(a) == lowered(b); };
            return std::search(name.begin(), name.end(), options.filter.begin(), options.filter.end(),
                               matches) != name.end();
        });
    if (options.isReversed)
        pictures.reverseOrder();

    for (const auto& observer : observers)
        center.removeObserver(observer);
    return pictures.items();
}

} // namespace contactsheet
