// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Files/DirectoryEnumerator.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(DirectoryEnumeratorDeathTests, AtItsEndThereIsNoItem)
{
    DirectoryEnumerator walk(URL::fromPath("/nothing is here"));
    EXPECT_FALSE(walk.advance());
    EXPECT_DEATH(static_cast<void>(walk.path()),
                 "Fatal error: A directory enumerator at its end has no item");
}

} // namespace
} // namespace corvane
