// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Int.h>
#include <corvane/Platform/Base/Random.h>

namespace corvane {

template <>
Int random<Int>() noexcept
{
    return Int{randomUInt32Below(2147483647)};
}

template <>
Int randomValue<Int>(Int min, Int max, SourcePlace place)
{
    const float low = static_cast<float>(min);
    const float high = static_cast<float>(max);
    return checkedInt(low + (high - low) * (static_cast<float>(randomUInt32() % 100) / 100), place);
}

} // namespace corvane
