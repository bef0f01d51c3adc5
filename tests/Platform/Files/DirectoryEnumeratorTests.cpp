// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/DirectoryEnumerator.h>
#include <corvane/Platform/Files/FileManager.h>

#include <Support/TemporaryFolder.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <vector>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using Options = DirectoryEnumerator::Options;
using ItemType = DirectoryEnumerator::ItemType;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using tests::TemporaryFolder;

DirectoryEnumerator walkOf(const std::string& path, Options options = Options::none)
{
    return DirectoryEnumerator(URL::fromPath(path), options);
}

// The ways to the items, sorted; a folder's ends with a slash.
std::vector<std::string> items(const std::string& folder, Options options = Options::none)
{
    std::vector<std::string> found;
    DirectoryEnumerator walk = walkOf(folder, options);
    while (walk.advance()) {
        std::string path(walk.path().substr(folder.size() + 1));
        EXPECT_EQ(walk.name(), fs::path(path).filename().string());
        EXPECT_EQ(walk.level(), std::ranges::count(path, '/') + 1);
        EXPECT_EQ(walk.url().path(), walk.path());
        EXPECT_EQ(walk.url().hasDirectoryPath(), walk.type() == ItemType::directory);
        if (walk.type() == ItemType::directory)
            path += '/';
        found.push_back(std::move(path));
    }
    EXPECT_FALSE(walk.advance());
    std::ranges::sort(found);
    return found;
}

void makeTree(const TemporaryFolder& folder)
{
    for (const char* name : {"a.txt", ".hidden", "sub/b.txt", "sub/deeper/c.txt", ".git/config",
                             "Tool.app/Contents/Info.plist", "Kit.framework/kit", "Plain.xyz/d.txt"})
        folder.write(name);
}

TEST(DirectoryEnumeratorTests, OptionsLeaveOutWhatTheySay)
{
    const TemporaryFolder folder;
    makeTree(folder);
    const std::string root = folder.path();
    EXPECT_THAT(items(root), ElementsAre(".git/", ".git/config", ".hidden", "Kit.framework/",
                                         "Kit.framework/kit", "Plain.xyz/", "Plain.xyz/d.txt", "Tool.app/",
                                         "Tool.app/Contents/", "Tool.app/Contents/Info.plist", "a.txt",
                                         "sub/", "sub/b.txt", "sub/deeper/", "sub/deeper/c.txt"));
    EXPECT_THAT(
        items(root, Options::skipsSubdirectoryDescendants),
        ElementsAre(".git/", ".hidden", "Kit.framework/", "Plain.xyz/", "Tool.app/", "a.txt", "sub/"));
    EXPECT_THAT(items(root, Options::skipsHiddenFiles | Options::skipsPackageDescendants),
                ElementsAre("Kit.framework/", "Plain.xyz/", "Plain.xyz/d.txt", "Tool.app/", "a.txt", "sub/",
                            "sub/b.txt", "sub/deeper/", "sub/deeper/c.txt"));
}

TEST(DirectoryEnumeratorTests, PackagesAreKnownByTheirExtension)
{
    for (const char* name : {"Tool.app", "Kit.FRAMEWORK", "x.bundle", "Notes.rtfd", "My.photoslibrary"})
        EXPECT_TRUE(DirectoryEnumerator::isPackage(name)) << name;
    for (const char* name : {"Tool", ".app", "app", "Tool.app.", "sub.d", "x.unknown", "a.txt", ""})
        EXPECT_FALSE(DirectoryEnumerator::isPackage(name)) << name;
}

