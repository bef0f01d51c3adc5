// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/StringTable.h>
#include <corvane/StringsAndText/TextLocalizer.h>

#include <Support/EnvironmentVariable.h>
#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>

#include <string>

namespace corvane {
namespace {

using tests::EnvironmentVariable;
using tests::TemporaryFolder;

// The user's language and nothing else of the environment.
struct Language {
    explicit Language(const char* locale, const char* list = nullptr)
        : all("LC_ALL", locale), languages("LANGUAGE", list)
    {}
    EnvironmentVariable all, languages;
};

std::string text(const TextLocalizer& made, std::string key, std::string otherwise = "default")
{
    TextLocalizer localizer = made;
    localizer.string = LocalizedString(std::move(key));
    localizer.defaultValue = std::move(otherwise);
    return localizer.local();
}

Bundle bundleOf(const TemporaryFolder& folder, const char* development = "en")
{
    return Bundle::fromInfoDictionary({{"CFBundleDevelopmentRegion", development}},
                                      URL::fromPath(folder.path().string()));
}

TEST(TextLocalizerTests, KeysAreFoundInTheLanguageThenTheDevelopmentLanguageThenAside)
{
    const TemporaryFolder folder;
    folder.write("en.lproj/Localizable.strings", "\"a\" = \"a en\"; \"b\" = \"b en\"; \"p\" = \"100%%\";");
    folder.write("fr.lproj/Localizable.strings", "\"a\" = \"a fr\";");
    folder.write("zh-Hant.lproj/Localizable.strings", "\"a\" = \"a zh\";");
    folder.write("Localizable.strings", "c = \"c\"; a = \"aside\";");
    folder.write("fr.lproj/Other.strings", "a = \"other fr\";");
    const Bundle bundle = bundleOf(folder);
    struct Row {
        const char *locale, *list, *a;
    };
    const Row rows[] = {
        {"fr_CA.UTF-8", nullptr, "a fr"}, {"C", nullptr, "a en"},     {"C", "fr", "a en"},
        {"zh_TW.UTF-8", nullptr, "a zh"}, {"de_DE", nullptr, "a en"}, {"de_DE", "it:fr", "a fr"},
        {"fr_FR", "en", "a en"}};
    for (const Row& row : rows) {
        const Language language(row.locale, row.list);
        StringTables::forgetAll();
        const TextLocalizer localizer(bundle);
        EXPECT_EQ(text(localizer, "a"), row.a) << row.locale;
        EXPECT_EQ(text(localizer, "b"), "b en");
        EXPECT_EQ(text(localizer, "c"), "c");
        EXPECT_EQ(text(localizer, "d"), "default");
        EXPECT_EQ(text(localizer, "d", ""), "");
        EXPECT_EQ(text(localizer, "p"), "100%%");
    }
    const Language language("fr_FR");
    StringTables::forgetAll();
    EXPECT_EQ(text(TextLocalizer(bundle, "Other"), "a"), "other fr");
    EXPECT_EQ(text(TextLocalizer(bundle, "Missing"), "a"), "default");
    EXPECT_EQ(text(TextLocalizer(Bundle::fromInfoDictionary({})), "a"), "default");
}

TEST(TextLocalizerTests, TheShortWayAsksTheMainBundle)
{
    const TemporaryFolder folder;
    folder.write("en.lproj/Localizable.strings", "\"of\" = \"%2$@ of %1$d%%\"; \"plain\" = \"50%%\";");
    folder.write("de.lproj/Localizable.strings", "\"of\" = \"%1$d%% von %2$@\";");
    Bundle::setMain(bundleOf(folder));
    {
        const Language language("en_GB");
        StringTables::forgetAll();
        EXPECT_EQ(TL(LocalizedString("of"), 1234567, "x"), "x of 1,234,567%");
        EXPECT_EQ(TL(LocalizedString("plain")), "50%%");
        EXPECT_EQ(TL(LocalizedString("missing")), "");
    }
    const Language language("de_DE");
    StringTables::forgetAll();
    EXPECT_EQ(TL(LocalizedString("of"), 1234567, std::string("x")), "1.234.567% von x");
}

TEST(TextLocalizerTests, DamageIsReportedOnceAndGivesTheDefault)
{
    const TemporaryFolder folder;
    folder.write("en.lproj/Localizable.strings", "\"a\" = \"1\";\n\"b\" = ;\n");
    const Bundle bundle = bundleOf(folder);
    const Language language("en_US");
    StringTables::forgetAll();
    testing::internal::CaptureStderr();
    EXPECT_EQ(text(TextLocalizer(bundle), "a"), "default");
    EXPECT_EQ(text(TextLocalizer(bundle), "a"), "default");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              folder / "en.lproj/Localizable.strings:2: there is no text in quotes here, or it has no end\n");
}

} // namespace
} // namespace corvane
