// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreAnimation/CATransaction.h>
#include <tests/Support/MainLoop.h>

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace corvane {
namespace {

using Settings = std::pair<double, bool>;

Settings settings()
{
    return {CATransaction::animationDuration().count(), CATransaction::disableActions()};
}

TEST(CATransactionTests, TransactionsNestAndEndWithTheirSettings)
{
    EXPECT_EQ(settings(), Settings(0.25, false));
    CATransaction::begin();
    CATransaction::setAnimationDuration(TimeInterval(2));
    CATransaction::begin();
    CATransaction::setDisableActions(true);
    EXPECT_EQ(settings(), Settings(2, true));
    std::jthread([] { EXPECT_EQ(settings(), Settings(0.25, false)); }).join();
    CATransaction::commit();
    EXPECT_EQ(settings(), Settings(2, false));
    CATransaction::commit();
    EXPECT_EQ(settings(), Settings(0.25, false));
}

TEST(CATransactionTests, AnimateRunsItsBlockAtOnceOrAfterTheDelay)
{
    std::optional<Settings> seen;
    const auto look = [&] { seen = settings(); };
    animate(TimeInterval(0), TimeInterval(0), look);
    EXPECT_EQ(seen, Settings(0, true));
    animate(TimeInterval(1.5), look);
    EXPECT_EQ(seen, Settings(1.5, false));
    EXPECT_EQ(settings(), Settings(0.25, false));

    const auto begin = std::chrono::steady_clock::now();
    for (const double delay : {0.02, -1.0}) { // on the main queue even when the moment has passed
        seen.reset();
        animate(TimeInterval(delay), TimeInterval(0), look);
        EXPECT_EQ(seen, std::nullopt);
        ASSERT_TRUE(tests::serveMainLoopUntil([&] { return seen.has_value(); }));
        EXPECT_EQ(seen, Settings(0, true));
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
}

TEST(CATransactionTests, AThrowingBlockEndsItsTransaction)
{
    EXPECT_THROW(animate(TimeInterval(1), [] { throw std::runtime_error("no"); }), std::runtime_error);
    EXPECT_EQ(settings(), Settings(0.25, false));
}

} // namespace
} // namespace corvane
