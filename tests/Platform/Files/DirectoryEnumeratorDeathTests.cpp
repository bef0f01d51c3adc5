// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/DirectoryEnumerator.h>

#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(DirectoryEnumeratorDeathTests, AtItsEndThereIsNoItem)
{
    const tests::TemporaryFolder folder;
    DirectoryEnumerator walk(URL::fromPath(folder.path().string()));
    EXPECT_FALSE(walk.advance());
    EXPECT_DEATH(static_cast<void>(walk.path()),
                 "Fatal error: A directory enumerator at its end has no item");
}

} // namespace
} // namespace corvane
