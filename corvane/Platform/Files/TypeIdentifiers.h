// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/URL.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The kinds of file that exist, as uniform type identifiers: dotted names such as "public.jpeg", arranged by
/// what conforms to what, and found from tags: file name extensions, MIME types, four-character codes.
///
///     auto type = TypeIdentifiers::preferredIdentifierForTag(TypeIdentifiers::TagClass::filenameExtension,
///                                                           "JPG"); // "public.jpeg"
///     TypeIdentifiers::conforms(*type, "public.image");     // true
///     TypeIdentifiers::description(*type);                  // "JPEG image"
///
/// The types are those of a built-in table; nothing is read from the machine, so the answers are the same
/// everywhere. Identifiers, extensions and MIME types are compared without regard to the case of ASCII
/// letters, four-character codes byte by byte. A tag that the table does not hold gets a dynamic identifier:
/// "dyn.", then "extension.", "mime." or "ostype.", then the tag (extensions and MIME types in lower case),
/// its lower-case letters and digits as they are and every other byte as "-" and two hexadecimal digits. It
/// carries the tag, is the same in every run, and conforms to "public.data" and "public.item".
///
/// All functions are thread-safe. A look-up takes tens of nanoseconds, whatever the depth of the conformance.
namespace corvane::TypeIdentifiers {

enum class TagClass { filenameExtension, mimeType, osType };

/// Absent for an empty tag and for a four-character code that is not four bytes; otherwise always present. An
/// extension comes without its full stop. A MIME type may carry parameters.
CORVANE_API std::optional<std::string> preferredIdentifierForTag(TagClass tagClass, std::string_view tag);

/// The same without a dynamic identifier (empty instead) and without allocating. The text lives as long as
/// the library.
CORVANE_API std::string_view declaredIdentifierForTag(TagClass tagClass, std::string_view tag) noexcept;

/// The tag that a file of this type should carry; for a dynamic identifier the one it was made from. Absent
/// when the type has none of that class or is not known.
CORVANE_API std::optional<std::string> preferredTag(std::string_view identifier, TagClass tagClass);

/// Whether a thing of type `identifier` is also one of type `other`: they are equal or there is a way up. An
/// identifier that nobody declared conforms to itself only.
CORVANE_API bool conforms(std::string_view identifier, std::string_view other) noexcept;

CORVANE_API bool equal(std::string_view identifier, std::string_view other) noexcept;

/// Whether the table holds the identifier.
CORVANE_API bool isDeclared(std::string_view identifier) noexcept;
/// Whether it is a dynamic identifier that can be read back.
CORVANE_API bool isDynamic(std::string_view identifier);

/// A few English words in lower case but for names, such as "PDF document". Absent when undeclared or
/// dynamic.
CORVANE_API std::optional<std::string> description(std::string_view identifier);

/// "UTTypeIdentifier", "UTTypeDescription", "UTTypeConformsTo" (array) and "UTTypeTagSpecification"
/// (dictionary of arrays under "public.filename-extension", "public.mime-type" and "com.apple.ostype"); empty
/// parts are left out. Absent when neither declared nor dynamic.
CORVANE_API std::optional<PropertyDictionary> declaration(std::string_view identifier);

/// The folder of the library that holds the table. Absent when undeclared or dynamic.
CORVANE_API std::optional<URL> declaringBundleURL(std::string_view identifier);

/// The four bytes of `code`, most significant first, as they are (0x4A504547 gives "JPEG").
CORVANE_API std::string stringForOSType(std::uint32_t code);

/// The reverse; 0 for text that is not four bytes long.
CORVANE_API std::uint32_t osTypeFromString(std::string_view text) noexcept;

} // namespace corvane::TypeIdentifiers
