// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/Sync.h>
#include <tests/Support/NeverReturns.h>

#include <gtest/gtest.h>

#include <csignal>

namespace corvane {
namespace {

TEST(SyncDeathTests, AccessorsNeverReturnOnASerialQueue)
{
    EXPECT_NEVER_RETURNS({
        const Sync sync(1);
        static_cast<void>(sync.value());
    });
    EXPECT_NEVER_RETURNS({
        Sync sync(1);
        sync.setValue(2);
    });
}

TEST(SyncDeathTests, AccessorsExhaustTheStackOnAConcurrentQueue)
{
    const auto sync = [] {
        std::signal(SIGSEGV, SIG_DFL); // the handlers of sanitizers fail at a stack as deep as this one
        alarm(60);
        return Sync(1, DispatchQueue("c", DispatchQoS::unspecified, DispatchQueue::Attributes::concurrent));
    };
    EXPECT_EXIT(
        {
            static_cast<void>(sync().value());
            _exit(0);
        },
        testing::KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(
        {
            sync().setValue(2);
            _exit(0);
        },
        testing::KilledBySignal(SIGSEGV), "");
}

} // namespace
} // namespace corvane
