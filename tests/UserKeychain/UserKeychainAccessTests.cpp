// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/SecItem.h>
#include <corvane/UserKeychain/UserKeychainAccess.h>

#include <gtest/gtest.h>

#include <set>

namespace corvane {
namespace {

TEST(UserKeychainAccessTests, EachCaseHasAValueThatLeadsBackToIt)
{
    std::set<std::string_view> values;
    for (int i = 0; i < 7; ++i) {
        const auto access = static_cast<UserKeychainAccess>(i);
        values.insert(attributeValue(access));
        EXPECT_EQ(userKeychainAccess(attributeValue(access)), access);
    }
    EXPECT_EQ(values.size(), 7U);
    EXPECT_EQ(userKeychainAccessLookup().size(), 7U);
    EXPECT_EQ(attributeValue(UserKeychainAccess::whenPasscodeSetThisDeviceOnly),
              kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly);
    EXPECT_FALSE(userKeychainAccess("whenever"));
    EXPECT_FALSE(userKeychainAccess(""));
}

} // namespace
} // namespace corvane
