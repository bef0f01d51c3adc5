// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/MemoryKeychain.h>
#include <corvane/Platform/Storage/SecItem.h>

#include <Support/KeychainConformance.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace corvane {
namespace {

using tests::bytesOf;

class SecItemTests : public testing::Test {
protected:
    SecItemTests() { setSharedKeychain(std::make_shared<MemoryKeychain>()); }
    ~SecItemTests() override { setSharedKeychain(std::make_shared<MemoryKeychain>()); }

    static PropertyDictionary with(PropertyDictionary query, const char* key, PropertyValue value)
    {
        query[key] = std::move(value);
        return query;
    }

    const PropertyDictionary all{{kSecClass, kSecClassGenericPassword}, {kSecMatchLimit, kSecMatchLimitAll}};
    const PropertyDictionary item{
        {kSecClass, kSecClassGenericPassword}, {kSecAttrService, "mail"}, {kSecAttrAccount, "ana"}};
    const PropertyDictionary secret = with(item, kSecValueData, bytesOf("one"));
};

TEST_F(SecItemTests, GivesBackWhatTheFlagsAskFor)
{
    ASSERT_EQ(SecItemAdd(with(secret, kSecAttrLabel, "Mail")), errSecSuccess);
    EXPECT_EQ(SecItemAdd(secret), errSecDuplicateItem);
    std::optional<PropertyValue> result;
    EXPECT_EQ(SecItemCopyMatching(item, &result), errSecSuccess);
    EXPECT_FALSE(result);
    const PropertyDictionary returnsData = with(item, kSecReturnData, kCFBooleanTrue);
    EXPECT_EQ(SecItemCopyMatching(returnsData, nullptr), errSecSuccess);
    ASSERT_EQ(SecItemCopyMatching(returnsData, &result), errSecSuccess);
    EXPECT_EQ(*result, bytesOf("one"));

    ASSERT_EQ(SecItemCopyMatching(with(item, kSecReturnAttributes, true), &result), errSecSuccess);
    PropertyDictionary attributes = *result->asDictionary();
    EXPECT_TRUE(attributes.at(kSecAttrCreationDate).asDate());
    EXPECT_TRUE(attributes.at(kSecAttrModificationDate).asDate());
    attributes.erase(kSecAttrCreationDate);
    attributes.erase(kSecAttrModificationDate);
    EXPECT_EQ(attributes, (PropertyDictionary{{kSecClass, kSecClassGenericPassword},
                                              {kSecAttrService, "mail"},
                                              {kSecAttrAccount, "ana"},
                                              {kSecAttrLabel, "Mail"},
                                              {kSecAttrAccessible, kSecAttrAccessibleWhenUnlocked},
                                              {kSecAttrSynchronizable, false}}));

    // A reference finds its item again, by itself or with whatever does not contradict it.
    ASSERT_EQ(SecItemCopyMatching(with(item, kSecReturnPersistentRef, true), &result), errSecSuccess);
    const PropertyDictionary byReference{
        {kSecClass, kSecClassGenericPassword}, {kSecValuePersistentRef, *result}, {kSecReturnData, true}};
    ASSERT_EQ(SecItemCopyMatching(byReference, &result), errSecSuccess);
    EXPECT_EQ(*result, bytesOf("one"));
    EXPECT_EQ(SecItemCopyMatching(with(byReference, kSecAttrAccount, "bo"), &result), errSecParam);

    // Several flags give a dictionary, no limit an array.
    ASSERT_EQ(SecItemAdd(with(secret, kSecAttrAccount, "bo")), errSecSuccess);
    PropertyDictionary both = with(all, kSecReturnData, true);
    both[kSecReturnPersistentRef] = true;
    ASSERT_EQ(SecItemCopyMatching(both, &result), errSecSuccess);
    ASSERT_TRUE(result->asArray());
    ASSERT_EQ(result->asArray()->size(), 2U);
    const PropertyDictionary& first = *result->asArray()->at(0).asDictionary();
    EXPECT_EQ(first.size(), 2U);
    EXPECT_EQ(first.at(kSecValueData), bytesOf("one"));

    // An addition can give back what it added.
    PropertyDictionary third = with(secret, kSecAttrAccount, "cy");
    third[kSecReturnAttributes] = true;
    third[kSecReturnData] = true;
    ASSERT_EQ(SecItemAdd(third, &result), errSecSuccess);
    EXPECT_EQ(result->asDictionary()->at(kSecValueData), bytesOf("one"));
    EXPECT_GT(*result->asDictionary()->at(kSecAttrCreationDate).asDate(), Date());
    result.reset();
    EXPECT_EQ(SecItemAdd(third, &result), errSecDuplicateItem);
    EXPECT_FALSE(result);
}

TEST_F(SecItemTests, EveryAttributeFiltersAndWithoutSynchronisableOnlyLocalItemsMatch)
{
    ASSERT_EQ(SecItemAdd(secret), errSecSuccess);
    PropertyDictionary shared = with(secret, kSecAttrAccount, "bo");
    shared[kSecAttrSynchronizable] = true;
    shared[kSecAttrAccessible] = kSecAttrAccessibleAlways;
    shared[kSecAttrAccessGroup] = "team";
    shared[kSecAttrGeneric] = "token";
    ASSERT_EQ(SecItemAdd(shared), errSecSuccess);
    struct Row {
        const char* key;
        PropertyValue value;
        std::size_t matches;
    };
    const Row rows[] = {
        {kSecAttrService, "mail", 1},
        {kSecAttrSynchronizable, kSecAttrSynchronizableAny, 2},
        {kSecAttrSynchronizable, true, 1},
        {kSecAttrSynchronizable, false, 1},
        {kSecAttrAccessible, kSecAttrAccessibleWhenUnlocked, 1},
        {kSecAttrAccessible, kSecAttrAccessibleAlways, 0}, // the one that has it is synchronisable
        {kSecAttrAccessGroup, "team", 0},
        {kSecAttrGeneric, "", 1},
        {kSecAttrService, "", 0}};
    for (const Row& row : rows) {
        PropertyDictionary query = with(all, row.key, row.value);
        query[kSecReturnPersistentRef] = true;
        std::optional<PropertyValue> result;
        const OSStatus status = SecItemCopyMatching(query, &result);
        EXPECT_EQ(status, row.matches ? errSecSuccess : errSecItemNotFound) << row.key;
        EXPECT_EQ(result ? result->asArray()->size() : 0, row.matches) << row.key;
    }
    EXPECT_EQ(SecItemDelete({{kSecClass, kSecClassGenericPassword}, {kSecAttrService, "mail"}}),
              errSecSuccess);
    EXPECT_EQ(SecItemCopyMatching(with(all, kSecAttrSynchronizable, true), nullptr), errSecSuccess);
}

TEST_F(SecItemTests, AnUpdateChangesAttributesAndSecretButNotTheIdentity)
{
    ASSERT_EQ(SecItemAdd(secret), errSecSuccess);
    EXPECT_EQ(SecItemUpdate(item, {{kSecValueData, bytesOf("two")}, {kSecAttrLabel, "new"}}), errSecSuccess);
    std::optional<PropertyValue> result;
    ASSERT_EQ(SecItemCopyMatching(with(with(item, kSecReturnData, true), kSecAttrLabel, "new"), &result),
              errSecSuccess);
    EXPECT_EQ(*result, bytesOf("two"));
    EXPECT_EQ(SecItemUpdate(item, {{kSecAttrAccount, "bo"}}), errSecParam);
    EXPECT_EQ(SecItemUpdate(with(item, kSecAttrAccount, "bo"), {{kSecAttrLabel, "x"}}), errSecItemNotFound);
    EXPECT_EQ(SecItemUpdate(item, {{kSecAttrSynchronizable, true}}), errSecSuccess);
    EXPECT_EQ(SecItemDelete(item), errSecItemNotFound);
    EXPECT_EQ(SecItemDelete(with(item, kSecAttrSynchronizable, kSecAttrSynchronizableAny)), errSecSuccess);
}

// What is not understood would otherwise match, or remove, more than was meant.
TEST_F(SecItemTests, RefusesWhatItDoesNotUnderstand)
{
    ASSERT_EQ(SecItemAdd(secret), errSecSuccess);
    struct Row {
        const char* key;
        PropertyValue value;
    };
    const Row rows[] = {{kSecClass, "internet-password"},
                        {kSecAttrService, 4},
                        {kSecAttrService, bytesOf("mail")},
                        {kSecAttrService, std::string_view("ma\0il", 5)},
                        {kSecAttrAccount, "\xff"},
                        {kSecAttrSynchronizable, "perhaps"},
                        {kSecAttrSynchronizable, Data()},
                        {kSecMatchLimit, 1},
                        {kSecMatchLimit, "many"},
                        {kSecReturnData, "yes"},
                        {kSecValuePersistentRef, bytesOf("nonsense")},
                        {kSecValueData, "text"},
                        {"acount", "bo"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.key);
        const PropertyDictionary query = with(item, row.key, row.value);
        EXPECT_EQ(SecItemCopyMatching(query, nullptr), errSecParam);
        EXPECT_EQ(SecItemAdd(query), errSecParam);
        EXPECT_EQ(SecItemUpdate(query, {{kSecAttrLabel, "x"}}), errSecParam);
        EXPECT_EQ(SecItemDelete(query), errSecParam);
    }
    EXPECT_EQ(SecItemDelete({{kSecAttrService, "mail"}}), errSecParam); // without a class
    EXPECT_EQ(SecItemCopyMatching(secret, nullptr), errSecParam);       // nothing is found by its secret
    EXPECT_EQ(SecItemCopyMatching(item, nullptr), errSecSuccess);
}

TEST(OSStatusTests, EveryStatusHasASentenceOfItsOwn)
{
    std::vector<std::string_view> texts;
    for (const OSStatus status : {errSecSuccess,
                                  errSecParam,
                                  errSecDuplicateItem,
                                  errSecItemNotFound,
                                  errSecIO,
                                  errSecDiskFull,
                                  errSecUserCanceled,
                                  errSecInteractionNotAllowed,
                                  errSecAuthFailed,
                                  errSecNotAvailable,
                                  errSecInternalComponent,
                                  errSecTimedOut,
                                  errSecStoredElsewhere,
                                  errSecVaultFolderUnsafe,
                                  errSecVaultKeyMissing,
                                  errSecVaultKeyExposed,
                                  errSecVaultKeyForeign,
                                  errSecVaultKeyNotAFile,
                                  errSecVaultKeyDamaged,
                                  errSecVaultKeyWrong,
                                  errSecVaultDamaged,
                                  errSecVaultItemDamaged,
                                  errSecVaultItemsSwapped,
                                  errSecVaultItemsOutdated,
                                  OSStatus(4711)})
        texts.push_back(description(status));
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(std::adjacent_find(texts.begin(), texts.end()), texts.end());
}

} // namespace
} // namespace corvane
