// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/AppSupport/BundleVersion.h>
#include <corvane/AudioVisual/AVFileType.h>
#include <corvane/AudioVisual/AVVideoCodecType.h>
#include <corvane/Platform/Base/CheckedArithmetic.h>
#include <corvane/Platform/Base/DateFormatterStyle.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/PropertyArchive.h>
#include <corvane/Platform/Storage/UserDefaults.h>

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

/// Turns the values of one type into entries of a defaults database and back. `decode` answers with nothing
/// for an entry that is missing or of no use; `encode` removes the entry when it is given nothing.
///
///     struct GridUSC {
///         using CodableType = Grid;
///         std::optional<Grid> decode(const UserDefaults& from, std::string_view key) const;
///         void encode(const std::optional<Grid>& value, const UserDefaults& to, std::string_view key) const;
///     };
///
/// Any such type is a coder. For a type that is `PropertyCodable`, `ObjectUSC<T>` is one already.
template <typename C>
concept UserSettingCoder = std::default_initializable<C> &&
    requires(const C& coder, const UserDefaults& defaults, std::string_view key,
             const std::optional<typename C::CodableType>& value)
{
    {
        coder.decode(defaults, key)
        } -> std::same_as<std::optional<typename C::CodableType>>;
    coder.encode(value, defaults, key);
};

/// A coder of integers or real numbers; a truth value is none.
template <typename C>
concept NumericUserSettingCoder = UserSettingCoder<C> &&
    (std::integral<typename C::CodableType> ||
     std::floating_point<typename C::CodableType>)&&!std::same_as<typename C::CodableType, bool>;

namespace detail {

template <NumericUserSettingCoder C, typename F>
void changeStored(const C& coder, const UserDefaults& of, std::string_view key, F change)
{
    of.transaction([&] {
        if (const auto current = coder.decode(of, key))
            coder.encode(change(*current), of, key);
    });
}

} // namespace detail

/// Adds `by` to what is stored under `key`, as one step against every other process. Where nothing is stored,
/// nothing is written: a key's default takes no part. Integer overflow stops the process.
template <NumericUserSettingCoder C>
void increment(const C& coder, typename C::CodableType by, const UserDefaults& of, std::string_view key)
{
    detail::changeStored(coder, of, key, [by](auto value) {
        if constexpr (std::integral<decltype(value)>)
            return checkedAdd(value, by);
        else
            return value + by;
    });
}

/// The same with `by` taken away.
template <NumericUserSettingCoder C>
void decrement(const C& coder, typename C::CodableType by, const UserDefaults& of, std::string_view key)
{
    detail::changeStored(coder, of, key, [by](auto value) {
        if constexpr (std::integral<decltype(value)>)
            return checkedSubtract(value, by);
        else
            return value - by;
    });
}

/// A type of the host's that is stored as the property value it makes of itself.
template <PropertyCodable T>
struct ObjectUSC {
    using CodableType = T;
    std::optional<T> decode(const UserDefaults& from, std::string_view key) const
    {
        const auto object = from.objectForKey(key);
        return object ? T::fromPropertyValue(*object) : std::nullopt;
    }
    void encode(const std::optional<T>& value, const UserDefaults& to, std::string_view key) const
    {
        to.setObject(value ? std::optional<PropertyValue>(value->propertyValue()) : std::nullopt, key);
    }
};

