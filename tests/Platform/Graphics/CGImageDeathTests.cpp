// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImage.h>

#include <gtest/gtest.h>

#include <array>

namespace corvane {

TEST(CGImageDeathTest, PixelsOutside)
{
    const std::array<std::byte, 4> bytes{};
    const auto image = CGImage::fromPixels(1, 1, 4, bytes);
    EXPECT_DEATH(static_cast<void>(image->pixel(1, 0)), "A pixel outside of the image was asked for");
    EXPECT_DEATH(static_cast<void>(image->pixel(0, -1)), "A pixel outside of the image was asked for");
}

} // namespace corvane
