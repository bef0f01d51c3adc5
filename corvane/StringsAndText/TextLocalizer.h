// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Bundle.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Text/Format.h>
#include <corvane/StringsAndText/LocalizedString.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace corvane {

class StringTables;

/// A text of a bundle's string tables in the user's language, with values put in.
///
///     TextLocalizer localizer(Bundle::main());
///     localizer.string = LocalizedString("photo count");       // "photo count" = "%d photos";
///     localizer.arguments = std::vector<FormatArgument>{1200};
///     localizer.local();                                       // "1,200 photos"
///     TL(LocalizedString("photo count"), 1200);                // the same
///
/// Tables are the files "<language>.lproj/<table>.strings" of the bundle, "Localizable" where no table is named;
/// see StringTable.h for what they look like and how the language is chosen, and Format.h for placeholders.
/// Numbers follow the user's locale for numbers. Thread-compatible; `TL` is thread-safe.
class CORVANE_API TextLocalizer {
public:
    explicit TextLocalizer(Bundle in, std::optional<std::string> table = std::nullopt);

    const Bundle bundle;
    const std::optional<std::string> tableName;
    std::optional<LocalizedString> string; ///< the key
    std::string defaultValue;              ///< the text when no table has the key
    std::string comment;                   ///< for translators; has no effect
    std::optional<std::vector<FormatArgument>> arguments;

    /// The text, formatted with the arguments if there are any: with an empty list it is as it stands, doubled
    /// percent signs and all. Stops the process when no key is set, for more than four arguments, and when the
    /// text does not fit them.
    [[nodiscard]] std::string local() const;

private:
    std::shared_ptr<const StringTables> tables_;
};

namespace detail {
CORVANE_API std::string localizedInMainBundle(const LocalizedString& string,
                                              std::span<const FormatArgument> arguments);
}

/// The text of a key in the main bundle's "Localizable" table with up to four values; empty for a missing key.
template <typename... Arguments>
[[nodiscard]] std::string TL(const LocalizedString& string, Arguments&&... arguments)
{
    const std::vector<FormatArgument> values{FormatArgument(std::forward<Arguments>(arguments))...};
    return detail::localizedInMainBundle(string, values);
}

} // namespace corvane
