// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/BundleVersion.h>
#include <corvane/Platform/Base/Bundle.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(BundleVersionTests, AnyTextIsReadAsThreeNumbers)
{
    const Int max = std::numeric_limits<Int>::max();
    struct Row {
        std::string_view text;
        Int major, minor, patch;
        std::string_view rawValue;
    };
    const Row rows[] = {
        {"1.2.3", 1, 2, 3, "1.2.3"},
        {"2", 2, 0, 0, "2"},
        {"1.x.3", 1, 0, 3, "1.x.3"},
        {"1.2.3.4", 1, 2, 3, "1.2.3.4"},
        {"", 0, 0, 0, "0.0.0"},
        {" \t ", 0, 0, 0, "0.0.0"},
        {" 3.1\t", 3, 1, 0, "3.1"},
        {"\u00a0\u2003\u30001.2\u202f\u205f", 1, 2, 0, "1.2"},
        {"\n1.2\n", 0, 0, 0, "\n1.2\n"},
        {"1. 2.3", 1, 0, 3, "1. 2.3"},
        {"..5", 0, 0, 5, "..5"},
        {".", 0, 0, 0, "."},
        {"+1.-2.+-3", 1, -2, 0, "+1.-2.+-3"},
        {"1a.0x1.1e1", 0, 0, 0, "1a.0x1.1e1"},
        {"9223372036854775807.9223372036854775808.007", max, 0, 7,
         "9223372036854775807.9223372036854775808.007"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const Version version(row.text);
        EXPECT_EQ(version.major, row.major);
        EXPECT_EQ(version.minor, row.minor);
        EXPECT_EQ(version.patch, row.patch);
        EXPECT_EQ(version.rawValue, row.rawValue);
        EXPECT_EQ(Version::fromString(row.text), version);
    }
    EXPECT_EQ(Version(" 1.x.3.4").description(), "1.0.3");
}

TEST(BundleVersionTests, OrderEqualityAndHashAreOfTheNumbers)
{
    const Version ascending[] = {Version("-1"),    Version::zero(), Version("0.0.1"), Version::first(),
                                 Version("1.9.9"), Version("1.10"), Version("2")};
    for (std::size_t i = 0; i < std::size(ascending); ++i)
        for (std::size_t j = 0; j < std::size(ascending); ++j)
            EXPECT_EQ(ascending[i] <=> ascending[j], i <=> j) << i << " and " << j;
    EXPECT_EQ(Version("1.2"), Version("1.2.0"));
    EXPECT_NE(Version("1.2").rawValue, Version("1.2.0").rawValue);
    const std::hash<Version> hash;
    EXPECT_EQ(hash(Version("1.2")), hash(Version("1.2.0")));
    EXPECT_NE(hash(Version("1.2")), hash(Version("2.1")));
}

TEST(BundleVersionTests, TheCurrentVersionIsTheMainBundles)
{
    const Bundle before = Bundle::main();
    Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleShortVersionString", "2.1"}}));
    EXPECT_EQ(Version::current(), Version("2.1.0"));
    EXPECT_TRUE(Version("2.1.0").isCurrent());
    EXPECT_FALSE(Version("2.1.1").isCurrent());
    Bundle::setMain(before);
}

} // namespace
} // namespace corvane
