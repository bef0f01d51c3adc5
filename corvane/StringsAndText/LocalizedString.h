// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

namespace corvane {

/// The key of a localized text. A program names its keys once, as constants:
///
///     inline const LocalizedString photoCount("photo count");
///
/// Thread-compatible.
struct LocalizedString {
    explicit LocalizedString(std::string key) : rawValue(std::move(key)) {}

    std::string rawValue;

    friend bool operator==(const LocalizedString&, const LocalizedString&) = default;
};

} // namespace corvane
