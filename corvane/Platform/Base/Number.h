// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <concepts>
#include <optional>
#include <variant>

namespace corvane {

/// A boxed number: what a property list, an image property or an archive means by "a number". It keeps the
/// kind it was made from, so a 64-bit integer at either end, an unsigned value above the signed maximum and a
/// single precision value all come back exactly.
///
///     Number width = 4000;
///     width.intValue();     // 4000
///     width.doubleValue();  // 4000.0
///     Number(true) == Number(1);  // true: equality is of values, not of kinds
///
/// Conversions never stop the process: a value outside the asked type gives the nearest value of that type,
/// and NaN gives 0. `exactInt()` is for callers that must know. Thread-compatible.
class CORVANE_API Number {
public:
    enum class Kind { boolean, integer, unsignedInteger, single, real };

    constexpr Number() noexcept : value_(Int{0}) {}
    template <std::same_as<bool> T> // not a plain `bool`, to which every pointer would convert
    constexpr Number(T value) noexcept : value_(value)
    {}
    template <std::signed_integral T>
    constexpr Number(T value) noexcept : value_(static_cast<Int>(value))
    {}
    template <std::unsigned_integral T>
    requires(!std::same_as<T, bool>) constexpr Number(T value) noexcept
        : value_(static_cast<std::uint64_t>(value))
    {}
    constexpr Number(float value) noexcept : value_(value) {}
    constexpr Number(double value) noexcept : value_(value) {}

    constexpr Kind kind() const noexcept { return static_cast<Kind>(value_.index()); }
    constexpr bool isFloatingPoint() const noexcept { return kind() >= Kind::single; }

    /// Whether the value is not zero (NaN is not zero).
    bool boolValue() const noexcept;
    /// Truncated toward zero, at most the nearest end of the range.
    Int intValue() const noexcept;
    std::uint64_t unsignedValue() const noexcept;
    float floatValue() const noexcept;
    double doubleValue() const noexcept;

    /// The value when it is a whole number that `Int` holds; otherwise absent.
    std::optional<Int> exactInt() const noexcept;

    /// Equality of the numeric values, exact across kinds; NaN equals nothing.
    friend CORVANE_API bool operator==(const Number& a, const Number& b) noexcept;

private:
    std::variant<bool, Int, std::uint64_t, float, double> value_;
};

} // namespace corvane
