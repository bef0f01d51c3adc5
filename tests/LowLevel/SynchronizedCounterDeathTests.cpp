// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/SynchronizedCounter.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

TEST(SynchronizedCounterDeathTests, OverflowStopsTheProcess)
{
    const auto overflow = [](Int value, void (SynchronizedCounter::*write)()) {
        SynchronizedCounter counter(value);
        (counter.*write)();
        static_cast<void>(counter.getValue());
    };
    EXPECT_DEATH(overflow(std::numeric_limits<Int>::max(), &SynchronizedCounter::increment),
                 "Fatal error: Integer overflow in an addition");
    EXPECT_DEATH(overflow(std::numeric_limits<Int>::min(), &SynchronizedCounter::decrement),
                 "Fatal error: Integer overflow in a subtraction");
}

} // namespace
} // namespace corvane
