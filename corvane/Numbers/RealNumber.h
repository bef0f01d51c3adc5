// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/Random.h>

#include <algorithm>
#include <cmath>
#include <concepts>
#include <type_traits>

namespace corvane {

class Number;

/// The floating types that share the operations below: `CGFloat`, `double` (the same type here) and `float`.
template <typename T>
concept RealNumber = std::same_as<T, double> || std::same_as<T, float>;

// Rounding, comparison with tolerance, random values and unit conversion, written once for every `RealNumber`
// and carried out in the type's own precision: single stays single.
//
//     isSimilarTo(1.0000004, 1.0000001)   // true: equal at six decimals
//     round(2.345, 2)                     // 2.35
//     glue(3.0, 3.2, 0.5)                 // 3.2: close enough to snap
//     fraction(0.33333333, 1e-6)          // {1, 3}
//
// Rounding is to nearest with halves away from zero throughout. Every conversion to an `Int` stops the
// process for a NaN, an infinity or a value outside the range; everything else follows IEEE. Thread-safe.

/// `value` in the type `T`, from another floating value or from a boxed number.
template <RealNumber T, std::floating_point From>
[[nodiscard]] constexpr T realNumber(From value) noexcept
{
    return static_cast<T>(value);
}
template <RealNumber T>
[[nodiscard]] CORVANE_API T realNumber(const Number& value) noexcept;

/// Truncated toward zero.
template <RealNumber T>
[[nodiscard]] constexpr Int intValue(T self, SourcePlace place = SourcePlace::current())
{
    return checkedInt(self, place);
}

[[nodiscard]] constexpr double doubleValue(RealNumber auto self) noexcept
{
    return static_cast<double>(self);
}

/// Clears the sign, also of zero and NaN; `norm` negates what is below zero, and so keeps both.
template <RealNumber T>
[[nodiscard]] constexpr T abs(T self) noexcept
{
    if constexpr (std::same_as<T, double>)
        return __builtin_fabs(self);
    else
        return __builtin_fabsf(self);
}
template <RealNumber T>
[[nodiscard]] constexpr T norm(T self) noexcept
{
    return self >= 0 ? self : -self;
}

[[nodiscard]] inline auto floor(RealNumber auto self) noexcept
{
    return std::floor(self);
}
[[nodiscard]] inline auto ceil(RealNumber auto self) noexcept
{
    return std::ceil(self);
}
[[nodiscard]] inline auto round(RealNumber auto self) noexcept
{
    return std::round(self);
}
[[nodiscard]] inline auto sqrt(RealNumber auto self) noexcept
{
    return std::sqrt(self);
}
template <RealNumber T>
[[nodiscard]] T pow(T self, std::type_identity_t<T> exponent) noexcept
{
    return std::pow(self, exponent);
}
/// The remainder of a division that truncates: it has the sign of `self`.
template <RealNumber T>
[[nodiscard]] T mod(T self, std::type_identity_t<T> modulus) noexcept
{
    return std::fmod(self, modulus);
}

/// `mod` with a remainder below zero lifted by one `modulus`. A remainder of −0 is not below zero and stays;
/// for a negative modulus a positive remainder stays too.
template <RealNumber T>
[[nodiscard]] T positiveMod(T self, std::type_identity_t<T> modulus) noexcept
{
    const T remainder = mod(self, modulus);
    return remainder < 0 ? remainder + modulus : remainder;
}

template <RealNumber T>
[[nodiscard]] Int floorInt(T self, SourcePlace place = SourcePlace::current())
{
    return intValue(floor(self), place);
}
template <RealNumber T>
[[nodiscard]] Int ceilInt(T self, SourcePlace place = SourcePlace::current())
{
    return intValue(ceil(self), place);
}
template <RealNumber T>
[[nodiscard]] Int roundInt(T self, SourcePlace place = SourcePlace::current())
{
    return intValue(round(self), place);
}

/// 10 to the power of `places`, by which values are scaled to round them at decimals. Negative places scale
/// to tens, hundreds and so on.
template <RealNumber T>
[[nodiscard]] T decimalScale(Int places) noexcept
{
    return pow(T(10), static_cast<T>(places));
}

template <RealNumber T>
[[nodiscard]] T round(T self, Int places) noexcept
{
    const T scale = decimalScale<T>(places);
    return round(self * scale) / scale;
}
template <RealNumber T>
[[nodiscard]] Int roundInt(T self, Int places, SourcePlace place = SourcePlace::current())
{
    return intValue(round(self, places), place);
}
/// Digits beyond `places` cut off toward zero. The scaled value passes through an `Int`, and must fit one.
template <RealNumber T>
[[nodiscard]] T truncate(T self, Int places, SourcePlace place = SourcePlace::current())
{
    const T scale = decimalScale<T>(places);
    return static_cast<T>(intValue(self * scale, place)) / scale;
}

/// Whether both values are the same once rounded at `places` decimals.
template <RealNumber T>
[[nodiscard]] bool isSimilarTo(T self, std::type_identity_t<T> other, Int places = 6) noexcept
{
    const T scale = decimalScale<T>(places);
    return round(self * scale) == round(other * scale);
}
/// Whether the difference lies in [−tolerance, tolerance].
template <RealNumber T>
[[nodiscard]] constexpr bool overlap(T self, std::type_identity_t<T> other,
                                     std::type_identity_t<T> tolerance = T(0.00001L)) noexcept
{
    const T difference = self - other;
    return -tolerance <= difference && difference <= tolerance;
}

[[nodiscard]] inline bool isInteger(RealNumber auto self) noexcept
{
    return floor(self) == self;
}
/// 1 for zero of either sign and above, otherwise −1 (also for NaN).
template <RealNumber T>
[[nodiscard]] constexpr T sign(T self) noexcept
{
    return self >= 0 ? T(1) : T(-1);
}
/// 0 … 1 as 0 … 255, truncated. Not clamped: 1.5 gives 382.
template <RealNumber T>
[[nodiscard]] constexpr Int toByte(T self, SourcePlace place = SourcePlace::current())
{
    return intValue(self * 255, place);
}
/// The lower bound wins when the bounds are crossed.
template <RealNumber T>
[[nodiscard]] constexpr T clamp(T self, std::type_identity_t<T> min, std::type_identity_t<T> max) noexcept
{
    return std::max(min, std::min(max, self));
}
/// `at` for a value closer to it than `delta`; one exactly `delta` away is not snapped.
template <RealNumber T>
[[nodiscard]] constexpr T glue(T self, std::type_identity_t<T> at, std::type_identity_t<T> delta) noexcept
{
    if (self <= at - delta)
        return self;
    if (at + delta <= self)
        return self;
    return at;
}

struct Fraction {
    Int numerator = 0;
    Int denominator = 1;

