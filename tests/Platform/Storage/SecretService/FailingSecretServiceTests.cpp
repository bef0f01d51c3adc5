// SPDX-License-Identifier: Apache-2.0
// Run on a session bus of its own, where the tests themselves offer the secret service.
#include <corvane/Platform/Storage/SecretServiceKeychain.h>
#include <corvane/Platform/Storage/SystemKeychain.h>

#include <Support/KeychainConformance.h>
#include <Support/TemporaryFolder.h>
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace corvane {
namespace {

using tests::keychainFilter;
using tests::keychainItem;
using namespace std::chrono_literals;

constexpr const char* description = R"(<node>
<interface name='org.freedesktop.Secret.Service'>
  <method name='OpenSession'><arg type='s' direction='in'/><arg type='v' direction='in'/>
    <arg type='v' direction='out'/><arg type='o' direction='out'/></method>
  <method name='SearchItems'><arg type='a{ss}' direction='in'/>
    <arg type='ao' direction='out'/><arg type='ao' direction='out'/></method>
  <method name='Unlock'><arg type='ao' direction='in'/>
    <arg type='ao' direction='out'/><arg type='o' direction='out'/></method>
  <method name='GetSecrets'><arg type='ao' direction='in'/><arg type='o' direction='in'/>
    <arg type='a{o(oayays)}' direction='out'/></method>
</interface>
<interface name='org.freedesktop.Secret.Prompt'>
  <method name='Prompt'><arg type='s' direction='in'/></method><method name='Dismiss'/>
  <signal name='Completed'><arg type='b'/><arg type='v'/></signal>
</interface>
</node>)";

/// A secret service with one item, in a locked collection, that behaves as it is told.
class FakeService {
public:
    enum class Behaviour { silent, refusesUnlocking, ignoresThePrompt, unlocks, deniesAccess, talksNonsense };

    explicit FakeService(Behaviour behaviour) : behaviour_(behaviour), context_(g_main_context_new())
    {
        std::atomic<bool> isReady = false;
        thread_ = std::thread([this, &isReady] { serve(isReady); });
        isReady.wait(false);
    }
    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;
    ~FakeService()
    {
        isOver_ = true;
        g_main_context_wakeup(context_);
        thread_.join();
        g_main_context_unref(context_);
    }

    bool wasDismissed() const { return wasDismissed_; }

private:
    void serve(std::atomic<bool>& isReady)
    {
        g_main_context_push_thread_default(context_);
        char* const address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        GDBusConnection* const bus = g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        g_free(address);
        GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(description, nullptr);
        const GDBusInterfaceVTable table{
            [](GDBusConnection* connection, const char*, const char*, const char*, const char* method,
               GVariant* parameters, GDBusMethodInvocation* invocation, gpointer self) {
                static_cast<FakeService*>(self)->answer(connection, method, parameters, invocation);
            },
            nullptr,
            nullptr,
            {}};
        g_dbus_connection_register_object(bus, "/org/freedesktop/secrets", node->interfaces[0], &table, this,
                                          nullptr, nullptr);
        g_dbus_connection_register_object(bus, "/prompt", node->interfaces[1], &table, this, nullptr,
                                          nullptr);
        GVariant* const owned = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", "org.freedesktop.secrets", 4U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
            nullptr, nullptr);
        EXPECT_NE(owned, nullptr);
        g_variant_unref(owned);
        isReady = true;
        isReady.notify_one();
        while (!isOver_)
            g_main_context_iteration(context_, TRUE);
        g_dbus_connection_close_sync(bus, nullptr, nullptr);
        g_dbus_node_info_unref(node);
        g_object_unref(bus);
        g_main_context_pop_thread_default(context_);
    }

    void answer(GDBusConnection* bus, std::string_view method, GVariant* parameters,
                GDBusMethodInvocation* call)
    {
        const char* const path = isUnlocked_ ? "['/item']" : "@ao []";
        const char* const lockedPath = isUnlocked_ ? "@ao []" : "['/item']";
        const auto reply = [call](const std::string& text) {
            g_dbus_method_invocation_return_value(call, g_variant_new_parsed(text.c_str()));
        };
        if (behaviour_ == Behaviour::silent) {
            g_object_unref(call);
        } else if (behaviour_ == Behaviour::deniesAccess && method != "OpenSession") {
            g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.DBus.Error.AccessDenied", "no");
        } else if (method == "OpenSession") {
            const char* algorithm = nullptr;
            GVariant* input = nullptr;
            g_variant_get(parameters, "(&sv)", &algorithm, &input);
            g_variant_unref(input);
            if (std::string_view(algorithm) == "plain")
                reply("(<''>, objectpath '/session')");
            else
                g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.DBus.Error.NotSupported",
                                                           "no");
        } else if (method == "SearchItems") {
            reply("(@ao " + std::string(path) + ", @ao " + lockedPath + ")");
        } else if (method == "Unlock") {
            reply("(@ao [], objectpath '/prompt')");
        } else if (method == "Prompt") {
            g_dbus_method_invocation_return_value(call, nullptr);
            if (behaviour_ != Behaviour::ignoresThePrompt) {
                isUnlocked_ = behaviour_ != Behaviour::refusesUnlocking;
                g_dbus_connection_emit_signal(
                    bus, nullptr, "/prompt", "org.freedesktop.Secret.Prompt", "Completed",
                    g_variant_new("(bv)", isUnlocked_ ? FALSE : TRUE, g_variant_new_parsed("@ao ['/item']")),
                    nullptr);
            }
        } else if (method == "Dismiss") {
            wasDismissed_ = true;
            g_dbus_method_invocation_return_value(call, nullptr);
        } else if (behaviour_ == Behaviour::talksNonsense) {
            reply("({objectpath '/item': (objectpath '/another/session', @ay [0x01], @ay [0x61], '')},)");
        } else {
            reply("({objectpath '/item': (objectpath '/session', @ay [], @ay [0x61, 0x00], '')},)");
        }
    }

    const Behaviour behaviour_;
    GMainContext* const context_;
    std::atomic<bool> isOver_ = false;
    std::atomic<bool> wasDismissed_ = false;
    bool isUnlocked_ = false;
    std::thread thread_;
};

