// SPDX-License-Identifier: Apache-2.0
#include <corvane/AppSupport/Bundle.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(BundleReadsTests, AReadIsAbsentWhereTheKeyHoldsSomethingElse)
{
    const Bundle bundle = Bundle::fromInfoDictionary({{"text", "file:///a%20b"},
                                                      {"spaced", "a b"},
                                                      {"number", 2.5},
                                                      {"zero", 0},
                                                      {"list", PropertyArray{}}});
    struct Row {
        const char* key;
        std::optional<std::string> text;
        std::optional<Number> number;
        std::optional<bool> truth;
        std::optional<URL> url;
    };
    const std::nullopt_t none = std::nullopt;
    const Row rows[] = {
        {"text", "file:///a%20b", none, none, URL::fromPath("/a b")},
        {"spaced", "a b", none, none, none},
        {"number", none, 2.5, true, none},
        {"zero", none, 0, false, none},
        {"list", none, none, none, none},
        {"missing", none, none, none, none},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(stringForInfoDictionaryKey(bundle, row.key), row.text);
        EXPECT_EQ(numberForInfoDictionaryKey(bundle, row.key), row.number);
        EXPECT_EQ(boolForInfoDictionaryKey(bundle, row.key), row.truth);
        EXPECT_EQ(urlForInfoDictionaryKey(bundle, row.key), row.url);
    }
}

TEST(BundleReadsTests, NameAndVersionComeFromTheInfoDictionary)
{
    const Bundle bundle =
        Bundle::fromInfoDictionary({{"CFBundleName", "Gallery"}, {"CFBundleShortVersionString", " 1.2 "}});
    EXPECT_EQ(name(bundle), "Gallery");
    EXPECT_EQ(versionString(bundle), " 1.2 ");
}

TEST(BundleReadsTests, UniqueIDsBeginWithTheIdentifierOrTheDefaultPrefix)
{
    EXPECT_EQ(uniqueID(Bundle::fromInfoDictionary({{"CFBundleIdentifier", "org.example.Gallery"}}), "cache"),
              "org.example.Gallery.cache");
    EXPECT_EQ(uniqueID(Bundle::fromInfoDictionary({}), "cache"), "CorvaneDefaultPrefix.cache");
    EXPECT_EQ(uniqueID(Bundle::library(), "SyncQueue"), "org.corvane.Corvane.SyncQueue");
}

} // namespace
} // namespace corvane
