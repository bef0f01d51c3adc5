// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/UTIType.h>
#include <corvane/Platform/Files/TypeIdentifiers.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

// Made before `main`, in an order that nothing decides between files.
const UTIType copiedBeforeMain = UTIType::jpeg;

TEST(UTITypeTests, TheConstantsAreTheDeclaredTypes)
{
    struct Row {
        const UTIType& type;
        std::string_view identifier;
    };
    const Row rows[] = {
        {UTIType::item, "public.item"},
        {UTIType::content, "public.content"},
        {UTIType::compositeContent, "public.composite-content"},
        {UTIType::application, "com.apple.application"},
        {UTIType::message, "public.message"},
        {UTIType::contact, "public.contact"},
        {UTIType::archive, "public.archive"},
        {UTIType::diskImage, "public.disk-image"},
        {UTIType::data, "public.data"},
        {UTIType::directory, "public.directory"},
        {UTIType::resolvable, "com.apple.resolvable"},
        {UTIType::symLink, "public.symlink"},
        {UTIType::mountPoint, "com.apple.mount-point"},
        {UTIType::aliasFile, "com.apple.alias-file"},
        {UTIType::aliasRecord, "com.apple.alias-record"},
        {UTIType::url, "public.url"},
        {UTIType::fileURL, "public.file-url"},
        {UTIType::text, "public.text"},
        {UTIType::plainText, "public.plain-text"},
        {UTIType::utf8PlainText, "public.utf8-plain-text"},
        {UTIType::utf16PlainText, "public.utf16-plain-text"},
        {UTIType::rtf, "public.rtf"},
        {UTIType::html, "public.html"},
        {UTIType::xml, "public.xml"},
        {UTIType::sourceCode, "public.source-code"},
        {UTIType::cSource, "public.c-source"},
        {UTIType::objectiveCSource, "public.objective-c-source"},
        {UTIType::cppSource, "public.c-plus-plus-source"},
        {UTIType::objCPPSource, "public.objective-c-plus-plus-source"},
        {UTIType::cHeader, "public.c-header"},
        {UTIType::cppHeader, "public.c-plus-plus-header"},
        {UTIType::javaSource, "com.sun.java-source"},
        {UTIType::pdf, "com.adobe.pdf"},
        {UTIType::rtfd, "com.apple.rtfd"},
        {UTIType::flatRTFD, "com.apple.flat-rtfd"},
        {UTIType::webArchive, "com.apple.webarchive"},
        {UTIType::image, "public.image"},
        {UTIType::jpeg, "public.jpeg"},
        {UTIType::jpeg2000, "public.jpeg-2000"},
        {UTIType::tiff, "public.tiff"},
        {UTIType::pict, "com.apple.pict"},
        {UTIType::gif, "com.compuserve.gif"},
        {UTIType::png, "public.png"},
        {UTIType::quickTimeImage, "com.apple.quicktime-image"},
        {UTIType::audiovisualContent, "public.audiovisual-content"},
        {UTIType::movie, "public.movie"},
        {UTIType::video, "public.video"},
        {UTIType::audio, "public.audio"},
        {UTIType::qtMovie, "com.apple.quicktime-movie"},
        {UTIType::mpeg, "public.mpeg"},
        {UTIType::mpeg4, "public.mpeg-4"},
        {UTIType::mP3, "public.mp3"},
        {UTIType::mpeg4Audio, "public.mpeg-4-audio"},
        {UTIType::folder, "public.folder"},
        {UTIType::volume, "public.volume"},
        {UTIType::package, "com.apple.package"},
        {UTIType::bundle, "com.apple.bundle"},
        {UTIType::framework, "com.apple.framework"},
        {UTIType::applicationBundle, "com.apple.application-bundle"},
        {UTIType::applicationFile, "com.apple.application-file"},
        {UTIType::vCard, "public.vcard"},
        {UTIType::inkText, "com.apple.ink.inktext"},
    };
    static_assert(std::size(rows) == 62);
    for (const Row& row : rows) {
        EXPECT_EQ(row.type.identifier(), row.identifier);
        EXPECT_TRUE(TypeIdentifiers::isDeclared(row.identifier)) << row.identifier;
    }
    EXPECT_EQ(copiedBeforeMain.identifier(), "public.jpeg");
}

TEST(UTITypeTests, ExtensionsGiveDeclaredOrDynamicTypes)
{
    EXPECT_EQ(UTIType::fromFileExtension("JPG"), UTIType::jpeg);
    EXPECT_EQ(UTIType::fromFileExtension("mp3"), UTIType::mP3);
    EXPECT_EQ(UTIType::fromFileExtension(""), std::nullopt);
    const std::optional<UTIType> unknown = UTIType::fromFileExtension("Zyzzy");
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->identifier(), "dyn.extension.zyzzy");
    EXPECT_EQ(unknown, UTIType::fromFileExtension("zyzzY"));
    EXPECT_TRUE(unknown->conforms(UTIType::data));
    EXPECT_EQ(unknown->localizedDescription(), std::nullopt);
    EXPECT_TRUE(unknown->declaration());
}

TEST(UTITypeTests, ACodeIsKeptAsItsFourCharacters)
{
    const UTIType type = UTIType::fromType(0x4A504547);
    EXPECT_EQ(type.identifier(), "JPEG");
    EXPECT_EQ(type.osType(), 0x4A504547U);
    EXPECT_NE(type, UTIType::jpeg);
    EXPECT_FALSE(type.conforms(UTIType::image));
    EXPECT_EQ(type.localizedDescription(), std::nullopt);
    EXPECT_EQ(type.declaration(), std::nullopt);
    EXPECT_EQ(type.bundleURL(), std::nullopt);
    EXPECT_EQ(UTIType::jpeg.osType(), 0U);
}

TEST(UTITypeTests, EqualityIsOfIdentifiersWithoutCase)
{
    UTIType copy(std::string("Public.Jpeg"));
    EXPECT_EQ(copy, UTIType::jpeg);
    EXPECT_TRUE(copy.conforms("public.IMAGE"));
    EXPECT_EQ(copy.localizedDescription(), "JPEG image");
    EXPECT_TRUE(copy.bundleURL());
    std::optional<UTIType> other(std::move(copy));
    other.reset();
    EXPECT_EQ(copy.identifier(), "Public.Jpeg"); // also a value that was moved from is whole
    copy = UTIType::png;
    EXPECT_EQ(copy, UTIType::png);
}

} // namespace
} // namespace corvane
