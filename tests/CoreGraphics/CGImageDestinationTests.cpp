// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/CoreGraphics/CGImageDestination.h>
#include <corvane/CoreGraphics/CGImageSource.h>
#include <tests/Support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace corvane {

namespace {

std::optional<CGImage> square(CGFloat gray)
{
    return drawWith(16, 16, [&](CGContext& context) {
        context.setFillColor(CGColor::genericGray(gray));
        context.fill(CGRect::make(0, 0, 16, 16));
    });
}

} // namespace

TEST(CGImageDestination, ManyImagesInOneFile)
{
    for (const char* type : {"public.tiff", "public.heic"}) {
        Data file;
        auto destination = CGImageDestination::create(file, type, 3);
        ASSERT_TRUE(destination) << type;
        for (const CGFloat gray : {0.0, 0.5, 1.0})
            destination->addImage(*square(gray));
        ASSERT_TRUE(destination->finalize()) << type;
        EXPECT_FALSE(destination->finalize()) << type;
        const auto source = CGImageSource::createBorrowing(file);
        ASSERT_EQ(source->count(), 3) << type;
        for (Int i = 0; i < 3; ++i) {
            const auto image = source->image(i);
            ASSERT_TRUE(image) << type << i;
            EXPECT_NEAR(static_cast<double>(image->pixel(8, 8) & 0xFF), static_cast<double>(i) * 127.5, 3)
                << type << i;
        }
        EXPECT_FALSE(source->image(3)) << type;
    }
    Data file;
    EXPECT_FALSE(CGImageDestination::create(file, "public.png", 2));
    EXPECT_FALSE(CGImageDestination::create(file, "public.jpeg", 0));
    EXPECT_FALSE(CGImageDestination::create(file, "com.compuserve.gif", 1));
}

TEST(CGImageDestination, CountsWhatIsAdded)
{
    Data file{std::byte{1}};
    auto few = CGImageDestination::create(file, "public.tiff", 2);
    few->addImage(*square(1));
    EXPECT_FALSE(few->finalize());
    auto many = CGImageDestination::create(file, "public.png", 1);
    many->addImage(*square(1));
    many->addImage(*square(0));
    EXPECT_FALSE(many->finalize());
    EXPECT_EQ(file, Data{std::byte{1}});
}

TEST(CGImageDestination, FilesAppearWhole)
{
    const tests::TemporaryFolder folder;
    const std::string path = folder.write("a.png", "old");
    {
        auto destination = CGImageDestination::create(URL::fromPath(path), "public.png", 1);
        ASSERT_TRUE(destination);
        destination->addImage(*square(1));
        EXPECT_EQ(folder.read(path), "old");
    }
    EXPECT_EQ(folder.read(path), "old"); // never finalized
    auto destination = CGImageDestination::create(URL::fromPath(path), "public.png", 1);
    destination->addImage(*square(1));
    EXPECT_TRUE(destination->finalize());
    EXPECT_EQ(image(URL::fromPath(path)), square(1));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);

    EXPECT_FALSE(CGImageDestination::create(URL::fromPath(folder / "no/such.png"), "public.png", 1));
    EXPECT_FALSE(CGImageDestination::create(URL::fromPath(folder.path().string()), "public.png", 1));
    EXPECT_FALSE(CGImageDestination::create(*URL::fromString("https://example.org/a.png"), "public.png", 1));
}

TEST(CGImageDestination, OptionsOfTheWholeAndOfAnImage)
{
    Data file;
    auto destination = CGImageDestination::create(file, "public.tiff", 2, {{kCGImagePropertyDPIWidth, 100}});
    destination->addImage(*square(1));
    destination->addImage(*square(0), {{kCGImagePropertyDPIWidth, 200}});
    ASSERT_TRUE(destination->finalize());
    const auto source = CGImageSource::createBorrowing(file);
    EXPECT_EQ(*find(*source->properties(0), kCGImagePropertyDPIWidth), PropertyValue(100));
    EXPECT_EQ(*find(*source->properties(1), kCGImagePropertyDPIWidth), PropertyValue(200));
}

} // namespace corvane
