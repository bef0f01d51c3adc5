// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Storage/Keychain.h>

#include <memory>

namespace corvane {

/// Secrets in the secret service of the desktop session (org.freedesktop.secrets), in its default collection. The
/// desktop's own password manager shows them, under their labels.
///
///     KeychainOptions options;
///     options.prompting = KeychainPrompting::never; // a background program: rather fail than ask
///     SecretServiceKeychain keychain(options);
///     if (keychain.add(item, bytes) == errSecInteractionNotAllowed)
///         tryAgainLater();
///
/// A locked collection is unlocked, which the service may ask the user about: `errSecUserCanceled` when that is refused,
/// `errSecInteractionNotAllowed` when it is not answered within the wait. A bus or a service that does not answer costs
/// the wait and is `errSecTimedOut`; none at all is `errSecNotAvailable`. Needs no main loop, and does not touch the
/// host's. A service that was restarted is connected to anew. Thread-safe.
class CORVANE_API SecretServiceKeychain final : public Keychain {
public:
    /// Whether there is a service to talk to; a locked one is there.
    enum class Presence { present, noBus, noService, noAnswer };

    /// Nothing is connected before the first operation.
    explicit SecretServiceKeychain(KeychainOptions options = {});
    ~SecretServiceKeychain() override;

    OSStatus find(const KeychainFilter& filter, KeychainFetch fetch,
                  std::vector<KeychainMatch>& found) override;
    OSStatus add(const KeychainItem& item, DataView secret) override;
    OSStatus update(const KeychainFilter& filter, const KeychainChanges& changes) override;
    OSStatus remove(const KeychainFilter& filter) override;
    KeychainUse use(std::string_view service) override;

    Presence look();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace corvane
