// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/Atomic.h>
#include <corvane/Platform/Base/Types.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

TEST(AtomicTests, UpdatesFromManyThreadsAllCount)
{
    Atomic<Int> finished(0);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&] {
                for (int n = 0; n < 20'000; ++n)
                    finished.update([](Int before) { return before + 1; });
            });
    }
    EXPECT_EQ(finished.value(), 160'000);
}

TEST(AtomicTests, AReadThenAWriteAreTwoSteps)
{
    Atomic<std::string> text("a");
    const std::string read = text.value();
    text.update([](const std::string& before) { return before + "b"; }); // what another thread might do
    text.setValue(read + "c");
    EXPECT_EQ(text.value(), "ac");
    EXPECT_EQ(text.rawValue, "ac");
}

TEST(AtomicTests, CopiesShareTheGuardAndNotTheValue)
{
    Atomic value(1);
    const Atomic copy = value;
    value.update([&](int before) {
        EXPECT_FALSE(copy.semaphore().wait(TimeInterval::zero())); // the copy's readers wait for this block
        return before + 1;
    });
    EXPECT_EQ(copy.semaphore(), value.semaphore());
    EXPECT_EQ(copy.value(), 1);
    EXPECT_EQ(value.value(), 2);

    Atomic assigned(7);
    assigned = value;
    EXPECT_EQ(assigned.value(), 2);
    EXPECT_EQ(assigned.semaphore(), value.semaphore());
}

TEST(AtomicTests, AThrowingBlockLeavesTheValueAndTheGuard)
{
    Atomic value(1);
    EXPECT_THROW(value.update([](int) -> int { throw std::runtime_error("no"); }), std::runtime_error);
    EXPECT_EQ(value.value(), 1);
}

} // namespace
} // namespace corvane
