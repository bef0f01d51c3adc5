// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Storage/Keychain.h>

#include <vector>

namespace corvane {

/// A keychain in the memory of the process, gone with it: for the tests of an application, and for one that is to
/// leave nothing on a machine.
///
///     auto keychain = std::make_shared<MemoryKeychain>();
///     setSharedKeychain(keychain);
///     keychain->setStatus(errSecInteractionNotAllowed); // what does the application do with a locked keychain?
///
/// Secrets are wiped when they are replaced or removed. Thread-safe.
class CORVANE_API MemoryKeychain final : public Keychain {
public:
    OSStatus find(const KeychainFilter& filter, KeychainFetch fetch,
                  std::vector<KeychainMatch>& found) override;
    OSStatus add(const KeychainItem& item, DataView secret) override;
    OSStatus update(const KeychainFilter& filter, const KeychainChanges& changes) override;
    OSStatus remove(const KeychainFilter& filter) override;
    KeychainUse use(std::string_view service) override;

    /// Unless it is `errSecSuccess`, every operation answers it and does nothing else.
    void setStatus(OSStatus status);

private:
    Mutex mutex_;
    OSStatus status_ CORVANE_GUARDED_BY(mutex_) = errSecSuccess;
    std::vector<KeychainMatch> items_ CORVANE_GUARDED_BY(mutex_);
};

} // namespace corvane
