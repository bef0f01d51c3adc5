// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/SynchronizedArray.h>
#include <tests/Support/NeverReturns.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(SynchronizedArrayDeathTests, AnIndexOutOfRangeStopsTheProcessWhenTheWriteRuns)
{
    const auto after = [](auto write) {
        SynchronizedArray<int> array({1, 2});
        write(array);
        static_cast<void>(array.count());
    };
    const std::string message = "Fatal error: Index out of range";
    EXPECT_DEATH(after([](auto& array) { array.setElement(2, 0); }), message);
    EXPECT_DEATH(after([](auto& array) { array.setElement(-1, 0); }), message);
    EXPECT_DEATH(after([](auto& array) { array.insert(0, 3); }), message);
    EXPECT_DEATH(after([](auto& array) { array.removeAt(2); }), message);
}

TEST(SynchronizedArrayDeathTests, WhatAnArrayCannotDoStopsTheProcess)
{
    EXPECT_DEATH(SynchronizedArray<int>().removeLastNow(),
                 "Fatal error: The last element of an empty array cannot be removed");
    EXPECT_DEATH(SynchronizedArray<int>::repeating(1, -1),
                 "Fatal error: An array cannot have a negative number of elements");
}

TEST(SynchronizedArrayDeathTests, AReadInsideAWriteNeverReturns)
{
    EXPECT_NEVER_RETURNS({
        SynchronizedArray<int> array({1});
        array.removeWhere([&](int) { return array.count() == 1; });
        static_cast<void>(array.count());
    });
}

// Elements that are destroyed as the program ends, by then without a pool to do it.
TEST(SynchronizedArrayDeathTests, TheProcessMayExitWithWritesQueued)
{
    EXPECT_EXIT(
        {
            alarm(20);
            static SynchronizedArray<std::string> lasting;
            auto* busy = new SynchronizedArray<std::string>({"a"});
            busy->removeWhere([](const std::string&) { return pause() != 0; });
            for (int n = 0; n < 1000; ++n) {
                lasting.append(std::string(100, 'x'));
                busy->append("b");
            }
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

} // namespace
} // namespace corvane
