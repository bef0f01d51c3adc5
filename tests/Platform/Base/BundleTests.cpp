// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>

#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace corvane {
namespace {

namespace fs = std::filesystem;

// What a command prints; the test fails when the command does.
std::string output(const std::string& command)
{
    std::string text;
    FILE* const pipe = ::popen(command.c_str(), "r");
    for (int c; pipe && (c = std::fgetc(pipe)) != EOF;)
        text += static_cast<char>(c);
    EXPECT_EQ(pipe ? ::pclose(pipe) : -1, 0) << command;
    return text;
}

// The bundle of a program in a language, asked through the probe.
std::string ask(const fs::path& program, const std::string& questions, const std::string& locale = "LANG=C")
{
    const std::string libraries = fs::path(CORVANE_BUNDLE_PROBE_LIBRARIES).parent_path();
    return output("env -u LANGUAGE -u LC_ALL -u LC_MESSAGES LD_LIBRARY_PATH='" + libraries + "' " + locale +
                  " '" + program.string() + "' " + questions);
}

constexpr const char* everything =
    "identifier CFBundleName CFBundleShortVersionString Columns Wide Note Missing "
    "Defaults.plist Welcome.html page";
constexpr const char* everythingInEnglish = "org.corvane.BundleProbe\ncorvane_bundle_probe\n1.2.3\nnumber 4\n"
                                            "number 1\nTom & Jerry <3; @x@\n-\nDefaults.plist\n"
                                            "en.lproj/Welcome.html\n-\n";

// The probe and its bundle, as an installation lays them out.
fs::path installProbe(const tests::TemporaryFolder& folder)
{
    output(CORVANE_INSTALL_PROBE "'" + folder.path().string() + "'");
    return folder.path() / "bin" / fs::path(CORVANE_BUNDLE_PROBE).filename();
}

TEST(BundleTests, TheBuildTreeAndTheInstallTreeHoldTheSameBundle)
{
    EXPECT_EQ(ask(CORVANE_BUNDLE_PROBE, everything), everythingInEnglish);
    const tests::TemporaryFolder folder;
    const fs::path probe = installProbe(folder);
    EXPECT_EQ(ask(probe, everything), everythingInEnglish);
    EXPECT_EQ(ask(probe, "root"), folder.path().string() + "/share/corvane_bundle_probe\n");
}

TEST(BundleTests, AnInfoDictionaryBesideTheExecutableComesFirstEvenWhenItIsBroken)
{
    const tests::TemporaryFolder folder;
    const fs::path probe = installProbe(folder);
    folder.write("bin/Info.plist",
                 "<plist><dict><key>CFBundleIdentifier</key><string>beside</string></dict></plist>");
    folder.write("bin/Welcome.html");
    EXPECT_EQ(ask(probe, "identifier root Welcome.html Defaults.plist"),
              "beside\n" + (folder / "bin") + "\nWelcome.html\n-\n");
    folder.write("bin/Info.plist", "<plist><dict><key>CFBundleIdentifier</key>");
    EXPECT_EQ(ask(probe, "identifier root"), "-\n" + (folder / "bin") + "\n");

    fs::remove(folder / "bin/Info.plist");
    fs::remove(folder / "share/corvane_bundle_probe/Info.plist");
    EXPECT_EQ(ask(probe, "identifier Columns root Welcome.html"),
              "-\n-\n" + (folder / "bin") + "\nWelcome.html\n");
}

TEST(BundleTests, ResourcesFollowTheUsersLanguages)
{
    struct Row {
        const char* locale;
        const char* answers;
    };
    const Row rows[] = {
        {"LANG=fr_CA.UTF-8", "fr.lproj/Welcome.html\nen.lproj/English.html\nfr.lproj/Pages/Page.html\n"},
        {"LANG=fr", "fr.lproj/Welcome.html\nen.lproj/English.html\nfr.lproj/Pages/Page.html\n"},
        {"LANG=de_DE@euro", "en.lproj/Welcome.html\nen.lproj/English.html\n-\n"},
        {"LANG=fr LC_MESSAGES=en_GB", "en.lproj/Welcome.html\nen.lproj/English.html\n-\n"},
        {"LANG=en LC_MESSAGES=en LC_ALL=fr",
         "fr.lproj/Welcome.html\nen.lproj/English.html\nfr.lproj/Pages/Page.html\n"},
        {"LANG=en LANGUAGE=tlh:fr:en",
         "fr.lproj/Welcome.html\nen.lproj/English.html\nfr.lproj/Pages/Page.html\n"},
        {"LANG=C LANGUAGE=fr", "en.lproj/Welcome.html\nen.lproj/English.html\n-\n"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ask(CORVANE_BUNDLE_PROBE, "Welcome.html English.html page", row.locale), row.answers)
            << row.locale;
}

TEST(BundleTests, ResourcesAreLookedUpInTheDevelopmentLanguageThenInTheFolderItself)
{
    const tests::TemporaryFolder folder;
    folder.write("tlh.lproj/Both.txt");
    folder.write("Both.txt");
    folder.write("Deep er/Plain");
    const Bundle bundle = Bundle::fromInfoDictionary({{"CFBundleDevelopmentRegion", "tlh"}},
                                                     URL::fromPath(folder.path().native()));
    const auto path = [](const std::optional<URL>& url) { return url ? url->path() : "none"; };
    EXPECT_EQ(path(bundle.urlForResource("Both", "txt")), folder / "tlh.lproj/Both.txt");
    EXPECT_EQ(path(bundle.urlForResource("Plain", "", "Deep er")), folder / "Deep er/Plain");
    EXPECT_EQ(path(bundle.urlForResource("Plain", "")), "none");
    EXPECT_EQ(path(bundle.urlForResource("", "txt")), "none");
    EXPECT_EQ(path(Bundle::fromInfoDictionary({}).urlForResource("Both", "txt")), "none");
}

TEST(BundleTests, TheHostsBundleBecomesTheMainOneAndEarlierReferencesStay)
{
    const Bundle& before = Bundle::main();
    const auto identifier = before.bundleIdentifier();
    Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleIdentifier", "org.example.Host"}}));
    EXPECT_EQ(Bundle::main().bundleIdentifier(), "org.example.Host");
    EXPECT_EQ(before.bundleIdentifier(), identifier);
    Bundle::setMain(before);
}

TEST(BundleTests, TheLibraryHasABundleOfItsOwn)
{
    EXPECT_EQ(Bundle::library().bundleIdentifier(), "org.corvane.Corvane");
    EXPECT_NE(Bundle::library().objectForInfoDictionaryKey("CFBundleShortVersionString"), nullptr);
    EXPECT_EQ(Bundle::library().resourceURL(), std::nullopt);
}

TEST(BundleTests, AFolderWithoutAReadableInfoDictionaryGivesAbsentValues)
{
    const tests::TemporaryFolder folder;
    const std::string root = folder.path();
    EXPECT_TRUE(Bundle::fromFolder(URL::fromPath(root)).infoDictionary().empty());
    for (const char* content : {"", "<plist>", "<plist><array/></plist>"}) {
        folder.write("Info.plist", content);
        const Bundle bundle = Bundle::fromFolder(URL::fromPath(root));
        EXPECT_TRUE(bundle.infoDictionary().empty()) << content;
        EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
        EXPECT_EQ(bundle.resourceURL(), URL::fromPath(root));
    }
    fs::remove(folder / "Info.plist");
    folder.makeFolder("Info.plist");
    EXPECT_TRUE(Bundle::fromFolder(URL::fromPath(root)).infoDictionary().empty());
}

} // namespace
} // namespace corvane
