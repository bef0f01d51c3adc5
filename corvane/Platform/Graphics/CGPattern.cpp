// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGPattern.h>

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

namespace corvane {

namespace {

struct Releaser {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
};
using Surface = std::unique_ptr<cairo_surface_t, Releaser>;
using Source = std::unique_ptr<cairo_pattern_t, Releaser>;

// Tiles larger than this are few on any screen, and are drawn one by one.
constexpr double largestTile = 2048;
// A small tile is repeated by hand to about this many pixels, as every copy of it costs a call. Not to
// more, because short runs out of the first cache are copied nearly twice as fast as longer ones.
constexpr int wideTile = 128;
constexpr int tallTile = 16;

bool isOpaque(const CGImage& image)
{
    for (Int y = 0; y < image.height(); ++y) {
        const std::uint8_t* row = image.row(y);
        for (Int x = 0; x < image.width(); ++x)
            if (row[4 * x + 3] != 255)
                return false;
    }
    return true;
}

// The tile at `width` by `height` pixels; absent when memory is short.
std::optional<CGImage> rendered(const CGPattern& pattern, int width, int height, bool flipped)
{
    auto tile = CGContext::createBitmap(width, height);
    if (!tile)
        return std::nullopt;
    if (flipped)
        tile->flip();
    tile->scaleBy(width / pattern.xStep(), height / pattern.yStep());
    tile->translateBy(-pattern.bounds().minX(), -pattern.bounds().minY());
    pattern.drawTile(*tile);
    return std::move(*tile).makeImage();
}

// The tile beside and above itself a few times; its own size divides the surface's. Null when memory is
// short.
Surface repeated(const CGImage& tile)
{
    const int width = static_cast<int>(tile.width());
    const int height = static_cast<int>(tile.height());
    const int across = std::max(1, wideTile / width);
    const int along = std::max(1, tallTile / height);
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width * across, height * along));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    const auto bytes = static_cast<std::size_t>(width) * 4;
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface.get()));
    unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
    for (int y = 0; y < height * along; ++y)
        for (int x = 0; x < across; ++x)
            std::memcpy(pixels + static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(x) * bytes,
                        tile.row(y % height), bytes);
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

bool isWhole(double value)
{
    return std::abs(value - std::round(value)) < 1e-6;
}

struct Pixels {
    unsigned char* first;
    std::ptrdiff_t stride;
    int width, height;
};

Pixels pixelsOf(cairo_surface_t* surface)
{
    return {cairo_image_surface_get_data(surface), cairo_image_surface_get_stride(surface),
            cairo_image_surface_get_width(surface), cairo_image_surface_get_height(surface)};
}

int wrapped(double place, int size)
{
    const double rest = std::fmod(place, size);
    return static_cast<int>(rest < 0 ? rest + size : rest);
}

// Fills the clip with copies of an opaque tile where the target is memory and everything lies on whole
// pixels: twice as fast as cairo's call for each tile. `matrix` leads from the target's pixels, which have
// to be the coordinates, to those of the tile. False, with nothing drawn, where it is not so.
bool copyTiles(cairo_t* cairo, cairo_surface_t* tile, const cairo_matrix_t& matrix)
{
    cairo_surface_t* const target = cairo_get_group_target(cairo);
    double offsetX = 0, offsetY = 0;
    cairo_surface_get_device_offset(target, &offsetX, &offsetY);
    const bool isMemory = cairo_surface_get_type(target) == CAIRO_SURFACE_TYPE_IMAGE &&
                          (cairo_image_surface_get_format(target) == CAIRO_FORMAT_ARGB32 ||
                           cairo_image_surface_get_format(target) == CAIRO_FORMAT_RGB24);
    if (!isMemory || offsetX != 0 || offsetY != 0 || matrix.xx != 1 || matrix.yy != 1)
        return false;
    const std::unique_ptr<cairo_rectangle_list_t, decltype(&cairo_rectangle_list_destroy)> areas(
        cairo_copy_clip_rectangle_list(cairo), cairo_rectangle_list_destroy);
    if (areas->status != CAIRO_STATUS_SUCCESS)
        return false;
    const std::span all(areas->rectangles, static_cast<std::size_t>(areas->num_rectangles));
    for (const cairo_rectangle_t& area : all)
        if (!isWhole(area.x) || !isWhole(area.y) || !isWhole(area.width) || !isWhole(area.height))
            return false;

    cairo_surface_flush(target);
    const Pixels to = pixelsOf(target), from = pixelsOf(tile);
    for (const cairo_rectangle_t& area : all) {
        const int width = static_cast<int>(std::round(area.width));
        const int first = wrapped(std::round(area.x) + matrix.x0, from.width);
        int row = wrapped(std::round(area.y) + matrix.y0, from.height);
        unsigned char* line = to.first + std::lround(area.y) * to.stride + std::lround(area.x) * 4;
        for (long left = std::lround(area.height); left > 0; --left, line += to.stride) {
            const unsigned char* const source = from.first + row * from.stride;
            unsigned char* out = line;
            int column = first;
            for (int missing = width; missing > 0;) {
                const int piece = std::min(missing, from.width - column);
                std::memcpy(out, source + column * 4, static_cast<std::size_t>(piece) * 4);
                out += piece * 4;
                missing -= piece;
                column = 0;
            }
            row = row + 1 == from.height ? 0 : row + 1;
        }
    }
    cairo_surface_mark_dirty(target);
    return true;
}

