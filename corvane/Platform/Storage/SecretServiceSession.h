// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Storage/Keychain.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

// NOLINTBEGIN(bugprone-reserved-identifier) names of GLib and libsecret
struct _GDBusConnection;
struct _GMainContext;
struct _GVariant;
struct _SecretService;
// NOLINTEND(bugprone-reserved-identifier)

namespace corvane {

/// When an operation gives up.
class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds wait) : end_(std::chrono::steady_clock::now() + wait) {}

    /// In milliseconds, at least 1: the bus takes 0 and less for other things.
    int remaining() const;
    bool isOver() const { return std::chrono::steady_clock::now() >= end_; }
    std::chrono::steady_clock::time_point end() const { return end_; }

private:
    std::chrono::steady_clock::time_point end_;
};

struct UnreferenceVariant {
    void operator()(_GVariant* variant) const noexcept;
};
using Variant = std::unique_ptr<_GVariant, UnreferenceVariant>;

/// A connection of our own to the session bus and, from the first secret on, an encrypted session of the service on it.
/// The bus connection that a process shares would end the process when the bus goes. Every call is bounded by its
/// deadline; none runs a main loop of the host. Thread-safe once open.
class SecretServiceSession {
public:
    /// How a call ended: `status`, or what the service said by name.
    struct Answer {
        OSStatus status = errSecSuccess;
        Variant value;
        bool isLocked = false;   ///< the object is in a locked collection
        bool isMissing = false;  ///< there is no such object (any more)
        bool isOutdated = false; ///< the session or the connection is gone; a new one may work
    };

    /// Null with `status` set: `errSecNotAvailable` without a bus, `errSecTimedOut` when it does not answer.
    static std::shared_ptr<SecretServiceSession> connect(const Deadline& deadline, OSStatus& status);
    ~SecretServiceSession();
    SecretServiceSession(const SecretServiceSession&) = delete;
    SecretServiceSession& operator=(const SecretServiceSession&) = delete;

    /// Whether the service runs or can be started by the bus.
    OSStatus hasService(const Deadline& deadline, bool& has) const;
    /// Agrees with the service on how secrets are encrypted on the bus. Not from several threads at once.
    OSStatus openSession(const Deadline& deadline);
    bool hasSession() const noexcept { return service_ != nullptr; }

    /// `parameters` may be floating and is taken over. `reply` is the type that is expected.
    Answer call(const char* path, const char* interface, const char* method, _GVariant* parameters,
                const char* reply, const Deadline& deadline) const;

    /// Has the user answer the service's question at `prompt`; "/" is none. The answer's value is what it was about.
    Answer perform(const std::string& prompt, KeychainPrompting prompting, const Deadline& deadline) const;

    const char* sessionPath() const;
    /// A secret as it travels, and back; empty when it makes no sense.
    _GVariant* encode(DataView secret) const;
    bool decode(_GVariant* encoded, SecretBytes& secret) const;

private:
    explicit SecretServiceSession(_GDBusConnection* connection);

    _GDBusConnection* const connection_;
    _GMainContext* const
        context_; // never run by a loop: what the service's proxy would like to be told goes here
    _SecretService* service_ = nullptr;
};

} // namespace corvane
