// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/RealNumber.h>
#include <corvane/Platform/Base/Number.h>

namespace corvane {

template <>
double realNumber<double>(const Number& value) noexcept
{
    return value.doubleValue();
}

template <>
float realNumber<float>(const Number& value) noexcept
{
    return value.floatValue();
}

} // namespace corvane
