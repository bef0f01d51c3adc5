// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <cstddef>
#include <iterator>

namespace corvane {

/// Consecutive members of an `IndexSet`: `lower ..< upper`, never empty.
struct IndexRun {
    Int lower;
    Int upper;

    friend constexpr bool operator==(const IndexRun&, const IndexRun&) = default;
};

/// Walks the members of ascending runs, one by one, both ways.
class IndexIterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = Int;
    using difference_type = std::ptrdiff_t;
    using pointer = const Int*;
    using reference = Int;

    IndexIterator() noexcept = default;
    Int operator*() const noexcept { return index_; }
    IndexIterator& operator++() noexcept
    {
        if (++index_ == run_->upper) [[unlikely]] {
            ++run_;
            index_ = run_ == end_ ? 0 : run_->lower;
        }
        return *this;
    }
    IndexIterator& operator--() noexcept
    {
        if (run_ == end_ || index_ == run_->lower)
            index_ = (--run_)->upper;
        --index_;
        return *this;
    }
    IndexIterator operator++(int) noexcept
    {
        const IndexIterator old = *this;
        ++*this;
        return old;
    }
    IndexIterator operator--(int) noexcept
    {
        const IndexIterator old = *this;
        --*this;
        return old;
    }
    friend bool operator==(const IndexIterator&, const IndexIterator&) = default;

private:
    friend class IndexSet;
    IndexIterator(const IndexRun* run, const IndexRun* end) noexcept
        : index_(run == end ? 0 : run->lower), run_(run), end_(end)
    {}

    Int index_ = 0; // 0 at the end, so that all ends are equal
    const IndexRun* run_ = nullptr;
    const IndexRun* end_ = nullptr;
};

} // namespace corvane
