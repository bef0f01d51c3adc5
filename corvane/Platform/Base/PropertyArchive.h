// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/Types.h>

#include <concepts>
#include <optional>

namespace corvane {

/// A type that becomes a property value and comes back from one; settings and the keychain store it as such.
///
///     struct Grid {
///         Int columns;
///         PropertyValue propertyValue() const { return PropertyDictionary{{"columns", columns}}; }
///         static std::optional<Grid> fromPropertyValue(const PropertyValue& value);
///     };
///
/// `fromPropertyValue` is given whatever was stored, by an older version of the program or by another one: it
/// answers with nothing when that is not what it needs.
template <typename T>
concept PropertyCodable = requires(const T& object, const PropertyValue& value)
{
    {
        object.propertyValue()
        } -> std::convertible_to<PropertyValue>;
    {
        T::fromPropertyValue(value)
        } -> std::same_as<std::optional<T>>;
};

/// How many values may stand inside one another in an archive.
inline constexpr Int maximumArchiveDepth = 256;

/// `value` as bytes that say themselves what they are: self-described CBOR (RFC 8949, beginning D9 D9 F7).
/// Whole numbers, reals, truth values, text, bytes, arrays and dictionaries are those of CBOR; a moment is the
/// map {"$date": microseconds since 1970}, a single-precision real {"$single": …}, an unsigned number that an
/// `Int` holds too {"$unsigned": …}. A dictionary's own key that begins with "$" is written with one more.
///
/// Every value comes back as the kind it was, numbers to the bit but for the payload of a NaN. Absent when
/// more than `maximumArchiveDepth` values stand inside one another. Linear; thread-safe.
[[nodiscard]] CORVANE_API std::optional<Data> archivedData(const PropertyValue& value);

/// The value in an archive. Absent for bytes that are not the whole of one: cut off, with something behind, of
/// a kind that `archivedData` does not write. Never throws on account of its input, never takes memory that
/// the bytes do not account for. Linear; thread-safe.
[[nodiscard]] CORVANE_API std::optional<PropertyValue> unarchivedValue(DataView archive);

template <PropertyCodable T>
[[nodiscard]] std::optional<Data> archivedData(const T& object)
{
    return archivedData(PropertyValue(object.propertyValue()));
}

/// Absent too when the value is not one of a `T`.
template <PropertyCodable T>
[[nodiscard]] std::optional<T> unarchivedObject(DataView archive)
{
    const std::optional<PropertyValue> value = unarchivedValue(archive);
    return value ? T::fromPropertyValue(*value) : std::nullopt;
}

} // namespace corvane
