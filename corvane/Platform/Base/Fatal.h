// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <string_view>

namespace corvane {

/// A place in the source, for messages: a parameter `SourcePlace place = SourcePlace::current()` is the
/// caller's own. (The standard's is not there for clang 14 with libstdc++.) Thread-safe.
struct SourcePlace {
    const char* file;
    unsigned line;

    static constexpr SourcePlace current(const char* file = __builtin_FILE(),
                                         unsigned line = __builtin_LINE()) noexcept
    {
        return {file, line};
    }
};

/// Stops the process because the program is wrong, not because its input is: writes
/// `Fatal error: <message>` and the place of the call to standard error and aborts. Present in every build;
/// allocates nothing, so it is also safe when memory is short. Thread-safe.
[[noreturn]] CORVANE_API void fatalError(std::string_view message,
                                         SourcePlace place = SourcePlace::current()) noexcept;

/// `fatalError(message)` unless `condition` holds.
inline void precondition(bool condition, std::string_view message,
                         SourcePlace place = SourcePlace::current()) noexcept
{
    if (!condition) [[unlikely]]
        fatalError(message, place);
}

} // namespace corvane
