// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/FilterRelations.h>

namespace corvane {

FilterRelations FilterRelations::identity(Int count)
{
    FilterRelations result;
    result.count_ = count;
    return result;
}

// The word that holds it: the last with fewer before, as some words hold none.
std::size_t FilterRelations::wordOf(Int visible) const noexcept
{
    return static_cast<std::size_t>(std::ranges::upper_bound(words_, visible, {}, &Word::before) -
                                    words_.begin()) -
           1;
}

Int FilterRelations::visibleBelow(Int full) const noexcept
{
    const auto word = static_cast<std::size_t>(full / bitsInWord);
    if (word >= words_.size())
        return count_;
    const std::uint64_t below = (std::uint64_t{1} << (full % bitsInWord)) - 1;
    return words_[word].before + std::popcount(words_[word].bits & below);
}

std::optional<Int> FilterRelations::find(Int visible) const noexcept
{
    std::optional<Int> position;
    if (visible >= 0 && visible < count_)
        visit(visible, visible + 1, [&](Int full) { position = full; });
    return position;
}

Int FilterRelations::convertToBackup(Int visible) const noexcept
{
    if (const auto position = find(visible))
        return *position;
    return visible > 0 ? find(visible - 1).value_or(-1) + 1 : 0;
}

IndexSet FilterRelations::convertToBackup(const IndexSet& visible) const
{
    IndexSet result;
    for (const IndexRun& run : visible.runs()) {
        const Int upper = std::min(run.upper, count_);
        if (run.lower >= upper)
            break;
        if (words_.empty())
            result.insertRange(run.lower, upper);
        else
            visit(run.lower, upper, [&](Int full) { result.insert(full); });
    }
    if (visible.last() >= count_) // also true of any member when there are no relations; never of none
        result.insert(0);
    return result;
}

IndexSet FilterRelations::convertToVisible(const IndexSet& full) const
{
    if (words_.empty())
        return full.intersection(IndexSet::fromRange(0, count_));
    IndexSet result;
    for (const IndexRun& run : full.runs())
        result.insertRange(visibleBelow(run.lower), visibleBelow(run.upper));
    return result;
}

} // namespace corvane
