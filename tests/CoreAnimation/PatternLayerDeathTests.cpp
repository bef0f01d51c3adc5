// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreAnimation/PatternLayer.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

class OnlySized : public PatternLayer {
    CGSize patternSize() override { return {4, 4}; }
};

void display(PatternLayer& layer)
{
    layer.setBounds(CGRect::make(0, 0, 8, 8));
    auto context = CGContext::createBitmap(8, 8);
    layer.display(*context);
}

TEST(PatternLayerDeathTests, SubclassesHaveToSayTheTileAndItsSize)
{
    PatternLayer bare;
    EXPECT_DEATH(display(bare), "patternSize\\(\\) should be overriden by subclass");
    OnlySized sized;
    EXPECT_DEATH(display(sized), "drawPattern\\(in:\\) should be overriden by subclass");
}

} // namespace
} // namespace corvane
