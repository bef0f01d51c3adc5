// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Collections/IndexSet.h>
#include <corvane/Platform/Base/Export.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace corvane {

/// Where the visible items of a filtered list stand in the full list: a map from 0, 1, 2 … to ascending
/// positions. Two bits an item of the full list, none while the map is the identity. Thread-compatible.
class CORVANE_API FilterRelations {
public:
    FilterRelations() = default; ///< no relations
    static FilterRelations identity(Int count);
    /// To those of the first `fullCount` positions that `accepts` accepts, asked once for each in their order.
    template <typename Accepts>
    static FilterRelations toAccepted(Int fullCount, Accepts&& accepts);

    [[nodiscard]] Int count() const noexcept { return count_; }
    /// The full position of a visible one.
    [[nodiscard]] std::optional<Int> find(Int visible) const noexcept;
    /// Hands `visit` the full positions of the visible ones from `lower` to below `upper`, which all have one.
    template <typename Visit>
    void visit(Int lower, Int upper, Visit&& visit) const;

    /// The full position of a visible one, or else the one behind that of its predecessor, or else 0.
    [[nodiscard]] Int convertToBackup(Int visible) const noexcept;
    /// The full positions of visible ones; one that has none counts as 0, not as its neighbour does above.
    [[nodiscard]] IndexSet convertToBackup(const IndexSet& visible) const;
    /// The visible positions of those in `full` that are visible.
    [[nodiscard]] IndexSet convertToVisible(const IndexSet& full) const;

private:
    // Which of 64 full positions are visible, and how many before them.
    struct Word {
        std::uint64_t bits;
        Int before;
    };
    static constexpr Int bitsInWord = 64;

    std::size_t wordOf(Int visible) const noexcept;
    Int visibleBelow(Int full) const noexcept;

    std::vector<Word> words_; // empty: the identity
    Int count_ = 0;
};

template <typename Accepts>
FilterRelations FilterRelations::toAccepted(Int fullCount, Accepts&& accepts)
{
    FilterRelations result;
    result.words_.reserve(static_cast<std::size_t>((fullCount + bitsInWord - 1) / bitsInWord));
    for (Int begin = 0; begin < fullCount; begin += bitsInWord) {
        // Without a branch on the answers, which are as good as random.
        std::uint64_t bits = 0;
        for (Int p = begin; p < std::min(begin + bitsInWord, fullCount); ++p)
            bits |= static_cast<std::uint64_t>(static_cast<bool>(accepts(p))) << (p - begin);
        result.words_.push_back({bits, result.count_});
        result.count_ += std::popcount(bits);
    }
    return result;
}

template <typename Visit>
void FilterRelations::visit(Int lower, Int upper, Visit&& visit) const
{
    if (words_.empty()) {
        for (Int v = lower; v < upper; ++v)
            visit(v);
        return;
    }
    Int visible = lower;
    for (std::size_t word = wordOf(lower); visible < upper; ++word) {
        std::uint64_t bits = words_[word].bits;
        for (Int skipped = words_[word].before; skipped < visible; ++skipped)
            bits &= bits - 1;
        for (; bits != 0 && visible < upper; bits &= bits - 1, ++visible)
            visit(static_cast<Int>(word) * bitsInWord + std::countr_zero(bits));
    }
}

} // namespace corvane
