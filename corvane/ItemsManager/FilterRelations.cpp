// SPDX-License-Identifier: Apache-2.0
#include <corvane/ItemsManager/FilterRelations.h>

#include <algorithm>
#include <utility>

namespace corvane {

void FilterRelations::setIdentity(Int count) noexcept
{
    positions_.reset();
    count_ = count;
}

void FilterRelations::set(std::unique_ptr<Int[]> ascending, Int count) noexcept
{
    positions_ = std::move(ascending);
    count_ = count;
}

std::optional<Int> FilterRelations::find(Int visible) const noexcept
{
    if (visible < 0 || visible >= count_)
        return std::nullopt;
    return positions_ ? positions_[static_cast<std::size_t>(visible)] : visible;
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
        if (!positions_ && run.lower < upper)
            result.insertRange(run.lower, upper);
        for (Int index = run.lower; positions_ && index < upper; ++index)
            result.insert(positions_[static_cast<std::size_t>(index)]);
    }
    if (visible.last() >= count_) // also true of any member when there are no relations; never of none
        result.insert(0);
    return result;
}

IndexSet FilterRelations::convertToVisible(const IndexSet& full) const
{
    const Int* const begin = positions_.get();
    if (!begin)
        return full.intersection(IndexSet::fromRange(0, count_));
    const Int* const end = begin + count_;
    // The first from `at` on that is not below `position`, found in ever larger steps: the next is mostly near.
    const auto seek = [end](const Int* at, Int position) {
        std::ptrdiff_t step = 1;
        const Int* low = at;
        while (step < end - low && low[step] < position) {
            low += step;
            step *= 2;
        }
        return std::lower_bound(low, std::min(low + step, end), position);
    };
    IndexSet result;
    const Int* at = begin;
    for (const IndexRun& run : full.runs()) {
        const Int* const first = seek(at, run.lower);
        at = seek(first, run.upper);
        if (first != at)
            result.insertRange(first - begin, at - begin);
    }
    return result;
}

} // namespace corvane
