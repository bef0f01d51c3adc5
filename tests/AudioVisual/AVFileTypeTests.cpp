// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/AVFileType.h>

#include <gtest/gtest.h>

#include <set>

namespace corvane {
namespace {

TEST(AVFileTypeTests, KnownTypesAndTheirExtensionsLeadToEachOther)
{
    std::set<std::string_view> identifiers, extensions;
    for (const AVFileType& type : AVFileType::allKnown()) {
        EXPECT_EQ(AVFileType::fromPathExtension(pathExtension(type)), type);
        identifiers.insert(type.rawValue);
        extensions.insert(pathExtension(type));
    }
    EXPECT_EQ(AVFileType::allKnown().size(), 20U);
    EXPECT_EQ(identifiers.size(), 20U);
    EXPECT_EQ(extensions.size(), 20U);
    EXPECT_EQ(pathExtension(AVFileType::mov), "mov");
    EXPECT_EQ(pathExtension(AVFileType::mobile3GPP2), "3g2");
    EXPECT_EQ(pathExtension(AVFileType::tif), "tif");
}

TEST(AVFileTypeTests, ExtensionsAreFoundInEitherCase)
{
    EXPECT_EQ(AVFileType::fromPathExtension("Mp4"), AVFileType::mp4);
    EXPECT_EQ(AVFileType::fromPathExtension("txt"), std::nullopt);
    EXPECT_EQ(AVFileType::fromPathExtension(""), std::nullopt);
    EXPECT_EQ(AVFileType::fromPathExtension("mp"), std::nullopt);
}

} // namespace
} // namespace corvane
