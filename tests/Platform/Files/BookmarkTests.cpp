// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/AtomicFile.h>
#include <corvane/Platform/Files/Bookmark.h>
#include <corvane/Platform/Files/FileManager.h>

#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using tests::TemporaryFolder;

// Far enough for what the tests move about, and not through the whole machine for what is gone.
constexpr BookmarkSearchLimits wide{.entries = 5000, .time = TimeInterval(60)};

Bookmark bookmarkOf(const std::string& path)
{
    const auto made = Bookmark::fromURL(URL::fromPath(path));
    EXPECT_TRUE(made) << path;
    const auto read = Bookmark::fromData(made.value().data());
    EXPECT_TRUE(read) << path;
    return read.value();
}

// The path that is found, with " (stale)" behind it where that is so; "gone" when there is none. The folder
// itself is written as "~".
std::string found(const Bookmark& bookmark, const TemporaryFolder& folder,
                  const BookmarkSearchLimits& limits = wide)
{
    const auto result = bookmark.resolve(limits);
    if (!result)
        return "gone";
    std::string path = result->url.path();
    if (const std::string start = folder.path().string(); path.starts_with(start))
        path.replace(0, start.size(), "~");
    return path + (result->url.hasDirectoryPath() ? "/" : "") + (result->isStale ? " (stale)" : "");
}

TEST(BookmarkTests, AnItemInItsPlaceKeepsTheURLThatWasGiven)
{
    const TemporaryFolder folder;
    folder.write("real/letter.txt");
    fs::create_symlink("real", folder / "linked");
    for (const char* name : {"real/letter.txt", "real", "real/", "real/../real/./letter.txt",
                             "linked/letter.txt", "linked", "linked/", "linked/."}) {
        const URL url = URL::fromPath(folder / name);
        const auto result = bookmarkOf(folder / name).resolve();
        ASSERT_TRUE(result) << name;
        EXPECT_EQ(result->url, url);
        EXPECT_FALSE(result->isStale) << name;
    }
    EXPECT_EQ(bookmarkOf("/").resolve()->url, URL::fromPath("/"));
    EXPECT_FALSE(Bookmark::fromURL(URL::fromPath(folder / "missing")));
    EXPECT_FALSE(Bookmark::fromURL(URL::fromPath(folder / "real/letter.txt/below")));
    EXPECT_FALSE(Bookmark::fromURL(*URL::fromString("https://example.org/letter.txt")));
}

TEST(BookmarkTests, AnItemIsFoundAfterRenamesAndMoves)
{
    struct Move {
        const char *from, *to;
    };
    struct Row {
        const char* item;
        std::vector<Move> moves;
        const char* found;
    };
    const Row rows[] = {
        {"a/b/file", {{"a/b/file", "a/b/other"}}, "~/a/b/other"},
        {"a/b/file", {{"a/b/file", "a/b/\xff\xfe.txt"}}, "~/a/b/\xff\xfe.txt"},
        {"a/b/file", {{"a/b/file", "a/b/c/d/file"}}, "~/a/b/c/d/file"},
        {"a/b/file", {{"a/b/file", "a/file"}}, "~/a/file"},
        {"a/b/file", {{"a/b/file", "x/y/other"}}, "~/x/y/other"},
        {"a/b/file", {{"a/b", "a/new"}}, "~/a/new/file"},
        {"a/b/file", {{"a", "new"}}, "~/new/b/file"},
        {"a/b/file", {{"a", "x/y/new"}}, "~/x/y/new/b/file"},
        {"a/b/file", {{"a", "new"}, {"new/b", "new/c"}, {"new/c/file", "new/c/c/other"}}, "~/new/c/c/other"},
        {"a/b/file", {{"a/b/file", "kept"}, {"a", "x/a"}}, "~/kept"},
        {"a/b/file",
         {{"a/b/file", "a/b/new"}, {"x/y/else", "a/b/file"}},
         "~/a/b/new"}, // another is in its place
        {"a/b/file", {{"a", "old"}, {"x", "a"}, {"a/y", "a/b"}, {"a/b/else", "a/b/file"}}, "~/old/b/file"},
        {"a/b/", {{"a/b", "x/b"}}, "~/x/b/"},
        {"a/b", {{"a/b", "x/b"}}, "~/x/b"},
        {"link", {{"link", "x/link"}}, "~/x/link"}, // the link, not what it leads to
        {"linked/b/file", {{"a/b/file", "a/b/new"}}, "~/a/b/new"},
        {"linked/b/file", {{"a", "x/a"}}, "~/x/a/b/file"},
        {".hidden/file", {{".hidden/file", ".hidden/sub/new"}}, "~/.hidden/sub/new"},
        {".hidden/file", {{".hidden", ".renamed"}}, "~/.renamed/file"},
        {"a/b/file", {{"a/b/file", ".hidden/file"}}, "gone"},
    };
    for (const Row& row : rows) {
        const TemporaryFolder folder;
        for (const char* file : {"a/b/file", "a/b/c/d/e", "x/y/else", ".hidden/file", ".hidden/sub/f"})
            folder.write(file);
        fs::create_symlink("x", folder / "link");
        fs::create_symlink("a", folder / "linked");
        const Bookmark bookmark = bookmarkOf(folder / row.item);
        for (const Move& move : row.moves)
            fs::rename(folder / move.from, folder / move.to);
        EXPECT_EQ(found(bookmark, folder), row.found) << row.item << " at row " << &row - rows;
    }
}

