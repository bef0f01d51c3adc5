// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/URL.h>

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// A program's description of itself, its Info dictionary, and the folder of files that come with it.
///
///     const Bundle& mine = Bundle::main();
///     mine.bundleIdentifier();                       // "org.example.Gallery"
///     mine.objectForInfoDictionaryKey("Columns");    // a PropertyValue, or null
///     mine.urlForResource("Welcome", "html");        // .../fr.lproj/Welcome.html for a French user
///
/// The main bundle is what the host gave to `setMain`. Without that it is found once, on first use: the first
/// that exists of `Info.plist` in the executable's folder and `../share/<executable>/Info.plist`, with the
/// resources beside that file; where neither exists, an empty dictionary and the executable's folder. The
/// CMake function `corvane_bundle` writes both. A bundle does not change; what it looks up in the file system
/// may. Thread-safe.
class CORVANE_API Bundle {
public:
    /// The bundle of `Info.plist` in `folder`, with its resources beside it. A file that is missing or cannot
    /// be read as a property list gives an empty Info dictionary.
    static Bundle fromFolder(const URL& folder);

    /// A bundle that needs no file for its Info dictionary, and no folder if it has no resources.
    static Bundle fromInfoDictionary(PropertyDictionary infoDictionary,
                                     std::optional<URL> resourceURL = std::nullopt);

    static const Bundle& main();
    /// Meant for the start of a program. A reference from `main()` stays valid after a later call.
    static void setMain(Bundle bundle);

    /// This library's own bundle, "org.corvane.Corvane". It has no resources.
    static const Bundle& library();

    const PropertyDictionary& infoDictionary() const noexcept { return info_; }
    /// Null when the key is missing.
    const PropertyValue* objectForInfoDictionaryKey(std::string_view key) const { return find(info_, key); }
    /// The text under "CFBundleIdentifier".
    std::optional<std::string> bundleIdentifier() const;
    /// The language that the program was written in: the text under "CFBundleDevelopmentRegion", otherwise "en".
    std::string developmentLanguage() const;
    /// The folder of the resources.
    const std::optional<URL>& resourceURL() const noexcept { return resources_; }

    /// The file `name.extension` (`name` alone for an empty extension) where it exists, in this order: in the
    /// language folders "<language>.lproj" of the user's languages (see UserLanguages.h; "fr_CA" and "fr-CA" before
    /// "fr"), in that of the development language, in the folder of the resources itself. `subdirectory` is a path
    /// below each of these.
    std::optional<URL> urlForResource(std::string_view name, std::string_view extension,
                                      std::string_view subdirectory = {}) const;

private:
    Bundle(PropertyDictionary info, std::optional<URL> resources);

    PropertyDictionary info_;
    std::optional<URL> resources_;
};

} // namespace corvane
