// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/FilesIterator.h>

#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <functional>
#include <ranges>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using tests::TemporaryFolder;

static_assert(std::ranges::input_range<FilesIterator>);

// The names that a walk with these settings gives.
std::vector<std::string> names(std::vector<URL> urls, const std::function<void(FilesIterator&)>& set = {})
{
    FilesIterator files(std::move(urls));
    if (set)
        set(files);
    std::vector<std::string> found;
    for (const URL& file : files)
        found.push_back(file.lastPathComponent());
    EXPECT_EQ(files.next(), std::nullopt);
    EXPECT_EQ(files.next(), std::nullopt);
    EXPECT_EQ(files.index(), std::ssize(files.urls()));
    EXPECT_FALSE(files.enumerator());
    return found;
}

class FilesIteratorTests : public testing::Test {
protected:
    FilesIteratorTests()
    {
        for (const char* name : {"a.JPG", "b.png", "c.txt", "README", ".hidden.jpg", "sub/d.jpg",
                                 ".git/e.jpg", "Tool.app/f.jpg", "sub/Kit.framework/g.jpg"})
            folder.write(name);
    }

    URL url(std::string_view name) const { return URL::fromPath(folder / name); }
    std::vector<URL> all() const { return {URL::fromPath(folder.path().string())}; }

    TemporaryFolder folder;
};

TEST_F(FilesIteratorTests, FlagsDecideWhereTheWalkGoes)
{
    EXPECT_THAT(names(all()), UnorderedElementsAre("a.JPG", "b.png", "c.txt", "README"));
    EXPECT_THAT(names(all(), [](FilesIterator& files) { files.skipHiddenFiles = false; }),
                UnorderedElementsAre("a.JPG", "b.png", "c.txt", "README", ".hidden.jpg"));
    EXPECT_THAT(names(all(), [](FilesIterator& files) { files.skipSubdirectoryDescendants = false; }),
                UnorderedElementsAre("a.JPG", "b.png", "c.txt", "README", "d.jpg"));
    EXPECT_THAT(names(all(),
                      [](FilesIterator& files) {
                          files.skipSubdirectoryDescendants = files.skipPackageDescendants = false;
                      }),
                UnorderedElementsAre("a.JPG", "b.png", "c.txt", "README", "d.jpg", "f.jpg", "g.jpg"));
    EXPECT_THAT(names(all(),
                      [](FilesIterator& files) {
                          files.skipSubdirectoryDescendants = files.skipHiddenFiles = false;
                      }),
                UnorderedElementsAre("a.JPG", "b.png", "c.txt", "README", "d.jpg", ".hidden.jpg", "e.jpg"));
    // A location that is given is walked, whatever it is called.
    EXPECT_THAT(names({url("Tool.app"), url(".git"), url(".hidden.jpg")}),
                ElementsAre("f.jpg", "e.jpg", ".hidden.jpg"));
}

TEST_F(FilesIteratorTests, FiltersAreAlternatives)
{
    using Extensions = std::set<std::string, std::less<>>;
    using Types = std::vector<UTIType>;
    struct Row {
        std::optional<Extensions> extensions;
        std::optional<Types> types;
        std::vector<std::string> names;
    };
    const Row rows[] = {
        {Extensions{"jpg"}, {}, {"a.JPG"}},
        {Extensions{"JPG"}, {}, {}},
        {Extensions{}, {}, {"README", "a.JPG", "b.png", "c.txt"}},
        {Extensions{""}, {}, {"README"}},
        {{}, Types{}, {"README", "a.JPG", "b.png", "c.txt"}},
        {{}, Types{UTIType::image}, {"a.JPG", "b.png"}},
        {{}, Types{UTIType::movie, UTIType::text}, {"c.txt"}},
        {{}, Types{UTIType::item}, {"a.JPG", "b.png", "c.txt"}},
        {Extensions{"txt"}, Types{UTIType::png}, {"b.png", "c.txt"}},
        {Extensions{}, Types{UTIType::png}, {"b.png"}},
        {Extensions{"txt"}, Types{}, {"c.txt"}},
    };
    for (const Row& row : rows) {
        std::vector<std::string> found = names(all(), [&](FilesIterator& files) {
            files.allowedFiles = row.extensions;
            files.allowedTypes = row.types;
        });
        std::ranges::sort(found);
        EXPECT_EQ(found, row.names);
        // A file that is given passes the same tests as one that is found.
        found = names({url("README"), url("a.JPG"), url("b.png"), url("c.txt")}, [&](FilesIterator& files) {
            files.allowedFiles = row.extensions;
            files.allowedTypes = row.types;
        });
        EXPECT_EQ(found, row.names);
    }
}

