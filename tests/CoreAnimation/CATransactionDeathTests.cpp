// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CATransaction.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(CATransactionDeathTests, CommitNeedsABegin)
{
    EXPECT_DEATH(CATransaction::commit(), "Fatal error: CATransaction::commit\\(\\) without begin\\(\\)");
}

} // namespace
} // namespace corvane
