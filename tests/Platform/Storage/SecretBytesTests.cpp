// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/SecretBytes.h>

#include <Support/KeychainConformance.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(SecretBytesTests, AreWipedWhenTheyAreReplacedAndHandedOverOnce)
{
    Data bytes = tests::bytesOf("secret");
    wipe(bytes);
    EXPECT_EQ(bytes, Data(6));
    wipe({});

    SecretBytes secret(tests::bytesOf("one"));
    SecretBytes other(std::move(secret));
    EXPECT_TRUE(secret.isEmpty()); // NOLINT(bugprone-use-after-move): it is as good as new
    EXPECT_EQ(tests::textOf(other.view()), "one");
    other = SecretBytes(DataView(tests::bytesOf("two")));
    EXPECT_EQ(tests::textOf(other.view()), "two");
    const Data released = other.release();
    EXPECT_EQ(tests::textOf(released), "two");
    EXPECT_TRUE(other.isEmpty());
}

} // namespace
} // namespace corvane
