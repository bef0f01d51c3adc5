// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/FileManager.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(FilesFileManagerDeathTests, SupportFoldersNeedTheBundlesName)
{
    Bundle::setMain(Bundle::fromInfoDictionary({}));
    EXPECT_DEATH(static_cast<void>(bundleSupportDirectoryURL()), "Fatal error: Bundle should have a name");
    EXPECT_DEATH(static_cast<void>(noSandboxBundleSupportDirectoryURL()),
                 "Fatal error: Bundle should have a name");
    EXPECT_DEATH(static_cast<void>(createBundleSupportDirectory()), "Fatal error: Bundle should have a name");
}

} // namespace
} // namespace corvane
