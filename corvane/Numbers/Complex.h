// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Numbers/RealNumber.h>

#include <functional>
#include <string>
#include <vector>

namespace corvane {

/// A complex number.
///
///     Complex z{1, 2};
///     z * z == Complex::pow(z, {2, 0});               // (−3, 4)
///     z / Complex::i;                                 // (2, −1)
///     Complex::fromAbsArg(2, std::numbers::pi).real;  // −2
///     z.description();                                // "(+1.0 +2.0i)"
///
/// Angles are read and written by different conventions. `arg` measures from the imaginary axis, clockwise:
/// it is atan2(real, imag), so 1 has the argument π/2 and i has 0. Setting `arg` and `fromAbsArg` use the
/// usual angle. `log` and `pow` read the angle as `arg` does, and with `log` so do all inverse functions.
///
/// Every function is the composition that its line names, of full complex products, so zero parts take part
/// and infinities and NaN spread as IEEE arithmetic has it. Nothing is an error but `truncate` of a part that
/// an `Int` cannot hold. `==` compares both parts exactly. Thread-compatible.
struct Complex {
    CGFloat real = 0;
    CGFloat imag = 0;

    static const Complex i;
    static const Complex zero;
    static const Complex one;

    static constexpr Complex fromReal(CGFloat real) noexcept { return {real, 0}; }
    static constexpr Complex fromImag(CGFloat imag) noexcept { return {0, imag}; }
    static CORVANE_API Complex fromAbsArg(CGFloat abs, CGFloat arg) noexcept;
    /// Each as (x, 0), in the same order.
    static CORVANE_API std::vector<Complex> realsToComplex(std::span<const CGFloat> reals);

    CGFloat abs() const noexcept { return std::hypot(imag, real); }
    CGFloat norm() const noexcept { return abs(); }
    /// Keeps the direction; a zero value has none, and gets NaN parts.
    CORVANE_API void setAbs(CGFloat abs) noexcept;
    /// From the imaginary axis, clockwise: atan2(real, imag).
    CGFloat arg() const noexcept { return std::atan2(real, imag); }
    /// From the real axis, counterclockwise; keeps the modulus.
    CORVANE_API void setArg(CGFloat arg) noexcept;
    constexpr Complex conj() const noexcept { return {real, -imag}; }

    /// Both parts rounded, halves away from zero.
    Complex round() const noexcept { return {std::round(real), std::round(imag)}; }
    Complex round(Int places) const noexcept
    {
        return {corvane::round(real, places), corvane::round(imag, places)};
    }
    /// Both parts cut toward zero at `places` decimals; a scaled part that no `Int` holds stops the process.
    CORVANE_API Complex truncate(Int places, SourcePlace place = SourcePlace::current()) const;

    /// Whether the imaginary (for `isImaginary` the real) part rounds to 0 at `places` decimals.
    bool isReal(Int places = 6) const noexcept { return corvane::isSimilarTo(imag, 0, places); }
    bool isImaginary(Int places = 6) const noexcept { return corvane::isSimilarTo(real, 0, places); }
    /// Part by part.
    bool isSimilarTo(const Complex& other, Int places = 6) const noexcept
    {
        return corvane::isSimilarTo(real, other.real, places) &&
               corvane::isSimilarTo(imag, other.imag, places);
    }
    constexpr bool overlap(const Complex& other, CGFloat tolerance = 0.000005) const noexcept
    {
        return corvane::overlap(real, other.real, tolerance) && corvane::overlap(imag, other.imag, tolerance);
    }
    /// "(+1.0 -2.0i)"
    CORVANE_API std::string description() const;

    /// The principal root; the imaginary part is at least 0 unless that of the number is below 0 or NaN, so
    /// both (−4, 0) and (−4, −0) give (0, 2).
    Complex sqrt() const noexcept
    {
        const CGFloat r = std::hypot(imag, real);
        return {std::sqrt((r + real) * 0.5), std::sqrt((r - real) * 0.5) * (imag >= 0 ? 1.0 : -1.0)};
    }
    static Complex sqrt(const Complex& z) noexcept { return z.sqrt(); }
    static CORVANE_API Complex exp(const Complex& z) noexcept;
    static CORVANE_API Complex log(const Complex& z) noexcept; ///< (ln |z|, z.arg())
    /// The exponents 0, 1 and 2 are exact shortcuts, 0 also for z = 0; otherwise exp(w · log z).
    static CORVANE_API Complex pow(const Complex& z, const Complex& w) noexcept;