namespace detail {

// What is read by the coder of that name; how a value is stored that is not its own property value.
CORVANE_API std::optional<URL> decodeURL(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<PropertyArray> decodeNSArray(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<std::vector<std::string>> decodeStringArray(const UserDefaults& from,
                                                                      std::string_view key);
CORVANE_API std::optional<std::vector<URL>> decodeURLArray(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<PropertyValue> decodeNSObject(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<std::string> decodeString(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<PropertyDictionary> decodeDict(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<Data> decodeData(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<bool> decodeBool(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<Int> decodeInt(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<std::uint64_t> decodeUInt(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<float> decodeFloat(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<double> decodeDouble(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<Date> decodeDate(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<Number> decodeNSNumber(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<Version> decodeBundleVersion(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<AVFileType> decodeAVFileType(const UserDefaults& from, std::string_view key);
CORVANE_API std::optional<AVVideoCodecType> decodeAVVideoCodecType(const UserDefaults& from,
                                                                   std::string_view key);
CORVANE_API std::optional<DateFormatterStyle> decodeDateFormatterStyle(const UserDefaults& from,
                                                                       std::string_view key);

template <std::convertible_to<PropertyValue> T>
PropertyValue stored(const T& value)
{
    return value;
}
inline PropertyValue stored(const URL& value)
{
    return value.absoluteString();
}
CORVANE_API PropertyValue stored(const std::vector<std::string>& value);
CORVANE_API PropertyValue stored(const std::vector<URL>& value);
inline PropertyValue stored(const Version& value)
{
    return value.rawValue;
}
inline PropertyValue stored(const AVFileType& value)
{
    return value.rawValue;
}
inline PropertyValue stored(const AVVideoCodecType& value)
{
    return value.rawValue;
}
inline PropertyValue stored(DateFormatterStyle value)
{
    return static_cast<std::uint64_t>(value);
}

template <typename T, std::optional<T> (*Decode)(const UserDefaults&, std::string_view)>
struct StandardUSC {
    using CodableType = T;
    std::optional<T> decode(const UserDefaults& from, std::string_view key) const
    {
        return Decode(from, key);
    }
    void encode(const std::optional<T>& value, const UserDefaults& to, std::string_view key) const
    {
        to.setObject(value ? std::optional<PropertyValue>(stored(*value)) : std::nullopt, key);
    }
};

} // namespace detail

// These read whatever is stored by the conversions of `UserDefaults`; a scalar is absent only when nothing is
// stored, so that a missing entry is not taken for false or 0.

struct URLUSC : detail::StandardUSC<URL, detail::decodeURL> {};
struct StringUSC : detail::StandardUSC<std::string, detail::decodeString> {};
struct DictUSC : detail::StandardUSC<PropertyDictionary, detail::decodeDict> {};
struct DataUSC : detail::StandardUSC<Data, detail::decodeData> {};
struct BoolUSC : detail::StandardUSC<bool, detail::decodeBool> {};
struct IntUSC : detail::StandardUSC<Int, detail::decodeInt> {};
/// A negative stored number stops the process.
struct UIntUSC : detail::StandardUSC<std::uint64_t, detail::decodeUInt> {};
struct FloatUSC : detail::StandardUSC<float, detail::decodeFloat> {};
struct DoubleUSC : detail::StandardUSC<double, detail::decodeDouble> {};
struct CGFloatUSC : detail::StandardUSC<CGFloat, detail::decodeDouble> {};
/// Stored as its text, as all versions are read from one.
struct BundleVersionUSC : detail::StandardUSC<Version, detail::decodeBundleVersion> {};
// The text of a decoded type that has no constant is kept for the life of the process.
struct AVFileTypeUSC : detail::StandardUSC<AVFileType, detail::decodeAVFileType> {};
struct AVVideoCodecTypeUSC : detail::StandardUSC<AVVideoCodecType, detail::decodeAVVideoCodecType> {};

// These take a stored value of their own kind and of no other.

struct NSObjectUSC : detail::StandardUSC<PropertyValue, detail::decodeNSObject> {};
struct NSArrayUSC : detail::StandardUSC<PropertyArray, detail::decodeNSArray> {};
/// Absent unless every element is text.
struct StringArrayUSC : detail::StandardUSC<std::vector<std::string>, detail::decodeStringArray> {};
/// Absent unless every element is the text of a URL.
struct URLArrayUSC : detail::StandardUSC<std::vector<URL>, detail::decodeURLArray> {};
struct DateUSC : detail::StandardUSC<Date, detail::decodeDate> {};
struct NSNumberUSC : detail::StandardUSC<Number, detail::decodeNSNumber> {};
struct DateFormatterStyleUSC : detail::StandardUSC<DateFormatterStyle, detail::decodeDateFormatterStyle> {};

/// A file or folder that is found again after it was renamed or moved, stored as a `Bookmark`.
///
/// Copies are one coder: they share what it resolved or stored last, and while it holds that, it answers with
/// it whatever the database says meanwhile. Encoding the value that it holds writes nothing. What it has asked
/// access for is given back when another value is encoded, not when it goes. Thread-compatible.
class CORVANE_API PersistentURLUSC {
public:
    using CodableType = URL;

    PersistentURLUSC();

    /// Absent, too, when the bookmark is stale, which leaves it stored as it is, and when the file may not be
    /// read.
    std::optional<URL> decode(const UserDefaults& from, std::string_view key) const;
    /// Removes the entry first; it stays removed when there is no such file or it may not be read.
    void encode(const std::optional<URL>& value, const UserDefaults& to, std::string_view key) const;

    /// What it resolved or stored last.
    std::optional<URL>& cacheURL() const noexcept { return *cacheURL_; }

private:
    std::shared_ptr<std::optional<URL>> cacheURL_;
};

} // namespace corvane
