// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Graphics/CGContext.h>

#include <cairo.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

namespace corvane {

static_assert(std::endian::native == std::endian::little, "pixels are taken as B, G, R, A in memory");

namespace {

constexpr Int longestSide = 32767; // of a cairo image surface

cairo_filter_t filterFor(CGInterpolationQuality quality)
{
    switch (quality) {
    case CGInterpolationQuality::none:
        return CAIRO_FILTER_NEAREST;
    case CGInterpolationQuality::low:
        return CAIRO_FILTER_BILINEAR;
    case CGInterpolationQuality::medium:
        return CAIRO_FILTER_GOOD;
    case CGInterpolationQuality::high:
        return CAIRO_FILTER_BEST;
    }
    return CAIRO_FILTER_GOOD;
}

cairo_matrix_t matrixOf(const CGAffineTransform& map)
{
    return {map.a, map.b, map.c, map.d, map.tx, map.ty};
}

CGAffineTransform mapOf(const cairo_matrix_t& matrix)
{
    return {matrix.xx, matrix.yx, matrix.xy, matrix.yy, matrix.x0, matrix.y0};
}

} // namespace

struct CGContext::State {
    struct Graphics {
        CGColor fill;
        CGFloat alpha = 1;
        CGInterpolationQuality quality = CGInterpolationQuality::medium;
        bool flipped = false;
    };

    PixelMemory pixels; // nothing for a context of the host
    cairo_surface_t* surface = nullptr;
    cairo_t* cairo = nullptr;
    CGAffineTransform base; // from the coordinates at the beginning to cairo's own
    Graphics graphics;
    std::vector<Graphics> saved;

    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State()
    {
        cairo_destroy(cairo);
        cairo_surface_destroy(surface);
    }

