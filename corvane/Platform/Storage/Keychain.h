// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Storage/OSStatus.h>
#include <corvane/Platform/Storage/SecretBytes.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// What is known of a stored secret besides the secret. Service, account and access group together are its identity:
/// no two items share all three. A text that was not given is empty.
struct KeychainItem {
    std::string service;
    std::string account;
    std::string accessGroup;
    std::string label;
    std::string generic;
    std::string accessible;
    bool isSynchronizable = false;
    Date created{}; ///< as exact as the keychain keeps it, at least to the second
    Date modified{};

    friend bool operator==(const KeychainItem&, const KeychainItem&) = default;
};

/// Which items an operation is about: those equal in everything that is present here.
struct KeychainFilter {
    std::optional<std::string> service;
    std::optional<std::string> account;
    std::optional<std::string> accessGroup;
    std::optional<std::string> label;
    std::optional<std::string> generic;
    std::optional<std::string> accessible;
    std::optional<bool> isSynchronizable;

    CORVANE_API bool matches(const KeychainItem& item) const;
};

/// What an update changes; the rest stays.
struct KeychainChanges {
    std::optional<std::string> label;
    std::optional<std::string> generic;
    std::optional<std::string> accessible;
    std::optional<bool> isSynchronizable;
    std::optional<DataView> secret;

    CORVANE_API void apply(KeychainItem& item) const;
};

/// What a search brings back of each item; what it does not, is empty in the matches.
struct KeychainFetch {
    bool attributes = false;
    bool secret = false;
    bool onlyOne = false; ///< any one of those that match
};

struct KeychainMatch {
    KeychainItem item;
    SecretBytes secret;
};

/// Whether the user may be asked to unlock a keychain.
enum class KeychainPrompting { allowed, never };

struct KeychainOptions {
    /// No operation takes much longer than this, whatever the keychain does and whoever is to unlock it.
    std::chrono::milliseconds wait{5000};
    KeychainPrompting prompting = KeychainPrompting::allowed;
    /// Where the vault is, and the notes on which keychain keeps the items of which service. Made when it is needed, for
    /// the user alone. Empty: the folder "corvane/keychain" in the user's data directory.
    std::string folder = {};
};

/// Which keychain holds a service's items.
struct KeychainUse {
    std::string name = {};           ///< "secret-service", "vault", "memory"; empty while that is undecided
    OSStatus status = errSecSuccess; ///< `errSecSuccess`, or why it cannot be used at the moment
    std::string why = {};            ///< a sentence for a person
};

/// A place that keeps secrets: what stands behind `SecItemAdd` and its kin.
///
///     setSharedKeychain(std::make_shared<MemoryKeychain>());  // in the tests of an application
///     sharedKeychain()->use("org.example.Gallery").why;       // "There is no session bus."
///
/// Unless the host sets another, the shared one is a `SystemKeychain`. Implementations are thread-safe; each
/// operation either happens or does not, and answers within the wait it was made with.
class CORVANE_API Keychain {
public:
    Keychain() = default;
    virtual ~Keychain();
    Keychain(const Keychain&) = delete;
    Keychain& operator=(const Keychain&) = delete;

    /// Appends to `found`. `errSecItemNotFound` when nothing matches.
    virtual OSStatus find(const KeychainFilter& filter, KeychainFetch fetch,
                          std::vector<KeychainMatch>& found) = 0;
    /// Sets the item's dates itself.
    virtual OSStatus add(const KeychainItem& item, DataView secret) = 0;
    /// Changes all items that match.
    virtual OSStatus update(const KeychainFilter& filter, const KeychainChanges& changes) = 0;
    /// Removes all items that match.
    virtual OSStatus remove(const KeychainFilter& filter) = 0;

    /// Where items of `service` are or would be kept, tried out by asking, not by storing.
    virtual KeychainUse use(std::string_view service) = 0;
};

/// The keychain of `SecItemAdd`, `UserKeychain` and so on in this process. Never null. Thread-safe.
[[nodiscard]] CORVANE_API std::shared_ptr<Keychain> sharedKeychain();
/// Null goes back to a `SystemKeychain` with its usual options. Calls under way finish with the one they began with.
CORVANE_API void setSharedKeychain(std::shared_ptr<Keychain> keychain);

} // namespace corvane
