// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <span>
#include <string_view>

namespace corvane::TypeIdentifiers {

/// One declared type. Lists are separated by single spaces, the four-character codes (which hold spaces) by
/// commas; the first of each is the preferred one. Extensions and MIME types are written in lower case.
struct Declaration {
    std::string_view identifier;
    std::string_view conformsTo; ///< direct parents; what these conform to follows
    std::string_view extensions;
    std::string_view mimeTypes;
    std::string_view osTypes;
    std::string_view description;
};

/// The table itself; `TypeIdentifiers.h` is what answers from it. Thread-safe.
CORVANE_API std::span<const Declaration> declarations() noexcept;

} // namespace corvane::TypeIdentifiers