    friend constexpr bool operator==(const Fraction&, const Fraction&) = default;
};

/// The simplest fraction close to `self`, by continued fractions; the error allowed grows with the square of
/// the denominator, as the error of a convergent does. Stops the process for values that are not finite and
/// where numerator or denominator would overflow (a threshold of 0 and an irrational value end there).
template <RealNumber T>
[[nodiscard]] Fraction fraction(T self, std::type_identity_t<T> errorThreshold,
                                SourcePlace place = SourcePlace::current())
{
    T x = self;
    T whole = floor(x);
    Int previousH = 1, previousK = 0, h = intValue(whole, place), k = 1;
    while (x - whole > errorThreshold * static_cast<T>(k) * static_cast<T>(k)) {
        x = 1 / (x - whole);
        whole = floor(x);
        const Int term = intValue(whole, place);
        const Int nextH = checkedAdd(previousH, checkedMultiply(term, h, place), place);
        const Int nextK = checkedAdd(previousK, checkedMultiply(term, k, place), place);
        previousH = h;
        previousK = k;
        h = nextH;
        k = nextK;
    }
    return {h, k};
}

/// One of 0.00, 0.01, … 0.99: a draw in hundredths, by the remainder of a 32-bit draw.
template <RealNumber T>
[[nodiscard]] T randomUnitValue() noexcept
{
    return static_cast<T>(randomUInt32() % 100) / 100;
}
/// From `min` on in hundredths of the way to `max`, which itself is never drawn.
template <RealNumber T>
[[nodiscard]] T randomValue(std::type_identity_t<T> min, std::type_identity_t<T> max) noexcept
{
    return randomUnitValue<T>() * (max - min) + min;
}
/// A whole number in 0 … 4294967295 (single precision rounds it, up to 4294967296).
template <RealNumber T>
[[nodiscard]] T randomValue() noexcept
{
    return static_cast<T>(randomUInt32());
}

// A point is 1/72 inch. The factors have exactly the digits shown, so a length converted there and back is
// close to what it was, not equal: `points2mm(mm2points(1.0))` is a little less than 1.

template <RealNumber T>
[[nodiscard]] constexpr T mm2inches(T self) noexcept
{
    return self * T(0.0393700787L);
}
template <RealNumber T>
[[nodiscard]] constexpr T mm2points(T self) noexcept
{
    return self * T(2.834645669L);
}
template <RealNumber T>
[[nodiscard]] constexpr T points2inches(T self) noexcept
{
    return self * T(0.0138889L);
}
template <RealNumber T>
[[nodiscard]] constexpr T points2mm(T self) noexcept
{
    return self * T(0.352778L);
}
[[nodiscard]] constexpr auto days2seconds(RealNumber auto self) noexcept
{
    return self * 86400;
}
[[nodiscard]] constexpr auto weeks2seconds(RealNumber auto self) noexcept
{
    return self * 604800;
}

} // namespace corvane