TEST(BookmarkTests, AnotherItemInTheOldPlaceIsStale)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "old");
    const Bookmark bookmark = bookmarkOf(file);

    folder.write("file", "written in place");
    EXPECT_EQ(found(bookmark, folder), "~/file");
    fs::rename(file, folder / "file~"); // an editor keeps the one it replaces
    EXPECT_EQ(found(bookmark, folder), "~/file~");
    folder.write("file", "new");
    EXPECT_EQ(found(bookmark, folder), "~/file (stale)");
    fs::remove(folder / "file~");
    EXPECT_EQ(found(bookmark, folder), "~/file (stale)");
    fs::remove(file);
    EXPECT_EQ(found(bookmark, folder), "gone");

    // A new file gets the inode, and often the time, of the one just removed: the same many times over.
    for (int i = 0; i < 50; ++i) {
        const Bookmark first = bookmarkOf(folder.write("file"));
        fs::remove(file);
        EXPECT_EQ(found(first, folder), "gone");
        folder.write("file");
        EXPECT_EQ(found(first, folder), "~/file (stale)");
    }
    const Bookmark replaced = bookmarkOf(file);
    replaceFile(file, {});
    EXPECT_EQ(found(replaced, folder), "~/file (stale)");
    fs::remove(file);
    folder.makeFolder("file");
    EXPECT_EQ(found(replaced, folder), "~/file (stale)");
}

TEST(BookmarkTests, TheSearchKeepsToItsLimitsAndItsFileSystem)
{
    const TemporaryFolder folder;
    for (int i = 0; i < 300; ++i)
        folder.write("a/" + std::to_string(i));
    folder.write("b/c/else");
    const std::string file = folder.write("a/file");
    const Bookmark bookmark = bookmarkOf(file);
    const BookmarkSearchLimits few{.entries = 200}, none{.entries = 0},
        noTime{.entries = 5000, .time = TimeInterval(0)};
    fs::rename(file, folder / "b/c/file");
    EXPECT_EQ(found(bookmark, folder), "~/b/c/file");
    for (const BookmarkSearchLimits& limits : {few, none, noTime})
        EXPECT_EQ(found(bookmark, folder, limits), "gone");
    fs::rename(folder / "b/c/file", file);
    for (const BookmarkSearchLimits& limits : {few, none, noTime})
        EXPECT_EQ(found(bookmark, folder, limits), "~/a/file"); // what is in place needs no search

    const TemporaryFolder elsewhere(TemporaryFolder::inMemory());
    FileManager::moveItem(file, elsewhere / "file");
    const bool isOne = FileManager::areOnSameFileSystem(elsewhere / "file", folder / "a").value();
    EXPECT_EQ(found(bookmark, elsewhere), isOne ? "~/file" : "gone");
}

TEST(BookmarkTests, DamagedDataAreNone)
{
    const TemporaryFolder folder;
    const Data data = Bookmark::fromURL(URL::fromPath(folder.write("sub/file")))->data();
    for (std::size_t size = 0; size < data.size(); ++size)
        EXPECT_FALSE(Bookmark::fromData(DataView(data).first(size))) << size;
    for (std::size_t at = 0; at < data.size(); ++at)
        for (const unsigned flip : {0x01U, 0x80U, 0xffU}) {
            Data damaged = data;
            damaged[at] ^= std::byte(flip);
            EXPECT_FALSE(Bookmark::fromData(damaged)) << at;
        }
    Data longer = data;
    longer.push_back({});
    EXPECT_FALSE(Bookmark::fromData(longer));
    EXPECT_EQ(Bookmark::fromData(data)->data(), data);
    EXPECT_EQ(Bookmark::fromData(data)->url(), URL::fromPath(folder / "sub/file"));
}

TEST(BookmarkTests, AccessIsWhatThePermissionsAllow)
{
    const TemporaryFolder folder;
    EXPECT_TRUE(startAccessing(URL::fromPath(folder.write("file"))));
    EXPECT_TRUE(startAccessing(URL::fromPath(folder.path().string() + "/")));
    EXPECT_FALSE(startAccessing(URL::fromPath(folder / "missing")));
    EXPECT_FALSE(startAccessing(*URL::fromString("https://example.org" + folder / "file")));
    stopAccessing(URL::fromPath(folder / "file"));
    EXPECT_TRUE(startAccessing(URL::fromPath(folder / "file")));
}

} // namespace
} // namespace corvane
