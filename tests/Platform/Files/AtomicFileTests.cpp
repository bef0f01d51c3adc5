// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/AtomicFile.h>

#include <Support/Hardship.h>
#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <span>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using tests::TemporaryFolder;

DataView bytes(std::string_view text)
{
    return std::as_bytes(std::span(text));
}

std::size_t count(const fs::path& folder)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

mode_t modeOf(const fs::path& path)
{
    struct stat found {};
    EXPECT_EQ(::stat(path.c_str(), &found), 0);
    return found.st_mode & 07777U;
}

TEST(AtomicFileTests, TheTargetChangesOnlyAtCommit)
{
    const TemporaryFolder folder;
    const std::string target = folder.write("a.txt", "old");
    std::error_code error;
    {
        auto file = AtomicFile::create(target, error);
        ASSERT_TRUE(file) << error.message();
        EXPECT_FALSE(file->write(bytes("new ")));
        AtomicFile moved = std::move(*file);
        EXPECT_FALSE(moved.write(bytes("bytes")));
        EXPECT_EQ(TemporaryFolder::read(target), "old");
        EXPECT_FALSE(moved.commit());
        EXPECT_EQ(TemporaryFolder::read(target), "new bytes");
    }
    {
        auto dropped = AtomicFile::create(target, error);
        ASSERT_TRUE(dropped);
        EXPECT_FALSE(dropped->write(bytes("half")));
    }
    EXPECT_EQ(TemporaryFolder::read(target), "new bytes");
    EXPECT_EQ(count(folder.path()), 1U);
}

TEST(AtomicFileTests, PermissionsOfAReplacedFileAreKept)
{
    const TemporaryFolder folder;
    const std::string target = folder.write("a.txt", "old");
    for (const mode_t mode : {0640U, 0400U, 0777U}) {
        ASSERT_EQ(::chmod(target.c_str(), mode), 0);
        replaceFile(target, bytes("new"));
        EXPECT_EQ(modeOf(target), mode);
    }
    const mode_t mask = ::umask(0027);
    replaceFile(folder / "fresh.txt", bytes("new"));
    ::umask(mask);
    EXPECT_EQ(modeOf(folder / "fresh.txt"), 0640U);
}

TEST(AtomicFileTests, ASymbolicLinkStaysAndItsTargetIsReplaced)
{
    const TemporaryFolder folder;
    folder.write("real/a.txt", "old");
    fs::create_symlink("real/a.txt", folder / "one");
    fs::create_symlink("one", folder / "two");
    fs::create_symlink("real/missing.txt", folder / "dangling");
    fs::create_symlink("loop", folder / "loop");
    replaceFile(folder / "two", bytes("new"));
    EXPECT_TRUE(fs::is_symlink(folder / "two"));
    EXPECT_TRUE(fs::is_symlink(folder / "one"));
    EXPECT_EQ(TemporaryFolder::read(folder / "real/a.txt"), "new");
    replaceFile(folder / "dangling", bytes("made"));
    EXPECT_EQ(TemporaryFolder::read(folder / "real/missing.txt"), "made");
    EXPECT_THROW(replaceFile(folder / "loop", bytes("x")), fs::filesystem_error);
}

TEST(AtomicFileTests, WhatCannotBeReplacedIsRefusedAtCreation)
{
    const TemporaryFolder folder;
    folder.write("file", "kept");
    folder.makeFolder("folder");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const std::string withZero = (folder / "file") + std::string("\0.png", 5);
    for (const std::string& path :
         {std::string(), folder / "missing/a", folder / "file/a", folder / "folder", folder / "folder/",
          folder / "folder/..", folder / "pipe", withZero, folder / std::string(300, 'n')}) {
        std::error_code error;
        EXPECT_FALSE(AtomicFile::create(path, error)) << path;
        EXPECT_TRUE(error) << path;
        EXPECT_THROW(replaceFile(path, bytes("x")), fs::filesystem_error) << path;
    }
    EXPECT_EQ(TemporaryFolder::read(folder / "file"), "kept");
    EXPECT_EQ(count(folder.path()), 3U);
    tests::asOrdinaryUser(folder, [&] {
        fs::permissions(folder / "folder", fs::perms::owner_read | fs::perms::owner_exec);
        std::error_code error;
        EXPECT_FALSE(AtomicFile::create(folder / "folder/a", error));
        EXPECT_EQ(error, std::errc::permission_denied);
        fs::permissions(folder / "folder", fs::perms::owner_all);
    });
}

// What a full disk does, without one: in a child process the size of files is limited below what is written.
TEST(AtomicFileTests, AFailedWriteLeavesTheOldContentAndNothingElse)
{
    const TemporaryFolder folder;
    const std::string target = folder.write("a.txt", "old");
    tests::inChild([&] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{4096, 4096};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        std::error_code error;
        try {
            replaceFile(target, Data(100'000));
        } catch (const fs::filesystem_error& thrown) {
            error = thrown.code();
        }
        EXPECT_EQ(error, std::errc::file_too_large);
    });
    EXPECT_EQ(TemporaryFolder::read(target), "old");
    EXPECT_EQ(count(folder.path()), 1U);
}

TEST(AtomicFileTests, AKilledProcessLeavesTheOldContent)
{
    const TemporaryFolder folder;
    const std::string target = folder.write("a.txt", "old");
    const pid_t child = ::fork();
    if (child == 0) {
        std::error_code error;
        auto file = AtomicFile::create(target, error);
        if (file && !file->write(bytes("half of the new")))
            ::raise(SIGKILL);
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(TemporaryFolder::read(target), "old");
}

} // namespace
} // namespace corvane
