// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Collections/IndexRun.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <optional>
#include <span>

namespace corvane {

/// An ordered set of distinct integers from 0 to 2^63 - 2, kept as runs: positions in a list, such as a
/// selection.
///
///     IndexSet selection = IndexSet::fromRange(2, 5); // 2, 3, 4
///     selection.toggle(3);
///     for (Int index : selection)
///         print(index); // 2, 4
///
/// A value: a copy is independent and costs no more than a few words, since large sets share their runs until
/// one of them changes. Up to two runs are stored without an allocation. Searching is logarithmic in the
/// number of runs; a change is constant at the end and linear in the runs after it elsewhere. A negative
/// member, or one of 2^63 - 1, and a reversed range stop the process; asking for or removing them is allowed
/// and finds nothing. Iterators end with the next change of the set they came from. Thread-compatible.
class CORVANE_API IndexSet {
public:
    using Iterator = IndexIterator;
    using value_type = Int;
    using iterator = Iterator;
    using const_iterator = Iterator;

    IndexSet() noexcept = default;
    explicit IndexSet(Int index) { insert(index); }
    IndexSet(std::initializer_list<Int> indexes);          ///< in any order
    static IndexSet fromRange(Int lower, Int upper);       ///< `lower ..< upper`
    static IndexSet fromClosedRange(Int lower, Int upper); ///< `lower ... upper`
    static IndexSet fromI1I2(Int i1, Int i2);     ///< the closed range between the two, in either order
    static IndexSet fromLocLen(Int loc, Int len); ///< `loc ..< loc + len`
    static IndexSet fromIndexes(std::span<const Int> indexes); ///< in any order; n log n unless they ascend

    IndexSet(const IndexSet& other) noexcept;
    IndexSet(IndexSet&& other) noexcept;
    IndexSet& operator=(const IndexSet& other) noexcept;
    IndexSet& operator=(IndexSet&& other) noexcept;
    ~IndexSet()
    {
        if (block_)
            release();
    }

    [[nodiscard]] Int count() const noexcept { return countBeforeLast_ + countOfLast(); }
    [[nodiscard]] bool isEmpty() const noexcept { return runCount_ == 0; }
    [[nodiscard]] std::optional<Int> first() const noexcept;
    [[nodiscard]] std::optional<Int> last() const noexcept;
    [[nodiscard]] bool contains(Int index) const noexcept;
    /// How many members are in `lower ..< upper`; linear in the runs there.
    [[nodiscard]] Int countInRange(Int lower, Int upper) const noexcept;
    [[nodiscard]] bool isSingle() const noexcept { return count() == 1; }
    /// The one member, if there is exactly one.
    [[nodiscard]] std::optional<Int> singleIndex() const noexcept;

    void insert(Int index);
    void insertRange(Int lower, Int upper); ///< an empty range inserts nothing
    void remove(Int index);
    void removeRange(Int lower, Int upper);
    /// Removes `index` if it is a member, else inserts it.
    void toggle(Int index);

    [[nodiscard]] IndexSet inserting(Int index) const;
    [[nodiscard]] IndexSet removing(Int index) const;
    [[nodiscard]] IndexSet toggling(Int index) const;

    [[nodiscard]] IndexSet union_(const IndexSet& other) const;
    [[nodiscard]] IndexSet intersection(const IndexSet& other) const;
    [[nodiscard]] IndexSet subtracting(const IndexSet& other) const;
    /// Where the members stand once the positions `removed` are gone from the list that they count: those in
    /// `removed` drop out, the others move down by the number of removed positions below them. One pass.
    [[nodiscard]] IndexSet shiftedByRemoving(const IndexSet& removed) const;

    /// The members as runs, ascending, no two of them touching: for work on whole ranges.
    [[nodiscard]] std::span<const IndexRun> runs() const noexcept { return {data(), runCount_}; }
    [[nodiscard]] Iterator begin() const noexcept { return {data(), data() + runCount_}; }
    [[nodiscard]] Iterator end() const noexcept { return {data() + runCount_, data() + runCount_}; }
    [[nodiscard]] auto rbegin() const noexcept { return std::reverse_iterator<Iterator>(end()); }
    [[nodiscard]] auto rend() const noexcept { return std::reverse_iterator<Iterator>(begin()); }

    friend CORVANE_API bool operator==(const IndexSet& a, const IndexSet& b) noexcept;

private:
    // Precedes the runs in their allocation, and is as large as one of them.
    struct Block {
        std::atomic<std::size_t> owners;
        std::size_t capacity;
        IndexRun* runs() noexcept { return reinterpret_cast<IndexRun*>(this + 1); }
    };
    class Writer;
    static constexpr std::size_t inlineRuns = 2;

    static Block* makeBlock(std::size_t capacity);
    const IndexRun* data() const noexcept { return block_ ? block_->runs() : inline_; }
    Int countOfLast() const noexcept;
    /// The runs for writing, if they are ours alone and `needed` of them fit; else null.
    IndexRun* writable(std::size_t needed) noexcept;
    void takeInline(const IndexSet& other) noexcept;
    void setRuns(IndexRun* runs, std::size_t count, Int members) noexcept;
    std::size_t firstRunWithUpperAbove(Int index) const noexcept;
    void insertAnywhere(Int index);
    void insertAnywhere(Int lower, Int upper);
    void splice(std::size_t at, std::size_t removed, std::span<const IndexRun> added);
    void release() noexcept;

    // Of the members before the last run, so that a run that grows at the end needs no other change.
    Int countBeforeLast_ = 0;
    std::size_t runCount_ = 0;
    Block* block_ = nullptr; // shared between copies; null while the runs fit in `inline_`
    // The last run, while it may be written: a copy takes that right from its original too, until the next change
    // that finds the runs unshared.
    mutable IndexRun* last_ = nullptr;
    IndexRun inline_[inlineRuns] = {};
};

inline Int IndexSet::countOfLast() const noexcept
{
    return runCount_ == 0 ? 0 : data()[runCount_ - 1].upper - data()[runCount_ - 1].lower;
}

inline void IndexSet::insertRange(Int lower, Int upper)
{
    // Sets are mostly built in ascending order: a range behind the last run needs no search.
    if (last_ && lower < upper && lower >= last_->upper) [[likely]] {
        if (lower == last_->upper) {
            last_->upper = upper;
            return;
        }
        if (block_ && runCount_ < block_->capacity) {
            countBeforeLast_ += last_->upper - last_->lower;
            *++last_ = {lower, upper};
            ++runCount_;
            return;
        }
    }
    insertAnywhere(lower, upper);
}

inline void IndexSet::insert(Int index)
{
    constexpr Int most = std::numeric_limits<Int>::max() - 1;
    if (!last_ || index != last_->upper || index > most) [[unlikely]] {
        if (index <= most)
            insertRange(index, index + 1);
        else
            insertAnywhere(index);
        return;
    }
    last_->upper = index + 1; // the next after the last: most common of all
}

/// The set that holds just `index`.
[[nodiscard]] inline IndexSet toIndexSet(Int index)
{
    return IndexSet(index);
}

} // namespace corvane
