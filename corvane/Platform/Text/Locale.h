// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <string>
#include <string_view>

namespace corvane {

/// What a user's settings may answer with different locales.
enum class LocaleCategory { messages, collation, numbers, time };

/// Whose language and conventions text is handled by.
///
///     Locale swedish("sv_SE");
///     Locale user = Locale::current(LocaleCategory::collation);
///
/// A value. The identifier is language, script and region joined by underscores ("sr_Latn_RS"); it is empty
/// for the root locale, which stands for no language in particular. Thread-safe.
class CORVANE_API Locale {
public:
    Locale() = default; ///< the root locale
    /// From an identifier, or from the name of a POSIX locale: "de_DE.UTF-8@euro" is "de_DE", "sr_RS@latin"
    /// is "sr_Latn_RS", and "C" and "POSIX" are the root locale. Hyphens are taken for underscores.
    explicit Locale(std::string_view name);

    /// The user's locale, as the environment (`LC_ALL`, the category's variable, `LANG`) tells it at this
    /// moment.
    static Locale current(LocaleCategory category = LocaleCategory::messages);

    [[nodiscard]] const std::string& identifier() const noexcept { return identifier_; }

    friend bool operator==(const Locale&, const Locale&) = default;

private:
    std::string identifier_;
};

} // namespace corvane
