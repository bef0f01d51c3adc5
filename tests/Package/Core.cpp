// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/Number.h>

int main()
{
    const corvane::Number number(corvane::Int{41});
    return number.intValue() == 41 ? 0 : 1;
}
