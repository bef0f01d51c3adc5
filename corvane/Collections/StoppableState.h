// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvane {

/// What the callback of an iteration returns: go on, or stop after this element.
///
///     iterate(urls, [&](const URL& url) { return seen.insert(url) ? StoppableState::pursue :
///     StoppableState::stop; });
///
/// Codes are stable. Thread-safe, being a plain value.
enum class StoppableState : int { pursue = 0, stop = 1 };

/// `stop` when either is `stop`. Being an overloaded operator, it evaluates both sides.
[[nodiscard]] constexpr StoppableState operator||(StoppableState a, StoppableState b) noexcept
{
    return static_cast<StoppableState>(static_cast<int>(a) | static_cast<int>(b));
}

} // namespace corvane
