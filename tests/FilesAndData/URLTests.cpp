// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/URL.h>

#include <Support/Hardship.h>
#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace corvane {
namespace {

using tests::TemporaryFolder;

URL file(std::string_view path)
{
    return URL::fromPath(path);
}

TEST(FilesURLTests, TitlesAndExtensions)
{
    struct Row {
        std::string_view path, title, replaced;
    };
    const Row rows[] = {
        {"/a/b.txt", "b", "/a/b.png"},
        {"/a/b.tar.gz", "b.tar", "/a/b.tar.png"},
        {"/a/b", "b", "/a/b.png"},
        {"/a/.profile", ".profile", "/a/.profile.png"},
        {"/a/b c.t\xC3\xA9", "b c", "/a/b c.png"},
        {"/a/\xFF.x", "\xFF", "/a/\xFF.png"},
        {"/", "/", "/"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(lastPathTitle(file(row.path)), row.title);
        EXPECT_EQ(replacingPathExtension(file(row.path), "png").path(), row.replaced);
    }
    EXPECT_EQ(replacingPathExtension(file("/a/b.txt"), "").path(), "/a/b");
    EXPECT_EQ(rootURL().absoluteString(), "file:///");
}

TEST(FilesURLTests, ParentsByComponentAndByText)
{
    struct Row {
        std::string_view url, other;
        bool isParent, isFileParent;
    };
    const Row rows[] = {
        {"/a/b", "/a/b", true, true},     {"/a/b", "/a/b/c/d", true, true}, {"/a/b", "/a/bc", false, true},
        {"/a/b/c", "/a/b", false, false}, {"/a/b/", "/a/b", true, true},    {"/", "/a", true, true},
        {"/a/x", "/b/x", false, false},   {"/A", "/a/b", false, false},     {"/a/.", "/a/b", false, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(isParent(file(row.url), file(row.other)), row.isParent) << row.url << ' ' << row.other;
        EXPECT_EQ(isFileParent(file(row.url), file(row.other)), row.isFileParent)
            << row.url << ' ' << row.other;
    }
    const URL noComponents = *URL::fromString("?query");
    EXPECT_TRUE(isParent(noComponents, file("/a")));
    EXPECT_TRUE(isParent(noComponents, noComponents));
    EXPECT_FALSE(isParent(file("/a"), noComponents));
}

TEST(FilesURLTests, TheCommonDirectoryIsTheDeepestSharedLocation)
{
    const auto common = [](std::vector<std::string_view> paths) {
        std::vector<URL> urls;
        for (const std::string_view path : paths)
            urls.push_back(file(path));
        const std::optional<URL> result = commonDirectoryURL(urls);
        return result ? result->path() : "none";
    };
    EXPECT_EQ(common({}), "none");
    EXPECT_EQ(common({"/a/b/c.txt", "/a/b/d/e.txt"}), "/a/b");
    EXPECT_EQ(common({"/a/b/d/e.txt", "/a/b/c.txt"}), "/a/b");
    EXPECT_EQ(common({"/a/b/c.txt"}), "/a/b/c.txt");
    EXPECT_EQ(common({"/a/b/c.txt", "/a/b/c.txt"}), "/a/b/c.txt");
    EXPECT_EQ(common({"/a/b/c.txt", "/a/b"}), "/a/b");
    EXPECT_EQ(common({"/a/b/x", "/c/b/x"}), "/");
    EXPECT_EQ(common({"/a/b/x", "/a/b/y", "/a"}), "/a");
    EXPECT_EQ(common({"/a/b", "/a/bc"}), "/a");
    // The last component alike is no reason to keep it.
    EXPECT_EQ(common({"/a/x/z", "/a/y/z"}), "/a");
    const auto relative = [](std::string_view text) { return *URL::fromString(text); };
    EXPECT_EQ(commonDirectoryURL(std::vector{relative("a/b"), relative("c/b")}), std::nullopt);
    EXPECT_EQ(commonDirectoryURL(std::vector{relative("a/b"), file("/a/b")}), std::nullopt);
    EXPECT_EQ(commonDirectoryURL(std::vector{relative("a/b"), relative("a/c")})->path(), "a");
}

TEST(FilesURLTests, TypesComeFromTheExtension)
{
    EXPECT_EQ(utiType(file("/a/b.JPG")), UTIType::jpeg);
    EXPECT_EQ(utiType(file("/a.b/c")), std::nullopt);
    EXPECT_TRUE(conforms(file("/a.jpg"), UTIType::image));
    EXPECT_TRUE(conforms(file("/a.jpg"), "public.data"));
    EXPECT_FALSE(conforms(file("/a.jpg"), UTIType::text));
    EXPECT_TRUE(conforms(file("/a.zyzzy"), UTIType::data));
    EXPECT_FALSE(conforms(file("/a"), UTIType::item));
    EXPECT_TRUE(conforms(file("/a.jpg"), {UTIType::text, UTIType::image}));
    EXPECT_FALSE(conforms(file("/a.jpg"), {UTIType::text, UTIType::folder}));
    EXPECT_FALSE(conforms(file("/a.jpg"), std::vector<UTIType>()));
    EXPECT_FALSE(conforms(file("/a"), {UTIType::item}));
}

TEST(FilesURLTests, ChecksAskTheFileSystem)
{
    const TemporaryFolder folder;
    const URL regular = file(folder.write("file"));
    const URL link = file(folder / "link");
    const URL dangling = file(folder / "dangling");
    std::filesystem::create_symlink("file", link.path());
    std::filesystem::create_symlink("nothing", dangling.path());
    const URL missing = file(folder / "missing");
    const URL elsewhere = *URL::fromString("http://host/tmp");

    EXPECT_EQ(checkIsAlias(regular), false);
    EXPECT_EQ(checkIsAlias(link), true);
    EXPECT_EQ(checkIsAlias(dangling), true);
    EXPECT_EQ(checkIsAlias(file(folder.path().string())), false);

    EXPECT_EQ(checkIsReadAndWrite(regular), true);
    EXPECT_EQ(checkIsReadAndWrite(link), true);
    EXPECT_EQ(checkIsReadAndWrite(dangling), std::nullopt);
    tests::asOrdinaryUser(folder, [&] {
        for (const mode_t mode : {0400U, 0200U, 0000U}) {
            ::chmod(regular.path().c_str(), mode);
            EXPECT_EQ(checkIsReadAndWrite(regular), false) << mode;
        }
    });

    EXPECT_EQ(checkIsOnMainDisk(rootURL()), true);
    EXPECT_EQ(checkIsOnMainDisk(file("/proc/self/status")), false);

    for (const URL& url : {missing, elsewhere}) {
        EXPECT_EQ(checkIsAlias(url), std::nullopt);
        EXPECT_EQ(checkIsReadAndWrite(url), std::nullopt);
        EXPECT_EQ(checkIsOnMainDisk(url), std::nullopt);
    }
}

} // namespace
} // namespace corvane
