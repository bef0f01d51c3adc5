// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/FileManager.h>

#include <Support/Hardship.h>
#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <optional>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using fs::filesystem_error;
using testing::UnorderedElementsAre;
using tests::TemporaryFolder;

TEST(FileManagerTests, ExistenceFollowsLinksAndTellsFolders)
{
    const TemporaryFolder folder;
    folder.write("file");
    folder.makeFolder("sub");
    fs::create_symlink("sub", folder / "toFolder");
    fs::create_symlink("file", folder / "toFile");
    fs::create_symlink("nothing", folder / "dangling");
    struct Row {
        const char* name;
        bool exists, isDirectory;
    };
    const Row rows[] = {{"file", true, false},      {"sub", true, true},      {"sub/", true, true},
                        {"file/", false, false},    {"toFolder", true, true}, {"toFile", true, false},
                        {"dangling", false, false}, {"missing", false, false}};
    for (const Row& row : rows) {
        bool isDirectory = !row.isDirectory;
        EXPECT_EQ(FileManager::fileExists(folder / row.name, &isDirectory), row.exists) << row.name;
        EXPECT_EQ(isDirectory, row.isDirectory) << row.name;
    }
    EXPECT_FALSE(FileManager::fileExists(""));
}

TEST(FileManagerTests, AttributesAreOfTheItemItself)
{
    const TemporaryFolder folder;
    const Date before =
        std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now()) -
        std::chrono::seconds(2);
    const std::string file = folder.write("file", "12345");
    ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
    fs::create_symlink("file", folder / "link");
    const auto found = FileManager::attributes(file);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->type, FileManager::FileType::regular);
    EXPECT_EQ(found->size, 5);
    EXPECT_EQ(found->permissions, 0640U);
    EXPECT_EQ(found->ownerID, ::geteuid());
    EXPECT_EQ(found->linkCount, 1);
    EXPECT_GE(found->modificationDate, before);
    EXPECT_TRUE(!found->creationDate || *found->creationDate >= before);
    EXPECT_EQ(FileManager::attributes(folder / "link")->type, FileManager::FileType::symbolicLink);
    EXPECT_EQ(FileManager::attributes(folder.path().string())->type, FileManager::FileType::directory);
    EXPECT_EQ(FileManager::attributes(folder / "missing"), std::nullopt);
    // The process's own files claim a creation time and give zero, or do not claim one.
    const auto virtualFile = FileManager::attributes("/proc/self/status");
    EXPECT_TRUE(!virtualFile || !virtualFile->creationDate ||
                virtualFile->creationDate->time_since_epoch().count() > 0);
}

TEST(FileManagerTests, FoldersAreMadeAloneOrWithTheWayToThem)
{
    const TemporaryFolder folder;
    folder.write("file");
    using enum FileManager::Intermediates;
    EXPECT_THROW(FileManager::createDirectory(folder / "a/b"), filesystem_error);
    FileManager::createDirectory(folder / "a");
    EXPECT_THROW(FileManager::createDirectory(folder / "a"), filesystem_error);
    FileManager::createDirectory(folder / "a/b/c", create);
    FileManager::createDirectory(folder / "a/b/c", create);
    EXPECT_TRUE(fs::is_directory(folder / "a/b/c"));
    EXPECT_THROW(FileManager::createDirectory(folder / "file", create), filesystem_error);
    EXPECT_THROW(FileManager::createDirectory(folder / "file/d", create), filesystem_error);
    EXPECT_THROW(FileManager::createDirectory("", create), filesystem_error);
}

TEST(FileManagerTests, RemovingTakesFoldersWholeAndLinksThemselves)
{
    const TemporaryFolder folder;
    folder.write("kept");
    folder.write("tree/.hidden/a");
    folder.write("tree/Tool.app/b");
    fs::create_directory_symlink(folder.path(), folder / "tree/up");
    fs::create_symlink("kept", folder / "link");
    FileManager::removeItem(folder / "tree");
    FileManager::removeItem(folder / "link");
    EXPECT_THAT(FileManager::contentsOfDirectory(folder.path().string()), UnorderedElementsAre("kept"));
    try {
        FileManager::removeItem(folder / "missing");
        FAIL() << "nothing was thrown";
    } catch (const filesystem_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_EQ(error.path1(), folder / "missing");
    }
    folder.write("stuck/locked/a");
    folder.write("stuck/b");
    tests::asOrdinaryUser(folder, [&] {
        fs::permissions(folder / "stuck/locked", fs::perms::owner_read | fs::perms::owner_exec);
        EXPECT_THROW(FileManager::removeItem(folder / "stuck"), filesystem_error);
        EXPECT_TRUE(fs::exists(folder / "stuck/locked/a"));
        EXPECT_FALSE(fs::exists(folder / "stuck/b"));
        fs::permissions(folder / "stuck/locked", fs::perms::owner_all);
    });
}

