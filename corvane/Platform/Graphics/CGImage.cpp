// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Graphics/CGImage.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace corvane {

namespace {

std::size_t byteCount(Int width, Int height) noexcept
{
    Int bytes = 0;
    if (width <= 0 || height <= 0 || __builtin_mul_overflow(width, height, &bytes) ||
        __builtin_mul_overflow(bytes, Int{4}, &bytes))
        return 0;
    return static_cast<std::size_t>(bytes);
}

} // namespace

PixelMemory::PixelMemory(Int width, Int height, void* bytes) noexcept
    : width_(width), height_(height), bytes_(static_cast<std::uint8_t*>(bytes))
{}

PixelMemory PixelMemory::allocate(Int width, Int height) noexcept
{
    const std::size_t bytes = byteCount(width, height);
    return PixelMemory(width, height, bytes == 0 ? nullptr : std::malloc(bytes));
}

PixelMemory PixelMemory::allocateZeroed(Int width, Int height) noexcept
{
    const std::size_t bytes = byteCount(width, height);
    return PixelMemory(width, height, bytes == 0 ? nullptr : std::calloc(bytes, 1));
}

std::optional<CGImage> CGImage::fromPixels(Int width, Int height, Int bytesPerRow, DataView pixels)
{
    Int needed = 0;
    if (width <= 0 || height <= 0 || bytesPerRow / 4 < width ||
        __builtin_mul_overflow(height - 1, bytesPerRow, &needed) ||
        __builtin_add_overflow(needed, width * 4, &needed) || std::cmp_less(pixels.size(), needed))
        return std::nullopt;
    PixelMemory memory = PixelMemory::allocate(width, height);
    if (!memory)
        return std::nullopt;
    for (Int y = 0; y < height; ++y)
        std::memcpy(memory.row(y), pixels.data() + y * bytesPerRow, static_cast<std::size_t>(width * 4));
    return CGImage(std::move(memory));
}

std::optional<CGImage> CGImage::fromPixels(PixelMemory pixels)
{
    if (!pixels)
        return std::nullopt;
    return CGImage(std::move(pixels));
}

DataView CGImage::pixels() const noexcept
{
    return std::as_bytes(std::span(row(0), static_cast<std::size_t>(height() * bytesPerRow())));
}

std::uint32_t CGImage::pixel(Int x, Int y) const
{
    precondition(x >= 0 && x < width() && y >= 0 && y < height(),
                 "A pixel outside of the image was asked for");
    std::uint32_t word = 0;
    std::memcpy(&word, row(y) + x * 4, sizeof word);
    return word;
}

bool CGImage::isOpaque() const noexcept
{
    const std::uint8_t* bytes = row(0);
    const Int count = width() * height();
    constexpr Int block = 4096; // looked at without branches, then decided
    for (Int start = 0; start < count; start += block) {
        const Int end = start + block < count ? start + block : count;
        std::uint8_t all = 0xFF;
        for (Int i = start; i < end; ++i)
            all &= bytes[i * 4 + 3];
        if (all != 0xFF)
            return false;
    }
    return true;
}

bool operator==(const CGImage& a, const CGImage& b) noexcept
{
    return a.pixels_ == b.pixels_ ||
           (a.width() == b.width() && a.height() == b.height() &&
            std::memcmp(a.row(0), b.row(0), static_cast<std::size_t>(a.height() * a.bytesPerRow())) == 0);
}

} // namespace corvane
