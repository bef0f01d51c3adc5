// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <utility>

namespace corvane {

/// Overwrites bytes in a way that the compiler does not leave out. Thread-safe.
CORVANE_API void wipe(std::span<std::byte> bytes) noexcept;

/// Bytes that are overwritten before their memory is given back.
///
///     SecretBytes password(readPassword());
///     send(password.view());
///
/// It does not lock its memory: what the system swaps out or writes to a core dump is not kept from there. Movable,
/// not copyable. Thread-compatible.
class SecretBytes {
public:
    SecretBytes() = default;
    /// `size` zero bytes.
    explicit SecretBytes(std::size_t size) : bytes_(size) {}
    explicit SecretBytes(DataView bytes) : bytes_(bytes.begin(), bytes.end()) {}
    /// Takes the bytes over; what copies there are elsewhere is the caller's affair.
    explicit SecretBytes(Data&& bytes) noexcept : bytes_(std::move(bytes)) {}
    SecretBytes(SecretBytes&& other) noexcept : bytes_(std::exchange(other.bytes_, {})) {}
    SecretBytes& operator=(SecretBytes&& other) noexcept
    {
        std::swap(bytes_, other.bytes_);
        return *this;
    }
    ~SecretBytes() { wipe(bytes_); }

    DataView view() const noexcept { return bytes_; }
    std::span<std::byte> bytes() noexcept { return bytes_; }
    bool isEmpty() const noexcept { return bytes_.empty(); }

    /// Hands the bytes to the caller, who then owns the only copy and its wiping.
    Data release() noexcept { return std::exchange(bytes_, {}); }

private:
    Data bytes_;
};

} // namespace corvane
