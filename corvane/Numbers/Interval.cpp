// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Interval.h>
#include <corvane/Platform/Base/NumberText.h>

namespace corvane {

std::string Interval::description() const
{
    return numberListText("[", {min, max}, "]");
}

} // namespace corvane
