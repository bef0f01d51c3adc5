// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <optional>
#include <type_traits>

namespace corvane {

/// How many cases an enumeration has whose raw values count up from 0; each such enumeration says so beside
/// it.
template <typename Enumeration>
inline constexpr Int caseCount = 0;

/// The number by which a case is stored.
template <typename Enumeration>
requires(caseCount<Enumeration> > 0) [[nodiscard]] constexpr Int rawValue(Enumeration value) noexcept
{
    return static_cast<Int>(value);
}

/// `fromRawValue<Orientation>(2)`: the case with that number; absent when there is none.
template <typename Enumeration>
requires(caseCount<Enumeration> > 0)
    [[nodiscard]] constexpr std::optional<Enumeration> fromRawValue(Int rawValue) noexcept
{
    if (rawValue < 0 || rawValue >= caseCount<Enumeration>)
        return std::nullopt;
    return static_cast<Enumeration>(rawValue);
}

} // namespace corvane
