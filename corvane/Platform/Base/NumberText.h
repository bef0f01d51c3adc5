// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace corvane {

// How every text form of the library prints a floating-point number: the fewest digits that read back as the
// same value of the same type, and of those the nearest. From 1e-04 up to below 1e+16 the layout is decimal
// with at least one digit behind the point (1.0, 0.1, 1000000.0), outside it is scientific with at least two
// exponent digits (1e-05, 1.5e+16, 5e-324). Negative zero is -0.0; the others are inf, -inf and nan, whatever
// the sign of a NaN. Independent of the locale. Thread-safe.

/// Room for the longest text there is.
inline constexpr std::size_t numberTextCapacity = 32;

/// Writes into `buffer`, without a terminating zero, and returns the part of it that was written.
CORVANE_API std::string_view writeNumber(std::span<char, numberTextCapacity> buffer, double value) noexcept;
CORVANE_API std::string_view writeNumber(std::span<char, numberTextCapacity> buffer, float value) noexcept;

[[nodiscard]] CORVANE_API std::string numberText(double value);
[[nodiscard]] CORVANE_API std::string numberText(float value);

/// `numberListText("[", {0, 0.5}, "]")` is "[0.0, 0.5]".
[[nodiscard]] CORVANE_API std::string
numberListText(std::string_view open, std::initializer_list<double> values, std::string_view close);

} // namespace corvane
