// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Graphics/CGContext.h>

#include <functional>

namespace corvane {

/// Something that draws itself into its bounds and knows when it has to. There is no tree of layers and no
/// screen behind it: a host draws it where it likes.
///
///     class Badge : public CALayer {
///         void draw(CGContext& in) override { in.setFillColor(red); in.fillEllipse(bounds()); }
///     };
///     badge.displayRequest = [widget] { gtk_widget_queue_draw(widget); };
///     // when the widget draws:
///     auto context = CGContext::wrapping(cairo);
///     badge.display(context);
///
/// Main-thread.
class CORVANE_API CALayer {
public:
    CALayer() = default;
    /// With the bounds of `layer`; not its request, which belongs to the host of that one.
    explicit CALayer(const CALayer& layer) : bounds_(layer.bounds_) {}
    CALayer& operator=(const CALayer&) = delete;
    virtual ~CALayer();

    CGRect bounds() const noexcept { return bounds_; }
    /// Other bounds need display.
    void setBounds(const CGRect& bounds);

    bool needsDisplay() const noexcept { return needsDisplay_; }
    void setNeedsDisplay();
    /// Called when the layer begins to need display, until it has been displayed once and not again.
    std::function<void()> displayRequest;

    /// Draws the layer, clipped to its bounds, and leaves the context as it was. It needs no display
    /// afterwards.
    void display(CGContext& in);
    /// What subclasses override; draws nothing here. Called by `display`, or directly for drawing elsewhere.
    virtual void draw(CGContext& in);

private:
    CGRect bounds_;
    bool needsDisplay_ = false;
};

} // namespace corvane
