// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/TypeIdentifierTable.h>
#include <corvane/Platform/Files/TypeIdentifiers.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace corvane::TypeIdentifiers {
namespace {

std::string extension(std::string_view tag)
{
    return preferredIdentifierForTag(TagClass::filenameExtension, tag).value_or("none");
}

TEST(TypeIdentifiersTests, TagsFindTheirTypes)
{
    struct Row {
        TagClass tagClass;
        std::string_view tag, identifier;
    };
    const Row rows[] = {
        {TagClass::filenameExtension, "jpg", "public.jpeg"},
        {TagClass::filenameExtension, "JpEg", "public.jpeg"},
        {TagClass::filenameExtension, "tif", "public.tiff"},
        {TagClass::filenameExtension, "heic", "public.heic"},
        {TagClass::filenameExtension, "avif", "public.avif"},
        {TagClass::filenameExtension, "webp", "org.webmproject.webp"},
        {TagClass::filenameExtension, "CR2", "com.canon.cr2-raw-image"},
        {TagClass::filenameExtension, "docx", "org.openxmlformats.wordprocessingml.document"},
        {TagClass::filenameExtension, "odt", "org.oasis-open.opendocument.text"},
        {TagClass::filenameExtension, "7z", "org.7-zip.7-zip-archive"},
        {TagClass::filenameExtension, "rs", "org.rust-lang.rust-source"},
        {TagClass::filenameExtension, "epub", "org.idpf.epub-container"},
        {TagClass::filenameExtension, "woff2", "org.w3.woff2"},
        {TagClass::filenameExtension, "framework", "com.apple.framework"},
        {TagClass::mimeType, "IMAGE/PNG", "public.png"},
        {TagClass::mimeType, "text/plain;charset=utf-8", "public.utf8-plain-text"},
        {TagClass::mimeType, "text/html ; charset=latin1", "public.html"},
        {TagClass::osType, "PDF ", "com.adobe.pdf"},
        {TagClass::osType, "MooV", "com.apple.quicktime-movie"},
        {TagClass::osType, "fold", "public.folder"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(preferredIdentifierForTag(row.tagClass, row.tag), row.identifier) << row.tag;
        EXPECT_EQ(declaredIdentifierForTag(row.tagClass, row.tag), row.identifier) << row.tag;
    }
    EXPECT_EQ(preferredTag("public.JPEG", TagClass::filenameExtension), "jpeg");
    EXPECT_EQ(preferredTag("com.adobe.pdf", TagClass::osType), "PDF ");
    EXPECT_EQ(preferredTag("public.image", TagClass::filenameExtension), std::nullopt);
    EXPECT_EQ(preferredTag("nobody.knows", TagClass::filenameExtension), std::nullopt);
    // Four-character codes differ by case.
    EXPECT_EQ(declaredIdentifierForTag(TagClass::osType, "FOLD"), "");
}

TEST(TypeIdentifiersTests, EveryTagOfTheTableLeadsToItsDeclaration)
{
    for (const Declaration& type : declarations()) {
        if (!type.extensions.empty()) {
            const std::optional<std::string> tag = preferredTag(type.identifier, TagClass::filenameExtension);
            ASSERT_TRUE(tag) << type.identifier;
            EXPECT_EQ(extension(*tag), type.identifier);
        }
        EXPECT_TRUE(conforms(type.identifier, type.identifier));
        EXPECT_EQ(description(type.identifier), type.description);
    }
}

TEST(TypeIdentifiersTests, UnknownTagsGetADynamicIdentifierThatCarriesThem)
{
    EXPECT_EQ(extension("Zyzzy"), "dyn.extension.zyzzy");
    EXPECT_EQ(extension("\xC3\xA9 a-"), "dyn.extension.-c3-a9-20a-2d");
    EXPECT_EQ(preferredIdentifierForTag(TagClass::mimeType, "Image/X-none"), "dyn.mime.image-2fx-2dnone");
    EXPECT_EQ(preferredIdentifierForTag(TagClass::osType, "aBc "), "dyn.ostype.a-42c-20");
    EXPECT_EQ(preferredIdentifierForTag(TagClass::filenameExtension, ""), std::nullopt);
    EXPECT_EQ(preferredIdentifierForTag(TagClass::mimeType, ""), std::nullopt);
    EXPECT_EQ(preferredIdentifierForTag(TagClass::osType, "abc"), std::nullopt);

    for (int first = 0; first < 256; ++first)
        for (const char second : {'\0', '-', '0', 'z', '\xFF'}) {
            const std::string tag{'~', static_cast<char>(first), second};
            const std::string identifier = extension(tag);
            std::string folded = tag;
            if ('A' <= first && first <= 'Z')
                folded[1] = static_cast<char>(first + 32);
            EXPECT_EQ(preferredTag(identifier, TagClass::filenameExtension), folded);
            EXPECT_EQ(preferredTag(identifier, TagClass::mimeType), std::nullopt);
            EXPECT_EQ(identifier, extension(folded));
        }

    const std::string dynamic = extension("zyzzy");
    EXPECT_TRUE(isDynamic("DYN.Extension.Zyzzy"));
    EXPECT_FALSE(isDeclared(dynamic));
    EXPECT_TRUE(conforms(dynamic, "public.data"));
    EXPECT_TRUE(conforms(dynamic, "public.item"));
    EXPECT_TRUE(conforms(dynamic, dynamic));
    EXPECT_FALSE(conforms(dynamic, "public.image"));
    EXPECT_EQ(description(dynamic), std::nullopt);
    for (const std::string_view notOurs :
         {"dyn.", "dyn.extension.", "dyn.extension.-", "dyn.extension.-6", "dyn.extension.-61",
          "dyn.extension.-zz", "dyn.extension.a.b", "dyn.other.a", "public.jpeg"}) {
        EXPECT_FALSE(isDynamic(notOurs)) << notOurs;
    }
}

TEST(TypeIdentifiersTests, ConformanceIsTransitiveAndIgnoresCase)
{
    struct Row {
        std::string_view identifier, other;
        bool conforms;
    };
    const Row rows[] = {
        {"public.jpeg", "public.image", true},
        {"public.jpeg", "public.item", true},
        {"Public.Jpeg", "PUBLIC.CONTENT", true},
        {"public.image", "public.jpeg", false},
        {"public.heic", "public.image", true},
        {"com.nikon.raw-image", "public.image", true},
        {"com.apple.application-bundle", "com.apple.package", true},
        {"com.apple.application-bundle", "com.apple.application", true},
        {"com.apple.framework", "com.apple.package", false},
        {"com.apple.framework", "public.directory", true},
        {"public.c-plus-plus-source", "public.plain-text", true},
        {"public.mpeg-4-audio", "public.audio", true},
        {"public.mpeg-4-audio", "public.movie", true},
        {"public.vcard", "public.contact", true},
        {"public.content", "public.item", false},
        {"nobody.knows", "Nobody.Knows", true},
        {"nobody.knows", "public.item", false},
        {"public.item", "nobody.knows", false},
        {"", "", true},
    };
    for (const Row& row : rows)
        EXPECT_EQ(conforms(row.identifier, row.other), row.conforms) << row.identifier << " to " << row.other;
    EXPECT_TRUE(equal("public.JPEG", "public.jpeg"));
    EXPECT_FALSE(equal("public.jpeg", "public.jpeg-2000"));
}

TEST(TypeIdentifiersTests, DeclarationsSayWhatTheTableSays)
{
    const std::optional<PropertyDictionary> jpeg = declaration("PUBLIC.jpeg");
    ASSERT_TRUE(jpeg);
    EXPECT_EQ(jpeg->at("UTTypeIdentifier"), PropertyValue("public.jpeg"));
    EXPECT_EQ(jpeg->at("UTTypeDescription"), PropertyValue("JPEG image"));
    EXPECT_EQ(jpeg->at("UTTypeConformsTo"), PropertyValue(PropertyArray{"public.image"}));
    const PropertyDictionary* tags = jpeg->at("UTTypeTagSpecification").asDictionary();
    ASSERT_NE(tags, nullptr);
    EXPECT_EQ(tags->at("com.apple.ostype"), PropertyValue(PropertyArray{"JPEG"}));
    EXPECT_EQ(tags->at("public.filename-extension").asArray()->at(1), PropertyValue("jpg"));

    const std::optional<PropertyDictionary> dynamic = declaration("dyn.extension.zyzzy");
    ASSERT_TRUE(dynamic);
    EXPECT_EQ(dynamic->at("UTTypeTagSpecification").asDictionary()->at("public.filename-extension"),
              PropertyValue(PropertyArray{"zyzzy"}));
    EXPECT_EQ(declaration("nobody.knows"), std::nullopt);

    const std::optional<URL> folder = declaringBundleURL("public.jpeg");
    ASSERT_TRUE(folder);
    EXPECT_TRUE(std::filesystem::is_directory(folder->path()));
    EXPECT_EQ(declaringBundleURL("nobody.knows"), std::nullopt);
}

TEST(TypeIdentifiersTests, FourCharacterCodesAreTheirBytes)
{
    EXPECT_EQ(stringForOSType(0x4A504547), "JPEG");
    EXPECT_EQ(osTypeFromString("JPEG"), 0x4A504547U);
    for (const std::uint32_t code : {0U, 0x20202020U, 0xFFFFFFFFU, 0x80A5C900U})
        EXPECT_EQ(osTypeFromString(stringForOSType(code)), code);
    EXPECT_EQ(osTypeFromString("JPG"), 0U);
    EXPECT_EQ(osTypeFromString("public.jpeg"), 0U);
}

} // namespace
} // namespace corvane::TypeIdentifiers
