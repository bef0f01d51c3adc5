// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Complex.h>
#include <corvane/Platform/Base/NumberText.h>

namespace corvane {

Complex Complex::fromAbsArg(CGFloat abs, CGFloat arg) noexcept
{
    return {abs * std::cos(arg), abs * std::sin(arg)};
}

std::vector<Complex> Complex::realsToComplex(std::span<const CGFloat> reals)
{
    std::vector<Complex> numbers;
    numbers.reserve(reals.size());
    for (const CGFloat real : reals)
        numbers.push_back(fromReal(real));
    return numbers;
}

void Complex::setAbs(CGFloat abs) noexcept
{
    *this *= abs / std::hypot(imag, real);
}

void Complex::setArg(CGFloat arg) noexcept
{
    *this = fromAbsArg(std::hypot(imag, real), arg);
}

Complex Complex::truncate(Int places, SourcePlace place) const
{
    return {corvane::truncate(real, places, place), corvane::truncate(imag, places, place)};
}

std::string Complex::description() const
{
    std::string text = "(";
    const auto append = [&text](CGFloat part, std::string_view behind) {
        if (!std::signbit(part))
            text += '+';
        text += numberText(part);
        text += behind;
    };
    append(real, " ");
    append(imag, "i)");
    return text;
}

Complex Complex::exp(const Complex& z) noexcept
{
    return fromAbsArg(std::exp(z.real), z.imag);
}

Complex Complex::log(const Complex& z) noexcept
{
    return {std::log(z.abs()), z.arg()};
}

Complex Complex::pow(const Complex& z, const Complex& w) noexcept
{
    if (w == zero)
        return one;
    if (w == one)
        return z;
    if (w == Complex{2, 0})
        return z * z;
    return exp(log(z) * w);
}

namespace {

// Constants enter as complex numbers, so that their zero part takes part in the product.
constexpr Complex half{0.5, 0};
constexpr Complex halfI{0, 0.5};

} // namespace

Complex Complex::sin(const Complex& z) noexcept
{
    return (exp(i * z) - exp(-i * z)) * -halfI;
}

Complex Complex::cos(const Complex& z) noexcept
{
    return (exp(i * z) + exp(-i * z)) * half;
}

Complex Complex::tan(const Complex& z) noexcept
{
    const Complex up = exp(i * z);
    const Complex down = exp(-i * z);
    return (up - down) / (i * (up + down));
}

Complex Complex::asin(const Complex& z) noexcept
{
    return -i * log(i * z + sqrt(1 - z * z));
}

Complex Complex::acos(const Complex& z) noexcept
{
    return -i * log(z + i * sqrt(1 - z * z));
}

Complex Complex::atan(const Complex& z) noexcept
{
    const Complex turned = i * z;
    return halfI * (log(1 - turned) - log(1 + turned));
}

Complex Complex::sinh(const Complex& z) noexcept
{
    return (exp(z) - exp(-z)) * half;
}

Complex Complex::cosh(const Complex& z) noexcept
{
    return (exp(z) + exp(-z)) * half;
}

Complex Complex::tanh(const Complex& z) noexcept
{
    const Complex up = exp(z);
    const Complex down = exp(-z);
    return (up - down) / (up + down);
}

Complex Complex::asinh(const Complex& z) noexcept
{
    return log(z + sqrt(z * z + 1));
}

Complex Complex::acosh(const Complex& z) noexcept
{
    return log(z + sqrt(z * z - 1));
}

Complex Complex::atanh(const Complex& z) noexcept
{
    return half * log((1 + z) / (1 - z));
}

} // namespace corvane