void fillTileByTile(CGContext& context, const CGPattern& pattern, const CGRect& rect)
{
    const CGRect visible = rect.intersection(context.clipBounds());
    if (visible.isEmpty())
        return;
    const CGPoint origin = pattern.bounds().standardized().origin;
    const double firstX = std::floor((visible.minX() - origin.x) / pattern.xStep());
    const double firstY = std::floor((visible.minY() - origin.y) / pattern.yStep());
    for (double y = firstY; origin.y + y * pattern.yStep() < visible.maxY(); ++y)
        for (double x = firstX; origin.x + x * pattern.xStep() < visible.maxX(); ++x) {
            context.saveGState();
            context.clip(rect);
            context.translateBy(x * pattern.xStep(), y * pattern.yStep());
            pattern.drawTile(context);
            context.restoreGState();
        }
}

} // namespace

CGPattern::CGPattern(void* info, const CGRect& bounds, CGFloat xStep, CGFloat yStep,
                     const CGPatternCallbacks& callbacks)
    : info_(info), bounds_(bounds), xStep_(xStep), yStep_(yStep), callbacks_(callbacks)
{}

CGPattern::~CGPattern()
{
    if (callbacks_.releaseInfo != nullptr)
        callbacks_.releaseInfo(info_);
}

std::shared_ptr<const CGPattern> CGPattern::create(void* info, const CGRect& bounds, CGFloat xStep,
                                                   CGFloat yStep, const CGPatternCallbacks& callbacks)
{
    return std::shared_ptr<const CGPattern>(new CGPattern(info, bounds, xStep, yStep, callbacks));
}

void CGPattern::drawTile(CGContext& in) const
{
    in.saveGState();
    in.clip(bounds_);
    if (callbacks_.drawPattern != nullptr)
        callbacks_.drawPattern(info_, in);
    in.restoreGState();
}

void fill(CGContext& context, const CGPattern& pattern, const CGRect& rect)
{
    cairo_t* const cairo = context.cairo();
    double scaleX = 1, scaleY = 1; // of a screen with more pixels than units
    cairo_surface_get_device_scale(cairo_get_group_target(cairo), &scaleX, &scaleY);
    cairo_matrix_t user;
    cairo_get_matrix(cairo, &user);
    const double width = pattern.xStep() * std::hypot(user.xx * scaleX, user.yx * scaleY);
    const double height = pattern.yStep() * std::hypot(user.xy * scaleX, user.yy * scaleY);
    if (rect.isEmpty() || !(width > 0 && height > 0) || !std::isfinite(width) || !std::isfinite(height))
        return;
    if (width > largestTile || height > largestTile) {
        fillTileByTile(context, pattern, rect);
        return;
    }

    const bool whole = isWhole(width) && isWhole(height) && user.yx == 0 && user.xy == 0;
    const auto pixels = [whole](double length) {
        return std::max(1, static_cast<int>(whole ? std::round(length) : std::ceil(length)));
    };
    const auto tile = rendered(pattern, pixels(width), pixels(height), context.isFlipped());
    const Surface surface = tile ? repeated(*tile) : nullptr;
    if (!surface)
        return;
    const bool opaque = context.alpha() == 1 && isOpaque(*tile);

    // From the user's coordinates to the pixels of the tile, whose rows go from the top down.
    const CGPoint origin = pattern.bounds().standardized().origin;
    const double across = static_cast<double>(tile->width()) / pattern.xStep();
    const double along =
        static_cast<double>(tile->height()) / pattern.yStep() * (context.isFlipped() ? 1 : -1);
    cairo_matrix_t matrix{across, 0, 0, along, -origin.x * across, -origin.y * along};
    cairo_save(cairo);
    cairo_new_path(cairo);
    cairo_rectangle(cairo, rect.minX(), rect.minY(), rect.width(), rect.height());
    cairo_clip(cairo);
    if (whole) {
        // From the pixels themselves, so that only a whole shift is left for cairo, which copies then.
        cairo_matrix_t back = user;
        cairo_matrix_invert(&back);
        cairo_matrix_multiply(&matrix, &back, &matrix);
        matrix = {std::copysign(scaleX, matrix.xx),
                  0,
                  0,
                  std::copysign(scaleY, matrix.yy),
                  std::round(matrix.x0),
                  std::round(matrix.y0)};
        cairo_identity_matrix(cairo);
        if (opaque && copyTiles(cairo, surface.get(), matrix)) {
            cairo_restore(cairo);
            return;
        }
    }
    const Source source(cairo_pattern_create_for_surface(surface.get()));
    cairo_pattern_set_matrix(source.get(), &matrix);
    cairo_pattern_set_extend(source.get(), CAIRO_EXTEND_REPEAT);
    cairo_pattern_set_filter(source.get(), whole ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_GOOD);
    cairo_set_source(cairo, source.get());
    if (opaque)
        cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
    cairo_paint_with_alpha(cairo, context.alpha());
    cairo_restore(cairo);
}

} // namespace corvane
