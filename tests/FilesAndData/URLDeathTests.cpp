// SPDX-License-Identifier: Apache-2.0
#include <corvane/FilesAndData/URL.h>

#include <gtest/gtest.h>

#include <vector>

namespace corvane {
namespace {

TEST(FilesURLDeathTests, AURLWithoutComponentsHasNoDirectory)
{
    const std::vector<URL> urls{*URL::fromString("?query")};
    EXPECT_DEATH(static_cast<void>(commonDirectoryURL(urls)), "Fatal error: A URL without path components");
}

} // namespace
} // namespace corvane
