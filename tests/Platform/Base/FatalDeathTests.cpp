// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>

#include <gtest/gtest.h>

#include <csignal>

namespace corvane {
namespace {

TEST(FatalDeathTests, TheSentenceAndThePlaceOfTheCallAreWrittenAndTheProcessAborts)
{
    const std::string place = "  at .*FatalDeathTests.cpp:[0-9]+\n";
    EXPECT_EXIT(fatalError("It broke"), testing::KilledBySignal(SIGABRT), "Fatal error: It broke\n" + place);
    EXPECT_DEATH(precondition(1 > 2, "Order is lost"), "Fatal error: Order is lost\n" + place);
    EXPECT_DEATH(fatalError(""), "Fatal error: \n" + place);
}

TEST(FatalDeathTests, APreconditionThatHoldsDoesNothing)
{
    EXPECT_EXIT(
        {
            precondition(true, "never");
            std::_Exit(7);
        },
        testing::ExitedWithCode(7), "^$");
}

} // namespace
} // namespace corvane