TEST(FileManagerTests, MovingAndCopyingNeverReplace)
{
    const TemporaryFolder folder;
    folder.write("a", "A");
    folder.write("b", "B");
    folder.write("tree/sub/c", "C");
    EXPECT_THROW(FileManager::moveItem(folder / "a", folder / "b"), filesystem_error);
    EXPECT_THROW(FileManager::copyItem(folder / "a", folder / "b"), filesystem_error);
    EXPECT_THROW(FileManager::moveItem(folder / "missing", folder / "new"), filesystem_error);
    EXPECT_THROW(FileManager::copyItem(folder / "missing", folder / "new"), filesystem_error);
    EXPECT_THROW(FileManager::moveItem(folder / "tree", folder / "tree/sub/inside"), filesystem_error);
    EXPECT_THROW(FileManager::copyItem(folder / "tree", folder / "tree/sub/inside"), filesystem_error);
    EXPECT_EQ(TemporaryFolder::read(folder / "a"), "A");
    EXPECT_EQ(TemporaryFolder::read(folder / "b"), "B");
    FileManager::moveItem(folder / "tree", folder / "moved");
    EXPECT_EQ(TemporaryFolder::read(folder / "moved/sub/c"), "C");
    FileManager::moveItem(folder / "a", folder / "new");
    EXPECT_THAT(FileManager::contentsOfDirectory(folder.path().string()),
                UnorderedElementsAre("b", "new", "moved"));
}

TEST(FileManagerTests, CopiesKeepPermissionsDatesAndLinks)
{
    const TemporaryFolder folder;
    const std::string file = folder.write("tree/sub/run.sh", "content");
    fs::create_symlink("sub/run.sh", folder / "tree/link");
    fs::create_symlink("nothing", folder / "tree/dangling");
    ASSERT_EQ(::chmod(file.c_str(), 0750), 0);
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(48);
    fs::last_write_time(file, old);
    fs::last_write_time(folder / "tree/sub", old);
    FileManager::copyItem(folder / "tree", folder / "copy");
    EXPECT_EQ(TemporaryFolder::read(folder / "copy/sub/run.sh"), "content");
    EXPECT_EQ(fs::read_symlink(folder / "copy/link"), "sub/run.sh");
    EXPECT_EQ(fs::read_symlink(folder / "copy/dangling"), "nothing");
    EXPECT_EQ(FileManager::attributes(folder / "copy/sub/run.sh")->permissions, 0750U);
    for (const char* item : {"sub/run.sh", "sub"})
        EXPECT_EQ(fs::last_write_time(folder.path() / "copy" / item),
                  fs::last_write_time(folder.path() / "tree" / item));
}

TEST(FileManagerTests, BetweenFileSystemsAMoveCopiesFirst)
{
    const TemporaryFolder folder;
    char pattern[] = "/dev/shm/corvane-test-XXXXXX";
    if (::mkdtemp(pattern) == nullptr)
        GTEST_SKIP() << "no second file system to be had";
    const std::string other = pattern;
    folder.write("tree/sub/a", "A");
    FileManager::moveItem(folder / "tree", other + "/tree");
    EXPECT_FALSE(fs::exists(folder / "tree"));
    EXPECT_EQ(TemporaryFolder::read(other + "/tree/sub/a"), "A");
    FileManager::removeItem(other);
}

TEST(FileManagerTests, ReplacingPutsOneFileInThePlaceOfAnother)
{
    const TemporaryFolder folder;
    folder.write("real", "old");
    ASSERT_EQ(::chmod((folder / "real").c_str(), 0600), 0);
    fs::create_symlink("real", folder / "link");
    folder.write("new", "new bytes");
    FileManager::replaceItem(folder / "link", folder / "new");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(TemporaryFolder::read(folder / "real"), "new bytes");
    EXPECT_EQ(FileManager::attributes(folder / "real")->permissions, 0600U);
    EXPECT_FALSE(fs::exists(folder / "new"));
    EXPECT_THROW(FileManager::replaceItem(folder / "real", folder / "new"), filesystem_error);
    folder.makeFolder("sub");
    EXPECT_THROW(FileManager::replaceItem(folder / "real", folder / "sub"), filesystem_error);
    EXPECT_EQ(TemporaryFolder::read(folder / "real"), "new bytes");
}

TEST(FileManagerTests, ListingsThrowWhereThereIsNoFolder)
{
    const TemporaryFolder folder;
    folder.write(".hidden");
    folder.write("sub/a");
    EXPECT_THAT(FileManager::contentsOfDirectory(folder.path().string()),
                UnorderedElementsAre(".hidden", "sub"));
    EXPECT_THROW(FileManager::contentsOfDirectory(folder / "missing"), filesystem_error);
    EXPECT_THROW(FileManager::contentsOfDirectory(folder / ".hidden"), filesystem_error);
}

TEST(FileManagerTests, TheTemporaryFolderIsTheEnvironmentsWhereItIsOne)
{
    const TemporaryFolder folder;
    const char* set = ::getenv("TMPDIR");
    const std::optional<std::string> before = set == nullptr ? std::nullopt : std::optional<std::string>(set);
    ::setenv("TMPDIR", (folder.path().string() + "/").c_str(), 1);
    EXPECT_EQ(FileManager::temporaryDirectory(), folder.path());
    ::setenv("TMPDIR", (folder / "missing").c_str(), 1);
    EXPECT_EQ(FileManager::temporaryDirectory(), "/tmp");
    before ? ::setenv("TMPDIR", before->c_str(), 1) : ::unsetenv("TMPDIR");
}

} // namespace
} // namespace corvane
