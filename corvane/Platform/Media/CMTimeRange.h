// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Media/CMTime.h>

namespace corvane {

/// A stretch of time: a start and a duration. The end does not belong to it.
///
///     const auto clip = CMTimeRange::fromTimes(CMTime::make(10, 1), CMTime::make(14, 1));
///     clip.contains(CMTime::make(14, 1));                  // false
///     clip.intersection(other).isEmpty();                  // whether nothing is common
///     clip.unionWith(other).duration;
///
/// A range is valid when both times are and the duration is not below zero; anything else counts as no time
/// at all. Thread-compatible.
struct CMTimeRange {
    CMTime start;
    CMTime duration;

    /// From `start` up to `end`; not valid when `end` comes first.
    static CMTimeRange fromTimes(const CMTime& start, const CMTime& end) noexcept
    {
        return {start, end - start};
    }
    static CMTimeRange zero() noexcept { return {CMTime::zero(), CMTime::zero()}; }
    static constexpr CMTimeRange invalid() noexcept { return {}; }

    bool isValid() const noexcept
    {
        return start.isValid() && duration.isValid() && duration.epoch == 0 && duration >= CMTime::zero();
    }
    /// Not valid, or without duration.
    bool isEmpty() const noexcept { return !isValid() || duration == CMTime::zero(); }
    CMTime end() const noexcept { return start + duration; }

    bool contains(const CMTime& time) const noexcept { return !isEmpty() && time >= start && time < end(); }
    /// Whether no part of `other` lies outside; an empty range is contained where its start is.
    bool contains(const CMTimeRange& other) const noexcept
    {
        if (other.isEmpty())
            return other.isValid() && contains(other.start);
        return !isEmpty() && other.start >= start && other.end() <= end();
    }

    /// The common part; `zero()` when there is none.
    CMTimeRange intersection(const CMTimeRange& other) const noexcept
    {
        if (isEmpty() || other.isEmpty())
            return zero();
        const CMTime from = start < other.start ? other.start : start;
        const CMTime to = end() < other.end() ? end() : other.end();
        return from < to ? fromTimes(from, to) : zero();
    }
    /// The smallest range that holds both; an empty one adds nothing.
    CMTimeRange unionWith(const CMTimeRange& other) const noexcept
    {
        if (isEmpty() || other.isEmpty())
            return isEmpty() ? other : *this;
        return fromTimes(start < other.start ? start : other.start,
                         end() < other.end() ? other.end() : end());
    }

    friend bool operator==(const CMTimeRange&, const CMTimeRange&) = default;
};

} // namespace corvane
