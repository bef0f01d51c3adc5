// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGColor.h>
#include <corvane/Numbers/RealNumber.h>

namespace corvane {

std::optional<CGColor> CGColors::create(std::string_view hexString)
{
    const auto rgba = RGBA::fromHexString(hexString);
    return rgba ? std::optional(create(*rgba)) : std::nullopt;
}

CGColor CGColors::randomColor() noexcept
{
    const CGFloat r = randomUnitValue<CGFloat>();
    const CGFloat g = randomUnitValue<CGFloat>();
    const CGFloat b = randomUnitValue<CGFloat>();
    return CGColor::genericRGB(r, g, b);
}

std::optional<RGBA> nsColor(const CGColor& color) noexcept
{
    const CGFloat components[] = {color.red(), color.green(), color.blue(), color.alpha()};
    for (const CGFloat component : components)
        if (!std::isfinite(component))
            return std::nullopt;
    return RGBA(clamp(components[0], 0, 1), clamp(components[1], 0, 1), clamp(components[2], 0, 1),
                clamp(components[3], 0, 1));
}

} // namespace corvane
