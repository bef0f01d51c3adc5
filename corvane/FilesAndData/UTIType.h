// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/URL.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

/// A kind of file, as a value around its uniform type identifier.
///
///     std::optional<UTIType> type = UTIType::fromFileExtension("jpg");
///     type->identifier();               // "public.jpeg"
///     type->conforms(UTIType::image);   // true
///     *type == UTIType::jpeg;           // true
///
/// Equality is of identifiers without regard to the case of ASCII letters. Copying is cheap. The constants
/// may be used from the first moment of the process, other static objects included, to the last.
/// Thread-compatible.
class CORVANE_API UTIType {
public:
    explicit UTIType(std::string identifier);
    // Copied also where it could be moved: a value that was moved from would look into text it no longer
    // owns.
    UTIType(const UTIType&) = default;
    UTIType& operator=(const UTIType&) = default;

    /// The declared type of the extension (given without full stop, in any case), or else a dynamic type that
    /// carries it; absent for empty text only.
    static std::optional<UTIType> fromFileExtension(std::string_view extension);

    /// Holds the four characters of `code` themselves as its identifier; it is not the type declared for that
    /// code, and conforms to nothing else.
    static UTIType fromType(std::uint32_t code);

    std::string_view identifier() const noexcept { return identifier_; }

    bool conforms(std::string_view to) const noexcept;
    bool conforms(const UTIType& to) const noexcept { return conforms(to.identifier_); }

    /// The four-character code that the identifier spells; 0 unless the identifier is four bytes long, so it
    /// returns what `fromType` was given.
    std::uint32_t osType() const noexcept;

    /// In English, such as "JPEG image"; absent for a type that is not declared.
    std::optional<std::string> localizedDescription() const;
    /// See `TypeIdentifiers::declaration`.
    std::optional<PropertyDictionary> declaration() const;
    /// Where the declaring library is; absent for a type that is not declared.
    std::optional<URL> bundleURL() const;

    friend CORVANE_API bool operator==(const UTIType& a, const UTIType& b) noexcept;

    // What things are
    static const UTIType item, content, compositeContent, application, message, contact, archive, diskImage,
        data, directory, resolvable, symLink, mountPoint, aliasFile, aliasRecord, url, fileURL;
    // Text
    static const UTIType text, plainText, utf8PlainText, utf16PlainText, rtf, html, xml, sourceCode, cSource,
        objectiveCSource, cppSource, objCPPSource, cHeader, cppHeader, javaSource, pdf, rtfd, flatRTFD,
        webArchive;
    // Pictures, moving pictures and sound
    static const UTIType image, jpeg, jpeg2000, tiff, pict, gif, png, quickTimeImage, audiovisualContent,
        movie, video, audio, qtMovie, mpeg, mpeg4, mP3, mpeg4Audio;
    // Directories and programs, and the rest
    static const UTIType folder, volume, package, bundle, framework, applicationBundle, applicationFile,
        vCard, inkText;

private:
    struct Declared {
        std::string_view identifier;
    };
    // For text that lives as long as the library; constant initialisation is what lets the constants be used
    // before `main`.
    constexpr explicit UTIType(Declared type) noexcept : identifier_(type.identifier) {}

    std::shared_ptr<const std::string> owned_; // what `identifier_` looks into, when it is not declared
    std::string_view identifier_;
};

} // namespace corvane
