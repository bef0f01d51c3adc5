// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/MemoryKeychain.h>

#include <Support/KeychainConformance.h>
#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(MemoryKeychainTests, DoesWhatEveryKeychainDoes)
{
    MemoryKeychain keychain;
    tests::expectConformance(keychain);
}

TEST(MemoryKeychainTests, AnswersTheStatusThatItWasGivenAndDoesNothing)
{
    MemoryKeychain keychain;
    ASSERT_EQ(keychain.add(tests::keychainItem("mail", "ana"), tests::bytesOf("one")), errSecSuccess);
    keychain.setStatus(errSecInteractionNotAllowed);
    std::vector<KeychainMatch> found;
    KeychainChanges changes;
    changes.label = "x";
    EXPECT_EQ(keychain.find({}, {}, found), errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.add(tests::keychainItem("mail", "bo"), {}), errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.update({}, changes), errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.remove({}), errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.use("mail").status, errSecInteractionNotAllowed);
    keychain.setStatus(errSecSuccess);
    EXPECT_EQ(tests::countIn(keychain, {}), 1U);
    EXPECT_EQ(tests::secretIn(keychain, "mail", "ana"), "one");
}

} // namespace
} // namespace corvane
