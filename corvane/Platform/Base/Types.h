// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace corvane {

/// The library's integer: 64 bits, signed. Counts and indexes are `Int` too, so that a negative one is a
/// value that can be refused instead of a large number that cannot.
using Int = std::int64_t;

/// Coordinates, lengths and colour components.
using CGFloat = double;

/// Owned bytes. Operations that only read bytes take a `DataView`.
using Data = std::vector<std::byte>;
using DataView = std::span<const std::byte>;

} // namespace corvane
