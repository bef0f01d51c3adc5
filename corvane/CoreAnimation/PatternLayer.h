// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Graphics/CALayer.h>
#include <corvane/Platform/Graphics/CGPattern.h>

namespace corvane {

/// A layer that fills its bounds with a repeated tile, which a subclass draws.
///
///     class Dots : public PatternLayer {
///         CGSize patternSize() override { return {8, 8}; }
///         void drawPattern(CGContext& in) override { in.fillEllipse(CGRect::make(2, 2, 4, 4)); }
///     };
///
/// The pattern is made by the first drawing and kept until `updatePattern()`. It keeps the tile's size;
/// what the tile shows is drawn anew every time. So after a change of colour the next drawing has it (say
/// `setNeedsDisplay()`), while after a change of size the old tiles go on, with the new drawing clipped to
/// them, until `updatePattern()`. Main-thread.
class CORVANE_API PatternLayer : public CALayer {
public:
    std::shared_ptr<const CGPattern> pattern; ///< null until the first drawing and after `updatePattern()`
    /// Handed to the pattern when it is made, with the layer itself as its info, which it does not keep
    /// alive.
    CGPatternCallbacks patternCallback;

    PatternLayer();
    /// Another layer with the same bounds and a pattern of its own.
    explicit PatternLayer(const PatternLayer& layer);

    /// Forgets the pattern and needs display: for a change of the tile's size or look.
    void updatePattern();

    /// The size of the tile. To be overridden: here it stops the process.
    virtual CGSize patternSize();
    /// Draws the tile, its origin at (0, 0). To be overridden: here it stops the process.
    virtual void drawPattern(CGContext& in);

    void draw(CGContext& in) override;
};

} // namespace corvane
