// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Storage/MemoryKeychain.h>
#include <corvane/Platform/Storage/SecItem.h>
#include <corvane/UserKeychain/UserKeychain.h>

#include <Support/KeychainConformance.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

namespace corvane {
namespace {

using tests::bytesOf;
using enum UserKeychainAccess;

/// Keeps what it was asked.
class RecordingKeychain final : public Keychain {
public:
    OSStatus find(const KeychainFilter& filter, KeychainFetch fetch,
                  std::vector<KeychainMatch>& found) override
    {
        filters.push_back(filter);
        return inner.find(filter, fetch, found);
    }
    OSStatus add(const KeychainItem& item, DataView secret) override
    {
        added.push_back(item);
        return inner.add(item, secret);
    }
    OSStatus update(const KeychainFilter& filter, const KeychainChanges& change) override
    {
        filters.push_back(filter);
        changes.push_back(change);
        return inner.update(filter, change);
    }
    OSStatus remove(const KeychainFilter& filter) override
    {
        filters.push_back(filter);
        return inner.remove(filter);
    }
    KeychainUse use(std::string_view service) override { return inner.use(service); }

    MemoryKeychain inner;
    std::vector<KeychainFilter> filters;
    std::vector<KeychainItem> added;
    std::vector<KeychainChanges> changes;
};

class UserKeychainTests : public testing::Test {
protected:
    UserKeychainTests() { setSharedKeychain(recorder); }
    ~UserKeychainTests() override { setSharedKeychain(std::make_shared<MemoryKeychain>()); }

    std::shared_ptr<RecordingKeychain> recorder = std::make_shared<RecordingKeychain>();
    UserKeychain keychain{"org.example.Gallery"};
    const UserKeychainKey token{"token"};
};

struct Grid {
    Int columns;

