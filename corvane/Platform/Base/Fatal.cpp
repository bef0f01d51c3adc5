// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Fatal.h>

#include <sys/uio.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace corvane {

void fatalError(std::string_view message, SourcePlace place) noexcept
{
    char line[12];
    const char* lineEnd = std::to_chars(line, line + sizeof line, place.line).ptr;
    const auto part = [](std::string_view text) {
        return iovec{const_cast<char*>(text.data()), text.size()};
    };
    // One writev keeps the sentence whole when several threads fail at once.
    const iovec parts[] = {part("Fatal error: "),
                           part(message),
                           part("\n  at "),
                           part(place.file),
                           part(":"),
                           part({line, static_cast<std::size_t>(lineEnd - line)}),
                           part("\n")};
    [[maybe_unused]] const auto written = ::writev(STDERR_FILENO, parts, std::size(parts));
    std::abort();
}

} // namespace corvane
