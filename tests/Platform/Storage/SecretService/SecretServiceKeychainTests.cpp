// SPDX-License-Identifier: Apache-2.0
// Run by tests/Support/with-secret-service: on a bus of its own with the secret service of a desktop.
#include <corvane/Platform/Storage/SecretServiceKeychain.h>
#include <corvane/Platform/Storage/SystemKeychain.h>
#include <corvane/UserKeychain/UserKeychain.h>

#include <Support/EnvironmentVariable.h>
#include <Support/KeychainConformance.h>
#include <Support/TemporaryFolder.h>
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

namespace corvane {
namespace {

using tests::bytesOf;
using tests::keychainFilter;
using tests::keychainItem;
using tests::secretIn;
using tests::TemporaryFolder;
using namespace std::chrono_literals;

class SecretServiceKeychainTests : public testing::Test {
protected:
    KeychainOptions options(std::chrono::milliseconds wait = 5s) const
    {
        KeychainOptions result;
        result.folder = folder / "keychain";
        result.wait = wait;
        return result;
    }

    // Straight to the service, past the keychain.
    static GVariant* call(const char* method, GVariant* parameters)
    {
        GError* error = nullptr;
        GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        GVariant* const reply = g_dbus_connection_call_sync(
            bus, "org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service",
            method, parameters, nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &error);
        EXPECT_NE(reply, nullptr) << (error ? error->message : "");
        g_clear_error(&error);
        g_object_unref(bus);
        return reply;
    }

    TemporaryFolder folder;
};

TEST_F(SecretServiceKeychainTests, DoesWhatEveryKeychainDoes)
{
    SecretServiceKeychain keychain(options());
    EXPECT_EQ(keychain.look(), SecretServiceKeychain::Presence::present);
    tests::expectConformance(keychain);
}

TEST_F(SecretServiceKeychainTests, IsTheKeychainOfASessionThatHasIt)
{
    SystemKeychain system(options());
    EXPECT_EQ(system.use("mail").name, "secret-service");
    EXPECT_EQ(system.use("mail").status, errSecSuccess);
    ASSERT_EQ(system.add(keychainItem("mail", "ana"), bytesOf("one")), errSecSuccess);
    EXPECT_EQ(secretIn(system, "mail", "ana"), "one");
    // Noted: without the bus it fails, and nothing goes to the vault.
    {
        const tests::EnvironmentVariable bus("DBUS_SESSION_BUS_ADDRESS", nullptr);
        SystemKeychain elsewhere(options());
        EXPECT_EQ(elsewhere.use("mail").name, "secret-service");
        EXPECT_EQ(elsewhere.use("mail").status, errSecNotAvailable);
        EXPECT_EQ(secretIn(elsewhere, "mail", "ana"), "[" + std::to_string(errSecNotAvailable) + "]");
        EXPECT_EQ(elsewhere.add(keychainItem("mail", "bo"), {}), errSecNotAvailable);
        EXPECT_FALSE(std::filesystem::exists(folder / "keychain/vault.sqlite"));
        EXPECT_EQ(SystemKeychain(options(), KeychainChoice::vault).add(keychainItem("mail", "bo"), {}),
                  errSecStoredElsewhere);
    }
    EXPECT_EQ(system.remove(keychainFilter("mail", "ana")), errSecSuccess);
}

TEST_F(SecretServiceKeychainTests, KeepsTheItemsOfUserKeychain)
{
    setSharedKeychain(std::make_shared<SecretServiceKeychain>(options()));
    UserKeychain keychain("org.example.Gallery");
    EXPECT_TRUE(keychain.set("one", {"token"}));
    EXPECT_TRUE(keychain.set("two", {"token"}));
    EXPECT_EQ(keychain.string({"token"}), "two");
    EXPECT_EQ(keychain.string({"token"}, UserKeychainAccess::whenUnlocked), "two");
    EXPECT_FALSE(keychain.string({"token"}, UserKeychainAccess::always));
    EXPECT_FALSE(keychain.set("three", {"token"}, UserKeychainAccess::always));
    EXPECT_TRUE(keychain.set(Int{42}, {"number"}));
    EXPECT_EQ(keychain.integer({"number"}), 42);
    EXPECT_TRUE(keychain.removeAllKeys());
    EXPECT_FALSE(keychain.removeAllKeys());
    setSharedKeychain(nullptr);
}

TEST_F(SecretServiceKeychainTests, ManyThreadsAndProgramsStoreOneItemOnce)
{
    SecretServiceKeychain one(options());
    SecretServiceKeychain another(options());
    std::atomic<int> stored = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            SecretServiceKeychain& keychain = i % 2 ? one : another;
            KeychainItem item = keychainItem("mail", "contended");
            item.accessible = std::to_string(i);
            for (int round = 0; round < 10; ++round) {
                const OSStatus status = keychain.add(item, bytesOf("x"));
                EXPECT_TRUE(status == errSecSuccess || status == errSecDuplicateItem) << status;
                stored += status == errSecSuccess ? 1 : 0;
                EXPECT_EQ(secretIn(keychain, "mail", "contended"), "x");
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(stored, 1);
    EXPECT_EQ(one.remove(keychainFilter("mail", "contended")), errSecSuccess);
}

// Nobody can answer the service's question here: there is no display.
TEST_F(SecretServiceKeychainTests, ALockedCollectionIsNoHangAndNoSecondCopy)
{
    SecretServiceKeychain keychain(options());
    ASSERT_EQ(keychain.add(keychainItem("mail", "ana"), bytesOf("one")), errSecSuccess);
    GVariant* const alias = call("ReadAlias", g_variant_new("(s)", "default"));
    ASSERT_TRUE(alias);
    const char* collection = nullptr;
    g_variant_get(alias, "(&o)", &collection);
    const std::string path = collection;
    g_variant_unref(alias);
    const char* const paths[] = {path.c_str(), nullptr};
    g_variant_unref(call("Lock", g_variant_new("(^ao)", paths)));

    KeychainOptions unasked = options();
    unasked.prompting = KeychainPrompting::never;
    SecretServiceKeychain silent(unasked);
    EXPECT_EQ(tests::countIn(silent, keychainFilter("mail", "ana")), 1U); // that it is there can be seen
    const std::string refused = "[" + std::to_string(errSecInteractionNotAllowed) + "]";
    EXPECT_EQ(secretIn(silent, "mail", "ana"), refused);
    EXPECT_EQ(silent.add(keychainItem("mail", "ana"), bytesOf("two")), errSecDuplicateItem);
    EXPECT_EQ(silent.add(keychainItem("mail", "bo"), bytesOf("two")), errSecInteractionNotAllowed);
    KeychainChanges changes;
    const Data two = bytesOf("two");
    changes.secret = two;
    EXPECT_EQ(silent.update(keychainFilter("mail", "ana"), changes), errSecInteractionNotAllowed);
    EXPECT_EQ(silent.remove(keychainFilter("mail", "ana")), errSecInteractionNotAllowed);
    EXPECT_FALSE(std::filesystem::exists(folder / "keychain/vault.sqlite"));

    const auto begin = std::chrono::steady_clock::now();
    std::vector<KeychainMatch> found;
    SecretServiceKeychain asking(options(1s));
    const OSStatus status = asking.find(keychainFilter("mail", "ana"), {.secret = true}, found);
    EXPECT_TRUE(status == errSecUserCanceled || status == errSecInteractionNotAllowed) << status;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 4s);
}

} // namespace
} // namespace corvane