    PropertyValue propertyValue() const { return PropertyDictionary{{"columns", columns}}; }
    static std::optional<Grid> fromPropertyValue(const PropertyValue& value)
    {
        const PropertyDictionary* const dictionary = value.asDictionary();
        const PropertyValue* const columns = dictionary ? find(*dictionary, "columns") : nullptr;
        return columns && columns->asNumber() ? std::optional(Grid{columns->asNumber()->intValue()})
                                              : std::nullopt;
    }
};

TEST_F(UserKeychainTests, EveryTypeComesBackAsItWasWritten)
{
    for (const Int value :
         {Int{0}, Int{-42}, std::numeric_limits<Int>::min(), std::numeric_limits<Int>::max()}) {
        EXPECT_TRUE(keychain.set(value, token));
        EXPECT_EQ(keychain.integer(token), value);
    }
    for (const double value : {0.1, -0.0, 1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_TRUE(keychain.set(value, token));
        EXPECT_EQ(keychain.double_(token), value);
        EXPECT_EQ(std::signbit(*keychain.double_(token)), std::signbit(value));
    }
    EXPECT_TRUE(keychain.set(std::nan(""), token));
    EXPECT_TRUE(std::isnan(*keychain.double_(token)));
    EXPECT_TRUE(keychain.set(0.1F, token));
    EXPECT_EQ(keychain.float_(token), 0.1F);
    for (const bool value : {true, false}) {
        EXPECT_TRUE(keychain.set(value, token));
        EXPECT_EQ(keychain.bool_(token), value);
    }
    for (const std::string& value : {std::string(), std::string("a\0b", 3), std::string("pässwörd ✉")}) {
        EXPECT_TRUE(keychain.set(value, token));
        EXPECT_EQ(keychain.string(token), value);
        EXPECT_EQ(keychain.data(token), bytesOf(value)); // not archived
    }
    EXPECT_TRUE(keychain.set("a literal is text", token));
    EXPECT_EQ(keychain.string(token), "a literal is text");
    EXPECT_TRUE(keychain.set(Data{std::byte{0}, std::byte{255}}, token));
    EXPECT_EQ(keychain.data(token)->size(), 2U);
    EXPECT_TRUE(keychain.set(Grid{4}, token));
    EXPECT_EQ(keychain.object<Grid>(token)->columns, 4);
    const PropertyValue object = PropertyArray{1, "two", bytesOf("three"), PropertyDictionary{{"four", 4.0}}};
    EXPECT_TRUE(keychain.set(object, token));
    EXPECT_EQ(keychain.object(token), object);
    EXPECT_FALSE(keychain.object<Grid>(token));
}

TEST_F(UserKeychainTests, AValueOfAnotherKindIsAbsentButNumbersConvert)
{
    ASSERT_TRUE(keychain.set(3.75, token));
    EXPECT_EQ(keychain.integer(token), 3);
    EXPECT_EQ(keychain.float_(token), 3.75F);
    EXPECT_EQ(keychain.bool_(token), true);
    EXPECT_FALSE(keychain.string(token)); // an archive is not UTF-8
    ASSERT_TRUE(keychain.set("42", token));
    EXPECT_FALSE(keychain.integer(token));
    EXPECT_FALSE(keychain.double_(token));
    EXPECT_FALSE(keychain.object(token));
    ASSERT_TRUE(keychain.set(PropertyValue("42"), token));
    EXPECT_FALSE(keychain.integer(token));
    EXPECT_EQ(keychain.object(token), PropertyValue("42"));
    ASSERT_TRUE(keychain.set(Data{std::byte{0xff}}, token));
    EXPECT_FALSE(keychain.string(token));
    EXPECT_FALSE(keychain.set(std::string("\xff"), token));
    EXPECT_EQ(recorder->added.size(), 4U); // the keychain was not asked
    for (const UserKeychainKey& missing : {UserKeychainKey{"missing"}, UserKeychainKey{"bad \xff"}}) {
        EXPECT_FALSE(keychain.data(missing) || keychain.dataRef(missing) || keychain.integer(missing) ||
                     keychain.float_(missing) || keychain.double_(missing) || keychain.bool_(missing) ||
                     keychain.string(missing) || keychain.object(missing) || keychain.hasValue(missing) ||
                     keychain.remove(missing));
    }
}

TEST_F(UserKeychainTests, AWriteAddsThenUpdatesOnADuplicate)
{
    EXPECT_TRUE(keychain.set("one", token));
    EXPECT_TRUE(recorder->changes.empty());
    EXPECT_TRUE(keychain.set("two", token));
    EXPECT_EQ(recorder->added.size(), 2U);
    ASSERT_EQ(recorder->changes.size(), 1U);
    EXPECT_FALSE(recorder->changes[0].isSynchronizable || recorder->changes[0].accessible);
    EXPECT_EQ(keychain.string(token), "two");

    // Only a duplicate turns an addition into an update.
    recorder->inner.setStatus(errSecInteractionNotAllowed);
    EXPECT_FALSE(keychain.set("three", token));
    EXPECT_FALSE(keychain.hasValue(token) || keychain.remove(token) || keychain.removeAllKeys());
    EXPECT_EQ(recorder->changes.size(), 1U);
    recorder->inner.setStatus(errSecSuccess);
    EXPECT_EQ(keychain.string(token), "two");

    EXPECT_TRUE(keychain.remove(token));
    EXPECT_FALSE(keychain.remove(token));
    EXPECT_FALSE(keychain.hasValue(token));
}

TEST_F(UserKeychainTests, AnItemKeepsTheAccessItWasAddedWith)
{
    EXPECT_TRUE(keychain.set(1, token, always));
    EXPECT_EQ(recorder->added[0].accessible, kSecAttrAccessibleAlways);
    EXPECT_FALSE(keychain.set(2, token, whenUnlocked)); // the update looks for one that is not there
    EXPECT_TRUE(keychain.set(3, token));                // without an access it finds any
    EXPECT_TRUE(keychain.set(4, token, always));
    EXPECT_EQ(keychain.integer(token, always), 4);
    EXPECT_FALSE(keychain.hasValue(token, whenUnlocked));
    EXPECT_FALSE(keychain.remove(token, whenUnlocked));
    EXPECT_TRUE(keychain.remove(token, always));
    EXPECT_TRUE(keychain.set(5, token));
    EXPECT_EQ(recorder->added.back().accessible, kSecAttrAccessibleWhenUnlocked);
}

TEST_F(UserKeychainTests, SendsTheAttributesOfTheKeyAndNoOthers)
{
    ASSERT_TRUE(keychain.set("x", token));
    const KeychainItem& item = recorder->added[0];
    EXPECT_EQ(item.service, "org.example.Gallery");
    EXPECT_EQ(item.account, "token");
    EXPECT_EQ(item.label, "token");
    EXPECT_EQ(item.generic, "token");
    EXPECT_EQ(item.accessGroup, "");
    EXPECT_FALSE(item.isSynchronizable);

    const auto expectQuery = [&](std::optional<std::string> access, std::optional<std::string> group) {
        const KeychainFilter& filter = recorder->filters.back();
        EXPECT_EQ(filter.service, "org.example.Gallery");
        EXPECT_EQ(filter.account, "token");
        EXPECT_EQ(filter.label, "token");
        EXPECT_EQ(filter.generic, "token");
        EXPECT_EQ(filter.accessible, access);
        EXPECT_EQ(filter.accessGroup, group);
        EXPECT_EQ(filter.isSynchronizable, std::nullopt);
    };
    keychain.data(token);
    expectQuery(std::nullopt, std::nullopt);
    keychain.data(token, afterFirstUnlock);
    expectQuery(kSecAttrAccessibleAfterFirstUnlock, std::nullopt);
    keychain.accessGroup = "team";
    keychain.remove(token);
    expectQuery(std::nullopt, "team");

    keychain.removeAllKeys();
    const KeychainFilter& all = recorder->filters.back();
    EXPECT_EQ(all.service, "org.example.Gallery");
    EXPECT_EQ(all.accessGroup, "team");
    EXPECT_FALSE(all.account || all.label || all.generic || all.accessible);
    EXPECT_EQ(all.isSynchronizable, false);
}

TEST_F(UserKeychainTests, RemovingAllKeysLeavesWhatIsMarkedForSynchronisation)
{
    EXPECT_FALSE(keychain.removeAllKeys());
    keychain.enableSynchronization = true;
    ASSERT_TRUE(keychain.set("shared", {"shared"}));
    EXPECT_TRUE(recorder->added[0].isSynchronizable);
    keychain.enableSynchronization = false;
    ASSERT_TRUE(keychain.set("one", {"one"}) && keychain.set("two", {"two"}));
    ASSERT_TRUE(UserKeychain("org.example.Other").set("other", {"one"}));
    EXPECT_TRUE(keychain.removeAllKeys());
    EXPECT_FALSE(keychain.removeAllKeys());
    EXPECT_FALSE(keychain.hasValue({"one"}) || keychain.hasValue({"two"}));
    EXPECT_EQ(keychain.string({"shared"}), "shared"); // queries of one key find both kinds
    EXPECT_TRUE(UserKeychain("org.example.Other").hasValue({"one"}));

    // Writing with synchronisation switched on marks an item that is there.
    keychain.enableSynchronization = true;
    ASSERT_TRUE(keychain.set("again", {"one"}) && keychain.set("more", {"one"}));
    keychain.enableSynchronization = false;
    ASSERT_TRUE(keychain.set("unmarked", {"one"})); // and off again does not unmark it
    EXPECT_FALSE(keychain.removeAllKeys());
    EXPECT_TRUE(keychain.remove({"one"}));
}

TEST_F(UserKeychainTests, AReferenceStaysWithItsItem)
{
    ASSERT_TRUE(keychain.set("x", token) && keychain.set("y", {"other"}));
    const std::optional<Data> reference = keychain.dataRef(token);
    ASSERT_TRUE(reference);
    EXPECT_NE(reference, keychain.data(token));
    EXPECT_NE(reference, keychain.dataRef({"other"}));
    ASSERT_TRUE(keychain.set("changed", token));
    EXPECT_EQ(keychain.dataRef(token), reference);
}

TEST_F(UserKeychainTests, TheStandardOneIsNamedAfterTheMainBundle)
{
    UserKeychain& standard = UserKeychain::standard();
    EXPECT_EQ(&standard, &UserKeychain::standard());
    EXPECT_EQ(standard.serviceName, Bundle::main().bundleIdentifier().value_or("CorvaneKeychain"));
    EXPECT_FALSE(standard.accessGroup || standard.enableSynchronization);
}

} // namespace
} // namespace corvane
