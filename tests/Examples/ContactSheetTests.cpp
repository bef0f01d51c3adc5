// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/Platform/Graphics/CGContext.h>
#include <corvane/Platform/Graphics/CGImageDestination.h>

#include <Support/ChildProcess.h>
#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace corvane::tests {
namespace {

using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

/// Red above blue, as it is stored.
CGImage redAboveBlue(Int width, Int height)
{
    return *drawWith(width, height, [&](CGContext& context) {
        const auto half = static_cast<CGFloat>(height) / 2;
        context.setFillColor(CGColor::genericRGB(1, 0, 0));
        context.fill(CGRect::make(0, half, static_cast<CGFloat>(width), half));
        context.setFillColor(CGColor::genericRGB(0, 0, 1));
        context.fill(CGRect::make(0, 0, static_cast<CGFloat>(width), half));
    });
}

bool isRed(std::uint32_t pixel)
{
    return (pixel >> 16 & 0xFF) > 200 && (pixel & 0xFF) < 60;
}

bool isBlue(std::uint32_t pixel)
{
    return (pixel >> 16 & 0xFF) < 60 && (pixel & 0xFF) > 200;
}

bool isPaper(std::uint32_t pixel)
{
    return pixel >= 0xFFF0F0F0;
}

std::vector<std::string> call(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), CONTACT_SHEET);
    return arguments;
}

