// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Angle.h>
#include <corvane/Platform/Base/NumberText.h>

namespace corvane {

std::string Angle::description() const
{
    return numberText(degrees()) + " deg";
}

} // namespace corvane