    static CORVANE_API Complex sin(const Complex& z) noexcept; ///< (exp(iz) − exp(−iz)) · −i/2
    static CORVANE_API Complex cos(const Complex& z) noexcept; ///< (exp(iz) + exp(−iz)) · 1/2
    /// (exp(iz) − exp(−iz)) / (i(exp(iz) + exp(−iz)))
    static CORVANE_API Complex tan(const Complex& z) noexcept;
    static CORVANE_API Complex asin(const Complex& z) noexcept; ///< −i · log(iz + √(1 − z²))
    static CORVANE_API Complex acos(const Complex& z) noexcept; ///< −i · log(z + i√(1 − z²))
    static CORVANE_API Complex atan(const Complex& z) noexcept; ///< i/2 · (log(1 − iz) − log(1 + iz))
    static CORVANE_API Complex sinh(const Complex& z) noexcept; ///< (exp(z) − exp(−z)) · 1/2
    static CORVANE_API Complex cosh(const Complex& z) noexcept; ///< (exp(z) + exp(−z)) · 1/2
    static CORVANE_API Complex tanh(const Complex& z) noexcept; ///< (exp(z) − exp(−z)) / (exp(z) + exp(−z))
    static CORVANE_API Complex asinh(const Complex& z) noexcept; ///< log(z + √(z² + 1))
    static CORVANE_API Complex acosh(const Complex& z) noexcept; ///< log(z + √(z² − 1))
    static CORVANE_API Complex atanh(const Complex& z) noexcept; ///< 1/2 · log((1 + z) / (1 − z))

    friend constexpr bool operator==(const Complex&, const Complex&) = default;

    friend constexpr Complex operator+(const Complex& a) noexcept { return a; }
    friend constexpr Complex operator-(const Complex& a) noexcept { return {-a.real, -a.imag}; }

    friend constexpr Complex operator+(const Complex& a, const Complex& b) noexcept
    {
        return {a.real + b.real, a.imag + b.imag};
    }
    friend constexpr Complex operator-(const Complex& a, const Complex& b) noexcept
    {
        return {a.real - b.real, a.imag - b.imag};
    }
    friend constexpr Complex operator*(const Complex& a, const Complex& b) noexcept
    {
        return {a.real * b.real - a.imag * b.imag, a.imag * b.real + a.real * b.imag};
    }
    /// Smith's method: scaled by the larger part of `b`, so that nothing overflows on the way. A division by
    /// zero gives infinite or NaN parts.
    friend constexpr Complex operator/(const Complex& a, const Complex& b) noexcept
    {
        if (corvane::abs(b.real) >= corvane::abs(b.imag)) {
            const CGFloat t = b.imag / b.real;
            const CGFloat den = b.real + b.imag * t;
            return {(a.real + a.imag * t) / den, (a.imag - a.real * t) / den};
        }
        const CGFloat t = b.real / b.imag;
        const CGFloat den = b.real * t + b.imag;
        return {(a.real * t + a.imag) / den, (a.imag * t - a.real) / den};
    }

    // With a number: it is not made complex first, except on the left of − and +, whose imaginary part is 0 ∓
    // imag, and of /.
    friend constexpr Complex operator+(const Complex& a, CGFloat x) noexcept { return {a.real + x, a.imag}; }
    friend constexpr Complex operator-(const Complex& a, CGFloat x) noexcept { return {a.real - x, a.imag}; }
    friend constexpr Complex operator*(const Complex& a, CGFloat x) noexcept
    {
        return {a.real * x, a.imag * x};
    }
    friend constexpr Complex operator/(const Complex& a, CGFloat x) noexcept
    {
        return {a.real / x, a.imag / x};
    }
    friend constexpr Complex operator+(CGFloat x, const Complex& a) noexcept { return fromReal(x) + a; }
    friend constexpr Complex operator-(CGFloat x, const Complex& a) noexcept { return fromReal(x) - a; }
    friend constexpr Complex operator*(CGFloat x, const Complex& a) noexcept { return a * x; }
    friend constexpr Complex operator/(CGFloat x, const Complex& a) noexcept { return fromReal(x) / a; }

    constexpr Complex& operator+=(const Complex& b) noexcept { return *this = *this + b; }
    constexpr Complex& operator-=(const Complex& b) noexcept { return *this = *this - b; }
    constexpr Complex& operator*=(const Complex& b) noexcept { return *this = *this * b; }
    constexpr Complex& operator/=(const Complex& b) noexcept { return *this = *this / b; }
    constexpr Complex& operator+=(CGFloat x) noexcept { return *this = *this + x; }
    constexpr Complex& operator-=(CGFloat x) noexcept { return *this = *this - x; }
    constexpr Complex& operator*=(CGFloat x) noexcept { return *this = *this * x; }
    constexpr Complex& operator/=(CGFloat x) noexcept { return *this = *this / x; }
};

inline constexpr Complex Complex::i{0, 1};
inline constexpr Complex Complex::zero{};
inline constexpr Complex Complex::one{1, 0};

} // namespace corvane

template <>
struct std::hash<corvane::Complex> {
    std::size_t operator()(const corvane::Complex& z) const noexcept
    {
        const std::size_t first = std::hash<corvane::CGFloat>()(z.real);
        return first * 31 + std::hash<corvane::CGFloat>()(z.imag);
    }
};
