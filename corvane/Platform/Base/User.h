// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>

#include <optional>
#include <string>

namespace corvane {

/// The login name of the user that the process acts for; the user's number where the password database does not
/// know one, as in many containers. Thread-safe.
[[nodiscard]] CORVANE_API std::string userName();

/// The user's home folder, without a trailing slash: HOME where that is an absolute path, otherwise what the
/// password database says. Thread-safe.
[[nodiscard]] CORVANE_API std::optional<std::string> homeDirectory();

/// Where the user's programs keep their data, each in a folder of its own: XDG_DATA_HOME where that is an absolute
/// path, otherwise ".local/share" in the home folder; absent for a user without a home. It need not exist.
/// Thread-safe.
[[nodiscard]] CORVANE_API std::optional<std::string> userDataDirectory();

} // namespace corvane
