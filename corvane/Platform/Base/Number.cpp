// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Number.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

namespace corvane {

namespace {

// `value` as the nearest value of `To`; integers and floating values alike, NaN as 0.
template <std::integral To, typename From>
To saturated(From value) noexcept
{
    using Limits = std::numeric_limits<To>;
    if constexpr (std::is_floating_point_v<From>) {
        if (std::isnan(value))
            return 0;
        // Both ends of To are powers of two or one less, so 2^63 or 2^64 is the first value too large.
        const From end = std::ldexp(From{1}, Limits::digits);
        if (value >= end)
            return Limits::max();
        if (value <= static_cast<From>(Limits::min()))
            return Limits::min();
        return static_cast<To>(value);
    } else if constexpr (std::is_same_v<From, bool>) {
        return value ? 1 : 0;
    } else {
        if (std::cmp_less(value, Limits::min()))
            return Limits::min();
        if (std::cmp_greater(value, Limits::max()))
            return Limits::max();
        return static_cast<To>(value);
    }
}

template <typename Integer>
bool equalsReal(Integer whole, double real) noexcept
{
    if (!(real >= -0x1p63 && real < 0x1p64) || std::trunc(real) != real)
        return false;
    return real < 0 ? std::cmp_equal(static_cast<Int>(real), whole)
                    : std::cmp_equal(static_cast<std::uint64_t>(real), whole);
}

} // namespace

bool Number::boolValue() const noexcept
{
    return std::visit([](auto value) { return value != decltype(value){}; }, value_);
}

Int Number::intValue() const noexcept
{
    return std::visit([](auto value) { return saturated<Int>(value); }, value_);
}

std::uint64_t Number::unsignedValue() const noexcept
{
    return std::visit([](auto value) { return saturated<std::uint64_t>(value); }, value_);
}

float Number::floatValue() const noexcept
{
    return std::visit([](auto value) { return static_cast<float>(value); }, value_);
}

double Number::doubleValue() const noexcept
{
    return std::visit([](auto value) { return static_cast<double>(value); }, value_);
}

std::optional<Int> Number::exactInt() const noexcept
{
    const Int whole = intValue();
    return *this == Number(whole) ? std::optional(whole) : std::nullopt;
}

bool operator==(const Number& a, const Number& b) noexcept
{
    return std::visit(
        [](auto x, auto y) {
            using X = decltype(x);
            using Y = decltype(y);
            constexpr bool realX = std::is_floating_point_v<X>;
            constexpr bool realY = std::is_floating_point_v<Y>;
            const auto whole = [](auto value) {
                if constexpr (std::is_same_v<decltype(value), bool>)
                    return static_cast<int>(value);
                else
                    return value;
            };
            if constexpr (realX && realY)
                return static_cast<double>(x) == static_cast<double>(y);
            else if constexpr (realX)
                return equalsReal(whole(y), static_cast<double>(x));
            else if constexpr (realY)
                return equalsReal(whole(x), static_cast<double>(y));
            else
                return std::cmp_equal(whole(x), whole(y));
        },
        a.value_, b.value_);
}

} // namespace corvane
