// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Storage/SecretBytes.h>

#include <optional>
#include <string>

namespace secrets {

enum class LastLineFeed { drop, keep };

/// The secret from standard input; absent, with a sentence in `problem`, when there is none. A terminal is asked twice,
/// with its echo switched off, and switched on again however the asking ends. Main-thread.
std::optional<corvane::SecretBytes> readSecret(const std::string& name, LastLineFeed lastLineFeed,
                                               std::string& problem);

} // namespace secrets
