// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Storage/SecretBytes.h>

#include <array>
#include <memory>
#include <optional>
#include <string_view>

namespace corvane {

using VaultHash = std::array<std::byte, 32>;

inline VaultHash& operator^=(VaultHash& a, const VaultHash& b) noexcept
{
    for (std::size_t i = 0; i < a.size(); ++i)
        a[i] ^= b[i];
    return a;
}

/// Where a row of the vault belongs. `pair` finds the items of one service and account in all access groups; `place` is
/// the item's own.
struct VaultPlace {
    VaultHash pair;
    VaultHash place;

    friend bool operator==(const VaultPlace&, const VaultPlace&) = default;
};

/// All the cryptography of the vault, from one key of 32 bytes: a sub-key for each purpose, kept in locked memory that is
/// wiped at the end. Thread-safe.
class VaultCipher {
public:
    static constexpr std::size_t keySize = 32;

    explicit VaultCipher(DataView key);
    ~VaultCipher();

    /// A fresh key.
    static SecretBytes makeKey();

    /// Keyed hashes of the texts with their lengths: without the key they tell nothing about them.
    VaultHash pairOf(std::string_view service, std::string_view account) const;
    VaultPlace placeOf(std::string_view service, std::string_view account,
                       std::string_view accessGroup) const;

    /// XChaCha20-Poly1305 under a random nonce, with the place authenticated.
    Data seal(const VaultPlace& place, DataView plain) const;
    /// Absent unless `box` was sealed for this place.
    std::optional<SecretBytes> open(const VaultPlace& place, DataView box) const;

    /// A keyed hash of a row. A box never comes twice, so neither does a mark: the exclusive or of the marks of all rows
    /// stands for exactly these rows in exactly these versions.
    VaultHash markOf(const VaultPlace& place, DataView box) const;

    Data sealState(const VaultHash& sumOfMarks) const;
    std::optional<VaultHash> openState(DataView box) const;

    /// Tells one key from another and nothing else about it.
    VaultHash check() const;

private:
    struct Keys;
    std::unique_ptr<Keys, void (*)(Keys*)> keys_;
};

} // namespace corvane
