// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Storage/SecretServiceKeychain.h>
#include <corvane/Platform/Storage/SystemKeychain.h>
#include <corvane/Platform/Storage/VaultKeychain.h>

#include <Support/EnvironmentVariable.h>
#include <Support/KeychainConformance.h>
#include <Support/TemporaryFolder.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <thread>

namespace corvane {
namespace {

using tests::bytesOf;
using tests::EnvironmentVariable;
using tests::keychainItem;
using tests::secretIn;
using tests::TemporaryFolder;

/// A bus that takes connections and never says a word.
class SilentBus {
public:
    explicit SilentBus(const std::string& path) : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(socket_, 64), 0);
    }
    SilentBus(const SilentBus&) = delete;
    SilentBus& operator=(const SilentBus&) = delete;
    ~SilentBus() { ::close(socket_); }

private:
    int socket_;
};

/// A session without a bus.
class SystemKeychainTests : public testing::Test {
protected:
    std::unique_ptr<SystemKeychain> make(KeychainChoice choice = KeychainChoice::automatic) const
    {
        KeychainOptions options;
        options.folder = keychain;
        options.wait = wait;
        return std::make_unique<SystemKeychain>(options, choice);
    }

    const EnvironmentVariable bus{"DBUS_SESSION_BUS_ADDRESS", nullptr};
    const EnvironmentVariable runtime{"XDG_RUNTIME_DIR", nullptr};
    std::chrono::milliseconds wait{5000};
    TemporaryFolder folder;
    const std::string keychain = folder / "keychain";
};

TEST_F(SystemKeychainTests, TakesTheVaultWhereThereIsNoBusAndSaysSo)
{
    const auto system = make();
    const KeychainUse use = system->use("mail");
    EXPECT_EQ(use.name, "vault");
    EXPECT_EQ(use.status, errSecSuccess);
    EXPECT_EQ(use.why, "There is no session bus.");
    EXPECT_EQ(system->add(keychainItem("mail", "ana"), bytesOf("one")), errSecSuccess);
    EXPECT_EQ(system->add(keychainItem("mail", "ana"), bytesOf("two")), errSecDuplicateItem);
    EXPECT_EQ(secretIn(*make(), "mail", "ana"), "one");
    EXPECT_EQ(make()->use("mail").why, "The first item of this service was stored there.");
    EXPECT_EQ(secretIn(*make(), {}), "one"); // without a service: where a new one would go
    KeychainChanges changes;
    const Data two = bytesOf("two");
    changes.secret = two;
    EXPECT_EQ(make()->update(tests::keychainFilter("mail", "ana"), changes), errSecSuccess);
    EXPECT_EQ(secretIn(*make(), "mail", "ana"), "two");
    EXPECT_EQ(make()->remove(tests::keychainFilter("mail", "ana")), errSecSuccess);
    EXPECT_EQ(make()->remove(tests::keychainFilter("mail", "ana")), errSecItemNotFound);
}

TEST_F(SystemKeychainTests, AServiceStaysWhereItsFirstItemWasStored)
{
    ASSERT_EQ(make()->add(keychainItem("mail", "ana"), bytesOf("one")), errSecSuccess);
    // A choice of the host does not split a service in two.
    const auto chosen = make(KeychainChoice::secretService);
    EXPECT_EQ(chosen->add(keychainItem("mail", "bo"), bytesOf("x")), errSecStoredElsewhere);
    EXPECT_EQ(secretIn(*chosen, "mail", "ana"), "[" + std::to_string(errSecStoredElsewhere) + "]");
    EXPECT_EQ(chosen->use("mail").status, errSecStoredElsewhere);
    EXPECT_EQ(chosen->use("mail").name, "vault");
    // What could not be stored binds its service to nothing.
    EXPECT_EQ(chosen->add(keychainItem("news", "ana"), bytesOf("x")), errSecNotAvailable);
    EXPECT_EQ(make()->add(keychainItem("news", "ana"), bytesOf("one")), errSecSuccess);
    EXPECT_EQ(make(KeychainChoice::vault)->use("news").status, errSecSuccess);
    // Until it is told to forget.
    const auto automatic = make();
    EXPECT_EQ(automatic->forget("mail"), errSecSuccess);
    EXPECT_EQ(make(KeychainChoice::secretService)->use("mail").status, errSecNotAvailable);
    EXPECT_EQ(secretIn(*automatic, "mail", "ana"), "one"); // the items stayed
}

TEST_F(SystemKeychainTests, ANoteThatCannotBeReadIsNotIgnored)
{
    ASSERT_EQ(make()->add(keychainItem("mail", "ana"), bytesOf("one")), errSecSuccess);
    std::size_t notes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(keychain))
        if (entry.path().filename().string().starts_with("pin-")) {
            ++notes;
            EXPECT_EQ(entry.path().string().find("mail"), std::string::npos);
            std::filesystem::resize_file(entry, 0);
        }
    EXPECT_EQ(notes, 1U);
    EXPECT_EQ(make()->add(keychainItem("mail", "bo"), bytesOf("x")), errSecIO);
    EXPECT_EQ(secretIn(*make(), "mail", "ana"), "[" + std::to_string(errSecIO) + "]");
}

TEST_F(SystemKeychainTests, ABusThatNeverAnswersCostsTheWaitAndIsNotReplacedByTheVault)
{
    wait = std::chrono::milliseconds(150);
    const SilentBus silent(folder / "bus");
    const EnvironmentVariable address("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + (folder / "bus")).c_str());
    const auto system = make();
    std::vector<std::thread> threads;
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&, i] {
            EXPECT_EQ(system->add(keychainItem("mail", std::to_string(i)), bytesOf("x")), errSecTimedOut);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(system->use("mail").status, errSecTimedOut);
    EXPECT_EQ(make(KeychainChoice::secretService)->add(keychainItem("mail", "ana"), {}), errSecTimedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
    EXPECT_FALSE(std::filesystem::exists(keychain + "/vault.sqlite"));
    EXPECT_EQ(make()->use("mail").why, "The session bus does not answer.");
}

TEST_F(SystemKeychainTests, ManyProcessesAgreeOnTheFirst)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i)
        threads.emplace_back([&, i] {
            EXPECT_EQ(make()->add(keychainItem("mail", std::to_string(i)), bytesOf("x")), errSecSuccess);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(tests::countIn(*make(), {}), 6U);
}

TEST_F(SystemKeychainTests, TheSharedOneCanBeReplacedAndIsNeverNull)
{
    const auto mine = std::shared_ptr<Keychain>(make());
    setSharedKeychain(mine);
    EXPECT_EQ(sharedKeychain(), mine);
    setSharedKeychain(nullptr);
    EXPECT_NE(sharedKeychain(), nullptr);
    EXPECT_NE(sharedKeychain(), mine);
}

} // namespace
} // namespace corvane
