// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Graphics/CGContext.h>

#include <memory>

namespace corvane {

/// Who draws a pattern's tile: `drawPattern` is called with the pattern's `info`, whenever it is filled.
struct CGPatternCallbacks {
    unsigned version = 0;
    void (*drawPattern)(void* info, CGContext& in) = nullptr;
    void (*releaseInfo)(void* info) = nullptr; ///< when the pattern ends; null when nothing is to be released
};

/// A coloured tile that repeats over the plane at constant steps.
///
///     const CGPatternCallbacks callbacks{.drawPattern = [](void*, CGContext& in) {
///         in.setFillColor(CGColor::genericGray(0.5));
///         in.fillEllipse(CGRect::make(2, 2, 4, 4));
///     }};
///     const auto dots = CGPattern::create(nullptr, CGRect::make(0, 0, 8, 8), 8, 8, callbacks);
///     fill(context, *dots, CGRect::make(0, 0, 300, 200));
///
/// The tile drawing has the coordinates of `bounds` and is clipped to them; tiles lie at whole steps from
/// there in the coordinates that the context has while it is filled. The size is fixed for the life of the
/// pattern, what the tile shows is drawn anew for each fill. Thread-compatible; drawing is as thread-safe
/// as the callback.
class CORVANE_API CGPattern {
public:
    /// The `info` is handed to the callbacks as it is and has to live as long as the pattern.
    static std::shared_ptr<const CGPattern> create(void* info, const CGRect& bounds, CGFloat xStep,
                                                   CGFloat yStep, const CGPatternCallbacks& callbacks);
    ~CGPattern();
    CGPattern(const CGPattern&) = delete;
    CGPattern& operator=(const CGPattern&) = delete;

    CGRect bounds() const noexcept { return bounds_; }
    CGFloat xStep() const noexcept { return xStep_; }
    CGFloat yStep() const noexcept { return yStep_; }

    /// Draws one tile, in the context's coordinates.
    void drawTile(CGContext& in) const;

private:
    CGPattern(void* info, const CGRect& bounds, CGFloat xStep, CGFloat yStep,
              const CGPatternCallbacks& callbacks);

    void* info_;
    CGRect bounds_;
    CGFloat xStep_;
    CGFloat yStep_;
    CGPatternCallbacks callbacks_;
};

/// Fills `rect` with the pattern. Where tile and context meet on whole pixels every tile is the same to the
/// pixel; elsewhere the tile is rendered at the next whole size and resampled. A pattern whose steps are
/// not above zero, or not finite, draws nothing.
CORVANE_API void fill(CGContext& context, const CGPattern& pattern, const CGRect& rect);

} // namespace corvane
