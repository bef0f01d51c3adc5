// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/FileWrapper.h>

#include <Support/TemporaryFolder.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::Field;
using tests::TemporaryFolder;

FileWrapper wrapperOf(const std::string& path)
{
    return FileWrapper::fromURL(URL::fromPath(path));
}

std::string textOf(const FileWrapper* wrapper)
{
    return wrapper ? std::string(reinterpret_cast<const char*>(wrapper->contents.data()),
                                 wrapper->contents.size())
                   : "missing";
}

TEST(FileWrapperTests, AFolderIsReadWithAllItHolds)
{
    const TemporaryFolder folder;
    const std::string large(300'000, 'l');
    folder.write("doc/b.txt", "B");
    folder.write("doc/.hidden", large);
    folder.write("doc/a/empty");
    fs::create_symlink("../outside", folder / "doc/link");
    ASSERT_EQ(::chmod((folder / "doc/b.txt").c_str(), 0640), 0);

    const FileWrapper document = wrapperOf(folder / "doc/");
    EXPECT_EQ(document.filename, "doc");
    EXPECT_EQ(document.attributes.type, FileManager::FileType::directory);
    EXPECT_THAT(document.children,
                ElementsAre(Field(&FileWrapper::filename, ".hidden"), Field(&FileWrapper::filename, "a"),
                            Field(&FileWrapper::filename, "b.txt"), Field(&FileWrapper::filename, "link")));
    EXPECT_EQ(textOf(document.child("b.txt")), "B");
    EXPECT_EQ(document.child("b.txt")->attributes.permissions, 0640U);
    EXPECT_EQ(textOf(document.child(".hidden")), large);
    EXPECT_EQ(textOf(document.child("a")->child("empty")), "");
    EXPECT_EQ(document.child("link")->destination, "../outside");
    EXPECT_EQ(document.child("missing"), nullptr);

    const FileWrapper file = wrapperOf(folder / "doc/b.txt");
    EXPECT_EQ(textOf(&file), "B");
    EXPECT_EQ(wrapperOf(folder / "doc/link").attributes.type, FileManager::FileType::symbolicLink);
    EXPECT_FALSE(wrapperOf("/proc/self/status").contents.empty()); // says that it is empty
}

TEST(FileWrapperTests, WhatCannotBeReadThrowsByName)
{
    const TemporaryFolder folder;
    folder.makeFolder("doc");
    ASSERT_EQ(::mkfifo((folder / "doc/pipe").c_str(), 0600), 0);
    struct Row {
        const char* url;
        const char* named;
        std::errc error;
    };
    for (const Row& row : {Row{"missing", "missing", std::errc::no_such_file_or_directory},
                           Row{"doc", "doc/pipe", std::errc::operation_not_supported}})
        try {
            static_cast<void>(wrapperOf(folder / row.url));
            ADD_FAILURE() << row.url << " was read";
        } catch (const fs::filesystem_error& error) {
            EXPECT_EQ(error.code(), row.error);
            EXPECT_EQ(error.path1(), folder / row.named);
        }
}

} // namespace
} // namespace corvane
