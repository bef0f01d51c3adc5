// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Base/Export.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

namespace corvane {

/// The texts of one file of a bundle, by their keys.
///
///     /* The title of the main window */
///     "title" = "Photos";
///     "count" = "%d of %d";   // comments of both kinds
///
/// A file is UTF-8, or UTF-16 with or without its byte order mark. Keys made of letters, digits and "_.-" need no
/// quotes. Escapes are \n \t \r \" \\ \' and \U with the four hexadecimal digits of a UTF-16 unit. Of two entries
/// of one key the later holds. A value. Thread-compatible.
class CORVANE_API StringTable {
public:
    /// Where a file stops being a table, and why.
    struct Damage {
        std::size_t line;
        std::string description;
    };

    static std::variant<StringTable, Damage> parse(std::string_view bytes);
    /// Of a file up to 64 MB.
    static std::variant<StringTable, Damage> read(const std::string& file);

    /// Null when the key is missing.
    const std::string* find(std::string_view key) const;

    struct Entry {
        std::string text;
        std::size_t line;            ///< of its key, from 1
        std::size_t earlierLine = 0; ///< of the entry of this key that it took the place of, if there was one
    };

    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept
        {
            return std::hash<std::string_view>()(text);
        }
    };
    using Entries = std::unordered_map<std::string, Entry, Hash, std::equal_to<>>;
    const Entries& entries() const noexcept { return entries_; }

private:
    Entries entries_;
};

/// The tables of one name that a bundle has for the user: that of the language which suits the user best, then
/// that of the bundle's development language, then one outside the language folders. A key is looked for in this order.
///
/// Tables are read once and kept for the process's life; so is the language, chosen from the user's settings when
/// a table is first asked for. A table that is damaged or cannot be read has no keys, and is reported once, on
/// standard error with file and line. Thread-safe.
class CORVANE_API StringTables {
public:
    static std::shared_ptr<const StringTables> forBundle(const Bundle& bundle, std::string_view table);

    /// Drops all tables, for a program whose user changes the language: the next look-up reads anew. Who holds
    /// tables keeps them.
    static void forgetAll();
    /// Changes with each `forgetAll`. Costs a load.
    static unsigned generation() noexcept;

    const std::string* find(std::string_view key) const;

private:
    std::vector<StringTable> tables_;
};

} // namespace corvane
