// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/AVVideoCodecType.h>

#include <gtest/gtest.h>

#include <set>

namespace corvane {
namespace {

TEST(AVVideoCodecTypeTests, EveryCodecHasAFourCharacterCodeOfItsOwn)
{
    std::set<std::string_view> codes;
    for (const AVVideoCodecType& codec : AVVideoCodecTypes::allValues) {
        EXPECT_EQ(codec.rawValue.size(), 4U);
        codes.insert(codec.rawValue);
    }
    EXPECT_EQ(codes.size(), AVVideoCodecTypes::allValues.size());
    EXPECT_EQ(AVVideoCodecTypes::allValues.front(), AVVideoCodecType::h264);
    EXPECT_EQ(AVVideoCodecType::hevc.rawValue, "hvc1");
}

} // namespace
} // namespace corvane
