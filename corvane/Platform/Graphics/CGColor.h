// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

namespace corvane {

/// A colour in a device-independent space: generic RGB, or generic grey, with alpha. Components are nominally
/// in 0 to 1 and are not clamped until something is drawn. `==` compares the space and the components
/// exactly; a grey never equals an RGB colour. Thread-compatible.
///
///     constexpr CGColor paper = CGColor::genericGray(0.7);
///     constexpr CGColor ink = CGColor::genericRGB(0.1, 0.2, 0.6, 0.5);
class CGColor {
public:
    enum class Model { gray, rgb };

    /// Opaque black.
    constexpr CGColor() noexcept : CGColor(genericGray(0)) {}

    static constexpr CGColor genericRGB(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha = 1) noexcept
    {
        return {Model::rgb, red, green, blue, alpha};
    }
    static constexpr CGColor genericGray(CGFloat gray, CGFloat alpha = 1) noexcept
    {
        return {Model::gray, gray, gray, gray, alpha};
    }

    constexpr Model model() const noexcept { return model_; }
    /// The level, three times, for a grey.
    constexpr CGFloat red() const noexcept { return red_; }
    constexpr CGFloat green() const noexcept { return green_; }
    constexpr CGFloat blue() const noexcept { return blue_; }
    constexpr CGFloat alpha() const noexcept { return alpha_; }

    friend constexpr bool operator==(const CGColor&, const CGColor&) = default;

private:
    constexpr CGColor(Model model, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) noexcept
        : model_(model), red_(red), green_(green), blue_(blue), alpha_(alpha)
    {}

    Model model_;
    CGFloat red_;
    CGFloat green_;
    CGFloat blue_;
    CGFloat alpha_;
};

} // namespace corvane
