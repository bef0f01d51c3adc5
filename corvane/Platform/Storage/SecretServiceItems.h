// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Storage/SecretServiceSession.h>

#include <string>
#include <vector>

namespace corvane {

/// The keychain's items as items of a secret service, in the steps that an operation is made of. All of them together
/// end by one deadline. Thread-compatible; the session has to outlive it.
class SecretServiceItems {
public:
    using Answer = SecretServiceSession::Answer;
    using Paths = std::vector<std::string>;

    SecretServiceItems(const SecretServiceSession& session, KeychainPrompting prompting,
                       const Deadline& deadline)
        : session_(session), prompting_(prompting), deadline_(deadline)
    {}

    /// Those that match: the readable ones, and those in locked collections. `errSecItemNotFound` when there is neither.
    Answer search(const KeychainFilter& filter, Paths& open, Paths& locked) const;
    /// The same, all of them readable.
    Answer searchAndUnlock(const KeychainFilter& filter, Paths& paths) const;
    Answer unlock(const Paths& paths) const;

    /// Into the matches of the same indexes.
    Answer readSecrets(const Paths& paths, std::vector<KeychainMatch>& matches) const;
    Answer readAttributes(const std::string& path, KeychainItem& item) const;
    Answer writeSecret(const std::string& path, DataView secret) const;
    Answer writeAttributes(const std::string& path, const KeychainItem& item) const;

    /// In the default collection, which is made where there is none.
    Answer create(const KeychainItem& item, DataView secret) const;
    Answer remove(const std::string& path) const;

private:
    Answer call(const std::string& path, const char* interface, const char* method, _GVariant* parameters,
                const char* reply) const;
    Answer setProperty(const std::string& path, const char* name, _GVariant* value) const;
    Answer performFrom(const Answer& answer, std::size_t index) const;
    Answer tryCreate(const KeychainItem& item, DataView secret) const;
    Answer createCollection() const;

    const SecretServiceSession& session_;
    const KeychainPrompting prompting_;
    const Deadline& deadline_;
};

} // namespace corvane
