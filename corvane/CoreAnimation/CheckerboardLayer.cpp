// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreAnimation/CheckerboardLayer.h>

namespace corvane {

CGSize CheckerboardLayer::patternSize()
{
    return cellSize;
}

void CheckerboardLayer::drawPattern(CGContext& in)
{
    const CGFloat width = cellSize.width / 2;
    const CGFloat height = cellSize.height / 2;
    in.setFillColor(color1);
    in.fill(CGRect::make(0, 0, width, height));
    in.fill(CGRect::make(width, height, width, height));
    in.setFillColor(color2);
    in.fill(CGRect::make(width, 0, width, height));
    in.fill(CGRect::make(0, height, width, height));
}

} // namespace corvane