TEST_F(FilesIteratorTests, LinksCountAsWhatTheyLeadToUnlessSkipped)
{
    fs::create_symlink("a.JPG", folder / "to file.jpg");
    fs::create_symlink("sub", folder / "to folder.jpg");
    fs::create_symlink("nothing", folder / "dangling.jpg");
    fs::create_symlink(".", folder / "circle.jpg");
    ASSERT_EQ(::mkfifo((folder / "pipe.jpg").c_str(), 0600), 0);
    const auto images = [](FilesIterator& files) {
        files.allowedFiles = {"jpg"};
        files.skipSubdirectoryDescendants = false;
    };
    const auto imagesNoLinks = [&](FilesIterator& files) {
        images(files);
        files.skipAlias = true;
    };
    EXPECT_THAT(names(all(), images), UnorderedElementsAre("a.JPG", "d.jpg", "to file.jpg", "pipe.jpg"));
    EXPECT_THAT(names(all(), imagesNoLinks), UnorderedElementsAre("a.JPG", "d.jpg", "pipe.jpg"));
    const std::vector<URL> links{url("to file.jpg"), url("to folder.jpg"), url("dangling.jpg"), url("a.JPG")};
    // A link to a folder that is given is walked, where it leads.
    EXPECT_THAT(names(links, images), ElementsAre("to file.jpg", "d.jpg", "a.JPG"));
    EXPECT_THAT(names(links, imagesNoLinks), ElementsAre("d.jpg", "a.JPG"));
    FilesIterator files({url("to folder.jpg")});
    EXPECT_EQ(files.next()->path(), folder / "sub/d.jpg");
}

TEST_F(FilesIteratorTests, WhatIsMissingIsPassedOver)
{
    EXPECT_THAT(names({}), IsEmpty());
    EXPECT_THAT(names({url("missing"), url("c.txt"), *URL::fromString("http://host/etc/passwd"),
                       *URL::fromString("c.txt"), url("c.txt")}),
                ElementsAre("c.txt", "c.txt"));
}

TEST_F(FilesIteratorTests, TheWalkIsMadeOnceHoweverItIsCut)
{
    std::vector<URL> urls;
    for (const char* name : {"a.JPG", "b.png", "c.txt", "README", "sub/d.jpg", ".git/e.jpg"})
        urls.push_back(url(name));
    FilesIterator files(urls);
    EXPECT_EQ(files.index(), -1);
    std::vector<std::string> found;
    for (const URL& file : files) {
        found.push_back(file.lastPathComponent());
        if (found.size() == 2)
            break;
    }
    EXPECT_EQ(files.index(), 1);
    std::vector<URL> two;
    std::ranges::copy_n(files.begin(), 2, std::back_inserter(two));
    std::ranges::transform(two, std::back_inserter(found), &URL::lastPathComponent);
    found.push_back(files.next()->lastPathComponent());
    std::ranges::transform(files, std::back_inserter(found), &URL::lastPathComponent);
    EXPECT_THAT(found, ElementsAre("a.JPG", "b.png", "c.txt", "README", "d.jpg", "e.jpg"));
    EXPECT_EQ(std::ranges::distance(files), 0);
}

#if !defined(__clang__) || __clang_major__ >= 16 // older ones do not compile the standard library's views
TEST_F(FilesIteratorTests, ViewsTakeNoMoreThanTheyGive)
{
    FilesIterator files({url("a.JPG"), url("b.png"), url("c.txt"), url("README")});
    std::vector<std::string> found;
    const auto isImage = [](const URL& file) { return file.pathExtension() != "txt"; };
    for (const URL& file : files | std::views::take(1))
        found.push_back(file.lastPathComponent());
    for (const std::string& name :
         files | std::views::filter(isImage) | std::views::transform(&URL::lastPathComponent))
        found.push_back(name);
    EXPECT_THAT(found, ElementsAre("a.JPG", "b.png", "README"));
}
#endif

TEST_F(FilesIteratorTests, FiltersMayChangeDuringTheWalk)
{
    FilesIterator files({url("a.JPG"), url("c.txt"), url("b.png"), url("c.txt"), url("sub")});
    files.allowedTypes = {UTIType::image};
    EXPECT_EQ(files.next()->lastPathComponent(), "a.JPG");
    files.allowedTypes = {UTIType::text};
    EXPECT_EQ(files.next()->lastPathComponent(), "c.txt");
    files.allowedTypes.reset();
    EXPECT_EQ(files.next()->lastPathComponent(), "b.png");
    EXPECT_EQ(files.next()->lastPathComponent(), "c.txt");
    files.skipPackageDescendants = files.skipSubdirectoryDescendants = false;
    std::vector<std::string> rest;
    for (const URL& file : files)
        rest.push_back(file.lastPathComponent());
    EXPECT_THAT(rest, UnorderedElementsAre("d.jpg", "g.jpg"));
}

} // namespace
} // namespace corvane
