// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Storage/Keychain.h>

#include <memory>

namespace corvane {

/// Which keychain is to keep the items of services that have none yet.
enum class KeychainChoice { automatic, secretService, vault };

/// The user's keychain on this machine: the secret service of the desktop session, or the vault where there is none.
///
///     KeychainOptions options;
///     options.wait = std::chrono::seconds(30); // enough for a password to be typed
///     setSharedKeychain(std::make_shared<SystemKeychain>(options));
///     print(sharedKeychain()->use("org.example.Gallery").why);
///
/// Left to itself it takes the vault only where there is no session bus, or nobody on it who offers the service; one
/// that is locked, silent or out of order is answered by its own status. The keychain in which the first item of a
/// service was stored is noted, and from then on it is the only one that is asked for that service, by every program of
/// the user: where it is not to be had, operations fail (`errSecNotAvailable`, and `errSecStoredElsewhere` where the
/// host chose the other one) instead of turning to the other. Operations without a service go to the one that a new
/// service would get. Thread-safe.
class CORVANE_API SystemKeychain final : public Keychain {
public:
    explicit SystemKeychain(KeychainOptions options = {}, KeychainChoice choice = KeychainChoice::automatic);
    ~SystemKeychain() override;

    OSStatus find(const KeychainFilter& filter, KeychainFetch fetch,
                  std::vector<KeychainMatch>& found) override;
    OSStatus add(const KeychainItem& item, DataView secret) override;
    OSStatus update(const KeychainFilter& filter, const KeychainChanges& changes) override;
    OSStatus remove(const KeychainFilter& filter) override;
    KeychainUse use(std::string_view service) override;

    /// Forgets where the items of `service` are kept, so that the next one stored is free to go elsewhere. The items
    /// stay where they are; moving them is for the caller. Programs that run keep to what they know.
    OSStatus forget(std::string_view service);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace corvane
