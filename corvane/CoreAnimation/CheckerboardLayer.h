// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/CoreAnimation/PatternLayer.h>

namespace corvane {

/// A checkerboard of two colours, the usual backdrop behind transparent images.
///
///     CheckerboardLayer board;
///     board.setBounds(CGRect::make(0, 0, 160, 120));
///     board.cellSize = {16, 16};   // squares of 8 by 8
///     board.updatePattern();
///     board.display(context);
///
/// Changing a field redraws nothing by itself; see `PatternLayer`. Main-thread.
class CORVANE_API CheckerboardLayer : public PatternLayer {
public:
    CGSize cellSize{10, 10};                       ///< of a tile, which holds four squares
    CGColor color1 = CGColor::genericGray(0.7, 1); ///< of the squares at the tile's origin and opposite it
    CGColor color2 = CGColor::genericGray(1.0, 1); ///< of the other two

    CheckerboardLayer() = default;
    explicit CheckerboardLayer(const CheckerboardLayer& layer) = default;

    CGSize patternSize() override;
    void drawPattern(CGContext& in) override;
};

} // namespace corvane
