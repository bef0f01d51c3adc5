// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Base/Types.h>

#include <concepts>

namespace corvane {

// Integer arithmetic whose overflow stops the process, and the one conversion from floating point to `Int`.
// All constexpr where the compiler allows; thread-safe.

template <std::integral T>
[[nodiscard]] constexpr T checkedAdd(T a, T b, SourcePlace place = SourcePlace::current())
{
    T result{};
    if (__builtin_add_overflow(a, b, &result)) [[unlikely]]
        fatalError("Integer overflow in an addition", place);
    return result;
}

template <std::integral T>
[[nodiscard]] constexpr T checkedSubtract(T a, T b, SourcePlace place = SourcePlace::current())
{
    T result{};
    if (__builtin_sub_overflow(a, b, &result)) [[unlikely]]
        fatalError("Integer overflow in a subtraction", place);
    return result;
}

template <std::integral T>
[[nodiscard]] constexpr T checkedMultiply(T a, T b, SourcePlace place = SourcePlace::current())
{
    T result{};
    if (__builtin_mul_overflow(a, b, &result)) [[unlikely]]
        fatalError("Integer overflow in a multiplication", place);
    return result;
}

/// `value` truncated toward zero. A NaN, an infinity or a value outside the range of `Int` stops the process.
/// The range test is made in the argument's own precision: 2^63 is the first value refused in both.
template <std::floating_point T>
[[nodiscard]] constexpr Int checkedInt(T value, SourcePlace place = SourcePlace::current())
{
    constexpr T limit = static_cast<T>(9223372036854775808.0); // 2^63, exact in every binary format
    if (!(value >= -limit && value < limit)) [[unlikely]]
        fatalError("A number that is not finite or out of range cannot become an integer", place);
    return static_cast<Int>(value);
}

} // namespace corvane