class FailingSecretServiceTests : public testing::Test {
protected:
    KeychainOptions options() const
    {
        KeychainOptions result;
        result.folder = folder / "keychain";
        result.wait = 300ms;
        return result;
    }

    tests::TemporaryFolder folder;
};

TEST_F(FailingSecretServiceTests, ASessionWithoutTheServiceTakesTheVault)
{
    SecretServiceKeychain keychain(options());
    EXPECT_EQ(keychain.look(), SecretServiceKeychain::Presence::noService);
    EXPECT_EQ(keychain.use("mail").status, errSecNotAvailable);
    EXPECT_EQ(keychain.add(keychainItem("mail", "ana"), {}), errSecNotAvailable);
    EXPECT_EQ(SystemKeychain(options()).use("mail").why,
              "Nobody on the session bus offers a secret service.");
    EXPECT_EQ(SystemKeychain(options()).use("mail").name, "vault");
}

TEST_F(FailingSecretServiceTests, EachWayToFailHasItsStatusWithinTheWait)
{
    using enum FakeService::Behaviour;
    struct Row {
        const char* what;
        FakeService::Behaviour behaviour;
        OSStatus status;
    };
    const Row rows[] = {{"no answer", silent, errSecTimedOut},
                        {"unlocking refused", refusesUnlocking, errSecUserCanceled},
                        {"nobody answers the prompt", ignoresThePrompt, errSecInteractionNotAllowed},
                        {"access denied", deniesAccess, errSecAuthFailed},
                        {"nonsense", talksNonsense, errSecInternalComponent},
                        {"unlocked", unlocks, errSecSuccess}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const FakeService service(row.behaviour);
        SystemKeychain keychain(options());
        const auto begin = std::chrono::steady_clock::now();
        std::vector<KeychainMatch> found;
        EXPECT_EQ(keychain.find(keychainFilter("mail", "ana"), {.secret = true}, found), row.status);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
        EXPECT_EQ(found.size(), row.status == errSecSuccess ? 1U : 0U);
        if (!found.empty()) {
            EXPECT_EQ(found[0].secret.view().size(), 2U);
        }
        EXPECT_EQ(keychain.use("mail").name, "secret-service"); // and not the vault, whatever it does
        EXPECT_FALSE(std::filesystem::exists(folder / "keychain/vault.sqlite"));
    }
}

TEST_F(FailingSecretServiceTests, APromptThatNobodyAnswersIsTakenBack)
{
    const FakeService service(FakeService::Behaviour::ignoresThePrompt);
    SecretServiceKeychain keychain(options());
    std::vector<KeychainMatch> found;
    EXPECT_EQ(keychain.find({}, {.secret = true}, found), errSecInteractionNotAllowed);
    const auto giveUp = std::chrono::steady_clock::now() + 5s;
    while (!service.wasDismissed() && std::chrono::steady_clock::now() < giveUp)
        std::this_thread::yield();
    EXPECT_TRUE(service.wasDismissed());
}

TEST_F(FailingSecretServiceTests, AServiceThatWasRestartedIsConnectedToAnew)
{
    SecretServiceKeychain keychain(options());
    for (int i = 0; i < 3; ++i) {
        const FakeService service(FakeService::Behaviour::unlocks);
        std::vector<KeychainMatch> found;
        EXPECT_EQ(keychain.find({}, {.secret = true}, found), errSecSuccess);
    }
    std::vector<KeychainMatch> found;
    EXPECT_EQ(keychain.find({}, {.secret = true}, found), errSecNotAvailable);
}

} // namespace
} // namespace corvane
