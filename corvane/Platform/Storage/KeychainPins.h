// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Mutex.h>
#include <corvane/Platform/Storage/Keychain.h>
#include <corvane/Platform/Storage/PrivateFolder.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// Notes on which keychain keeps the items of a service: one small file each, named by a hash of the service, so that a
/// later start, or another program, does not look for a secret in one keychain that an earlier one put in another.
/// A note lasts until it is taken back. Thread-safe.
class KeychainPins {
public:
    explicit KeychainPins(const KeychainOptions& options);

    /// The name of the keychain that is noted, or an empty one.
    OSStatus find(const std::string& service, std::string& keychain);

    /// Notes `keychain` for `service`, then runs `store`; takes the note back when that fails, so that a service without
    /// items is not bound to a keychain that could not store any. Calls with different processes for one service take
    /// turns: `keychain` is decided by the first, and the others are told by `errSecStoredElsewhere`.
    OSStatus pin(const std::string& service, const std::string& keychain,
                 const std::function<OSStatus()>& store);

    OSStatus unpin(const std::string& service);

private:
    OSStatus readNote(const std::string& service, std::string& keychain) const;

    const std::optional<std::string> path_;
    const std::chrono::milliseconds wait_;
    Mutex mutex_;
    std::map<std::string, std::string, std::less<>> known_ CORVANE_GUARDED_BY(mutex_);
};

} // namespace corvane
