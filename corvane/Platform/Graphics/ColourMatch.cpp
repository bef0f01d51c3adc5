// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/ColourMatch.h>

#include <lcms2.h>

#include <cstdlib>
#include <cstring>

namespace corvane::images {

namespace {

using Profile = std::unique_ptr<void, decltype(&cmsCloseProfile)>;

Profile open(DataView bytes)
{
    return {bytes.empty() ? nullptr
                          : cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())),
            &cmsCloseProfile};
}

// Whether the transform leaves the whole range of colours where it is, but for a rounding: most profiles in
// photographs are sRGB under one of many names.
bool leavesAlone(cmsHTRANSFORM transform, bool gray)
{
    constexpr int steps = 9;
    std::uint8_t from[steps * steps * steps * 4] = {};
    std::uint8_t to[sizeof from] = {};
    std::size_t count = 0;
    if (gray) {
        for (; count < 256; ++count)
            from[count] = static_cast<std::uint8_t>(count);
    } else {
        for (; count < steps * steps * steps; ++count) {
            std::size_t rest = count;
            for (std::size_t c = 0; c < 3; ++c, rest /= steps)
                from[count * 4 + c] = static_cast<std::uint8_t>(rest % steps * 255 / (steps - 1));
        }
    }
    cmsDoTransform(transform, from, to, static_cast<cmsUInt32Number>(count));
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            if (std::abs(to[i * 4 + c] - (gray ? from[i] : from[i * 4 + c])) > 1)
                return false;
    return true;
}

constexpr std::uint8_t multiplied(unsigned value, unsigned alpha) noexcept
{
    const unsigned product = value * alpha + 128; // exact rounding of a division by 255
    return static_cast<std::uint8_t>((product + (product >> 8)) >> 8);
}

constexpr std::uint8_t divided(unsigned value, unsigned alpha) noexcept
{
    const unsigned quotient = alpha == 0 ? 0 : (value * 255 + alpha / 2) / alpha;
    return static_cast<std::uint8_t>(quotient > 255 ? 255 : quotient);
}

void put(std::uint8_t* to, std::uint8_t blue, std::uint8_t green, std::uint8_t red, std::uint8_t alpha)
{
    to[0] = blue;
    to[1] = green;
    to[2] = red;
    to[3] = alpha;
}

void divide(std::uint8_t* pixels, Int count)
{
    for (Int i = 0; i < count; ++i, pixels += 4)
        put(pixels, divided(pixels[0], pixels[3]), divided(pixels[1], pixels[3]),
            divided(pixels[2], pixels[3]), pixels[3]);
}

void multiply(std::uint8_t* pixels, Int count)
{
    for (Int i = 0; i < count; ++i, pixels += 4)
        put(pixels, multiplied(pixels[0], pixels[3]), multiplied(pixels[1], pixels[3]),
            multiplied(pixels[2], pixels[3]), pixels[3]);
}

void reorder(Layout layout, const std::uint8_t* from, std::uint8_t* to, Int pixels)
{
    switch (layout) {
    case Layout::gray:
        for (Int i = 0; i < pixels; ++i)
            put(to + i * 4, from[i], from[i], from[i], 0xFF);
        break;
    case Layout::grayAlpha:
    case Layout::grayAlphaMultiplied:
        for (Int i = 0; i < pixels; ++i)
            put(to + i * 4, from[i * 2], from[i * 2], from[i * 2], from[i * 2 + 1]);
        break;
    case Layout::rgb:
        for (Int i = 0; i < pixels; ++i)
            put(to + i * 4, from[i * 3 + 2], from[i * 3 + 1], from[i * 3], 0xFF);
        break;
    case Layout::rgba:
    case Layout::rgbaMultiplied:
        for (Int i = 0; i < pixels; ++i)
            put(to + i * 4, from[i * 4 + 2], from[i * 4 + 1], from[i * 4], from[i * 4 + 3]);
        break;
    case Layout::bgraMultiplied:
        if (from != to)
            std::memcpy(to, from, static_cast<std::size_t>(pixels) * 4);
        break;
    case Layout::cmyk:
        for (Int i = 0; i < pixels; ++i) {
            const unsigned light = 255u - from[i * 4 + 3];
            put(to + i * 4, multiplied(255u - from[i * 4 + 2], light),
                multiplied(255u - from[i * 4 + 1], light), multiplied(255u - from[i * 4], light), 0xFF);
        }
        break;
    }
}

} // namespace

