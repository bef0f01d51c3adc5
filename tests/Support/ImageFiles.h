// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace corvane::tests {

struct Pixel {
    int red, green, blue, alpha;
};

/// An image file of a kind that Corvane reads but does not write, made by the format's own library, and what reading
/// it must give, not multiplied by alpha.
struct ImageFile {
    std::string name;
    Data bytes;
    Int width, height;
    int tolerance; ///< a component
    int depth;
    bool hasAlpha;
    std::function<Pixel(Int x, Int y)> expected;
};

/// PNG of every colour type and depth, interlaced too; JPEG grey, progressive, CMYK plain and as Adobe writes it; TIFF
/// of many sample kinds, compressions and layouts.
std::vector<ImageFile> imageFiles();

/// An ICC profile for RGB whose red is sRGB's green and the other way round.
Data swappedProfile();

/// A JPEG or PNG of one colour, 16 by 16, with `profile` embedded.
Data jpegWithProfile(std::uint8_t red, std::uint8_t green, std::uint8_t blue, const Data& profile);
Data pngWithProfile(std::uint8_t red, std::uint8_t green, std::uint8_t blue, const Data& profile);

} // namespace corvane::tests
