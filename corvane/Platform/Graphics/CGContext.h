// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Graphics/CGAffineTransform.h>
#include <corvane/Platform/Graphics/CGColor.h>
#include <corvane/Platform/Graphics/CGImage.h>

#include <memory>
#include <optional>
#include <string_view>

typedef struct _cairo cairo_t;                 // NOLINT(bugprone-reserved-identifier): cairo's own tags
typedef struct _cairo_surface cairo_surface_t; // NOLINT(bugprone-reserved-identifier)

namespace corvane {

/// How an image is sampled when it is drawn at another size: nearest pixel, bilinear, area-aware, best.
enum class CGInterpolationQuality { none, low, medium, high };

/// What is drawn on: a bitmap, or a surface of the host.
///
///     auto sheet = CGContext::createBitmap(800, 600);
///     sheet->setFillColor(CGColor::genericGray(0.9));
///     sheet->fill(CGRect::make(0, 0, 800, 600));
///     sheet->draw(photo, CGRect::make(20, 20, 256, 192));   // lower left corner, upright
///     CGImage image = *std::move(*sheet).makeImage();
///
/// Coordinates: in a bitmap context the origin is the lower left corner and y grows upward, so that a
/// rectangle's `maxY()` is its upper edge and positive angles turn counterclockwise. `flip()` changes to an
/// origin in the upper left corner with y downward. A context over a `cairo_t` keeps the host's coordinates
/// as they are and counts as flipped, which is how cairo's surfaces start. Images and text are drawn upright
/// either way.
///
/// Colours are painted as sRGB. A context that ran out of memory draws nothing more and gives no image.
/// Move-only; a moved-from context may only be destroyed or assigned to. Thread-compatible.
class CORVANE_API CGContext {
public:
    /// Transparent, 8 bits a component. Absent when a side is not in 1 to 32767 or memory is short.
    static std::optional<CGContext> createBitmap(Int width, Int height);
    /// Draws through `context`, which is kept alive as long. What this class changes in the drawing state
    /// stays changed: put `saveGState` and `restoreGState` around it where the host goes on drawing.
    static CGContext wrapping(cairo_t* context);

    CGContext(CGContext&&) noexcept;
    CGContext& operator=(CGContext&&) noexcept;
    ~CGContext();

    /// In pixels; 0 for a context over a `cairo_t`.
    Int width() const noexcept;
    Int height() const noexcept;
    bool isFlipped() const noexcept;

    /// Colour, interpolation, alpha, transformation, clip and flip are saved and come back; saves nest. A
    /// restore without its save stops the process.
    void saveGState();
    void restoreGState();

    /// These change the coordinates of what is drawn from now on.
    void translateBy(CGFloat x, CGFloat y);
    void scaleBy(CGFloat x, CGFloat y);
    void rotate(CGFloat radians);
    /// A transformation that cannot be undone stops the process.
    void concatenate(const CGAffineTransform& transform);
    /// From the user's coordinates to those that the context began with.
    CGAffineTransform transform() const;
    /// Changes between y upward and y downward for what is drawn from now on, within the bitmap's height. For
    /// a context over a `cairo_t` it mirrors at its current y = 0.
    void flip();

    /// Keeps what is drawn from now on within `rect`.
    void clip(const CGRect& rect);
    CGRect clipBounds() const;

    void setFillColor(const CGColor& color);
    /// Multiplies the alpha of everything drawn, 0 to 1.
    void setAlpha(CGFloat alpha);
    CGFloat alpha() const noexcept;
    void setInterpolationQuality(CGInterpolationQuality quality);

    void fill(const CGRect& rect);
    void fillEllipse(const CGRect& rect);
    /// A line of `lineWidth` along the edges of `rect`, half of it on either side, in the fill colour.
    void stroke(const CGRect& rect, CGFloat lineWidth);
    /// Makes `rect` transparent (black on a surface without alpha).
    void clear(const CGRect& rect);

    /// The whole of `image` stretched over `rect`.
    void draw(const CGImage& image, const CGRect& rect);

    /// One line of UTF-8 text in the desktop's sans-serif font and the fill colour, its baseline starting at
    /// `baseline`. Meant for captions: no shaping, no bidirectional layout, no line breaks. Text that is not
    /// valid UTF-8 is drawn up to there.
    void drawText(std::string_view text, CGPoint baseline, CGFloat fontSize);
    /// How far `drawText` would advance.
    CGFloat textWidth(std::string_view text, CGFloat fontSize) const;

    /// What has been drawn so far, as a copy that later drawing does not change. Absent for a context over a
    /// `cairo_t`. The second form hands over the pixels without copying and ends the context.
    std::optional<CGImage> makeImage() const&;
    std::optional<CGImage> makeImage() &&;

    /// The context behind, for drawing that is not offered here; owned by this object. Its coordinates are
    /// the current ones.
    cairo_t* cairo() const noexcept;

private:
    struct State;
    explicit CGContext(std::unique_ptr<State> state) noexcept;

    std::unique_ptr<State> state_;
};

/// `image` as a cairo image surface that shares its pixels and keeps them alive. For reading only: writing
/// through it changes an image that others hold. Null when memory is short or a side is above 32767 pixels.
/// Thread-safe.
CORVANE_API std::shared_ptr<cairo_surface_t> cairoSurface(const CGImage& image);

} // namespace corvane
