// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/RasterBuilder.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#if defined(__GNUC__) && !defined(__clang__)
// The loops over samples are worth vector instructions in every build type; clang uses them at -O2 by itself.
#pragma GCC optimize("tree-vectorize", "vect-cost-model=dynamic")
#endif

namespace corvane::images {

namespace {

constexpr Int mostRowsInSums = 256; // 256 * 255 is the most that 16 bits hold

void addSamples(std::uint16_t* sums, const std::uint8_t* samples, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        sums[i] = static_cast<std::uint16_t>(sums[i] + samples[i]);
}

// Averages must weigh colour by alpha, or transparent pixels would lend their invisible colour.
template <Int colours>
void multiplyByAlpha(std::uint8_t* row, Int pixels)
{
    constexpr Int samples = colours + 1;
    std::uint8_t all = 0xFF;
    for (Int i = 0; i < pixels; ++i)
        all &= row[i * samples + colours];
    if (all == 0xFF)
        return;
    for (Int i = 0; i < pixels; ++i) {
        const unsigned alpha = row[i * samples + colours];
        for (Int c = 0; c < colours; ++c) {
            const unsigned product = row[i * samples + c] * alpha + 128;
            row[i * samples + c] = static_cast<std::uint8_t>((product + (product >> 8)) >> 8);
        }
    }
}

} // namespace

PixelSize fitting(PixelSize size, Int edge)
{
    const Int longer = std::max(size.width, size.height);
    if (edge <= 0 || longer <= edge)
        return size;
    const auto scaled = [&](Int side) {
        const double exact =
            static_cast<double>(side) * static_cast<double>(edge) / static_cast<double>(longer);
        return std::max<Int>(1, std::llround(exact));
    };
    return {scaled(size.width), scaled(size.height)};
}

RasterBuilder::RasterBuilder(Layout layout, PixelSize from, PixelSize to, DataView profile)
    : layout_(layout),
      from_(from),
      to_(to),
      match_(layout, profile),
      result_(PixelMemory::allocate(to.width, to.height)),
      reduces_(from != to)
{
    const Int samples = samplesPerPixel(layout);
    const auto rowSize = static_cast<std::size_t>(from.width * samples);
    scratch_.resize(rowSize);
    if (!reduces_)
        return;
    sums_.resize(rowSize);
    reduced_.resize(static_cast<std::size_t>(to.width * samples));
    accumulated_.resize(reduced_.size());
    const double step = static_cast<double>(from.width) / static_cast<double>(to.width);
    for (Int x = 0; x < to.width; ++x) {
        const double left = step * static_cast<double>(x);
        const double right = std::min(step * static_cast<double>(x + 1), static_cast<double>(from.width));
        const auto first = static_cast<Int>(left);
        const Int last = std::max(first, static_cast<Int>(std::ceil(right)) - 1);
        const double ofFirst = std::min(right, static_cast<double>(first + 1)) - left;
        const double ofLast = last == first ? 0 : right - static_cast<double>(last);
        shares_.push_back({first, last, static_cast<float>(ofFirst), static_cast<float>(ofLast)});
    }
    beginBand();
}

void RasterBuilder::beginBand()
{
    const double step = static_cast<double>(from_.height) / static_cast<double>(to_.height);
    const auto whole = static_cast<Int>(step * static_cast<double>(resultRow_ + 1));
    bandStart_ = rowsDone_;
    bandEnd_ = std::min({std::max(whole, bandStart_ + 1), bandStart_ + mostRowsInSums, from_.height});
}

std::uint8_t* RasterBuilder::row()
{
    const bool inPlace = !reduces_ && samplesPerPixel(layout_) == 4;
    return inPlace ? result_.row(rowsDone_) : scratch_.data();
}

void RasterBuilder::commit()
{
    const std::uint8_t* written = row();
    if (!reduces_) {
        if (layout_ != Layout::bgraMultiplied || !match_.isIdentity())
            match_.convert(layout_, written, result_.row(rowsDone_), from_.width);
        ++rowsDone_;
        return;
    }
    if (layout_ == Layout::rgba)
        multiplyByAlpha<3>(scratch_.data(), from_.width);
    else if (layout_ == Layout::grayAlpha)
        multiplyByAlpha<1>(scratch_.data(), from_.width);
    addSamples(sums_.data(), scratch_.data(), sums_.size());
    ++rowsDone_;
    if (rowsDone_ == bandEnd_)
        addBand();
}

void RasterBuilder::addBand()
{
    const double step = static_cast<double>(from_.width) / static_cast<double>(to_.width);
    const auto scale = static_cast<float>(1 / (step * static_cast<double>(rowsDone_ - bandStart_)));
    const auto reduce = [&]<Int samples>(std::integral_constant<Int, samples>) {
        float* out = reduced_.data();
        for (const Share& share : shares_) {
            const std::uint16_t* first = sums_.data() + share.first * samples;
            const std::uint16_t* last = sums_.data() + share.last * samples;
            std::uint32_t between[static_cast<std::size_t>(samples)] = {};
            for (const std::uint16_t* column = first + samples; column < last; column += samples)
                for (Int c = 0; c < samples; ++c)
                    between[c] += column[c];
            for (Int c = 0; c < samples; ++c)
                *out++ =
                    (static_cast<float>(between[c]) + share.ofFirst * first[c] + share.ofLast * last[c]) *
                    scale;
        }
    };
    switch (samplesPerPixel(layout_)) {
    case 1:
        reduce(std::integral_constant<Int, 1>());
        break;
    case 2:
        reduce(std::integral_constant<Int, 2>());
        break;
    case 3:
        reduce(std::integral_constant<Int, 3>());
        break;
    default:
        reduce(std::integral_constant<Int, 4>());
        break;
    }
    std::fill(sums_.begin(), sums_.end(), std::uint16_t{0});
    addReducedRow(static_cast<double>(bandStart_), static_cast<double>(rowsDone_));
    beginBand();
}

// The band covers the rows `from` to `to` of the source; a band may end one row of the result and begin the
// next.
void RasterBuilder::addReducedRow(double from, double to)
{
    const double step = static_cast<double>(from_.height) / static_cast<double>(to_.height);
    while (resultRow_ < to_.height) {
        const bool last = resultRow_ + 1 == to_.height;
        const double end =
            last ? static_cast<double>(from_.height) : step * static_cast<double>(resultRow_ + 1);
        const auto weight = static_cast<float>((std::min(to, end) - from) / step);
        for (std::size_t i = 0; i < reduced_.size(); ++i)
            accumulated_[i] += weight * reduced_[i];
        if (to < end)
            return;
        emit();
        from = end;
        if (from >= to)
            return;
    }
}

void RasterBuilder::emit()
{
    for (std::size_t i = 0; i < accumulated_.size(); ++i)
        scratch_[i] = static_cast<std::uint8_t>(std::min(accumulated_[i] + 0.5f, 255.0f));
    std::fill(accumulated_.begin(), accumulated_.end(), 0.0f);
    const Layout averaged = layout_ == Layout::rgba        ? Layout::rgbaMultiplied
                            : layout_ == Layout::grayAlpha ? Layout::grayAlphaMultiplied
                                                           : layout_;
    match_.convert(averaged, scratch_.data(), result_.row(resultRow_), to_.width);
    ++resultRow_;
}

std::optional<CGImage> RasterBuilder::finish(int orientation) &&
{
    if (!result_ || wantsMore())
        return std::nullopt;
    return oriented(std::move(result_), orientation);
}

std::optional<CGImage> oriented(PixelMemory image, int orientation)
{
    if (orientation <= 1 || orientation > 8 || !image)
        return CGImage::fromPixels(std::move(image));
    const Int width = image.width();
    const Int height = image.height();
    const bool turned = orientation >= 5;
    PixelMemory upright = PixelMemory::allocate(turned ? height : width, turned ? width : height);
    if (!upright)
        return std::nullopt;
    const bool fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool fromBelow = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    // In squares, so that neither side jumps through memory.
    constexpr Int square = 32;
    for (Int top = 0; top < upright.height(); top += square)
        for (Int left = 0; left < upright.width(); left += square)
            for (Int y = top; y < std::min(top + square, upright.height()); ++y)
                for (Int x = left; x < std::min(left + square, upright.width()); ++x) {
                    const Int across = turned ? y : x;
                    const Int down = turned ? x : y;
                    const Int sourceX = fromRight ? width - 1 - across : across;
                    const Int sourceY = fromBelow ? height - 1 - down : down;
                    std::memcpy(upright.row(y) + x * 4, image.row(sourceY) + sourceX * 4, 4);
                }
    return CGImage::fromPixels(std::move(upright));
}

} // namespace corvane::images