    bool isSound() const { return cairo_status(cairo) == CAIRO_STATUS_SUCCESS; }
    void setSourceToFill() const
    {
        const CGColor& c = graphics.fill;
        cairo_set_source_rgba(cairo, c.red(), c.green(), c.blue(), c.alpha() * graphics.alpha);
    }
    void addPath(const CGRect& rect) const
    {
        cairo_new_path(cairo);
        cairo_rectangle(cairo, rect.minX(), rect.minY(), rect.width(), rect.height());
    }
};

CGContext::CGContext(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}
CGContext::CGContext(CGContext&&) noexcept = default;
CGContext& CGContext::operator=(CGContext&&) noexcept = default;
CGContext::~CGContext() = default;

std::optional<CGContext> CGContext::createBitmap(Int width, Int height)
{
    if (width < 1 || height < 1 || width > longestSide || height > longestSide)
        return std::nullopt;
    auto state = std::make_unique<State>();
    state->pixels = PixelMemory::allocateZeroed(width, height);
    if (!state->pixels)
        return std::nullopt;
    state->surface = cairo_image_surface_create_for_data(state->pixels.row(0), CAIRO_FORMAT_ARGB32,
                                                         static_cast<int>(width), static_cast<int>(height),
                                                         static_cast<int>(state->pixels.bytesPerRow()));
    state->cairo = cairo_create(state->surface);
    if (!state->isSound())
        return std::nullopt;
    state->base = {1, 0, 0, -1, 0, static_cast<CGFloat>(height)};
    const cairo_matrix_t matrix = matrixOf(state->base);
    cairo_set_matrix(state->cairo, &matrix);
    return CGContext(std::move(state));
}

CGContext CGContext::wrapping(cairo_t* context)
{
    precondition(context != nullptr, "A drawing context was made over a null cairo context");
    auto state = std::make_unique<State>();
    state->cairo = cairo_reference(context);
    cairo_matrix_t matrix;
    cairo_get_matrix(context, &matrix);
    state->base = mapOf(matrix);
    state->graphics.flipped = true;
    return CGContext(std::move(state));
}

Int CGContext::width() const noexcept
{
    return state_->pixels.width();
}

Int CGContext::height() const noexcept
{
    return state_->pixels.height();
}

bool CGContext::isFlipped() const noexcept
{
    return state_->graphics.flipped;
}

cairo_t* CGContext::cairo() const noexcept
{
    return state_->cairo;
}

void CGContext::saveGState()
{
    cairo_save(state_->cairo);
    state_->saved.push_back(state_->graphics);
}

void CGContext::restoreGState()
{
    precondition(!state_->saved.empty(), "restoreGState was called without its saveGState");
    cairo_restore(state_->cairo);
    state_->graphics = state_->saved.back();
    state_->saved.pop_back();
}

void CGContext::translateBy(CGFloat x, CGFloat y)
{
    concatenate(CGAffineTransform::translation(x, y));
}

void CGContext::scaleBy(CGFloat x, CGFloat y)
{
    concatenate(CGAffineTransform::scale(x, y));
}

void CGContext::rotate(CGFloat radians)
{
    concatenate(CGAffineTransform::rotation(radians));
}

void CGContext::concatenate(const CGAffineTransform& transform)
{
    // cairo would go into an error state for good, in which it silently draws nothing.
    precondition(transform.isInvertible(), "A transformation that cannot be undone was given to a context");
    const cairo_matrix_t matrix = matrixOf(transform);
    cairo_transform(state_->cairo, &matrix);
}

CGAffineTransform CGContext::transform() const
{
    cairo_matrix_t matrix;
    cairo_get_matrix(state_->cairo, &matrix);
    return mapOf(matrix).concatenating(state_->base.inverted());
}

void CGContext::flip()
{
    concatenate({1, 0, 0, -1, 0, static_cast<CGFloat>(height())});
    state_->graphics.flipped = !state_->graphics.flipped;
}

void CGContext::clip(const CGRect& rect)
{
    state_->addPath(rect);
    cairo_clip(state_->cairo);
}

CGRect CGContext::clipBounds() const
{
    double left = 0, low = 0, right = 0, high = 0;
    cairo_clip_extents(state_->cairo, &left, &low, &right, &high);
    return CGRect::make(left, low, right - left, high - low);
}

void CGContext::setFillColor(const CGColor& color)
{
    state_->graphics.fill = color;
}

void CGContext::setAlpha(CGFloat alpha)
{
    state_->graphics.alpha = std::clamp(alpha, 0.0, 1.0);
}

CGFloat CGContext::alpha() const noexcept
{
    return state_->graphics.alpha;
}

void CGContext::setInterpolationQuality(CGInterpolationQuality quality)
{
    state_->graphics.quality = quality;
}

void CGContext::fill(const CGRect& rect)
{
    state_->setSourceToFill();
    state_->addPath(rect);
    cairo_fill(state_->cairo);
}

void CGContext::fillEllipse(const CGRect& rect)
{
    if (rect.isEmpty())
        return;
    cairo_matrix_t before;
    cairo_get_matrix(state_->cairo, &before);
    cairo_new_path(state_->cairo);
    cairo_translate(state_->cairo, rect.midX(), rect.midY());
    cairo_scale(state_->cairo, rect.width() / 2, rect.height() / 2);
    cairo_arc(state_->cairo, 0, 0, 1, 0, 2 * std::numbers::pi);
    cairo_set_matrix(state_->cairo, &before);
    state_->setSourceToFill();
    cairo_fill(state_->cairo);
}

void CGContext::stroke(const CGRect& rect, CGFloat lineWidth)
{
    state_->setSourceToFill();
    state_->addPath(rect);
    cairo_set_line_width(state_->cairo, lineWidth);
    cairo_stroke(state_->cairo);
}

void CGContext::clear(const CGRect& rect)
{
    state_->addPath(rect);
    const cairo_operator_t before = cairo_get_operator(state_->cairo);
    cairo_set_operator(state_->cairo, CAIRO_OPERATOR_CLEAR);
    cairo_fill(state_->cairo);
    cairo_set_operator(state_->cairo, before);
}

void CGContext::draw(const CGImage& image, const CGRect& rect)
{
    if (rect.isEmpty())
        return;
    // cairo marks a surface as it draws from it, so every draw has one of its own over the shared pixels.
    const std::shared_ptr<cairo_surface_t> surface = cairoSurface(image);
    if (!surface)
        return;
    cairo_pattern_t* pattern = cairo_pattern_create_for_surface(surface.get());
    const CGFloat width = static_cast<CGFloat>(image.width());
    const CGFloat height = static_cast<CGFloat>(image.height());
    // From user coordinates to those of the image, whose rows go from the top down.
    const CGFloat across = width / rect.width();
    const CGFloat along = height / rect.height();
    const cairo_matrix_t matrix =
        isFlipped() ? cairo_matrix_t{across, 0, 0, along, -rect.minX() * across, -rect.minY() * along}
                    : cairo_matrix_t{across, 0, 0, -along, -rect.minX() * across, rect.maxY() * along};
    cairo_pattern_set_matrix(pattern, &matrix);
    cairo_pattern_set_filter(pattern, filterFor(state_->graphics.quality));
    // Filters reach beyond the image at its edges: they shall find its own colours there, and the path's edge
    // alone shall decide where it ends.
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    cairo_set_source(state_->cairo, pattern);
    state_->addPath(rect);
    if (state_->graphics.alpha < 1) {
        cairo_save(state_->cairo);
        cairo_clip(state_->cairo);
        cairo_paint_with_alpha(state_->cairo, state_->graphics.alpha);
        cairo_restore(state_->cairo);
    } else {
        cairo_fill(state_->cairo);
    }
    cairo_pattern_destroy(pattern);
    cairo_set_source_rgba(state_->cairo, 0, 0, 0, 1); // lets go of the pixels
}

namespace {

// A font size of zero or below makes cairo's matrix singular, which is an error state for good.
bool setFont(cairo_t* cairo, CGFloat fontSize, bool flipped)
{
    if (!(fontSize > 0) || !std::isfinite(fontSize))
        return false;
    cairo_select_font_face(cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    const cairo_matrix_t matrix{fontSize, 0, 0, flipped ? fontSize : -fontSize, 0, 0};
    cairo_set_font_matrix(cairo, &matrix);
    return true;
}

// An invalid byte would put cairo into its error state for good.
std::string validPrefix(std::string_view text)
{
    std::size_t at = 0;
    while (at < text.size()) {
        const auto lead = static_cast<unsigned char>(text[at]);
        const std::size_t length = lead < 0x80   ? 1
                                   : lead < 0xC2 ? 0
                                   : lead < 0xE0 ? 2
                                   : lead < 0xF0 ? 3
                                   : lead < 0xF5 ? 4
                                                 : 0;
        if (lead == 0 || length == 0 || at + length > text.size())
            break;
        std::uint32_t scalar = length == 1 ? lead : lead & (0x7Fu >> length);
        for (std::size_t i = 1; i < length; ++i) {
            const auto next = static_cast<unsigned char>(text[at + i]);
            scalar = (next & 0xC0u) == 0x80 ? scalar << 6 | (next & 0x3Fu) : 0xFFFFFFFF;
            if (scalar == 0xFFFFFFFF)
                break;
        }
        const std::uint32_t smallest = length == 3 ? 0x800 : length == 4 ? 0x10000 : 0;
        if (scalar < smallest || scalar > 0x10FFFF || (scalar >= 0xD800 && scalar < 0xE000))
            break;
        at += length;
    }
    return std::string(text.substr(0, at));
}

} // namespace

void CGContext::drawText(std::string_view text, CGPoint baseline, CGFloat fontSize)
{
    if (!setFont(state_->cairo, fontSize, isFlipped()))
        return;
    state_->setSourceToFill();
    cairo_move_to(state_->cairo, baseline.x, baseline.y);
    cairo_show_text(state_->cairo, validPrefix(text).c_str());
    cairo_new_path(state_->cairo);
}

CGFloat CGContext::textWidth(std::string_view text, CGFloat fontSize) const
{
    if (!setFont(state_->cairo, fontSize, isFlipped()))
        return 0;
    cairo_text_extents_t extents;
    cairo_text_extents(state_->cairo, validPrefix(text).c_str(), &extents);
    return extents.x_advance;
}

std::optional<CGImage> CGContext::makeImage() const&
{
    if (!state_->pixels || !state_->isSound())
        return std::nullopt;
    cairo_surface_flush(state_->surface);
    const auto bytes = static_cast<std::size_t>(height() * state_->pixels.bytesPerRow());
    return CGImage::fromPixels(width(), height(), state_->pixels.bytesPerRow(),
                               std::as_bytes(std::span(state_->pixels.row(0), bytes)));
}

std::optional<CGImage> CGContext::makeImage() &&
{
    if (!state_->pixels || !state_->isSound())
        return std::nullopt;
    cairo_surface_finish(state_->surface); // whoever else holds the surface cannot write to it any more
    auto image = CGImage::fromPixels(std::move(state_->pixels));
    state_.reset();
    return image;
}

std::shared_ptr<cairo_surface_t> cairoSurface(const CGImage& image)
{
    if (image.width() > longestSide || image.height() > longestSide)
        return nullptr;
    // Never written to: see the promise asked of the caller.
    auto* bytes = const_cast<std::uint8_t*>(image.row(0));
    std::shared_ptr<cairo_surface_t> surface(
        cairo_image_surface_create_for_data(bytes, CAIRO_FORMAT_ARGB32, static_cast<int>(image.width()),
                                            static_cast<int>(image.height()),
                                            static_cast<int>(image.bytesPerRow())),
        cairo_surface_destroy);
    // Others may hold on to the surface itself, so that it is what keeps the pixels.
    static const cairo_user_data_key_t key{};
    auto owner = std::make_unique<CGImage>(image);
    const auto release = [](void* kept) { delete static_cast<CGImage*>(kept); };
    if (cairo_surface_set_user_data(surface.get(), &key, owner.get(), release) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    static_cast<void>(owner.release());
    return surface;
}

} // namespace corvane
