// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

namespace corvane {

// The one source of randomness: the system's cryptographically seeded uniform generator. A draw costs about a
// microsecond; take many bytes in one `fillRandom`. It cannot fail, needs no seed and is thread-safe.

/// Uniform in 0 … 4294967295.
[[nodiscard]] CORVANE_API std::uint32_t randomUInt32() noexcept;

/// Uniform in 0 … `bound` − 1, without the bias of a remainder; a bound of 0 or 1 gives 0.
[[nodiscard]] CORVANE_API std::uint32_t randomUInt32Below(std::uint32_t bound) noexcept;

/// Overwrites every byte of `bytes`.
CORVANE_API void fillRandom(std::span<std::byte> bytes) noexcept;

} // namespace corvane
