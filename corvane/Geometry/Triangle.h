// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Geometry/CGPoint.h>

namespace corvane {

/// Three points in order, and how one turns on the way from the first to the last.
///
///     Triangle corner{{0, 0}, {1, 0}, {0, 1}};
///     corner.signedArea();                 // 0.5
///     corner.collinearity();               // counterClockwiseTurn (y upward)
///     (corner * 2 + 1).b;                  // (3, 1): every coordinate takes part
///
/// `==` compares exactly, `overlap` within a tolerance, `isSimilarTo` once rounded at decimals; vertex by
/// vertex. Thread-compatible.
struct Triangle {
    enum class CollinearityState { point, line, clockwiseTurn, counterClockwiseTurn };

    CGPoint a;
    CGPoint b;
    CGPoint c;

    static const Triangle zero;

    /// Positive when a → b → c turns counterclockwise, where y grows upward.
    constexpr CGFloat signedArea() const noexcept { return cross(b - a, c - a) * 0.5; }

    /// Whether `b` and `c` are similar to `a`.
    bool isPoint(Int places = 6) const noexcept
    {
        return corvane::isSimilarTo(a, b, places) && corvane::isSimilarTo(a, c, places);
    }
    /// Whether the area is similar to 0; so a point is a line too, and so is every small enough triangle.
    bool isLine(Int places = 6) const noexcept { return corvane::isSimilarTo(signedArea(), 0, places); }
    CollinearityState collinearity(Int places = 6) const noexcept
    {
        if (isPoint(places))
            return CollinearityState::point;
        if (isLine(places))
            return CollinearityState::line;
        return signedArea() < 0 ? CollinearityState::clockwiseTurn : CollinearityState::counterClockwiseTurn;
    }

    constexpr bool overlap(const Triangle& other, CGFloat tolerance = 0.000005) const noexcept
    {
        return corvane::overlap(a, other.a, tolerance) && corvane::overlap(b, other.b, tolerance) &&
               corvane::overlap(c, other.c, tolerance);
    }
    bool isSimilarTo(const Triangle& other, Int places = 6) const noexcept
    {
        return corvane::isSimilarTo(a, other.a, places) && corvane::isSimilarTo(b, other.b, places) &&
               corvane::isSimilarTo(c, other.c, places);
    }

    friend constexpr bool operator==(const Triangle&, const Triangle&) = default;

    friend constexpr Triangle operator+(const Triangle& t) noexcept { return t; }
    friend constexpr Triangle operator-(const Triangle& t) noexcept { return {-t.a, -t.b, -t.c}; }
    friend constexpr Triangle operator+(const Triangle& t, const Triangle& u) noexcept
    {
        return {t.a + u.a, t.b + u.b, t.c + u.c};
    }
    friend constexpr Triangle operator-(const Triangle& t, const Triangle& u) noexcept
    {
        return {t.a - u.a, t.b - u.b, t.c - u.c};
    }
    friend constexpr Triangle operator+(const Triangle& t, CGFloat x) noexcept { return t + all(x); }
    friend constexpr Triangle operator-(const Triangle& t, CGFloat x) noexcept { return t - all(x); }
    friend constexpr Triangle operator*(const Triangle& t, CGFloat x) noexcept
    {
        return {t.a * x, t.b * x, t.c * x};
    }
    friend constexpr Triangle operator/(const Triangle& t, CGFloat x) noexcept
    {
        return {t.a / x, t.b / x, t.c / x};
    }
    friend constexpr Triangle operator+(CGFloat x, const Triangle& t) noexcept { return all(x) + t; }
    friend constexpr Triangle operator-(CGFloat x, const Triangle& t) noexcept { return all(x) - t; }
    friend constexpr Triangle operator*(CGFloat x, const Triangle& t) noexcept { return t * x; }

    constexpr Triangle& operator+=(const Triangle& other) noexcept { return *this = *this + other; }
    constexpr Triangle& operator-=(const Triangle& other) noexcept { return *this = *this - other; }
    constexpr Triangle& operator+=(CGFloat x) noexcept { return *this = *this + x; }
    constexpr Triangle& operator-=(CGFloat x) noexcept { return *this = *this - x; }
    constexpr Triangle& operator*=(CGFloat x) noexcept { return *this = *this * x; }
    constexpr Triangle& operator/=(CGFloat x) noexcept { return *this = *this / x; }

private:
    static constexpr Triangle all(CGFloat x) noexcept { return {{x, x}, {x, x}, {x, x}}; }
};

inline constexpr Triangle Triangle::zero{};

} // namespace corvane
