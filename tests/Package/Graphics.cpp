// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImage.h>

int main()
{
    using namespace corvane;
    const auto image = emptyWith(3, 2);
    const auto bytes = image ? PNGData(*image) : std::nullopt;
    const auto size = bytes ? imageSize(*bytes) : std::nullopt;
    return size == CGSize{3, 2} ? 0 : 1;
}
