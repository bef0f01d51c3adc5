// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/Export.h>

#include <concepts>
#include <type_traits>

namespace corvane {

// Helpers on `Int`. Overflow and results that an `Int` cannot hold stop the process. Thread-safe.
//
//     factorial(20);               // 2432902008176640000
//     clamp(17, 0, 9);             // 9
//     randomValue<Int>(1, 7);      // a throw of dice: the upper bound is not drawn

/// −1 below zero, otherwise +1.
[[nodiscard]] constexpr Int sign(Int self) noexcept
{
    return self < 0 ? -1 : 1;
}

/// The most negative value has none, and stops the process.
template <std::signed_integral T> // a template, so that it is never as good a match as the C library's `abs`
[[nodiscard]] constexpr Int abs(T self, SourcePlace place = SourcePlace::current())
{
    const Int value = self;
    return value < 0 ? checkedSubtract(Int{0}, value, place) : value;
}

/// The power in double precision, truncated; beyond 2^53 it is as exact as a double. A result that is not
/// finite or out of range stops the process.
template <std::signed_integral T>
[[nodiscard]] Int pow(T self, Int exponent, SourcePlace place = SourcePlace::current())
{
    return checkedInt(__builtin_pow(static_cast<double>(self), static_cast<double>(exponent)), place);
}

/// The product 2·3·…·self. It has no first factor below 2, so 0 and 1 stop the process like every negative
/// value; so does overflow, from 21 on.
[[nodiscard]] constexpr Int factorial(Int self, SourcePlace place = SourcePlace::current())
{
    if (self < 2)
        fatalError("A factorial is formed from 2 on", place);
    Int product = 1;
    for (Int factor = 2; factor <= self; ++factor)
        product = checkedMultiply(product, factor, place);
    return product;
}

[[nodiscard]] constexpr Int min(Int a, Int b) noexcept
{
    return b < a ? b : a;
}
[[nodiscard]] constexpr Int max(Int a, Int b) noexcept
{
    return a < b ? b : a;
}
/// The lower bound wins when the bounds are crossed.
[[nodiscard]] constexpr Int clamp(Int self, Int min, Int max) noexcept
{
    return corvane::max(min, corvane::min(max, self));
}

/// `random<Int>()`: uniform in 0 … 2147483646.
template <std::same_as<Int> T>
[[nodiscard]] CORVANE_API T random() noexcept;

/// `randomValue<Int>(min, max)`: from `min` on in hundredths of the way to `max`, computed in single
/// precision and truncated toward zero. Bounds beyond 2^24 are rounded to what a `float` holds, and a bound
/// that rounds up to 2^63 stops the process when it is drawn.
template <std::same_as<Int> T>
[[nodiscard]] CORVANE_API T randomValue(std::type_identity_t<T> min, std::type_identity_t<T> max,
                                        SourcePlace place = SourcePlace::current());

} // namespace corvane
