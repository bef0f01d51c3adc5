// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreAnimation/PatternLayer.h>
#include <corvane/Platform/Base/Fatal.h>

namespace corvane {

namespace {

void drawPatternOfLayer(void* info, CGContext& in)
{
    static_cast<PatternLayer*>(info)->drawPattern(in);
}

} // namespace

PatternLayer::PatternLayer() : patternCallback{.version = 0, .drawPattern = drawPatternOfLayer}
{
    setNeedsDisplay();
}

PatternLayer::PatternLayer(const PatternLayer& layer) : CALayer(layer), patternCallback(layer.patternCallback)
{
    setNeedsDisplay();
}

void PatternLayer::updatePattern()
{
    pattern.reset();
    setNeedsDisplay();
}

CGSize PatternLayer::patternSize()
{
    fatalError("patternSize() should be overriden by subclass");
}

void PatternLayer::drawPattern(CGContext&)
{
    fatalError("drawPattern(in:) should be overriden by subclass");
}

void PatternLayer::draw(CGContext& in)
{
    if (!pattern) {
        const CGSize size = patternSize();
        pattern = CGPattern::create(this, {CGPoint::zero, size}, size.width, size.height, patternCallback);
    }
    // Kept over the drawing, which may call `updatePattern()`.
    const std::shared_ptr<const CGPattern> current = pattern;
    fill(in, *current, bounds());
}

} // namespace corvane
