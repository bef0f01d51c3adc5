// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/Sync.h>

#include <gtest/gtest.h>

#include <string>

namespace corvane {
namespace {

TEST(SyncTests, KeepsTheValueAndAQueueOfItsOwn)
{
    const Sync<std::string> sync("a");
    EXPECT_EQ(sync.rawValue, "a");
    EXPECT_EQ(sync.queue.label(), "org.corvane.Corvane.SyncQueue");
    EXPECT_EQ(sync.queue.qos(), DispatchQoS::unspecified);
    EXPECT_NE(sync.queue, Sync(std::string("a")).queue);

    const DispatchQueue given("given");
    EXPECT_EQ(Sync(1, given).queue, given);
}

TEST(SyncTests, CopiesShareTheQueueAndNotTheValue)
{
    Sync sync(1);
    Sync copy = sync;
    copy.queue.sync([&] { copy.rawValue = 2; });
    EXPECT_EQ(copy.queue, sync.queue);
    EXPECT_EQ(sync.rawValue, 1);
    EXPECT_EQ(copy.rawValue, 2);
}

} // namespace
} // namespace corvane
