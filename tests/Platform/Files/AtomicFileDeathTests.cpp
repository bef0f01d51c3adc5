// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/AtomicFile.h>

#include <gtest/gtest.h>

#include <filesystem>

namespace corvane {
namespace {

// What a death test makes on disk is left there by the process that dies, so nothing is committed.
TEST(AtomicFileDeathTests, AFileThatWasGivenAwayIsDone)
{
    std::error_code error;
    std::optional<AtomicFile> file =
        AtomicFile::create((std::filesystem::temp_directory_path() / "never made").string(), error);
    ASSERT_TRUE(file) << error.message();
    const AtomicFile other = std::move(*file);
    EXPECT_DEATH(static_cast<void>(file->commit()), "Fatal error: A file can be committed only once");
    EXPECT_DEATH(static_cast<void>(file->write({})), "Fatal error: A file that has been committed");
}

} // namespace
} // namespace corvane
