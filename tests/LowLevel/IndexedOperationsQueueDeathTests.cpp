// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/IndexedOperationsQueue.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(IndexedOperationsQueueDeathTests, NegativeNumbersStopTheProcess)
{
    const auto run = [](Int count, Int most) {
        IndexedOperationsQueue queue(DispatchQoS::unspecified);
        queue.maxConcurrentOperationCount = most;
        queue.performOperations(count);
        queue.waitUntilAllOperationsAreFinished();
    };
    EXPECT_DEATH(run(-1, 8), "Fatal error: The number of operations cannot be negative");
    EXPECT_DEATH(run(1, -1), "Fatal error: The number of concurrent operations cannot be negative");
}

} // namespace
} // namespace corvane
