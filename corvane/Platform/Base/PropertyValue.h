// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Number.h>
#include <corvane/Platform/Base/Types.h>

#include <concepts>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace corvane {

class PropertyValue;

using PropertyArray = std::vector<PropertyValue>;
/// Ordered by key, looked up by `std::string_view` without a copy.
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;

/// A value of a property list: number, text, bytes, moment, array or dictionary. Settings, archives, Info
/// dictionaries and image properties share it.
///
///     PropertyDictionary info{{"CFBundleName", "Gallery"}, {"Columns", 4}};
///     if (const std::string* name = info.at("CFBundleName").asString())
///         print(*name);
///
/// The `as…` accessors give a pointer into the value, null when it holds something else; they never convert.
/// A truth value is a number, as it is in a property list. There is no null value: absence is a missing key.
/// Equality is deep; numbers compare by value. Thread-compatible.
class PropertyValue {
public:
    PropertyValue() = default; ///< the number 0
    PropertyValue(Number value) : value_(value) {}
    template <typename T>
    requires(std::integral<T> || std::floating_point<T>) PropertyValue(T value) : value_(Number(value)) {}
    PropertyValue(std::string value) : value_(std::move(value)) {}
    PropertyValue(std::string_view value) : value_(std::string(value)) {}
    PropertyValue(const char* value) : value_(std::string(value)) {}
    PropertyValue(Data value) : value_(std::move(value)) {}
    PropertyValue(Date value) : value_(value) {}
    PropertyValue(PropertyArray value) : value_(std::move(value)) {}
    PropertyValue(PropertyDictionary value) : value_(std::move(value)) {}

    const Number* asNumber() const noexcept { return std::get_if<Number>(&value_); }
    const std::string* asString() const noexcept { return std::get_if<std::string>(&value_); }
    const Data* asData() const noexcept { return std::get_if<Data>(&value_); }
    Data* asData() noexcept { return std::get_if<Data>(&value_); } ///< to move a secret out, or overwrite it
    const Date* asDate() const noexcept { return std::get_if<Date>(&value_); }
    const PropertyArray* asArray() const noexcept { return std::get_if<PropertyArray>(&value_); }
    const PropertyDictionary* asDictionary() const noexcept
    {
        return std::get_if<PropertyDictionary>(&value_);
    }

    friend bool operator==(const PropertyValue&, const PropertyValue&) = default;

private:
    std::variant<Number, std::string, Data, Date, PropertyArray, PropertyDictionary> value_;
};

/// The value under `key`, or null. Logarithmic.
inline const PropertyValue* find(const PropertyDictionary& dictionary, std::string_view key)
{
    const auto at = dictionary.find(key);
    return at == dictionary.end() ? nullptr : &at->second;
}

} // namespace corvane
