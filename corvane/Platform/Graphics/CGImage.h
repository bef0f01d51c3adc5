// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>
#include <corvane/Platform/Graphics/CGRect.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

namespace corvane {

/// Freshly allocated pixel memory that becomes an image. Its bytes are not set, so the operating system
/// commits the memory only as rows are written: a header that promises more than its file holds costs
/// nothing.
class CORVANE_API PixelMemory {
public:
    /// Null inside when there is not so much memory, and for a negative size.
    static PixelMemory allocate(Int width, Int height) noexcept;
    /// The same, transparent black.
    static PixelMemory allocateZeroed(Int width, Int height) noexcept;

    PixelMemory() = default;
    explicit operator bool() const noexcept { return bytes_ != nullptr; }
    std::uint8_t* row(Int y) const noexcept { return bytes_.get() + y * bytesPerRow(); }
    Int width() const noexcept { return width_; }
    Int height() const noexcept { return height_; }
    Int bytesPerRow() const noexcept { return width_ * 4; }

private:
    struct Free {
        void operator()(std::uint8_t* bytes) const noexcept { std::free(bytes); }
    };
    PixelMemory(Int width, Int height, void* bytes) noexcept;

    Int width_ = 0;
    Int height_ = 0;
    std::unique_ptr<std::uint8_t, Free> bytes_;
};

/// An immutable bitmap.
///
///     if (auto photo = thumbnail(URL::fromPath("/home/ana/sea.jpg"), 256)) {
///         CGImage copy = *photo;                       // shares the pixels
///         std::uint32_t corner = photo->pixel(0, 0);   // 0xAARRGGBB
///         writeAsPNG(*photo, URL::fromPath("/tmp/sea.png"));
///     }
///
/// Pixels are sRGB, 8 bits a component, colour multiplied by alpha, one native 32-bit word 0xAARRGGBB each
/// (B, G, R, A in memory), rows from the top down: the layout of cairo's ARGB32. Samples of more bits are
/// rounded to 8 when a file is read. A copy is a handle to the same pixels, which live as long as any handle.
/// `==` compares sizes and pixels. Thread-safe, since nothing can change.
///
/// An image has at least one pixel. It holds no file properties: see `CGImageSource::properties`.
class CORVANE_API CGImage {
public:
    /// A copy of `height` rows that begin `bytesPerRow` bytes apart. Absent when a side is not positive, when
    /// rows overlap or `pixels` is too short for them, or when there is not so much memory. Colour above its
    /// alpha (which multiplication cannot give) is kept as it is.
    static std::optional<CGImage> fromPixels(Int width, Int height, Int bytesPerRow, DataView pixels);
    /// Takes over the memory, whose bytes must all have been written by now. Absent for a side of zero and
    /// for memory that was never had.
    static std::optional<CGImage> fromPixels(PixelMemory pixels);

    Int width() const noexcept { return pixels_->width(); }
    Int height() const noexcept { return pixels_->height(); }
    /// In pixels.
    CGSize size() const noexcept { return {static_cast<CGFloat>(width()), static_cast<CGFloat>(height())}; }
    CGRect rect() const noexcept { return {CGPoint{}, size()}; }

    Int bytesPerRow() const noexcept { return pixels_->bytesPerRow(); }
    const std::uint8_t* row(Int y) const noexcept { return pixels_->row(y); }
    DataView pixels() const noexcept;
    /// The word at column `x`, row `y` from the top. Outside of the image stops the process.
    std::uint32_t pixel(Int x, Int y) const;
    /// Whether every pixel's alpha is full. Linear in the pixels.
    bool isOpaque() const noexcept;

    friend CORVANE_API bool operator==(const CGImage& a, const CGImage& b) noexcept;

private:
    explicit CGImage(PixelMemory pixels) : pixels_(std::make_shared<const PixelMemory>(std::move(pixels))) {}

    std::shared_ptr<const PixelMemory> pixels_;
};

} // namespace corvane
