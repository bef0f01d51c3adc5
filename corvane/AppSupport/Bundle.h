// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Bundle.h>

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// Typed reads of a bundle's Info dictionary and resources. A read is absent when the key is missing or holds
// something else. All thread-safe.

CORVANE_API std::optional<std::string> stringForInfoDictionaryKey(const Bundle& bundle, std::string_view key);
CORVANE_API std::optional<Number> numberForInfoDictionaryKey(const Bundle& bundle, std::string_view key);
/// The truth of a number: whether it is not zero.
CORVANE_API std::optional<bool> boolForInfoDictionaryKey(const Bundle& bundle, std::string_view key);
/// The text under `key` parsed as a URL.
CORVANE_API std::optional<URL> urlForInfoDictionaryKey(const Bundle& bundle, std::string_view key);

/// The text under "CFBundleName"; its absence stops the process.
CORVANE_API std::string name(const Bundle& bundle);
/// The text under "CFBundleShortVersionString"; its absence stops the process.
CORVANE_API std::string versionString(const Bundle& bundle);

/// `Bundle::urlForResource` with the extension "plist" or "html".
CORVANE_API std::optional<URL> urlForPLISTResource(const Bundle& bundle, std::string_view name,
                                                   std::string_view subdirectory = {});
CORVANE_API std::optional<URL> urlForHTMLResource(const Bundle& bundle, std::string_view name,
                                                  std::string_view subdirectory = {});

/// `name` made unique by the bundle: "org.example.Gallery.cache" for "cache". A bundle without identifier
/// lends "CorvaneDefaultPrefix". The library's queues are labelled with `uniqueID(Bundle::library(), …)`.
CORVANE_API std::string uniqueID(const Bundle& bundle, std::string_view name);

} // namespace corvane