TEST(DirectoryEnumeratorTests, FoldersComeBeforeTheirItemsAndOnWishAfterThem)
{
    const TemporaryFolder folder;
    makeTree(folder);
    std::vector<std::string> way;
    std::vector<std::string> before;
    DirectoryEnumerator walk = walkOf(folder.path(), Options::includesDirectoriesPostOrder);
    Int count = 0;
    while (walk.advance()) {
        const std::string parent = fs::path(walk.path()).parent_path();
        EXPECT_EQ(parent, way.empty() || walk.isPostOrder() ? parent : way.back());
        struct stat found {};
        EXPECT_EQ(::fstatat(walk.folderDescriptor(), std::string(walk.name()).c_str(), &found, 0), 0);
        if (walk.isPostOrder()) {
            ASSERT_FALSE(way.empty());
            EXPECT_EQ(way.back(), walk.path());
            EXPECT_EQ(walk.type(), ItemType::directory);
            way.pop_back();
            ++count;
        } else if (walk.type() == ItemType::directory) {
            way.emplace_back(walk.path());
        }
    }
    EXPECT_THAT(way, IsEmpty());
    EXPECT_EQ(count, 7);
}

TEST(DirectoryEnumeratorTests, AFolderCanBeSkippedOnSight)
{
    const TemporaryFolder folder;
    makeTree(folder);
    std::set<std::string> names;
    DirectoryEnumerator walk = walkOf(folder.path());
    while (std::optional<URL> url = walk.next()) {
        names.insert(url->lastPathComponent());
        if (url->lastPathComponent() == "sub")
            walk.skipDescendants();
    }
    EXPECT_TRUE(names.contains("sub"));
    EXPECT_FALSE(names.contains("b.txt"));
    EXPECT_TRUE(names.contains("d.txt"));
}

TEST(DirectoryEnumeratorTests, SymbolicLinksAreYieldedAndNotFollowed)
{
    const TemporaryFolder folder;
    folder.write("real/a.txt");
    fs::create_symlink("..", folder / "real/up");
    fs::create_symlink("real", folder / "link");
    fs::create_symlink("nothing", folder / "dangling");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_THAT(items(folder.path()),
                ElementsAre("dangling", "link", "pipe", "real/", "real/a.txt", "real/up"));
    EXPECT_THAT(items(folder / "link"), ElementsAre("a.txt", "up"));
    DirectoryEnumerator walk = walkOf(folder / "link");
    while (walk.advance())
        EXPECT_EQ(walk.type(), walk.name() == "up" ? ItemType::symbolicLink : ItemType::file);
}

TEST(DirectoryEnumeratorTests, WhatCannotBeListedYieldsNothing)
{
    const TemporaryFolder folder;
    folder.write("file");
    folder.write("closed/inside");
    folder.write("open/inside");
    EXPECT_THAT(items(folder / "missing"), IsEmpty());
    EXPECT_THAT(items(folder / "file"), IsEmpty());
    EXPECT_EQ(DirectoryEnumerator(*URL::fromString("http://host/tmp/")).next(), std::nullopt);
    fs::permissions(folder / "closed", fs::perms::none);
    if (::access((folder / "closed").c_str(), R_OK) != 0) { // nothing is closed to the administrator
        EXPECT_THAT(items(folder.path()), ElementsAre("closed/", "file", "open/", "open/inside"));
    }
}

TEST(DirectoryEnumeratorTests, NamesAreBytes)
{
    const TemporaryFolder folder;
    const std::vector<std::string> names{"\xFF\xFE.jpg", "a\nb", "50%.txt", "\xC3\xA9", "e\xCC\x81", " "};
    for (const std::string& name : names)
        folder.write(name);
    std::vector<std::string> found;
    DirectoryEnumerator walk = walkOf(folder.path());
    while (walk.advance()) {
        EXPECT_EQ(walk.url().lastPathComponent(), walk.name());
        found.emplace_back(walk.name());
    }
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(names));
}

TEST(DirectoryEnumeratorTests, LargeFoldersAndThoseWithManyFoldersAreWholeAndWithoutRepeats)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    for (int i = 0; i < 3000; ++i) // several fillings of the buffer
        if (i % 10 == 0)
            folder.write("folder with a long enough name " + std::to_string(i) + "/x");
        else
            folder.write("file with a long enough name " + std::to_string(i));
    std::set<std::string> found;
    DirectoryEnumerator walk = walkOf(folder.path());
    Int count = 0;
    for (; walk.advance(); ++count)
        found.emplace(walk.path());
    EXPECT_EQ(count, 3300);
    EXPECT_EQ(found.size(), 3300U);
}