ColourMatch::ColourMatch(Layout layout, DataView profile)
{
    const Profile source = open(profile);
    if (!source)
        return;
    const bool gray = samplesPerPixel(layout) <= 2;
    const bool ink = layout == Layout::cmyk;
    const cmsColorSpaceSignature wanted = gray ? cmsSigGrayData : ink ? cmsSigCmykData : cmsSigRgbData;
    if (cmsGetColorSpace(source.get()) != wanted)
        return;
    const cmsUInt32Number format = layout == Layout::gray ? TYPE_GRAY_8
                                   : gray                 ? TYPE_GRAYA_8
                                   : ink                  ? TYPE_CMYK_8
                                                          : TYPE_BGRA_8;
    const Profile target(cmsCreate_sRGBProfile(), &cmsCloseProfile);
    cmsHTRANSFORM transform =
        cmsCreateTransform(source.get(), format, target.get(), TYPE_BGRA_8, INTENT_PERCEPTUAL, 0);
    if (transform == nullptr)
        return;
    transform_.reset(transform, cmsDeleteTransform);
    if (layout != Layout::grayAlpha && !ink && leavesAlone(transform, gray))
        transform_.reset();
}

void ColourMatch::convert(Layout layout, const std::uint8_t* from, std::uint8_t* to, Int pixels) const
{
    const bool multiplyAfter = layout == Layout::grayAlpha || layout == Layout::rgba;
    const bool isMultiplied = layout == Layout::grayAlphaMultiplied || layout == Layout::rgbaMultiplied ||
                              layout == Layout::bgraMultiplied;
    if (!transform_) {
        reorder(layout, from, to, pixels);
        if (multiplyAfter)
            multiply(to, pixels);
        return;
    }
    const auto count = static_cast<cmsUInt32Number>(pixels);
    if (layout == Layout::cmyk || layout == Layout::gray) {
        for (Int i = 0; from != to && i < pixels; ++i)
            to[i * 4 + 3] = 0xFF; // the transform writes the colours alone
        cmsDoTransform(transform_.get(), from, to, count);
        for (Int i = 0; from == to && i < pixels; ++i)
            to[i * 4 + 3] = 0xFF;
        return;
    }
    reorder(layout, from, to, pixels);
    if (isMultiplied)
        divide(to, pixels);
    if (samplesPerPixel(layout) == 2) {
        for (Int i = 0; i < pixels; ++i) {
            const std::uint8_t sample[2] = {to[i * 4], to[i * 4 + 3]};
            cmsDoTransform(transform_.get(), sample, to + i * 4, 1);
        }
    } else {
        cmsDoTransform(transform_.get(), to, to, count);
    }
    if (isMultiplied || multiplyAfter)
        multiply(to, pixels);
}

void divideAlphaOut(const std::uint8_t* from, std::uint8_t* to, Int pixels, bool keepsAlpha)
{
    for (Int i = 0; i < pixels; ++i, from += 4) {
        for (int c = 2; c >= 0; --c)
            *to++ = divided(from[c], from[3]);
        if (keepsAlpha)
            *to++ = from[3];
    }
}

std::string profileName(DataView profile)
{
    const Profile source = open(profile);
    wchar_t wide[256] = {};
    constexpr cmsUInt32Number room = sizeof wide - sizeof(wchar_t);
    if (!source || cmsGetProfileInfo(source.get(), cmsInfoDescription, "en", "US", wide, room) == 0)
        return {};
    std::string text;
    for (const wchar_t* at = wide; *at != 0; ++at) {
        const std::uint32_t scalar{static_cast<std::make_unsigned_t<wchar_t>>(*at)};
        if (scalar < 0x80) {
            text += static_cast<char>(scalar);
        } else if (scalar < 0x800) {
            text += static_cast<char>(0xC0 | scalar >> 6);
            text += static_cast<char>(0x80 | (scalar & 0x3F));
        } else if (scalar < 0x10000 && (scalar < 0xD800 || scalar > 0xDFFF)) {
            text += static_cast<char>(0xE0 | scalar >> 12);
            text += static_cast<char>(0x80 | (scalar >> 6 & 0x3F));
            text += static_cast<char>(0x80 | (scalar & 0x3F));
        }
    }
    return text;
}

} // namespace corvane::images
