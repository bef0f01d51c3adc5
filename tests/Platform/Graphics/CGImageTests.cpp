// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImage.h>

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace corvane {

TEST(CGImage, CopiesRowsAndSharesPixels)
{
    // Two rows of one pixel, eight bytes apart.
    const std::array<std::uint8_t, 12> bytes{1, 2, 3, 255, 9, 9, 9, 9, 4, 5, 6, 128};
    const auto view = std::as_bytes(std::span(bytes));
    const auto image = CGImage::fromPixels(1, 2, 8, view);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size(), (CGSize{1, 2}));
    EXPECT_EQ(image->rect(), CGRect::make(0, 0, 1, 2));
    EXPECT_EQ(image->pixel(0, 0), 0xFF030201u);
    EXPECT_EQ(image->pixel(0, 1), 0x80060504u);
    EXPECT_FALSE(image->isOpaque());
    EXPECT_EQ(image->pixels().size(), 8u);

    const CGImage copy = *image;
    EXPECT_EQ(copy.row(0), image->row(0));
    EXPECT_EQ(copy, *image);
    const auto other = CGImage::fromPixels(1, 2, 4, view);
    EXPECT_NE(*other, *image);
    EXPECT_NE(*CGImage::fromPixels(2, 1, 8, view), *other);
    EXPECT_TRUE(CGImage::fromPixels(1, 1, 4, view)->isOpaque());
}

TEST(CGImage, RefusesWhatIsNoImage)
{
    const std::array<std::byte, 16> bytes{};
    constexpr Int most = std::numeric_limits<Int>::max();
    const struct {
        Int width, height, bytesPerRow;
    } rows[] = {{0, 1, 4},       {1, 0, 4},    {-1, 1, 4},          {1, -1, 4},
                {2, 1, 4},       {1, 5, 4},    {2, 2, 12},          {1, 2, -4},
                {most, 1, most}, {1, most, 4}, {most / 4, 1, most}, {most / 8, 4, most}};
    for (const auto& row : rows)
        EXPECT_FALSE(CGImage::fromPixels(row.width, row.height, row.bytesPerRow, bytes))
            << row.width << " " << row.height << " " << row.bytesPerRow;
    EXPECT_TRUE(CGImage::fromPixels(2, 2, 8, bytes));
    EXPECT_FALSE(CGImage::fromPixels(PixelMemory::allocate(0, 4)));
    EXPECT_FALSE(CGImage::fromPixels(PixelMemory::allocate(most / 4, most / 4)));
}

} // namespace corvane
