// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/AVFileType.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(AVFileTypeDeathTests, ATypeWithoutExtensionIsNotSupported)
{
    EXPECT_DEATH(static_cast<void>(pathExtension(AVFileType{"org.example.reel"})),
                 "AVFileType is not supported");
}

} // namespace
} // namespace corvane