// A chain of folders, with a file in each before and after the way goes deeper; gives the descriptor of its
// end.
void makeChain(const TemporaryFolder& folder, int depth)
{
    int at = ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
    for (int level = 0; level < depth; ++level) {
        ASSERT_EQ(::mkdirat(at, "d", 0700), 0);
        const int next = ::openat(at, "d", O_RDONLY | O_DIRECTORY);
        ASSERT_GE(next, 0);
        ::close(at);
        at = next;
        if (level % 100 == 0)
            for (const char* name : {"a", "z"}) {
                const int file = ::openat(at, name, O_CREAT | O_WRONLY, 0600);
                ASSERT_GE(file, 0);
                ::close(file);
            }
    }
    ::close(at);
}

TEST(DirectoryEnumeratorTests, DepthIsBoundedByNothing)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    constexpr int depth = 10'000;
    makeChain(folder, depth);
    const std::size_t start = folder.path().native().size();
    Int folders = 0, files = 0, again = 0, deepest = 0;
    std::size_t longest = 0;
    int highest = 0;
    DirectoryEnumerator walk = walkOf(folder.path(), Options::includesDirectoriesPostOrder);
    while (walk.advance()) {
        deepest = std::max(deepest, walk.level());
        longest = std::max(longest, walk.path().size());
        highest = std::max(highest, walk.folderDescriptor());
        (walk.isPostOrder() ? again : walk.type() == ItemType::directory ? folders : files)++;
    }
    EXPECT_EQ(folders, depth);
    EXPECT_EQ(again, depth);
    EXPECT_EQ(files, 2 * depth / 100);
    EXPECT_EQ(deepest, depth);
    EXPECT_EQ(longest, start + 2 * depth);
    EXPECT_LT(highest, 200);
    FileManager::removeItem(folder / "d");
    EXPECT_FALSE(FileManager::fileExists(folder / "d"));
}

TEST(DirectoryEnumeratorTests, TheWalkGetsByWithFewDescriptors)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    makeChain(folder, 101);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const int next = ::open("/", O_RDONLY);
    ::close(next);
    const rlimit few{static_cast<rlim_t>(next) + 5, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    Int count = 0;
    DirectoryEnumerator walk = walkOf(folder.path());
    while (walk.advance())
        ++count;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(count, 101 + 4);
}

TEST(DirectoryEnumeratorTests, ChangesDuringTheWalkAreNoFault)
{
    const TemporaryFolder folder(TemporaryFolder::inMemory());
    for (int i = 0; i < 200; ++i)
        folder.write(std::to_string(i) + "/inside/file");
    DirectoryEnumerator walk = walkOf(folder.path());
    Int seen = 0;
    while (walk.advance()) {
        if (walk.level() == 1 && ++seen % 2 == 0)
            fs::remove_all(walk.path());
        folder.write("new/" + std::to_string(seen));
    }
    EXPECT_GE(seen, 200);

    // The part of a tree that the walk is in goes elsewhere: it ends there and goes on where it is known.
    const TemporaryFolder deep(TemporaryFolder::inMemory());
    const TemporaryFolder elsewhere(TemporaryFolder::inMemory());
    makeChain(deep, 300);
    for (int i = 0; i < 20; ++i) // listed on both sides of the chain, whatever the file system's order
        deep.write(std::to_string(i) + "/file " + std::to_string(i));
    DirectoryEnumerator moved = walkOf(deep.path());
    std::set<std::string> names;
    while (moved.advance()) {
        names.emplace(moved.name());
        if (moved.level() == 250 && fs::exists(deep / "d/d/d/d/d"))
            fs::rename(deep / "d/d/d/d/d", elsewhere / "d");
    }
    EXPECT_FALSE(fs::exists(deep / "d/d/d/d/d"));
    EXPECT_EQ(names.size(), 43U); // twice 20, "d", "a" and "z"
}

} // namespace
} // namespace corvane
