// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/Atomic.h>
#include <tests/Support/NeverReturns.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(AtomicDeathTests, TheGuardIsNotReentrant)
{
    EXPECT_NEVER_RETURNS({
        Atomic value(1);
        value.update([&](int) { return value.value(); });
    });
    EXPECT_NEVER_RETURNS({
        Atomic value(1);
        Atomic copy = value;
        value.update([&](int before) {
            copy.setValue(2);
            return before;
        });
    });
}

} // namespace
} // namespace corvane
