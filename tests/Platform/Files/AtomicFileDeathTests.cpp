// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/AtomicFile.h>

#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(AtomicFileDeathTests, ACommittedFileIsDone)
{
    const tests::TemporaryFolder folder;
    std::error_code error;
    std::optional<AtomicFile> file = AtomicFile::create(folder / "a", error);
    ASSERT_TRUE(file);
    ASSERT_FALSE(file->commit());
    EXPECT_DEATH(static_cast<void>(file->commit()), "Fatal error: A file can be committed only once");
    EXPECT_DEATH(static_cast<void>(file->write({})), "Fatal error: A file that has been committed");
}

} // namespace
} // namespace corvane
