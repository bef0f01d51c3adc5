// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGContext.h>

#include <gtest/gtest.h>

namespace corvane {

TEST(CGContextDeathTest, Preconditions)
{
    auto context = CGContext::createBitmap(4, 4);
    EXPECT_DEATH(context->restoreGState(), "restoreGState was called without its saveGState");
    EXPECT_DEATH(context->scaleBy(0, 1), "A transformation that cannot be undone was given to a context");
    EXPECT_DEATH(CGContext::wrapping(nullptr), "A drawing context was made over a null cairo context");
}

} // namespace corvane
