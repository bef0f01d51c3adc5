// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/Sync.h>
#include <tests/Support/NeverReturns.h>

#include <gtest/gtest.h>
#include <sys/wait.h>

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

// A sanitizer reports the overflow and exits; without one it is the signal.
bool diedOfItsStack(int status)
{
    return WIFSIGNALED(status) ? WTERMSIG(status) == SIGSEGV : WEXITSTATUS(status) != 0;
}

TEST(SyncDeathTests, AccessorsExhaustTheStackOnAConcurrentQueue)
{
    const auto sync = [] {
        alarm(60);
        return Sync(1, DispatchQueue("c", DispatchQoS::unspecified, DispatchQueue::Attributes::concurrent));
    };
    EXPECT_EXIT(
        {
            static_cast<void>(sync().value());
            _exit(0);
        },
        diedOfItsStack, "");
    EXPECT_EXIT(
        {
            sync().setValue(2);
            _exit(0);
        },
        diedOfItsStack, "");
}

} // namespace
} // namespace corvane