std::vector<std::string> namesIn(const TemporaryFolder& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(ContactSheetTests, GoodPicturesAreDrawnTheRightWayUpAndTheOthersAreListed)
{
    const TemporaryFolder folder;
    ASSERT_TRUE(writeAsPNG(redAboveBlue(300, 200), URL::fromPath(folder / "picture 2.png")));
    // Stored lying on its side: red is on the right when it is displayed.
    auto lying = CGImageDestination::create(URL::fromPath(folder / "picture 10.jpg"), "public.jpeg", 1,
                                            {{std::string(kCGImagePropertyOrientation), 6}});
    lying->addImage(redAboveBlue(300, 200));
    ASSERT_TRUE(lying->finalize());
    folder.makeFolder("sub");
    ASSERT_TRUE(writeAsTIFF(redAboveBlue(50, 80), URL::fromPath(folder / "sub/small.tif")));
    const std::string jpeg = TemporaryFolder::read(folder / "picture 10.jpg");
    folder.write("a jpeg.png", jpeg);
    folder.write("cut.jpg", jpeg.substr(0, jpeg.size() / 2));
    folder.write("empty.heic");
    folder.write("text.png", "no picture at all");
    ASSERT_EQ(::mkfifo((folder / "pipe.tiff").c_str(), 0600), 0);
    folder.write("notes.txt", "passed over");
    folder.write("sheet.png", jpeg); // what an earlier call left: no picture of this folder

    ChildProcess child(call({"--edge", "100", "--columns", "2", folder / "", folder / "sheet.png"}));
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(child.output,
                ContainsRegex("^4 pictures, 4 failures, [0-9.]+ seconds, [0-9.]+ pictures per second\n"));
    EXPECT_THAT(child.output, ContainsRegex("cut.jpg: damaged, cut short"));
    EXPECT_THAT(child.output, ContainsRegex("empty.heic: the file is empty"));
    EXPECT_THAT(child.output, ContainsRegex("text.png: not a PNG, JPEG, TIFF or HEIC picture"));
    EXPECT_THAT(child.output, ContainsRegex("pipe.tiff: not a file"));
    EXPECT_THAT(child.output, EndsWith("\nOpen " + (folder / "sheet.png") + "\n"));
    EXPECT_THAT(child.messages, EndsWith("8 of 8 pictures\n"));

    const auto sheet = image(URL::fromPath(folder / "sheet.png"));
    ASSERT_TRUE(sheet);
    ASSERT_EQ(sheet->size(), (CGSize{2 * 112 + 12, 2 * 130 + 12}));
    EXPECT_TRUE(isPaper(sheet->pixel(0, 0)));
    const auto at = [&](Int column, Int row, Int x, Int y) {
        return sheet->pixel(12 + column * 112 + x, 12 + row * 130 + y);
    };
    const auto hasText = [&](Int column, Int row) {
        for (Int y = 104; y < 118; ++y)
            for (Int x = 0; x < 100; ++x)
                if (!isPaper(at(column, row, x, y)))
                    return true;
        return false;
    };
    // In the order of their names, numbers as numbers: the mis-named one, 2, 10, and the one below.
    const auto isUpright = [&](Int column, Int row) {
        EXPECT_TRUE(isPaper(at(column, row, 50, 10)));
        EXPECT_TRUE(isRed(at(column, row, 50, 25)));
        EXPECT_TRUE(isBlue(at(column, row, 50, 75)));
        EXPECT_TRUE(isPaper(at(column, row, 50, 90)));
    };
    const auto isTurned = [&](Int column, Int row) {
        EXPECT_TRUE(isPaper(at(column, row, 10, 50)));
        EXPECT_TRUE(isRed(at(column, row, 75, 50)));
        EXPECT_TRUE(isBlue(at(column, row, 25, 50)));
        EXPECT_TRUE(isPaper(at(column, row, 90, 50)));
    };
    isTurned(0, 0);
    isUpright(1, 0);
    isTurned(0, 1);
    EXPECT_TRUE(isPaper(at(1, 1, 50, 5))) << "a small picture is not enlarged";
    EXPECT_TRUE(isRed(at(1, 1, 50, 15)));
    for (const Int cell : {0, 1, 2, 3})
        EXPECT_TRUE(hasText(cell % 2, cell / 2)) << cell;
}

TEST(ContactSheetTests, TheOutputsExtensionSaysTheFormatAndSubfoldersMayBeLeftOut)
{
    const TemporaryFolder folder;
    folder.makeFolder("in/sub");
    ASSERT_TRUE(writeAsPNG(redAboveBlue(30, 30), URL::fromPath(folder / "in/a.png")));
    ASSERT_TRUE(writeAsPNG(redAboveBlue(30, 30), URL::fromPath(folder / "in/sub/b.png")));
    const struct {
        const char* name;
        std::string_view begin;
    } rows[] = {{"s.JPEG", "\xFF\xD8\xFF"}, {"s.tif", "II"}, {"s.png", "\x89PNG"}, {"s.heic", {"\0\0\0", 3}}};
    for (const auto& [name, begin] : rows) {
        ChildProcess child(call({"--no-subfolders", folder / "in", folder / name}));
        EXPECT_EQ(child.wait(), 0) << name << child.messages;
        EXPECT_THAT(child.output, testing::StartsWith("1 picture, 0 failures"));
        EXPECT_EQ(TemporaryFolder::read(folder / name).substr(0, begin.size()), begin) << name;
        EXPECT_TRUE(image(URL::fromPath(folder / name))) << name;
    }
}

TEST(ContactSheetTests, PicturesAreChosenByNameReversedAndTheChangesTold)
{
    const TemporaryFolder folder;
    const auto write = [&](const char* name, Int height) {
        ASSERT_TRUE(writeAsPNG(redAboveBlue(80, height), URL::fromPath(folder / name)));
    };
    write("Sea 10.png", 40);
    write("sea 9.png", 80);
    write("land.png", 60);
    ChildProcess child(call({"--filter", "SEA", "--reverse", "--verbose", "--edge", "100", "--columns", "2",
                             folder / "", folder / "sheet.png"}));
    EXPECT_EQ(child.wait(), 0);
    EXPECT_THAT(child.output, StartsWith("2 pictures, 0 failures"));
    EXPECT_THAT(
        child.messages,
        StartsWith("will insert: inserted 0-2, selection before none, selection after 0, 0 pictures\n"
                   "did insert: inserted 0-2, selection before none, selection after 0, 3 pictures\n"));
    EXPECT_THAT(
        child.messages,
        ContainsRegex("will filter: selection before [0-2], 3 pictures\n"
                      "did filter: selection before [0-2], selection after (none|[01]), 2 pictures\n"
                      "will sort: selection before (none|[01]), selection after (none|[01]), 2 pictures\n"
                      "did sort: "));
    const auto sheet = image(URL::fromPath(folder / "sheet.png"));
    ASSERT_TRUE(sheet);
    ASSERT_EQ(sheet->size(), (CGSize{2 * 112 + 12, 130 + 12}));
    EXPECT_TRUE(isPaper(sheet->pixel(12 + 50, 12 + 20))) << "10, which is less high, comes first";
    EXPECT_TRUE(isRed(sheet->pixel(12 + 112 + 50, 12 + 20)));

    ChildProcess none(call({"--filter", "sky", folder / "", folder / "other.png"}));
    EXPECT_EQ(none.wait(), 1);
    EXPECT_THAT(none.messages, HasSubstr(" with \"sky\" in their names."));
    ChildProcess wrong(call({folder / "", folder / "other.png", "--filter"}));
    EXPECT_EQ(wrong.wait(), 2);
}

TEST(ContactSheetTests, WhatCannotBeDoneIsSaidAndLeavesTheOutputAsItWas)
{
    const TemporaryFolder folder;
    folder.makeFolder("none");
    folder.write("bad/bad.png", "no picture at all");
    folder.makeFolder("many");
    ASSERT_TRUE(writeAsPNG(redAboveBlue(8, 8), URL::fromPath(folder / "many/0.png")));
    for (int i = 1; i < 20; ++i)
        std::filesystem::create_hard_link(folder / "many/0.png",
                                          folder / ("many/" + std::to_string(i) + ".png"));
    const std::string out = folder.write("out.png", "old");

    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string message;
    } rows[] = {
        {{}, 2, "Two names are needed"},
        {{folder / "none", out, "more"}, 2, "Two names are needed"},
        {{folder / "none", folder / "out.gif"}, 2, "says no format"},
        {{"--edge", "15", folder / "none", out}, 2, "--edge takes a number from 16 to 4096, not \"15\""},
        {{"--edge", "99x", folder / "none", out}, 2, "not \"99x\""},
        {{folder / "none", out, "--columns"}, 2, "--columns takes a number from 1 to 1000, not \"\""},
        {{"--colums", "3", folder / "none", out}, 2, "There is no option \"--colums\""},
        {{folder / "missing", out}, 1, "missing: No such file or directory"},
        {{folder / "none", out}, 1, "No pictures in "},
        {{folder / "bad", out}, 1, "None of the pictures in "},
        {{"--edge", "4096", "--columns", "1", folder / "many", out},
         1,
         "A sheet of 20 pictures would be too large"},
        {{folder / "many", folder / "missing/out.png"}, 1, "cannot be written"},
    };
    for (const auto& [arguments, status, message] : rows) {
        ChildProcess child(call(arguments));
        EXPECT_EQ(child.wait(), status) << message;
        EXPECT_THAT(child.messages, HasSubstr(message));
        EXPECT_EQ(TemporaryFolder::read(out), "old");
    }
    EXPECT_THAT(namesIn(folder), testing::ElementsAre("bad", "many", "none", "out.png"));

    ChildProcess help(call({"--help"}));
    EXPECT_EQ(help.wait(), 0);
    EXPECT_THAT(help.output, testing::StartsWith("Usage: ContactSheet"));
}

TEST(ContactSheetTests, AnInterruptionLeavesNothingHalfWritten)
{
    const TemporaryFolder folder;
    const TemporaryFolder output;
    ASSERT_TRUE(writeAsPNG(redAboveBlue(3000, 2000), URL::fromPath(folder / "0.png")));
    for (int i = 1; i < 100; ++i)
        std::filesystem::create_hard_link(folder / "0.png", folder / (std::to_string(i) + ".png"));
    output.write("sheet.png", "old");

    for (const int signal : {SIGINT, SIGTERM}) {
        ChildProcess child(call({folder / "", output / "sheet.png"}));
        EXPECT_EQ(child.readMessage(), "10 of 100 pictures\n"); // it is in the middle of its work
        child.signal(signal);
        EXPECT_EQ(child.wait(), 128 + signal);
        EXPECT_THAT(child.messages, EndsWith("Interrupted: no sheet was written.\n"));
        EXPECT_EQ(child.output, "");
        EXPECT_THAT(namesIn(output), testing::ElementsAre("sheet.png"));
        EXPECT_EQ(TemporaryFolder::read(output / "sheet.png"), "old");
    }
}

} // namespace
} // namespace corvane::tests
