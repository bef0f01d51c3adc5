// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CALayer.h>

namespace corvane {

CALayer::~CALayer() = default;

void CALayer::setBounds(const CGRect& bounds)
{
    if (bounds == bounds_)
        return;
    bounds_ = bounds;
    setNeedsDisplay();
}

void CALayer::setNeedsDisplay()
{
    if (needsDisplay_)
        return;
    needsDisplay_ = true;
    if (displayRequest)
        displayRequest();
}

void CALayer::display(CGContext& in)
{
    needsDisplay_ = false; // first, so that drawing may ask for the next display
    in.saveGState();
    in.clip(bounds_);
    draw(in);
    in.restoreGState();
}

void CALayer::draw(CGContext&) {}

} // namespace corvane
