// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <system_error>

namespace corvane::detail {

/// Copies what the open file `from` holds to `to`, which is empty: shares the bytes where the file system can do
/// that, has the system copy them otherwise, and reads and writes them where it cannot do that either. Holes stay
/// holes. Thread-safe on distinct files.
CORVANE_API std::error_code copyContents(int from, int to) noexcept;

} // namespace corvane::detail
