// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Description.h>

namespace corvane {

std::string quotedText(std::string_view text)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string quoted = "\"";
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\')
            (quoted += '\\') += character;
        else if (character == '\n')
            quoted += "\\n";
        else if (character == '\r')
            quoted += "\\r";
        else if (character == '\t')
            quoted += "\\t";
        else if (character == '\0')
            quoted += "\\0";
        else if (code < 0x20 || code == 0x7f)
            (((quoted += "\\u{") += digits[code >> 4]) += digits[code & 15]) += '}';
        else
            quoted += character;
    }
    quoted += '"';
    return quoted;
}

} // namespace corvane
