// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/FileManager.h>
#include <corvane/Platform/Base/User.h>
#include <corvane/Platform/Files/AtomicFile.h>
#include <corvane/Platform/Files/FileManager.h>

#include <Support/EnvironmentVariable.h>
#include <Support/Hardship.h>
#include <Support/TemporaryFolder.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <thread>
#include <vector>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using fs::filesystem_error;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::UnorderedElementsAre;
using tests::EnvironmentVariable;
using tests::TemporaryFolder;

URL file(std::string_view path)
{
    return URL::fromPath(path);
}

constexpr const char* uuid = "[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}";

TEST(FilesFileManagerTests, ExistenceAndDates)
{
    const TemporaryFolder folder;
    folder.write("a");
    EXPECT_EQ(contentExists(file(folder / "a")), (ContentExistence{true, false}));
    EXPECT_EQ(contentExists(file(folder.path().string())), (ContentExistence{true, true}));
    EXPECT_EQ(contentExists(file(folder / "b")), (ContentExistence{false, false}));
    const timespec times[] = {{1000, 0}, {2000, 500000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (folder / "a").c_str(), times, 0), 0);
    EXPECT_EQ(modifyDateForFile(file(folder / "a")), Date(std::chrono::microseconds(2'000'000'500)));
    EXPECT_EQ(modifyDateForFile(file(folder / "b")), std::nullopt);
    EXPECT_EQ(createDateForFile(file(folder / "b")), std::nullopt);
    const auto made = createDateForFile(file(folder / "a")); // where the file system keeps it
    EXPECT_TRUE(!made || *made > Date(std::chrono::seconds(1'500'000'000)));
}

TEST(FilesFileManagerTests, HomesOfOtherSystems)
{
    EXPECT_EQ(noSandboxHomePath(), "/Users/" + userName() + "/");
    EXPECT_EQ(noSandboxHomeURL().absoluteString(), "file:///Users/" + userName() + "/");
}

TEST(FilesFileManagerTests, FreeNamesCountFromZero)
{
    const TemporaryFolder folder;
    const auto path = [&](const char* name) { return availableItemURL(file(folder / name)).path(); };
    EXPECT_EQ(path("Report.txt"), folder / "Report.txt");
    for (const char* name : {"Report.txt", "Report (0).txt", "Report (2).txt", "plain", "tar.gz", ".hidden"})
        folder.write(name);
    folder.makeFolder("sub.d");
    EXPECT_EQ(path("Report.txt"), folder / "Report (1).txt");
    EXPECT_EQ(path("plain"), folder / "plain (0)");
    EXPECT_EQ(path("tar.gz"), folder / "tar (0).gz");
    EXPECT_EQ(path(".hidden"), folder / ".hidden (0)");
    EXPECT_EQ(availableItemURL(file(folder / "sub.d/")).absoluteString(),
              file(folder / "sub (0).d/").absoluteString());
    EXPECT_EQ(availableItemURL("Report.txt", file(folder.path().string())).path(), folder / "Report (1).txt");
    EXPECT_EQ(availableItemURL("new", file(folder / "missing")).path(), folder / "missing/new");
}

TEST(FilesFileManagerTests, OfThoseWhoMakeAnItemAtOnceEachGetsItsOwn)
{
    const TemporaryFolder folder;
    fs::create_symlink("nowhere", folder / "a.txt");
    std::vector<std::string> paths(40);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < 4; ++i)
            threads.emplace_back([&, i] {
                for (std::size_t k = i; k < paths.size(); k += 4)
                    paths[k] = createAvailableItem(file(folder / "a.txt")).path();
            });
    }
    EXPECT_EQ(std::set(paths.begin(), paths.end()).size(), paths.size());
    EXPECT_FALSE(fs::exists(folder / "nowhere"));
    for (int i = 0; i < 40; ++i)
        EXPECT_TRUE(fs::is_empty(folder / ("a (" + std::to_string(i) + ").txt")));
    EXPECT_EQ(createAvailableItem(file(folder / "d"), NewItem::directory).path(), folder / "d");
    EXPECT_EQ(createAvailableItem(file(folder / "d"), NewItem::directory).path(), folder / "d (0)");
    EXPECT_TRUE(fs::is_directory(folder / "d (0)"));
    EXPECT_THROW(createAvailableItem(file(folder / "missing/a")), filesystem_error);
}

TEST(FilesFileManagerTests, TemporaryPlaces)
{
    const TemporaryFolder folder;
    const EnvironmentVariable temporary("TMPDIR", folder.path().c_str());
    const std::string here = folder.path().string() + "/";
    EXPECT_THAT(temporaryURL("").path(), MatchesRegex(here + uuid));
    EXPECT_THAT(temporaryURL("txt").path(), MatchesRegex(here + uuid + "\\.txt"));
    EXPECT_THAT(temporaryURL(file("/a/b.tar.gz")).path(), MatchesRegex(here + uuid + "\\.gz"));
    EXPECT_NE(temporaryURL(""), temporaryURL(""));
    EXPECT_THAT(FileManager::contentsOfDirectory(folder.path().string()), IsEmpty());
    const Bundle bundle = Bundle::fromInfoDictionary({{"CFBundleIdentifier", "org.example.Gallery"}});
    EXPECT_THAT(temporaryURL("txt", bundle).path(),
                MatchesRegex(here + "org.example.Gallery/" + uuid + "\\.txt"));
    EXPECT_THAT(temporaryURL(file("/a/b"), bundle).path(),
                MatchesRegex(here + "org.example.Gallery/" + uuid));
    EXPECT_THAT(temporaryURL("", Bundle::fromInfoDictionary({})).path(),
                MatchesRegex(here + "CorvaneDefaultPrefix/" + uuid));
    EXPECT_THAT(FileManager::contentsOfDirectory(folder.path().string()),
                UnorderedElementsAre("org.example.Gallery", "CorvaneDefaultPrefix"));
}

TEST(FilesFileManagerTests, SupportFolders)
{
    const TemporaryFolder folder;
    Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleName", "My Gallery"}}));
    const EnvironmentVariable home("HOME", folder.path().c_str());
    {
        const EnvironmentVariable data("XDG_DATA_HOME", "relative");
        EXPECT_EQ(bundleSupportDirectoryURL()->path(), folder / ".local/share/My Gallery");
    }
    EXPECT_EQ(noSandboxBundleSupportDirectoryURL()->absoluteString(),
              "file:///Users/" + userName() + "/Library/Application%20Support/My%20Gallery");
    const EnvironmentVariable data("XDG_DATA_HOME", (folder / "data").c_str());
    EXPECT_EQ(bundleSupportDirectoryURL()->path(), folder / "data/My Gallery");
    EXPECT_EQ(createBundleSupportDirectory(), bundleSupportDirectoryURL());
    EXPECT_EQ(createBundleSupportDirectoryWithComponent("cache/small")->path(),
              folder / "data/My Gallery/cache/small");
    EXPECT_TRUE(fs::is_directory(folder / "data/My Gallery/cache/small"));
    folder.write("data/My Gallery/file");
    EXPECT_EQ(createBundleSupportDirectoryWithComponent("file/sub"), std::nullopt);

    createDirectory(file(folder / "x/y"));
    createDirectory(file(folder / "x/y"), "z");
    EXPECT_TRUE(fs::is_directory(folder / "x/y/z"));
    EXPECT_THROW(createDirectory(file(folder / "data/My Gallery/file")), filesystem_error);
}

TEST(FilesFileManagerTests, CopyingOverKeepsPlacePermissionsAndLinks)
{
    const TemporaryFolder folder;
    const URL source = file(folder.write("source", "new content"));
    overwritingCopy(source, file(folder / "missing"));
    EXPECT_EQ(TemporaryFolder::read(folder / "missing"), "new content");

    folder.write("old", "old content that is longer");
    ASSERT_EQ(::chmod((folder / "old").c_str(), 0604), 0);
    fs::create_symlink("old", folder / "link");
    overwritingCopy(source, file(folder / "link"));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(TemporaryFolder::read(folder / "old"), "new content");
    EXPECT_EQ(FileManager::attributes(folder / "old")->permissions, 0604U);
    overwritingCopy(source, source);
    EXPECT_EQ(TemporaryFolder::read(source.path()), "new content");

    overwritingCopy(file("/proc/self/status"), file(folder / "old")); // says that it is empty
    EXPECT_THAT(TemporaryFolder::read(folder / "old"), testing::StartsWith("Name:"));
    EXPECT_THAT(FileManager::contentsOfDirectory(folder.path().string()),
                UnorderedElementsAre("source", "missing", "old", "link"));
}

TEST(FilesFileManagerTests, CopyingOverKeepsHoles)
{
    const TemporaryFolder folder;
    const std::string sparse = folder.write("sparse"), target = folder.write("target", "x");
    std::string expected(40 << 20, '\0');
    {
        const int descriptor = ::open(sparse.c_str(), O_WRONLY);
        for (const std::size_t at : {std::size_t{8} << 20U, std::size_t{24} << 20U}) {
            ASSERT_EQ(::pwrite(descriptor, "data", 4, static_cast<off_t>(at)), 4);
            expected.replace(at, 4, "data");
        }
        ASSERT_EQ(::ftruncate(descriptor, static_cast<off_t>(expected.size())), 0);
        ::close(descriptor);
    }
    overwritingCopy(file(sparse), file(target));
    EXPECT_EQ(TemporaryFolder::read(target), expected);
    struct stat from {
    }, to{};
    ::stat(sparse.c_str(), &from);
    ::stat(target.c_str(), &to);
    EXPECT_LE(to.st_blocks, from.st_blocks + 16);
}

TEST(FilesFileManagerTests, AFailedCopyLeavesEverythingAsItWas)
{
    const TemporaryFolder folder;
    const URL big = file(folder.write("big", std::string(1 << 20, 'b')));
    const URL old = file(folder.write("old", "old"));
    folder.makeFolder("sub");
    EXPECT_THROW(overwritingCopy(file(folder / "nothing"), old), filesystem_error);
    EXPECT_THROW(overwritingCopy(file(folder / "nothing"), file(folder / "new")), filesystem_error);
    EXPECT_THROW(overwritingCopy(file(folder / "sub"), old), filesystem_error);
    EXPECT_THROW(overwritingCopy(big, file(folder / "sub")), filesystem_error);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_THROW(overwritingCopy(file(folder / "pipe"), old), filesystem_error);

    // A file that may not grow as far as the copy needs fails as a full disk does.
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1 << 16, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THROW(overwritingCopy(big, old), filesystem_error);
    EXPECT_THROW(overwritingCopy(big, file(folder / "new")), filesystem_error);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);

    EXPECT_EQ(TemporaryFolder::read(old.path()), "old");
    EXPECT_THAT(FileManager::contentsOfDirectory(folder.path().string()),
                UnorderedElementsAre("big", "old", "sub", "pipe"));
}

// Each file and folder below a folder with what it holds, for before and after.
std::map<std::string, std::string> snapshot(const std::string& folder)
{
    std::map<std::string, std::string> items;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        items[entry.path()] = entry.is_regular_file() ? TemporaryFolder::read(entry.path()) : "";
    return items;
}

struct Attempt {
    const char* name;
    std::function<void()> action;
};

// All operations that write, from what is in `source` to what is in `target`, which both hold a "file", a "link" to it
// and a "tree" with a file.
std::vector<Attempt> attempts(const std::string& source, const std::string& target)
{
    const auto at = [](const std::string& folder, const char* name) { return file(folder + "/" + name); };
    return {
        {"copy over a file", [=] { overwritingCopy(at(source, "file"), at(target, "file")); }},
        {"copy over a link", [=] { overwritingCopy(at(source, "file"), at(target, "link")); }},
        {"copy to a new name", [=] { overwritingCopy(at(source, "file"), at(target, "new")); }},
        {"copy a folder", [=] { overwritingCopy(at(source, "tree"), at(target, "new")); }},
        {"a free file", [=] { createAvailableItem(at(target, "file")); }},
        {"a free folder", [=] { createAvailableItem(at(target, "tree"), NewItem::directory); }},
        {"folders", [=] { createDirectory(at(target, "new/folder/s")); }},
        {"folder", [=] { createDirectory(at(target, "tree"), "new"); }},
        {"copy item", [=] { FileManager::copyItem(source + "/file", target + "/new"); }},
        {"copy tree", [=] { FileManager::copyItem(source + "/tree", target + "/new"); }},
        {"move item", [=] { FileManager::moveItem(source + "/file", target + "/new"); }},
        {"move tree", [=] { FileManager::moveItem(source + "/tree", target + "/new"); }},
        {"write file", [=] { replaceFile(target + "/file", Data(2 << 20)); }},
        {"replace item", [=] { FileManager::replaceItem(target + "/file", source + "/file"); }},
    };
}

void expectFailures(const std::string& source, const std::string& target,
                    const std::function<bool(const std::string& name)>& isTried)
{
    const auto sources = snapshot(source), targets = snapshot(target);
    for (const auto& [name, action] : attempts(source, target)) {
        if (!isTried(name))
            continue;
        EXPECT_THROW(action(), filesystem_error) << name;
        EXPECT_EQ(snapshot(source), sources) << name;
        EXPECT_EQ(snapshot(target), targets) << name;
    }
    Bundle::setMain(Bundle::fromInfoDictionary({{"CFBundleName", "N"}, {"CFBundleIdentifier", "I"}}));
    const EnvironmentVariable data("XDG_DATA_HOME", target.c_str()), temporary("TMPDIR", target.c_str());
    if (isTried("support folder")) {
        EXPECT_EQ(createBundleSupportDirectory(), std::nullopt);
        EXPECT_TRUE(temporaryURL("txt", Bundle::main()).path().starts_with(target + "/I/"));
    }
    if (isTried("folders")) {
        EXPECT_EQ(createBundleSupportDirectoryWithComponent("a/b"), std::nullopt);
    }
    EXPECT_EQ(snapshot(target), targets);
}

void fill(const TemporaryFolder& folder, const std::string& sub, const std::string& content)
{
    folder.write(sub + "/file", content);
    folder.write(sub + "/tree/inner", content);
    fs::create_symlink("file", folder / (sub + "/link"));
}

TEST(FilesFileManagerTests, AFullDiskLosesNothingAndLeavesNothingBehind)
{
    if (!tests::canMount())
        GTEST_SKIP() << "no disk can be made full here; a limit on files stands in for it above";
    const TemporaryFolder folder;
    const std::string disk = folder.makeFolder("disk");
    fill(folder, "source", std::string(2 << 20, 's'));
    tests::withSmallDisk(disk, [&] { // no room for the bytes
        fill(folder, "disk", "old");
        expectFailures(folder / "source", disk, [](const std::string& name) {
            return name.starts_with("copy") || name.starts_with("move") || name.starts_with("replace") ||
                   name.starts_with("write");
        });
    });
    tests::withSmallDisk(disk, [&] { // no room for another name
        fill(folder, "disk", "old");
        for (int i = 0; ::mkdir((disk + "/tree/" + std::to_string(i)).c_str(), 0777) == 0; ++i) {
        }
        expectFailures(folder / "source", disk, [](const std::string&) { return true; });
        fs::remove(disk + "/tree/0"); // and now for one, where more are wanted
        expectFailures(folder / "source", disk, [](const std::string& name) {
            return name == "folders" || name == "copy tree" || name == "move tree";
        });
    });
}

TEST(FilesFileManagerTests, AMissingPermissionLosesNothingAndLeavesNothingBehind)
{
    const TemporaryFolder folder;
    fill(folder, "source", "new");
    fill(folder, "target", "old");
    tests::asOrdinaryUser(folder, [&] {
        for (const char* name : {"target", "target/tree"}) // may be read, and not written
            ASSERT_EQ(::chmod((folder / name).c_str(), 0555), 0);
        expectFailures(folder / "source", folder / "target", [](const std::string&) { return true; });
        for (const char* name : {"target", "target/tree"})
            ASSERT_EQ(::chmod((folder / name).c_str(), 0755), 0);
    });
    tests::asOrdinaryUser(folder, [&] { // the bytes may not be read
        const auto targets = snapshot(folder / "target");
        for (const char* name : {"source/file", "source/tree/inner"})
            ASSERT_EQ(::chmod((folder / name).c_str(), 0), 0);
        for (const auto& [name, action] : attempts(folder / "source", folder / "target"))
            if (std::string_view(name).starts_with("copy") || std::string_view(name).starts_with("replace")) {
                EXPECT_THROW(action(), filesystem_error) << name;
                EXPECT_EQ(snapshot(folder / "target"), targets) << name;
            }
    });
}

} // namespace
} // namespace corvane
