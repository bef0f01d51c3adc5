// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/CGSize.h>
#include <corvane/Platform/Base/NumberText.h>

namespace corvane {

std::string description(CGSize self)
{
    return numberListText("(", {self.width, self.height}, ")");
}

} // namespace corvane
