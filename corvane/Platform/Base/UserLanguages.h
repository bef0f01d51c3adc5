// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <string>
#include <vector>

namespace corvane {

// What the environment says of the user's language, at the moment of the call. Names are those of POSIX locales:
// language, region, encoding and modifier, "fr_CA.UTF-8@euro", each but the first optional. Thread-safe as long as
// nobody changes the environment.

/// The locale of a category, named by its variable ("LC_NUMERIC"): LC_ALL, that variable or LANG, the first that is
/// not empty. Empty when all are.
[[nodiscard]] CORVANE_API std::string userLocaleName(const char* category);

/// The languages that the user wants to read, the dearest first: those of LANGUAGE, then that of the locale of
/// LC_MESSAGES. None when that locale is missing, "C" or "POSIX": then LANGUAGE does not count, as in gettext.
[[nodiscard]] CORVANE_API std::vector<std::string> userLanguages();

} // namespace corvane
