// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/StringTableCheck.h>

#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>

namespace corvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::TemporaryFolder;

// Each problem as the build shows it, with the files named from the bundle's folder on.
std::vector<std::string> problems(const TemporaryFolder& bundle, const StringTableCheckOptions& options = {},
                                  std::vector<std::string> folders = {})
{
    if (folders.empty())
        folders.push_back(bundle.path().string());
    std::vector<std::string> lines;
    for (const auto& [file, line, description] : checkStringTables(folders, options))
        lines.push_back(file.substr(std::min(file.size(), bundle.path().string().size() + 1)) + ":" +
                        std::to_string(line) + ": " + description);
    return lines;
}

TEST(StringTableCheckTests, LanguagesThatHaveTheSameTextsHaveNoProblems)
{
    const TemporaryFolder bundle;
    EXPECT_THAT(problems(bundle), IsEmpty());
    bundle.write("en.lproj/A.strings", "a = \"%d %@\"; b = \"100%\"; c = \"100% %d\"; d = \"%%\";");
    EXPECT_THAT(problems(bundle), IsEmpty());
    bundle.write("de.lproj/A.strings", "d = \"\"; a = \"%2$s %1$i\"; b = \"ganz %%\"; c = \"100% %d\";");
    EXPECT_THAT(problems(bundle), IsEmpty());
    bundle.write("de.lproj/readme.txt");
    EXPECT_THAT(problems(bundle, {}, {bundle / "de.lproj/", bundle / "en.lproj", bundle / "missing"}),
                IsEmpty());
}

TEST(StringTableCheckTests, WhatDiffersIsFoundWithItsPlace)
{
    const TemporaryFolder bundle;
    bundle.write("en.lproj/A.strings",
                 "a = \"%d\";\nb = \"\";\nc = \"%@ %@\";\nd = \"50% faster\";\nb = \"b\";\n");
    bundle.write("de.lproj/A.strings", "\na = \"%f\";\nc = \"%2$@\";\nd = \"50 % schneller\";\nx = \"\";\n");
    bundle.write("fr.lproj/A.strings", "a = \"%y\"; b = \"\"; c = \"%@ %@\"; d = \"%\";");
    bundle.write("en.lproj/B.strings", "a = \"\";");
    bundle.write("de.lproj/B.strings", "a = \"\";\n\nb = ;");
    StringTableCheckOptions options;
    EXPECT_THAT(
        problems(bundle, options),
        ElementsAre(
            "de.lproj/A.strings:2: \"a\" takes a real number where the development language takes a whole "
            "number",
            "de.lproj/A.strings:3: \"c\" takes anything, a text where the development language takes a text, "
            "a text",
            "de.lproj/A.strings:4: \"d\" takes a text where the development language takes a real number",
            "de.lproj/A.strings:5: \"x\" is not in en.lproj",
            "en.lproj/A.strings:5: \"b\" is in line 2 already",
            "en.lproj/A.strings:5: \"b\" is missing in de.lproj",
            "fr.lproj/A.strings:1: \"a\" has a broken placeholder",
            "fr.lproj/A.strings:1: \"d\" has a broken placeholder",
            "de.lproj/B.strings:3: there is no text in quotes here, or it has no end",
            "fr.lproj/B.strings:1: the table is missing"));
    options.plainKeys = {"a", "c", "d"};
    options.developmentLanguage = "de";
    EXPECT_THAT(problems(bundle, options, {bundle / "de.lproj", bundle / "en.lproj"}),
                ElementsAre("de.lproj/A.strings:5: \"x\" is missing in en.lproj",
                            "en.lproj/A.strings:5: \"b\" is in line 2 already",
                            "en.lproj/A.strings:5: \"b\" is not in de.lproj",
                            "de.lproj/B.strings:3: there is no text in quotes here, or it has no end"));
    options.developmentLanguage = "it";
    EXPECT_THAT(problems(bundle, options), ElementsAre(":1: the development language \"it\" has no folder"));
}

} // namespace
} // namespace corvane
