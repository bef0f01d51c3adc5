// SPDX-License-Identifier: Apache-2.0
#include "Sheet.h"

#include <corvane/CoreAnimation/CheckerboardLayer.h>
#include <corvane/Platform/Graphics/CGContext.h>

#include <algorithm>
#include <cmath>
#include <string_view>

namespace contactsheet {
namespace {

using namespace corvane;

constexpr CGColor paper = CGColor::genericGray(0.95);
constexpr CGColor ink = CGColor::genericGray(0.25);
constexpr CGFloat fontSize = 11;

constexpr Int longestSide = 32767; // of a bitmap context
constexpr Int usualEdge = 200;
constexpr Int smallestEdge = 16;
constexpr Int sensiblePixels = 48'000'000; // of a sheet whose edge nobody asked for

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// `name` as it is when it fits in `width`, otherwise with its middle replaced: the end of a name tells
/// pictures of one series apart.
std::string fitted(const CGContext& context, std::string_view name, CGFloat width)
{
    std::size_t head = name.size() / 2;
    std::size_t tail = head;
    std::string text(name);
    while (context.textWidth(text, fontSize) > width && head > 0) {
        do
            --head;
        while (head > 0 && isContinuation(name[head]));
        do
            ++tail;
        while (tail < name.size() && isContinuation(name[tail]));
        text.assign(name.substr(0, head)).append("…").append(name.substr(std::min(tail, name.size())));
    }
    return text;
}

} // namespace

std::optional<Layout> Layout::fitting(Int count, std::optional<Int> edge, std::optional<Int> columns)
{
    const auto layout = [&](Int withEdge) {
        Layout result{withEdge, 1, 1};
        const double widerThanHigh =
            4.0 / 3.0 * static_cast<double>(result.cellHeight()) / static_cast<double>(result.cellWidth());
        const auto chosen = std::ceil(std::sqrt(static_cast<double>(count) * widerThanHigh));
        result.columns = std::min(count, columns.value_or(static_cast<Int>(chosen)));
        result.rows = (count + result.columns - 1) / result.columns;
        return result;
    };
    const auto ifPossible = [](const Layout& l) {
        return l.width() <= longestSide && l.height() <= longestSide ? std::optional(l) : std::nullopt;
    };
    if (count < 1)
        return std::nullopt;
    if (edge)
        return ifPossible(layout(*edge));
    for (Int chosen = usualEdge; chosen > smallestEdge; chosen = chosen * 9 / 10)
        if (const auto fits = ifPossible(layout(chosen));
            fits && fits->width() * fits->height() <= sensiblePixels)
            return fits;
    return ifPossible(layout(smallestEdge));
}

std::optional<CGImage> drawSheet(std::span<const Picture> pictures, const Layout& layout)
{
    auto context = CGContext::createBitmap(layout.width(), layout.height());
    if (!context)
        return std::nullopt;
    context->setFillColor(paper);
    context->fill(
        CGRect::make(0, 0, static_cast<CGFloat>(layout.width()), static_cast<CGFloat>(layout.height())));
    context->setFillColor(ink);

    CheckerboardLayer backdrop; // shows what of a picture is transparent

    Int cell = 0;
    for (const Picture& picture : pictures) {
        if (!picture.thumbnail)
            continue;
        const Int left = Layout::gap + cell % layout.columns * layout.cellWidth();
        const Int top = layout.height() - Layout::gap - cell / layout.columns * layout.cellHeight();
        ++cell;
        // Whole pixels, so that a thumbnail is copied and not sampled anew. y grows upward.
        const CGImage& image = *picture.thumbnail;
        const Int x = left + (layout.edge - image.width()) / 2;
        const Int y = top - layout.edge + (layout.edge - image.height()) / 2;
        context->saveGState();
        context->translateBy(static_cast<CGFloat>(x), static_cast<CGFloat>(y));
        backdrop.setBounds({CGPoint::zero, image.size()});
        backdrop.display(*context);
        context->draw(image, backdrop.bounds());
        context->restoreGState();

        const std::string caption =
            fitted(*context, picture.url.lastPathComponent(), static_cast<CGFloat>(layout.edge));
        const CGFloat indent =
            (static_cast<CGFloat>(layout.edge) - context->textWidth(caption, fontSize)) / 2;
        context->drawText(caption,
                          {static_cast<CGFloat>(left) + std::max(0.0, indent),
                           static_cast<CGFloat>(top - layout.edge - Layout::captionHeight + 5)},
                          fontSize);
    }
    return std::move(*context).makeImage();
}

} // namespace contactsheet
