// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <source_location>
#include <string_view>

namespace corvane {

/// Stops the process because the program is wrong, not because its input is: writes
/// `Fatal error: <message>` and the place of the call to standard error and aborts. Present in every build;
/// allocates nothing, so it is also safe when memory is short. Thread-safe.
[[noreturn]] CORVANE_API void fatalError(std::string_view message,
                                         std::source_location place = std::source_location::current()) noexcept;

/// `fatalError(message)` unless `condition` holds.
inline void precondition(bool condition, std::string_view message,
                         std::source_location place = std::source_location::current()) noexcept
{
    if (!condition) [[unlikely]]
        fatalError(message, place);
}

} // namespace corvane
